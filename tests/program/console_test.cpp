// Whole runs that succeed: the console text, the status and the result document, byte for byte.
// Vectors hold small integers and binary fractions, so distances are exact on every machine.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "program/program_folder.h"
#include "shared/utf8_path.h"

namespace quillon::test {
namespace {

using nlohmann::json;

void writeQueryAndList(const TempFolder& folder, const std::vector<std::string>& paths) {
    folder.write("query.json", queryDocument());
    folder.write("list.json", listDocument(paths));
}

TEST(ConsoleRun, ByShapeLeavesOutTheQuerysTwin) {
    const TempFolder folder;
    writeQueryAndList(folder, {"drawing/a.json"});
    folder.write("drawing/a.json",
                 drawingDocument({{"twin*T*1", 1}, {"far*F*2", 2}, {"near*N*3", 1.5}}));
    for (const LoadMode& mode : loadModes) {
        ConsoleText console;
        console.parallel = mode.parallel;
        const ProgramResult result = runIn(folder, mode.arguments("shape"));
        expectCleanEnd(result);
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(maskTimes(result.out), console.untilFiles(1) + ConsoleText::summary(1, 3, 3, 0) +
                                             ConsoleText::success());
        EXPECT_EQ(resultText(folder),
                  R"({"blocks":[{"code":"N","distOrScore":0.25,"dwgPathHash":"drawing",)"
                  R"("handle":"3","index":2,"name":"near","shapeWeight":0.0,"textWeight":0.0}],)"
                  R"("stats":{"failedDrawings":0,"resultBlocks":1,"totalBlocks":3,)"
                  R"("totalDrawings":1,"uniqueBlocks":3}})");
    }
}

TEST(ConsoleRun, ByTextReportsTheQuerysTwinAndIndentsByFourBlanks) {
    const TempFolder folder;
    writeQueryAndList(folder, {"a.json"});
    folder.write("a.json", drawingDocument({{"far*F*1", 2}, {"twin*T*2*more*fields", 1}}));
    for (const LoadMode& mode : loadModes) {
        ConsoleText console;
        console.parallel = mode.parallel;
        console.pretty = true;
        console.method = "ByText";
        console.threshold = "0.3";
        std::vector<std::string> arguments = mode.arguments("text");
        arguments.emplace_back("/pretty");
        const ProgramResult result = runIn(folder, arguments);
        expectCleanEnd(result);
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(maskTimes(result.out), console.untilFiles(1) + ConsoleText::summary(1, 2, 2, 0) +
                                             ConsoleText::success());
        EXPECT_EQ(readText(folder.path() / "result.json"), R"({
    "blocks": [
        {
            "code": "T",
            "distOrScore": 0.0,
            "dwgPathHash": "",
            "handle": "2",
            "index": 1,
            "name": "twin",
            "shapeWeight": 0.0,
            "textWeight": 0.0
        }
    ],
    "stats": {
        "failedDrawings": 0,
        "resultBlocks": 1,
        "totalBlocks": 2,
        "totalDrawings": 1,
        "uniqueBlocks": 2
    }
})");
    }
}

TEST(ConsoleRun, WithoutHitsWritesNullBlocks) {
    const TempFolder folder;
    writeQueryAndList(folder, {"a.json"});
    folder.write("a.json", drawingDocument({{"far*F*1", 2}}));
    const ProgramResult result = runIn(folder, {"/method", "shape"});
    expectCleanEnd(result);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(resultText(folder),
              R"({"blocks":null,"stats":{"failedDrawings":0,"resultBlocks":0,"totalBlocks":1,)"
              R"("totalDrawings":1,"uniqueBlocks":1}})");
}

TEST(ConsoleRun, DuplicatesAreDroppedByCodeInListOrder) {
    const TempFolder folder;
    writeQueryAndList(folder, {"b.json", "a.json", "b.json"});
    folder.write("a.json", drawingDocument({{"first of a*X*1", 1.25}, {"second of a*Y*2", 1.25}}));
    // A block with the handle 0 comes last in its drawing, and only the last of them comes at all.
    folder.write("b.json", drawingDocument({{"lost*L*0", 1.25},
                                            {"drawing b*Z*0", 1.5},
                                            {"second of b*X*5", 1.5},
                                            {"third of b*X*6", 1.25},
                                            {"fourth of b*Z*00", 1.5}}));
    for (const LoadMode& mode : loadModes) {
        ConsoleText console;
        console.parallel = mode.parallel;
        std::vector<std::string> arguments = mode.arguments("shape");
        arguments.insert(arguments.end(), {"/topk", "-1"});
        console.topK = "4294967295";
        ProgramResult result = runIn(folder, arguments);
        expectCleanEnd(result);
        EXPECT_EQ(maskTimes(result.out), console.untilFiles(3) + ConsoleText::summary(3, 10, 3, 7) +
                                             ConsoleText::success());
        EXPECT_EQ(hitMembers(folder, "name"),
                  (std::vector<json>{"second of a", "second of b", "fourth of b"}));

        arguments.emplace_back("/no-dedup");
        console.dedupe = false;
        result = runIn(folder, arguments);
        expectCleanEnd(result);
        EXPECT_EQ(
            maskTimes(result.out),
            console.untilFiles(3) + ConsoleText::summary(3, 10, 10, 0) + ConsoleText::success());
        EXPECT_EQ(hitMembers(folder, "name"),
                  (std::vector<json>{"third of b", "first of a", "second of a", "third of b",
                                     "second of b", "fourth of b", "drawing b", "second of b",
                                     "fourth of b", "drawing b"}));
    }
}

TEST(ConsoleRun, AMeaninglessTextForcesByShape) {
    struct Case {
        json queryText;
        bool meaningless;
    };
    const std::vector<Case> cases{
        {{"Door 23_3"}, false},    {json::array(), false}, {nullptr, false},
        {json::object(), false},   {{"ab"}, true},         {{""}, true},
        {{"12 34"}, true},         {{"12-34"}, false},     {{"A$C"}, true},
        {{"a$c1"}, true},          {{"A$c"}, false},       {{" A$C"}, false},
        {{"a\tbc"}, true},         {{"12a"}, false},       {{"ab", "Door 23_3"}, true},
        {{"TÜR 90"}, false},       {{"椅子"}, false},      {{"é"}, true},
        {{"\u00a0\u0085x"}, true},
    };
    const TempFolder folder;
    writeQueryAndList(folder, {"a.json"});
    folder.write("a.json", drawingDocument({{"near*N*1", 1.25}}));
    for (const auto& [queryText, meaningless] : cases) {
        SCOPED_TRACE(queryText.dump());
        json query = queryDocument();
        query["queryText"] = queryText;
        folder.write("query.json", query);
        ConsoleText console;
        console.method = meaningless ? "ByShape" : "ByText";
        console.threshold = meaningless ? "0.2" : "0.6";
        const ProgramResult result = runIn(folder, {"/method", "text", "/min", "0.6"});
        expectCleanEnd(result);
        EXPECT_EQ(maskTimes(result.out), console.untilFiles(1) + ConsoleText::summary(1, 1, 1, 0) +
                                             ConsoleText::success());
    }
}

TEST(ConsoleRun, DrawingsOfAMetadataTreeAreNamedByTheirPath) {
    const TempFolder folder;
    const std::vector<std::string> paths{
        "plans/.blocksMetadata/ab/TÜR 90.dwg/encodings.json", "loose/椅子.dwg/encodings.json",
        "loose/.blocksmetadata/other case/encodings.json", "loose/x.blocksMetadata.json"};
    writeQueryAndList(folder, paths);
    for (std::size_t i = 0; i < paths.size(); ++i) {
        const std::string number = std::to_string(i);
        folder.write(paths[i], drawingDocument({{"Stühle 椅子*" + number + "*1", 1.25}}));
    }
    for (const LoadMode& mode : loadModes) {
        expectCleanEnd(runIn(folder, mode.arguments("shape")));
        const json blocks = json::parse(resultText(folder)).at("blocks");
        const std::filesystem::path root = std::filesystem::canonical(folder.path());
        ASSERT_EQ(blocks.size(), 4U);
        EXPECT_EQ(blocks[0].at("name"), "Stühle 椅子");
        EXPECT_EQ(blocks[0].at("dwgPath"),
                  utf8FromPath(root / "plans" / pathFromUtf8("TÜR 90.dwg")));
        EXPECT_FALSE(blocks[0].contains("dwgPathHash"));
        EXPECT_EQ(blocks[1].at("dwgPathHash"), "椅子.dwg");
        EXPECT_FALSE(blocks[1].contains("dwgPath"));
        EXPECT_EQ(blocks[2].at("dwgPathHash"), "other case");
        // By depth alone: four levels up from the file.
        EXPECT_EQ(blocks[3].at("dwgPath"),
                  utf8FromPath(root.parent_path().parent_path() / "loose"));
    }
}

TEST(ConsoleRun, BlocksWithoutGoodVectorsAreNamedAndNotCounted) {
    const TempFolder folder;
    writeQueryAndList(folder, {"a.json"});
    json drawing = drawingDocument({{"short \"shape\"*1*1", 1},
                                    {"short text*2*2", 1},
                                    {"TÜR*3*3", 1},
                                    {"two fields*4", 1},
                                    {"good*5*5", 1.25},
                                    {"past the vectors*6*6", 1}});
    drawing["shape"][0].erase(0);
    drawing["text"][0].erase(0);
    drawing["text"][1].push_back(0);
    drawing["shape"][2] = nullptr;
    drawing["text"].erase(5);
    folder.write("a.json", drawing);
    for (const LoadMode& mode : loadModes) {
        ConsoleText console;
        console.parallel = mode.parallel;
        const ProgramResult result = runIn(folder, mode.arguments("shape"));
        expectCleanEnd(result);
        EXPECT_EQ(maskTimes(result.out),
                  console.untilFiles(1) +
                      "Invalid shape vector for \"short \\\"shape\\\"*1*1\"\n"
                      "Invalid text vector for \"short text*2*2\"\n"
                      "Invalid shape vector for \"TÜR*3*3\"\n"
                      "Warning: block key with fewer than three fields: "
                      "two fields*4\n"
                      "Invalid text vector for \"past the vectors*6*6\"\n" +
                      ConsoleText::summary(1, 1, 1, 0) + ConsoleText::success());
        EXPECT_EQ(hitMembers(folder, "name"), (std::vector<json>{"good"}));
    }
}

TEST(ConsoleRun, AVectorMayBeAnObjectReadInKeyOrder) {
    const TempFolder folder;
    writeQueryAndList(folder, {"a.json"});
    json drawing = drawingDocument({{"object*O*1", 0}});
    json shape = json::object();
    for (int i = 0; i < 512; ++i) {
        shape[std::to_string(1000 + i)] = i == 0 ? 1.5 : 0.0;
    }
    drawing["shape"][0] = shape;
    folder.write("a.json", drawing);
    expectCleanEnd(runIn(folder, {"/method", "shape"}));
    EXPECT_EQ(hitMembers(folder, "distOrScore"), (std::vector<json>{0.25}));
}

// The first columns are searched, and no row is the twin of a vector of another width.
TEST(ConsoleRun, AQueryWiderThanTheLibraryIsLegal) {
    const TempFolder folder;
    writeQueryAndList(folder, {"a.json"});
    folder.write("a.json", drawingDocument({{"twin*T*1", 1}}));
    json query = queryDocument();
    query["shape"][0].push_back(7);
    query["text"][0].push_back(7);
    folder.write("query.json", query);
    for (const std::string method : {"shape", "text"}) {
        const ProgramResult result = runIn(folder, {"/method", method});
        expectCleanEnd(result);
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(hitMembers(folder, "distOrScore"), (std::vector<json>{0.0}));
    }
}

// Only the side that a method reads must be there.
TEST(ConsoleRun, TheOtherSideOfTheQueryMayBeEmpty) {
    const TempFolder folder;
    writeQueryAndList(folder, {"a.json"});
    folder.write("a.json", drawingDocument({{"near*N*1", 1.25}}));
    for (const json& empty : {json(nullptr), json("x"), json(5), json::array(), json::object(),
                              json::array({json::array()}), json{1, 2, 3}}) {
        SCOPED_TRACE(empty.dump());
        json query = queryDocument();
        query["shape"] = empty;
        folder.write("query.json", query);
        expectCleanEnd(runIn(folder, {"/method", "text"}));
        EXPECT_EQ(hitMembers(folder, "name"), (std::vector<json>{"near"}));

        query = queryDocument();
        query["text"] = empty;
        folder.write("query.json", query);
        expectCleanEnd(runIn(folder, {"/method", "shape"}));
        EXPECT_EQ(hitMembers(folder, "name"), (std::vector<json>{"near"}));
    }
}

}  // namespace
}  // namespace quillon::test
