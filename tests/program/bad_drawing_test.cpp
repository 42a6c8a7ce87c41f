// Drawings that parse but are not what they should be: every kind of value in every place. In
// parallel a wrong structure ends the run, one at a time it is reported and the run goes on.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "program/program_folder.h"
#include "program/wrong_documents.h"

namespace quillon::test {
namespace {

using nlohmann::json;

json goodDrawing() {
    return drawingDocument({{"first*A*1", 1.25}, {"second*B*2", 1.5}});
}

/// A drawing with one thing wrong, and what is loaded of it before that is met.
struct DrawingCase {
    json document;
    std::string text;
    std::size_t blocksBefore;
};

TEST(BadDrawing, DrawingsOfAWrongStructureEndTheRunOrAreReported) {
    const json good = goodDrawing();
    const json object = {{"a", 1}};
    const std::vector<DrawingCase> cases{
        {true, objectWanted + "boolean", 0},
        {5, objectWanted + "number", 0},
        {"x", objectWanted + "string", 0},
        {json::array({good}), objectWanted + "array", 0},
        {json::object(), keyWanted + "'shape' not found", 0},
        {without(good, "shape"), keyWanted + "'shape' not found", 0},
        {without(good, "text"), keyWanted + "'text' not found", 0},
        {without(good, "blocks"), keyWanted + "'blocks' not found", 0},
        {with(good, "/shape", nullptr), arrayWanted + "null", 0},
        {with(good, "/shape", true), arrayWanted + "boolean", 0},
        {with(good, "/shape", 5), arrayWanted + "number", 0},
        {with(good, "/shape", "x"), arrayWanted + "string", 0},
        {with(good, "/shape", object), arrayWanted + "object", 0},
        {with(good, "/text", nullptr), arrayWanted + "null", 0},
        {with(good, "/text", 5), arrayWanted + "number", 0},
        {with(good, "/text", "x"), arrayWanted + "string", 0},
        {with(good, "/text", object), arrayWanted + "object", 0},
        {with(good, "/blocks", true), arrayWanted + "boolean", 0},
        {with(good, "/blocks", 5), arrayWanted + "number", 0},
        {with(good, "/blocks", "x"), arrayWanted + "string", 0},
        {with(good, "/blocks", object), arrayWanted + "object", 0},
        // The name of a rejected block is looked up in the same way.
        {with(with(good, "/blocks", "x"), "/shape/0", nullptr), arrayWanted + "string", 0},
        {with(good, "/blocks/0", nullptr), stringWanted + "null", 0},
        {with(good, "/blocks/0", true), stringWanted + "boolean", 0},
        {with(good, "/blocks/1", 5), stringWanted + "number", 1},
        {with(good, "/blocks/1", {"x"}), stringWanted + "array", 1},
        {with(good, "/blocks/1", object), stringWanted + "object", 1},
    };
    const TempFolder folder;
    for (const DrawingCase& each : cases) {
        SCOPED_TRACE(each.document.dump().substr(0, 60) + " " + each.text);
        writeGoodRun(folder, {"bad.json", "good.json"});
        folder.write("bad.json", each.document);
        expectFailure(folder, {"/method", "shape"},
                      ConsoleText().untilFiles(2) + report(each.text));

        ConsoleText console;
        console.parallel = false;
        const ProgramResult result = runIn(folder, {"/method", "shape", "/no-parallel-load"});
        expectCleanEnd(result);
        const std::size_t blocks = each.blocksBefore + 1;
        EXPECT_EQ(maskTimes(result.out),
                  console.untilFiles(2) + loadModes[1].failureLine("\"bad.json\"", each.text) +
                      ConsoleText::summary(2, blocks, blocks, 0) + ConsoleText::success());
        EXPECT_EQ(hitMembers(folder, "name"), each.blocksBefore == 0
                                                  ? (std::vector<json>{"good"})
                                                  : (std::vector<json>{"first", "good"}));
    }
}

// A vector that turns out not to hold numbers has its block already in the records, and nothing is
// taken back: from there on the names stand one row too early.
TEST(BadDrawing, VectorElementsThatAreNoNumbersShiftWhatFollows) {
    const TempFolder folder;
    const std::vector<WrongDocument> values{{nullptr, numberWanted + "null"},
                                            {"0", numberWanted + "string"},
                                            {json::array({0}), numberWanted + "array"},
                                            {{{"a", 1}}, numberWanted + "object"}};
    for (const char* place : {"/shape/1/511", "/text/1/383"}) {
        for (const WrongDocument& each : values) {
            SCOPED_TRACE(std::string(place) + each.text);
            writeGoodRun(folder, {"bad.json", "good.json"});
            folder.write("bad.json", with(goodDrawing(), place, each.document));
            expectFailure(folder, {"/method", "shape"},
                          ConsoleText().untilFiles(2) + report(each.text));

            ConsoleText console;
            console.parallel = false;
            const ProgramResult result = runIn(folder, {"/method", "shape", "/no-parallel-load"});
            expectCleanEnd(result);
            EXPECT_EQ(maskTimes(result.out),
                      console.untilFiles(2) + loadModes[1].failureLine("\"bad.json\"", each.text) +
                          ConsoleText::summary(2, 2, 2, 0) + ConsoleText::success());
            EXPECT_EQ(hitMembers(folder, "name"), (std::vector<json>{"first", "second"}));
            // With a bad text the block's shape is in, and the good drawing's is cut off.
            const double second = place == std::string("/text/1/383") ? 0.25 : 0.5625;
            EXPECT_EQ(hitMembers(folder, "distOrScore"), (std::vector<json>{0.0625, second}));
        }
    }
}

TEST(BadDrawing, VectorsOfAWrongKindRejectTheirBlock) {
    const TempFolder folder;
    const std::vector<json> values{
        nullptr,          true,      5, "x", json::array(), json::object(), vectorOf(511, 1),
        vectorOf(513, 1), {{"a", 1}}};
    for (const LoadMode& mode : loadModes) {
        for (const std::string side : {"shape", "text"}) {
            for (const json& value : values) {
                SCOPED_TRACE(side + value.dump().substr(0, 20));
                writeGoodRun(folder, {"bad.json", "good.json"});
                folder.write("bad.json", with(goodDrawing(), "/" + side + "/0", value));
                ConsoleText console;
                console.parallel = mode.parallel;
                const ProgramResult result = runIn(folder, mode.arguments("shape"));
                expectCleanEnd(result);
                EXPECT_EQ(maskTimes(result.out), console.untilFiles(2) + "Invalid " + side +
                                                     " vector for \"first*A*1\"\n" +
                                                     ConsoleText::summary(2, 2, 2, 0) +
                                                     ConsoleText::success());
                EXPECT_EQ(hitMembers(folder, "name"), (std::vector<json>{"second", "good"}));
            }
        }
    }
}

TEST(BadDrawing, KeysOfRejectedBlocksAreWrittenWhateverTheyAre) {
    const TempFolder folder;
    writeGoodRun(folder, {"bad.json", "good.json"});
    json drawing = goodDrawing();
    drawing["blocks"] = {nullptr, true, -1.5, json::array({1, "x"}), {{"k", {{"l", nullptr}}}}};
    drawing["shape"] = json::array();
    folder.write("bad.json", drawing);
    for (const LoadMode& mode : loadModes) {
        ConsoleText console;
        console.parallel = mode.parallel;
        const ProgramResult result = runIn(folder, mode.arguments("shape"));
        expectCleanEnd(result);
        EXPECT_EQ(maskTimes(result.out), console.untilFiles(2) +
                                             "Invalid shape vector for null\n"
                                             "Invalid shape vector for true\n"
                                             "Invalid shape vector for -1.5\n"
                                             "Invalid shape vector for [1,\"x\"]\n"
                                             "Invalid shape vector for {\"k\":{\"l\":null}}\n" +
                                             ConsoleText::summary(2, 1, 1, 0) +
                                             ConsoleText::success());
    }
}

TEST(BadDrawing, ADrawingOfNullIsPassedOverInParallelOnly) {
    const TempFolder folder;
    for (const std::string format : {"json", "cbor", "msgpack", "ubj", "jdb"}) {
        SCOPED_TRACE(format);
        writeGoodRun(folder, {"bad.json", "good.json"});
        folder.write("list.json", listDocument({"null." + format, "good.json"}));
        folder.write("null." + format, std::string_view(documentBytes(nullptr, format)));
        for (const LoadMode& mode : loadModes) {
            ConsoleText console;
            console.parallel = mode.parallel;
            const std::string failure =
                mode.failureLine("\"null." + format + '"', objectWanted + "null");
            const ProgramResult result = runIn(folder, mode.arguments("shape"));
            expectCleanEnd(result);
            EXPECT_EQ(maskTimes(result.out),
                      console.untilFiles(2) + (mode.parallel ? "" : failure) +
                          ConsoleText::summary(2, 1, 1, 0) + ConsoleText::success());
            EXPECT_EQ(json::parse(resultText(folder)).at("stats").at("failedDrawings"),
                      mode.parallel ? 0 : 1);
        }
    }
}

TEST(BadDrawing, DrawingsWithoutBlocksNeedNoVectors) {
    const TempFolder folder;
    for (const json& empty : {json(nullptr), json::array(), json::object()}) {
        for (const LoadMode& mode : loadModes) {
            writeGoodRun(folder, {"bad.json", "good.json"});
            folder.write("bad.json", json{{"blocks", empty}});
            ConsoleText console;
            console.parallel = mode.parallel;
            ProgramResult result = runIn(folder, mode.arguments("shape"));
            expectCleanEnd(result);
            EXPECT_EQ(
                maskTimes(result.out),
                console.untilFiles(2) + ConsoleText::summary(2, 1, 1, 0) + ConsoleText::success());

            folder.write("list.json", listDocument({"bad.json"}));
            folder.write("result.json", std::string_view("earlier"));
            expectFailure(folder, mode.arguments("shape"),
                          console.untilFiles(1) + report("No encodings are loaded from files."));
        }
    }
}

}  // namespace
}  // namespace quillon::test
