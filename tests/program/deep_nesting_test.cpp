// JSON text with millions of nested arrays. It is read, written and freed without recursion, so its
// depth has no limit. Binary documents have one.
#include <gtest/gtest.h>

#include <cstddef>
#include <string>

#include "program/program_folder.h"
#include "support/documents.h"
#include "support/failure_texts.h"

namespace quillon::test {
namespace {

constexpr std::size_t textDepth = 5'000'000;

std::string deepArrays() {
    return std::string(textDepth, '[') + std::string(textDepth, ']');
}

TEST(DeepNesting, JsonQueriesMayBeNestedDeeply) {
    const TempFolder folder;
    writeGoodRun(folder);
    folder.write("query.json", deepArrays());
    expectFailure(folder, {"/method", "shape"},
                  ConsoleText().settings() + report(noObject("array")));

    folder.write("query.json", R"({"queryText":[],"text":[],"shape":[[)" + deepArrays() + "]]}");
    expectFailure(folder, {"/method", "shape"},
                  ConsoleText().settings() + report(noNumber("array")));
}

TEST(DeepNesting, JsonListEntriesMayBeNestedDeeply) {
    const TempFolder folder;
    writeGoodRun(folder);
    const std::string entry = deepArrays();
    folder.write("list.json", R"({"files":[)" + entry + "]}");
    for (const LoadMode& mode : loadModes) {
        ConsoleText console;
        console.parallel = mode.parallel;
        expectFailure(folder, mode.arguments("shape"),
                      console.untilFiles(1) + mode.failureLine(entry, noString("array")) +
                          report(noEncodings));
    }
}

TEST(DeepNesting, JsonKeyTextsMayBeNestedDeeply) {
    const TempFolder folder;
    writeGoodRun(folder);
    const std::string key = deepArrays();
    const std::string shape = markedVector(512, 1.5).dump();
    const std::string text = markedVector(384, 1.5).dump();
    // The first one is printed as the key of a block without vectors. The second must be a text.
    folder.write("deep.json", R"({"blocks":[)" + key + R"(,[[]]],"shape":[[],)" + shape +
                                  R"(],"text":[[],)" + text + "]}");
    writeList(folder, {"deep.json", "good.json"});
    for (const LoadMode& mode : loadModes) {
        ConsoleText console;
        console.parallel = mode.parallel;
        const std::string rejected =
            console.untilFiles(2) + "Invalid shape vector for " + key + "\n";
        const ProgramResult result = runIn(folder, mode.arguments("shape"));
        expectCleanEnd(result);
        expectText(
            maskTimes(result.out),
            rejected + (mode.parallel
                            ? report(noString("array"))
                            : mode.failureLine("\"deep.json\"", noString("array")) +
                                  ConsoleText::summary(2, 1, 1, 0) + ConsoleText::success()));
    }
}

}  // namespace
}  // namespace quillon::test
