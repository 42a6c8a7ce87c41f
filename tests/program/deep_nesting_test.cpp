// Containers in containers by the million. The readers of the binary formats recurse, so they have
// a limit; JSON text has none.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "program/broken_files.h"
#include "program/program_folder.h"

namespace quillon::test {
namespace {

using namespace std::string_literals;

TEST(DeepNesting, BinaryDocumentsMayNotBeNestedDeeply) {
    constexpr std::size_t size = 3'000'000;
    const std::vector<HostileBytes> files{
        {"arrays of one", "cbor", repeated("\x81", size)},
        {"arrays of any length", "cbor", repeated("\x9f", size)},
        {"arrays of announced length", "cbor", repeated("\x9a\0\0\0\1"s, size)},
        {"objects of one", "cbor", repeated("\xa1\x61k", size)},
        {"objects of any length", "cbor", repeated("\xbf\x60", size)},
        {"arrays of one", "msgpack", repeated("\x91", size)},
        {"arrays of announced length", "msgpack", repeated("\xdd\0\0\0\1"s, size)},
        {"objects of one", "msgpack", repeated("\x81\xa1k", size)},
        {"objects", "bson", repeated("\x7f\0\0\0\3\0"s, size)},
        {"arrays", "bson", repeated("\x7f\0\0\0\4\x30\0"s, size)},
        {"arrays", "ubj", repeated("[", size)},
        {"counted arrays", "ubj", repeated("[#i\1", size)},
        {"typed arrays", "ubj", "[" + repeated("$[#i\1", size)},
        {"objects", "ubj", repeated("{i\1k", size)},
        {"typed objects", "ubj", "{" + repeated("${#i\1i\1k", size)},
        {"arrays", "jdb", repeated("[", size)},
        {"counted arrays", "jdb", repeated("[#i\1", size)},
        {"objects", "jdb", repeated("{i\1k", size)},
    };
    const TempFolder folder;
    for (const HostileBytes& file : files) {
        const std::string name = std::string("deep.") + file.format;
        SCOPED_TRACE(name + " " + file.label);
        folder.write(name, std::string_view(file.bytes));
        expectFailureInEveryRole(folder, {name, "document nested deeper than 500 levels: " + name});
    }
}

TEST(DeepNesting, FiveHundredLevelsAreNotTooDeep) {
    const TempFolder folder;
    writeGoodRun(folder);
    for (const std::size_t levels : {500U, 501U}) {
        folder.write("deep.cbor", std::string_view(std::string(levels - 1, '\x81') + "\x80"));
        ConsoleText console;
        console.query = "\"deep.cbor\"";
        expectFailure(
            folder, {"/method", "shape", "/encode", "deep.cbor"},
            console.settings() +
                report(levels == 500 ? "[json.exception.type_error.305] cannot use operator[] with "
                                       "a string argument with array"
                                     : "document nested deeper than 500 levels: deep.cbor"));
    }
}

// Strings may come in chunks and arrays with a list of dimensions. Neither may contain itself, but
// a reader that looks only after it has descended finds out too late.
TEST(DeepNesting, StringsAndDimensionsMayNotBeNestedDeeply) {
    constexpr std::size_t size = 3'000'000;
    const std::vector<HostileBytes> files{
        {"text in chunks", "cbor", repeated("\x7f", size)},
        {"bytes in chunks", "cbor", repeated("\x5f", size)},
        {"key in chunks", "cbor", "\xbf" + repeated("\x7f", size)},
        {"counts that are arrays", "jdb", "[" + repeated("#[", size)},
        {"counts that are typed arrays", "jdb", "[" + repeated("$U#[", size)},
        {"counts of objects that are arrays", "jdb", "{" + repeated("#[", size)},
    };
    const TempFolder folder;
    for (const HostileBytes& file : files) {
        const std::string name = std::string("deep.") + file.format;
        SCOPED_TRACE(name + " " + file.label);
        folder.write(name, std::string_view(file.bytes));
        writeGoodRun(folder);
        for (const std::string option : {"/encode", "/filelist"}) {
            const ProgramResult result = runIn(folder, {"/method", "shape", option, name});
            expectCleanEnd(result);
            EXPECT_EQ(result.status, 1);
            EXPECT_EQ(resultText(folder), "earlier");
        }
        folder.write("list.json", listDocument({name, "good.json"}));
        for (const LoadMode& mode : loadModes) {
            const ProgramResult result = runIn(folder, mode.arguments("shape"));
            expectCleanEnd(result);
            EXPECT_EQ(result.status, 0);
            EXPECT_TRUE(maskTimes(result.out)
                            .ends_with(ConsoleText::summary(2, 1, 1, 0) + ConsoleText::success()));
        }
    }
}

/// JSON text is read, written and released without recursion, so its depth is free.
constexpr std::size_t textDepth = 5'000'000;

std::string deepArrays() {
    return std::string(textDepth, '[') + std::string(textDepth, ']');
}

const std::string textWanted = "[json.exception.type_error.302] type must be string, but is array";

TEST(DeepNesting, JsonQueriesMayBeNestedDeeply) {
    const TempFolder folder;
    writeGoodRun(folder);
    folder.write("query.json", std::string_view(deepArrays()));
    expectFailure(folder, {"/method", "shape"},
                  ConsoleText().settings() +
                      report("[json.exception.type_error.305] cannot use operator[] with a string "
                             "argument with array"));

    folder.write("query.json", std::string_view(R"({"queryText":[],"text":[],"shape":[[)" +
                                                deepArrays() + "]]}"));
    expectFailure(folder, {"/method", "shape"},
                  ConsoleText().settings() +
                      report("[json.exception.type_error.302] type must be number, but is array"));
}

TEST(DeepNesting, JsonListEntriesMayBeNestedDeeply) {
    const TempFolder folder;
    writeGoodRun(folder);
    const std::string entry = deepArrays();
    folder.write("list.json", std::string_view(R"({"files":[)" + entry + "]}"));
    for (const LoadMode& mode : loadModes) {
        ConsoleText console;
        console.parallel = mode.parallel;
        expectFailure(folder, mode.arguments("shape"),
                      console.untilFiles(1) + mode.failureLine(entry, textWanted) +
                          report("No encodings are loaded from files."));
    }
}

TEST(DeepNesting, JsonKeyTextsMayBeNestedDeeply) {
    const TempFolder folder;
    writeGoodRun(folder);
    const std::string key = deepArrays();
    const std::string shape = vectorOf(512, 1.5).dump();
    const std::string text = vectorOf(384, 1.5).dump();
    // The first one is written, as the name of a block without vectors; the second must be a text.
    folder.write("deep.json", std::string_view(R"({"blocks":[)" + key + R"(,[[]]],"shape":[[],)" +
                                               shape + R"(],"text":[[],)" + text + "]}"));
    folder.write("list.json", listDocument({"deep.json", "good.json"}));
    for (const LoadMode& mode : loadModes) {
        ConsoleText console;
        console.parallel = mode.parallel;
        const std::string rejected =
            console.untilFiles(2) + "Invalid shape vector for " + key + "\n";
        const ProgramResult result = runIn(folder, mode.arguments("shape"));
        expectCleanEnd(result);
        expectText(maskTimes(result.out),
                   rejected + (mode.parallel ? report(textWanted)
                                             : mode.failureLine("\"deep.json\"", textWanted) +
                                                   ConsoleText::summary(2, 1, 1, 0) +
                                                   ConsoleText::success()));
    }
}

}  // namespace
}  // namespace quillon::test
