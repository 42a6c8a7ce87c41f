// Whole results of every method on the real drawings of examples/drawings.
//
// The program has written the documents in tests/data/results, after a comparison with
// tests/reference. Write them again only when the sample changes.
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "shared/utf8_path.h"
#include "support/run_program.h"
#include "support/temp_folder.h"

namespace quillon::test {
namespace {

std::string sampleFolder() {
    return QUILLON_SOURCE_DIR "/examples/drawings";
}

void replaceAll(std::string& text, const std::string& from, const std::string& to) {
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at)) {
        text.replace(at, from.size(), to);
        at += to.size();
    }
}

/// Returns the result document of a run, with SAMPLE for the sample's folder and "/" in paths.
std::string resultOf(const std::string& query, const std::vector<std::string>& more) {
    const TempFolder folder;
    const std::filesystem::path output = folder.path() / "result.json";
    std::vector<std::string> arguments{
        "/filelist", "filelist.json",      "/encode", "queries/" + query + ".json",
        "/output",   utf8FromPath(output), "/pretty"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    const ProgramResult result = runProgram(arguments, pathFromUtf8(sampleFolder()));
    EXPECT_EQ(result.status, 0) << result.out << result.error;
    std::string document = readText(output);
    // Names of these blocks have no backslashes.
    replaceAll(document, R"(\\)", "/");
    replaceAll(document, sampleFolder(), "SAMPLE");
    return document;
}

std::string expectedResult(const std::string& name) {
    return readBytes(pathFromUtf8(QUILLON_SOURCE_DIR "/tests/data/results/" + name + ".json"));
}

TEST(SampleDrawings, AreSearchedByAdaptiveByDefault) {
    EXPECT_EQ(resultOf("1-door-23-3", {}), expectedResult("door-adaptive"));
    EXPECT_EQ(resultOf("1-door-23-3", {"/method", "adaptive"}), expectedResult("door-adaptive"));
}

TEST(SampleDrawings, AreSearchedByEachMethod) {
    for (const std::string method : {"shape", "text", "simple"}) {
        EXPECT_EQ(resultOf("1-door-23-3", {"/method", method}), expectedResult("door-" + method));
    }
}

TEST(SampleDrawings, AreSearchedForMoreThanFewHits) {
    for (const std::string method : {"adaptive", "shape", "text", "simple"}) {
        EXPECT_EQ(resultOf("2-npn", {"/method", method, "/topk", "12", "/min", "0.1"}),
                  expectedResult("npn-" + method));
    }
}

}  // namespace
}  // namespace quillon::test
