// Libraries on a file share, where every call on a file takes milliseconds and a read may hand over
// less than was asked for: the console and the result are those of local files.
#ifdef __linux__  // where a library can be put before the system's

#include <gtest/gtest.h>

#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "program/program_folder.h"
#include "support/documents.h"
#include "support/formats.h"

namespace quillon::test {
namespace {

using nlohmann::json;
using Words = std::vector<std::string>;

const Words slowShare{"env", "LD_PRELOAD=" QUILLON_SLOW_FILES};
const Words shortReads{"env", "LD_PRELOAD=" QUILLON_SHORT_READS};

std::string sharedName(std::size_t index, std::string_view extension) {
    return "plans/.blocksMetadata/" + std::to_string(index) + std::string(extension);
}

/// Drawings of up to ten blocks in all formats. Of every eight one is missing, one is cut off and
/// one has a key that is rejected.
void writeSharedLibrary(const TempFolder& folder) {
    Words files;
    for (std::size_t i = 0; i < 160; ++i) {
        const std::string_view extension = allExtensions[i % allExtensions.size()];
        files.push_back(sharedName(i, extension));
        std::vector<MarkedBlock> blocks;
        for (std::size_t b = 0; b <= i % 10; ++b) {
            const std::string number = std::to_string(i * 10 + b);
            blocks.push_back(
                {"block*" + number + "*" + std::to_string(b), 1.0 + static_cast<double>(i) / 256});
        }
        if (i % 8 == 2) {
            blocks.push_back({"no code", 1.0});
        }
        const std::string bytes = encoded(encodings(blocks), extension);
        if (i % 8 != 4) {
            folder.write(files.back(), i % 8 == 6 ? bytes.substr(0, bytes.size() / 2) : bytes);
        }
    }
    writeQueryAndList(folder, files);
}

struct Outcome {
    std::string console;
    std::string result;
};

Outcome outcomeOf(const TempFolder& folder, const LoadMode& mode, const Words& launcher) {
    Words arguments = mode.arguments("shape");
    arguments.insert(arguments.end(), {"/topk", "1000", "/min", "-10"});
    const ProgramResult run = runIn(folder, arguments, launcher);
    expectCleanEnd(run);
    EXPECT_EQ(run.status, 0);
    return {maskTimes(run.out), resultText(folder)};
}

TEST(FileShare, GivesTheResultOfLocalFiles) {
    const TempFolder folder;
    writeSharedLibrary(folder);
    for (const LoadMode& mode : loadModes) {
        const Outcome local = outcomeOf(folder, mode, {});
        EXPECT_NE(local.console.find("fail to open input file: plans"), std::string::npos);
        EXPECT_GT(json::parse(local.result).at("blocks").size(), 100U);
        for (const Words& launcher : {slowShare, shortReads}) {
            const Outcome shared = outcomeOf(folder, mode, launcher);
            expectText(shared.console, local.console);
            expectText(shared.result, local.result);
        }
    }
}

/// Small files ahead of 60 that have 3 MB, of which nothing is left once they are decoded.
TEST(FileShare, FilesThatAreReadAheadTakeLittleMemory) {
    const TempFolder folder;
    writeGoodRun(folder);
    Words files{"good.json"};
    for (const std::size_t bytes : {1U, 3U << 20U}) {
        json document = encodings({});
        document["more"] = std::string(bytes, 'x');
        const std::string text = document.dump();
        for (std::size_t i = 0; i < 60; ++i) {
            files.push_back(sharedName(files.size(), ".json"));
            folder.write(files.back(), text);
        }
    }
    writeList(folder, files);
    const ProgramResult run = runIn(folder, {}, slowShare);
    expectSuccess(run, ConsoleText().untilFiles(files.size()) +
                           ConsoleText::summary(files.size(), 1, 1, 0) + ConsoleText::success());
    EXPECT_LT(run.peakMiB, 110U);
}

}  // namespace
}  // namespace quillon::test

#endif
