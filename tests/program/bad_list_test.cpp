// File lists that parse but are not what they should be: every kind of value in every place.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "program/program_folder.h"
#include "program/wrong_documents.h"

namespace quillon::test {
namespace {

using nlohmann::json;

TEST(BadList, ListsOfAWrongStructureEndTheLoad) {
    const std::string empty = "There are no files in list.json";
    const std::vector<WrongDocument> cases{
        {nullptr, objectWanted + "null"},
        {false, objectWanted + "boolean"},
        {5, objectWanted + "number"},
        {"good.json", objectWanted + "string"},
        {{"good.json"}, objectWanted + "array"},
        {json::object(), keyWanted + "'files' not found"},
        {{{"Files", {"good.json"}}}, keyWanted + "'files' not found"},
        {{{"files", nullptr}}, empty},
        {{{"files", json::array()}}, empty},
        {{{"files", json::object()}}, empty},
    };
    const TempFolder folder;
    writeGoodRun(folder);
    for (const LoadMode& mode : loadModes) {
        ConsoleText console;
        console.parallel = mode.parallel;
        for (const WrongDocument& each : cases) {
            SCOPED_TRACE(each.document.dump());
            folder.write("list.json", each.document);
            expectFailure(folder, mode.arguments("shape"), console.untilLoad() + report(each.text));
        }
    }
}

TEST(BadList, ListEntriesThatAreNoPathsAreReportedAndSkipped) {
    const std::vector<WrongDocument> cases{
        {nullptr, stringWanted + "null"},
        {true, stringWanted + "boolean"},
        {-5, stringWanted + "number"},
        {1.5, stringWanted + "number"},
        {{"good.json"}, stringWanted + "array"},
        {{{"path", "good.json"}}, stringWanted + "object"},
        {"", "fail to open input file: "},
        {"missing.json", "fail to open input file: missing.json"},
        {"missing.txt", "fail to open input file: missing.txt"},
        {"good.JSON", "Unknown input file format! good.JSON"},
        {"good", "Unknown input file format! good"},
        {".json", "Unknown input file format! .json"}};
    const TempFolder folder;
    writeGoodRun(folder);
    for (const char* name : {"good.JSON", "good", ".json"}) {
        folder.write(name, drawingDocument({{"good*G*1", 1.25}}));
    }
    json entries = json::array();
    for (const LoadMode& mode : loadModes) {
        std::string failures;
        entries.clear();
        for (const WrongDocument& each : cases) {
            entries.push_back(each.document);
            failures += mode.failureLine(each.document.dump(), each.text);
        }
        entries.push_back("good.json");
        folder.write("list.json", json{{"files", entries}});
        ConsoleText console;
        console.parallel = mode.parallel;
        const ProgramResult result = runIn(folder, mode.arguments("shape"));
        expectCleanEnd(result);
        EXPECT_EQ(maskTimes(result.out), console.untilFiles(entries.size()) + failures +
                                             ConsoleText::summary(entries.size(), 1, 1, 0) +
                                             ConsoleText::success());
        EXPECT_EQ(json::parse(resultText(folder)).at("stats").at("failedDrawings"), cases.size());
    }
}

// One at a time, the members of whatever stands there are walked; in parallel they are indexed.
TEST(BadList, FilesThatAreNoArrayAreWalkedOneAtATimeOnly) {
    struct Files {
        json value;
        std::string kind;
        std::size_t size;
        std::string walked;  // the failures, one at a time
        std::size_t blocks;  // and what is loaded in spite of them
    };
    const std::vector<Files> cases{
        {"good.json", "string", 1, "", 1},
        {{{"b", "good.json"}, {"a", 7}},
         "object",
         2,
         "Fail to load 7\n\t" + stringWanted + "number\n",
         1},
        {7, "number", 1, "Fail to load 7\n\t" + stringWanted + "number\n", 0},
        {true, "boolean", 1, "Fail to load true\n\t" + stringWanted + "boolean\n", 0},
    };
    const std::string nothing = report("No encodings are loaded from files.");
    const TempFolder folder;
    for (const Files& each : cases) {
        SCOPED_TRACE(each.kind);
        writeGoodRun(folder);
        folder.write("list.json", json{{"files", each.value}});
        std::string warnings;
        for (std::size_t i = 0; i < each.size; ++i) {
            warnings += "Warning: " + arrayWanted + each.kind + "\n";
        }
        expectFailure(folder, {"/method", "shape"},
                      ConsoleText().untilFiles(each.size) + warnings + nothing);

        ConsoleText console;
        console.parallel = false;
        const ProgramResult result = runIn(folder, {"/method", "shape", "/no-parallel-load"});
        expectCleanEnd(result);
        EXPECT_EQ(maskTimes(result.out),
                  console.untilFiles(each.size) + each.walked +
                      (each.blocks == 0
                           ? nothing
                           : ConsoleText::summary(each.size, 1, 1, 0) + ConsoleText::success()));
    }
}

}  // namespace
}  // namespace quillon::test
