// One failure in each stage of a run: its text is the last line, the status is 1, and an earlier
// result is kept. A drawing that cannot be loaded is reported and skipped. The tests of each folder
// of src/ have all other failures.
#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "program/program_folder.h"
#include "support/documents.h"
#include "support/failure_texts.h"

namespace quillon::test {
namespace {

using nlohmann::json;
using Words = std::vector<std::string>;
namespace fs = std::filesystem;

/// As query and as list, the file ends the run with the text. As a drawing, it is reported in both
/// modes.
void expectFailureInEveryRole(const TempFolder& folder, const std::string& name,
                              const std::string& text, const Words& launcher = {}) {
    SCOPED_TRACE(name);
    writeGoodRun(folder, {name, "good.json"});
    ConsoleText console;
    console.query = '"' + name + '"';
    expectFailure(folder, {"/encode", name}, console.settings() + report(text), launcher);
    console = {};
    console.list = '"' + name + '"';
    expectFailure(folder, {"/filelist", name}, console.untilLoad() + report(text), launcher);
    for (const LoadMode& mode : loadModes) {
        console = {};
        console.parallel = mode.parallel;
        expectSuccess(runIn(folder, mode.arguments("shape"), launcher),
                      console.untilFiles(2) + mode.failureLine('"' + name + '"', text) +
                          ConsoleText::summary(2, 1, 1, 0) + ConsoleText::success());
        EXPECT_EQ(json::parse(resultText(folder)).at("stats").at("failedDrawings"), 1);
    }
}

TEST(FailedRun, ReportsAFileThatCannotBeOpened) {
    const TempFolder folder;
    const std::string name = "missing/TÜR 90/椅子.cbor";
    expectFailureInEveryRole(folder, name, "fail to open input file: " + name);
}

#ifndef _WIN32  // where nobody is kept from reading
TEST(FailedRun, ReportsAFileThatMayNotBeRead) {
    const TempFolder folder;
    const fs::path path = folder.write("locked.json", queryDocument());
    fs::permissions(path, fs::perms::none);
    Words launcher;
    if (std::ifstream(path)) {
        // With these capabilities root can read every file.
        launcher = {"setpriv", "--bounding-set=-dac_override,-dac_read_search"};
    }
    expectFailureInEveryRole(folder, "locked.json", "fail to open input file: locked.json",
                             launcher);
}
#endif

TEST(FailedRun, ReportsAFileWithoutAKnownExtension) {
    const TempFolder folder;
    folder.write("query.JSON", queryDocument());
    expectFailureInEveryRole(folder, "query.JSON", "Unknown input file format! query.JSON");
}

TEST(FailedRun, ReportsAFileThatDoesNotParse) {
    const TempFolder folder;
    folder.write("cut.cbor", std::string("\xA1"));
    expectFailureInEveryRole(folder, "cut.cbor",
                             parseErrorText(110, "byte 2", "CBOR string: unexpected end of input"));
}

TEST(FailedRun, ReportsABinaryFileNestedTooDeeply) {
    const TempFolder folder;
    folder.write("deep.ubj", std::string(3'000'000, '['));
    expectFailureInEveryRole(folder, "deep.ubj",
                             "document nested deeper than 500 levels: deep.ubj");
    // Strings in chunks are nested before any value can be counted.
    folder.write("chunks.cbor", std::string(3'000'000, '\x7F'));
    expectFailureInEveryRole(folder, "chunks.cbor",
                             "document nested too deeply for 4 MiB of stack: chunks.cbor");
}

TEST(FailedRun, ReportsAQueryOfAWrongStructure) {
    const TempFolder folder;
    writeGoodRun(folder);
    folder.write("query.json", with(queryDocument(), "/shape/0/511", nullptr));
    expectFailure(folder, {}, ConsoleText().settings() + report(noNumber("null")));
}

TEST(FailedRun, ReportsAListOfAWrongStructure) {
    const TempFolder folder;
    writeGoodRun(folder);
    folder.write("list.json", without(listDocument({"good.json"}), "files"));
    for (const LoadMode& mode : loadModes) {
        ConsoleText console;
        console.parallel = mode.parallel;
        expectFailure(folder, mode.arguments("shape"),
                      console.untilLoad() + report(noKey("files")));
    }
}

TEST(FailedRun, ReportsAListEntryThatIsNoPath) {
    const TempFolder folder;
    const json entry = {{"path", "good.json"}};
    writeGoodRun(folder);
    writeList(folder, {entry, "good.json"});
    for (const LoadMode& mode : loadModes) {
        ConsoleText console;
        console.parallel = mode.parallel;
        expectSuccess(runIn(folder, mode.arguments("shape")),
                      console.untilFiles(2) + mode.failureLine(entry.dump(), noString("object")) +
                          ConsoleText::summary(2, 1, 1, 0) + ConsoleText::success());
    }
}

TEST(FailedRun, ReportsThatNothingWasLoaded) {
    const TempFolder folder;
    writeGoodRun(folder, {"missing.json"});
    for (const LoadMode& mode : loadModes) {
        ConsoleText console;
        console.parallel = mode.parallel;
        expectFailure(
            folder, mode.arguments("shape"),
            console.untilFiles(1) +
                mode.failureLine(R"("missing.json")", "fail to open input file: missing.json") +
                report(noEncodings));
    }
}

/// A drawing that ends a parallel load, and is reported by a sequential one.
void expectFailureOfDrawing(const TempFolder& folder, const json& drawing, const std::string& text,
                            std::size_t loadedBlocks) {
    writeGoodRun(folder, {"bad.json", "good.json"});
    folder.write("bad.json", drawing);
    expectFailure(folder, {}, ConsoleText().untilFiles(2) + report(text));
    ConsoleText console;
    console.parallel = false;
    expectSuccess(runIn(folder, {"/no-parallel-load"}),
                  console.untilFiles(2) + loadModes[1].failureLine(R"("bad.json")", text) +
                      ConsoleText::summary(2, loadedBlocks, loadedBlocks, 0) +
                      ConsoleText::success());
}

const json goodDrawing = encodings({{"first*A*1", 1.25}, {"second*B*2", 1.5}});

TEST(FailedRun, ReportsADrawingOfAWrongStructure) {
    const TempFolder folder;
    expectFailureOfDrawing(folder, with(goodDrawing, "/blocks/1", nullptr), noString("null"), 2);
    EXPECT_EQ(hitMembers(folder, "name"), (std::vector<json>{"first", "good"}));
}

// When an element of a vector is not a number, the record of the block exists already and is kept.
// From there on, names belong to the wrong rows.
TEST(FailedRun, ReportsAVectorElementThatIsNoNumber) {
    const TempFolder folder;
    // With a bad text vector the block's shape is kept, and the last shape is cut off.
    for (const auto& [place, distance] :
         {std::pair{"/shape/1/511", 0.5625}, {"/text/1/383", 0.25}}) {
        expectFailureOfDrawing(folder, with(goodDrawing, place, "0"), noNumber("string"), 2);
        EXPECT_EQ(hitMembers(folder, "name"), (std::vector<json>{"first", "second"}));
        EXPECT_EQ(hitMembers(folder, "distOrScore"), (std::vector<json>{0.0625, distance}));
    }
}

TEST(FailedRun, ReportsAQueryNarrowerThanTheLibrary) {
    const TempFolder folder;
    writeGoodRun(folder);
    folder.write("query.json", with(queryDocument(), "/shape", json::array({{1, 2, 3}})));
    expectFailure(folder, {},
                  ConsoleText().untilFiles(1) + ConsoleText::summary(1, 1, 1, 0) +
                      report("the query's shape vector has 3 elements, the library's rows have "
                             "512"));
    folder.write("query.json", with(queryDocument(), "/text", nullptr));
    ConsoleText console;
    console.method = "ByText";
    console.threshold = "0.3";
    expectFailure(folder, {"/method", "text"},
                  console.untilFiles(1) + ConsoleText::summary(1, 1, 1, 0) +
                      report("the query's text vector has 0 elements, the library's rows have "
                             "384"));
}

TEST(FailedRun, ReportsAnOutputThatCannotBeOpened) {
    const TempFolder folder;
    writeGoodRun(folder);
    ConsoleText console;
    console.output = R"("missing/椅子.json")";
    expectFailure(folder, {"/output", "missing/椅子.json"},
                  console.untilFiles(1) + ConsoleText::summary(1, 1, 1, 0) + "Query time: T ms\n" +
                      report("fail to open output file: missing/椅子.json"));
    EXPECT_FALSE(fs::exists(folder.path() / "missing"));
}

// The file is emptied before its extension is checked.
TEST(FailedRun, EmptiesAnOutputWithoutAKnownExtension) {
    const TempFolder folder;
    writeGoodRun(folder);
    folder.write("result.txt", std::string("earlier"));
    ConsoleText console;
    console.output = R"("result.txt")";
    expectFailure(folder, {"/output", "result.txt"},
                  console.untilFiles(1) + ConsoleText::summary(1, 1, 1, 0) + "Query time: T ms\n" +
                      report("Unknown output file format! result.txt"));
    EXPECT_EQ(readBytes(folder.path() / "result.txt"), "");
}

}  // namespace
}  // namespace quillon::test
