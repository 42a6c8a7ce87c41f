#include "program/program_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string_view>

#include "support/documents.h"
#include "support/load_outcome.h"

namespace quillon::test {
namespace {

using nlohmann::json;

constexpr std::string_view successLine = "Quillon engine run successfully!\n";
constexpr std::string_view reportStart = "exception: ";

std::size_t countOf(std::string_view text, std::string_view part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string_view::npos; at = text.find(part, at)) {
        ++count;
        at += part.size();
    }
    return count;
}

std::string boolText(bool value) {
    return value ? "true" : "false";
}

}  // namespace

ProgramResult runIn(const TempFolder& folder, const std::vector<std::string>& more,
                    const std::vector<std::string>& launcher) {
    std::vector<std::string> arguments{"/filelist", "list.json",   "/encode", "query.json",
                                       "/output",   "result.json", "/method", "shape"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return runProgram(arguments, folder.path(), launcher);
}

void writeGoodRun(const TempFolder& folder, const std::vector<std::string>& drawings) {
    writeQueryAndList(folder, drawings);
    folder.write("good.json", encodings({{"good*G*1", 1.75}}));
    folder.write("result.json", std::string_view("earlier"));
}

void expectCleanEnd(const ProgramResult& result) {
    EXPECT_EQ(result.error, "");
    const std::string_view out = result.out;
    const std::string_view end = out.substr(out.size() - std::min<std::size_t>(out.size(), 2000));
    const std::size_t reports = countOf(out, reportStart);
    const std::size_t successes = countOf(out, successLine);
    switch (result.status) {
        case 0:
            EXPECT_TRUE(out.ends_with(successLine)) << end;
            EXPECT_EQ(reports, 0U) << end;
            EXPECT_EQ(successes, 1U) << end;
            break;
        case 1:
            EXPECT_TRUE(out.ends_with('\n')) << end;
            EXPECT_EQ(out.find('\n', out.rfind(reportStart)), out.size() - 1) << end;
            EXPECT_EQ(reports, 1U) << end;
            EXPECT_EQ(successes, 0U) << end;
            break;
        case 255:
            EXPECT_TRUE(out.starts_with("ERROR: The input ")) << end;
            EXPECT_EQ(countOf(out, "\n"), 0U) << end;
            break;
        default:
            ADD_FAILURE() << "status " << result.status << " after\n" << end;
    }
}

void expectText(const std::string& actual, const std::string& expected) {
    if (actual == expected) {
        return;
    }
    const auto [at, ignored] =
        std::mismatch(actual.begin(), actual.end(), expected.begin(), expected.end());
    const auto position = static_cast<std::size_t>(at - actual.begin());
    const std::size_t from = position - std::min<std::size_t>(position, 300);
    ADD_FAILURE() << "texts of " << actual.size() << " and " << expected.size()
                  << " bytes differ at byte " << position << "\nactual:\n"
                  << actual.substr(from, 800) << "\nexpected:\n"
                  << expected.substr(from, 800);
}

void expectSuccess(const ProgramResult& result, const std::string& console) {
    expectCleanEnd(result);
    EXPECT_EQ(result.status, 0);
    expectText(maskTimes(result.out), console);
}

void expectFailure(const TempFolder& folder, const std::vector<std::string>& arguments,
                   const std::string& console, const std::vector<std::string>& launcher) {
    const ProgramResult result = runIn(folder, arguments, launcher);
    expectCleanEnd(result);
    EXPECT_EQ(result.status, 1);
    expectText(maskTimes(result.out), console);
    EXPECT_EQ(resultText(folder), "earlier");
}

std::vector<std::string> LoadMode::arguments(const std::string& method) const {
    std::vector<std::string> arguments{"/method", method};
    if (!parallel) {
        arguments.emplace_back("/no-parallel-load");
    }
    return arguments;
}

std::string LoadMode::failureLine(const std::string& entry, const std::string& text) const {
    return parallel ? "Warning: " + text + "\n" : "Fail to load " + entry + "\n\t" + text + "\n";
}

std::string ConsoleText::settings() const {
    return "   Query Block: " + query + "\nBlock fileList: " + list +
           "\n        Output: " + output + "\n Parallel Load: " + boolText(parallel) +
           "\n   Deduplicate: " + boolText(dedupe) + "\n        Pretty: " + boolText(pretty) +
           "\n          topK: " + topK + "\n";
}

std::string ConsoleText::untilLoad() const {
    return settings() + "     queryType: " + method + "\n  minThreshold: " + threshold +
           "\nGet query block time: T ms\n";
}

std::string ConsoleText::untilFiles(std::size_t files) const {
    return untilLoad() + "Loading encodings from " + std::to_string(files) + " files in " + list +
           "\n";
}

std::string ConsoleText::summary(std::size_t drawings, std::size_t total, std::size_t unique,
                                 std::size_t duplicated) {
    return test::summary(drawings, total, unique, duplicated) + "Create index time: T ms\n";
}

std::string ConsoleText::success() {
    return "Query time: T ms\nwriteJsonFile: T ms\nQuillon engine run successfully!\n";
}

std::string report(const std::string& text) {
    return "exception: " + text + "\n";
}

std::string resultText(const TempFolder& folder) {
    const std::filesystem::path path = folder.path() / "result.json";
    return std::filesystem::exists(path) ? readBytes(path) : "(none)";
}

std::vector<json> hitMembers(const TempFolder& folder, const std::string& name) {
    std::vector<json> members;
    const json document = json::parse(resultText(folder));
    for (const json& hit : document.at("blocks")) {
        members.push_back(hit.at(name));
    }
    return members;
}

}  // namespace quillon::test
