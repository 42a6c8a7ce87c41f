// Runs under limits of the system: too few descriptors, too little memory, no threads. They end
// with the right result or, where memory does not suffice, with one report.
#ifdef __linux__  // where a command sets such limits for a program

#include <gtest/gtest.h>
#include <unistd.h>

#include <random>
#include <string>
#include <vector>

#include "program/program_folder.h"
#include "support/documents.h"
#include "support/formats.h"

namespace quillon::test {
namespace {

using nlohmann::json;
using Words = std::vector<std::string>;

/// Different vectors of length 1 about a few centres.
json crowdedDrawing(std::size_t blocks, std::mt19937& random) {
    json document = encodings({});
    for (std::size_t i = 0; i < blocks; ++i) {
        const std::string number = std::to_string(random());
        document["blocks"].push_back("block*" + number + "*" + number);
        for (const auto& [side, width] : {std::pair("shape", 512U), std::pair("text", 384U)}) {
            std::vector<float> vector(width, 0.0F);
            vector[random() % 20] = 1.0F;
            vector[random() % width] += 0.25F;
            document[side].push_back(vector);
        }
    }
    return document;
}

/// "query.json" and a list of `drawings` of 50 blocks, in all formats by turns; every twelfth is a
/// text that only the generic path takes.
void writeQueryAndLibrary(const TempFolder& folder, std::size_t drawings) {
    std::mt19937 random(1);
    Words files;
    for (std::size_t i = 0; i < drawings; ++i) {
        json document = crowdedDrawing(50, random);
        if (i % 12 == 0) {
            document["blocks"].push_back("with*no vectors");
        }
        const std::string_view extension = allExtensions[i % allExtensions.size()];
        files.push_back(std::to_string(i) + std::string(extension));
        folder.write(files.back(), encoded(document, extension));
    }
    writeQueryAndList(folder, files);
}

struct Outcome {
    int status;
    std::string console;
    std::string result;
};

Outcome runUnder(const TempFolder& folder, const std::string& method, const Words& launcher) {
    folder.write("result.json", std::string_view("earlier"));
    const ProgramResult run = runIn(folder, {"/method", method, "/min", "-10"}, launcher);
    expectCleanEnd(run);
    return {run.status, maskTimes(run.out), resultText(folder)};
}

void expectSame(const Outcome& actual, const Outcome& expected) {
    EXPECT_EQ(actual.status, expected.status);
    expectText(actual.console, expected.console);
    expectText(actual.result, expected.result);
}

TEST(RefusedResources, OneDescriptorIsEnough) {
    const TempFolder folder;
    writeQueryAndLibrary(folder, 60);
    const Outcome right = runUnder(folder, "shape", {});
    ASSERT_EQ(right.status, 0);
    for (const std::string descriptors : {"4", "5", "6"}) {
        SCOPED_TRACE(descriptors);
        expectSame(runUnder(folder, "shape", {"prlimit", "--nofile=" + descriptors}), right);
    }
}

TEST(RefusedResources, OneThreadIsEnough) {
    const TempFolder folder;
    writeQueryAndLibrary(folder, 60);
    Words launcher{"prlimit", "--nproc=1"};
    if (geteuid() == 0) {
        // The limit does not hold for root. Another user has to reach the files still.
        launcher.insert(launcher.end(),
                        {"setpriv", "--reuid=54321", "--clear-groups", "--inh-caps=+dac_override",
                         "--ambient-caps=+dac_override"});
    }
    for (const std::string method : {"shape", "adaptive"}) {
        SCOPED_TRACE(method);
        const Outcome right = runUnder(folder, method, {});
        ASSERT_EQ(right.status, 0);
        expectSame(runUnder(folder, method, launcher), right);
    }
}

TEST(RefusedResources, LittleMemoryIsReportedOrEnough) {
    const TempFolder folder;
    writeQueryAndLibrary(folder, 60);
    for (const std::string method : {"shape", "adaptive"}) {
        const Outcome right = runUnder(folder, method, {});
        ASSERT_EQ(right.status, 0);
        std::size_t reported = 0;
        std::size_t enough = 0;
        for (std::size_t mebibytes = 12; mebibytes <= 140; mebibytes += 4) {
            SCOPED_TRACE(method + ", MiB: " + std::to_string(mebibytes));
            const Outcome outcome =
                runUnder(folder, method, {"prlimit", "--as=" + std::to_string(mebibytes << 20U)});
            if (outcome.status == 0) {
                ++enough;
                expectSame(outcome, right);
            } else {
                ++reported;
                EXPECT_TRUE(outcome.console.ends_with(report("std::bad_alloc"))) << outcome.console;
                EXPECT_EQ(outcome.result, "earlier");
            }
        }
        EXPECT_GT(reported, 0U) << method;
        EXPECT_GT(enough, 0U) << method;
    }
}

}  // namespace
}  // namespace quillon::test

#endif
