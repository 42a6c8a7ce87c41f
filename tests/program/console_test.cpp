// Whole runs that succeed: the console text, the status and the result document, byte for byte.
// Vectors hold small integers and binary fractions, so distances are exact on every machine.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "program/program_folder.h"
#include "shared/utf8_path.h"
#include "support/documents.h"

namespace quillon::test {
namespace {

using nlohmann::json;

TEST(ConsoleRun, ByShapeLeavesOutTheQuerysTwin) {
    const TempFolder folder;
    writeQueryAndList(folder, {"drawing/a.json"});
    folder.write("drawing/a.json", encodings({{"twin*T*1", 1}, {"far*F*2", 2}, {"near*N*3", 1.5}}));
    for (const LoadMode& mode : loadModes) {
        ConsoleText console;
        console.parallel = mode.parallel;
        expectSuccess(
            runIn(folder, mode.arguments("shape")),
            console.untilFiles(1) + ConsoleText::summary(1, 3, 3, 0) + ConsoleText::success());
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
    folder.write("a.json", encodings({{"far*F*1", 2}, {"twin*T*2*more*fields", 1}}));
    for (const LoadMode& mode : loadModes) {
        ConsoleText console;
        console.parallel = mode.parallel;
        console.pretty = true;
        console.method = "ByText";
        console.threshold = "0.3";
        std::vector<std::string> arguments = mode.arguments("text");
        arguments.emplace_back("/pretty");
        expectSuccess(
            runIn(folder, arguments),
            console.untilFiles(1) + ConsoleText::summary(1, 2, 2, 0) + ConsoleText::success());
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
    folder.write("a.json", encodings({{"far*F*1", 2}}));
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
    folder.write("a.json", encodings({{"first of a*X*1", 1.25}, {"second of a*Y*2", 1.25}}));
    // A block with the handle 0 comes last in its drawing, and only the last of them comes at all.
    folder.write("b.json", encodings({{"lost*L*0", 1.25},
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
        expectSuccess(
            runIn(folder, arguments),
            console.untilFiles(3) + ConsoleText::summary(3, 10, 3, 7) + ConsoleText::success());
        EXPECT_EQ(hitMembers(folder, "name"),
                  (std::vector<json>{"second of a", "second of b", "fourth of b"}));

        arguments.emplace_back("/no-dedup");
        console.dedupe = false;
        expectSuccess(
            runIn(folder, arguments),
            console.untilFiles(3) + ConsoleText::summary(3, 10, 10, 0) + ConsoleText::success());
        EXPECT_EQ(hitMembers(folder, "name"),
                  (std::vector<json>{"third of b", "first of a", "second of a", "third of b",
                                     "second of b", "fourth of b", "drawing b", "second of b",
                                     "fourth of b", "drawing b"}));
    }
}

TEST(ConsoleRun, AMeaninglessTextForcesByShape) {
    const TempFolder folder;
    writeQueryAndList(folder, {"a.json"});
    folder.write("a.json", encodings({{"near*N*1", 1.25}}));
    for (const bool isMeaningless : {false, true}) {
        folder.write("query.json",
                     with(queryDocument(), "/queryText/0", isMeaningless ? "A$C" : "椅子"));
        ConsoleText console;
        console.method = isMeaningless ? "ByShape" : "ByText";
        console.threshold = isMeaningless ? "0.2" : "0.6";
        expectSuccess(
            runIn(folder, {"/method", "text", "/min", "0.6"}),
            console.untilFiles(1) + ConsoleText::summary(1, 1, 1, 0) + ConsoleText::success());
        EXPECT_EQ(hitMembers(folder, "name"), (std::vector<json>{"near"}));
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
        folder.write(paths[i], encodings({{"Stühle 椅子*" + number + "*1", 1.25}}));
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
        const std::filesystem::path above = root.parent_path().parent_path();
        EXPECT_EQ(blocks[3].at("dwgPath"), utf8FromPath(above / "loose"));
    }
}

TEST(ConsoleRun, BlocksWithoutGoodVectorsAreNamedAndNotCounted) {
    const TempFolder folder;
    writeQueryAndList(folder, {"a.json"});
    json drawing = encodings({{"short \"shape\"*1*1", 1},
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
        expectSuccess(runIn(folder, mode.arguments("shape")),
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

/// 0.5 at four places, so that the length is exactly 1.
json unitVector(std::size_t width, const std::vector<std::size_t>& places) {
    json vector = std::vector<double>(width);
    for (const std::size_t place : places) {
        vector[place] = 0.5;
    }
    return vector;
}

// A vector of zeros lies equally far from all others. On both sides that leaves the block without
// weights, and its score is not a number. In a small library the insertion sort moves only those
// scores past it that are below all others so far. Higher ones of later blocks stay behind it,
// which is ahead of it in the ranking, and the hits end there.
TEST(ConsoleRun, AScoreThatIsNotANumberEndsTheHitsOfASmallLibrary) {
    const std::vector<std::string> names{"first", "second", "third"};
    const std::vector<std::vector<std::size_t>> shapes{{0, 3, 4, 5}, {3, 4, 5, 8}, {2, 3, 5, 7}};
    const std::vector<std::vector<std::size_t>> texts{{2, 3, 5, 6}, {0, 4, 6, 8}, {1, 2, 4, 6}};
    const std::vector<std::vector<json>> hitsByPlaceOfZeros{
        {"second", "third"}, {"second"}, {}, {}, {"second", "third", "first"}};
    const TempFolder folder;
    folder.write("query.json", json{{"shape", {unitVector(512, {0, 1, 2, 8})}},
                                    {"text", {unitVector(384, {2, 4, 7, 8})}},
                                    {"queryText", {"Door 23_3"}}});
    writeList(folder, {"a.json"});
    for (std::size_t place = 0; place < hitsByPlaceOfZeros.size(); ++place) {
        SCOPED_TRACE(place);
        json drawing = encodings({});
        for (std::size_t block = 0; block < 4; ++block) {
            if (block == place) {
                drawing["blocks"].push_back("zeros*Z*4");
                drawing["shape"].push_back(unitVector(512, {}));
                drawing["text"].push_back(unitVector(384, {}));
            }
            if (block < names.size()) {
                drawing["blocks"].push_back(names[block] + "*" + names[block] + "*1");
                drawing["shape"].push_back(unitVector(512, shapes[block]));
                drawing["text"].push_back(unitVector(384, texts[block]));
            }
        }
        folder.write("a.json", drawing);
        const std::size_t blockCount = drawing["blocks"].size();
        ConsoleText console;
        console.method = "Adaptive";
        console.threshold = "0.3";
        expectSuccess(runIn(folder, {"/method", "adaptive"}),
                      console.untilFiles(1) + ConsoleText::summary(1, blockCount, blockCount, 0) +
                          ConsoleText::success());
        EXPECT_EQ(hitMembers(folder, "name"), hitsByPlaceOfZeros[place]);
    }
}

// The first columns are searched, and no row is the twin of a vector of another width.
TEST(ConsoleRun, AQueryWiderThanTheLibraryIsLegal) {
    const TempFolder folder;
    writeQueryAndList(folder, {"a.json"});
    folder.write("a.json", encodings({{"twin*T*1", 1}}));
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

TEST(ConsoleRun, OnlyTheSideThatAMethodReadsMustBeThere) {
    const TempFolder folder;
    writeQueryAndList(folder, {"a.json"});
    folder.write("a.json", encodings({{"near*N*1", 1.25}}));
    for (const auto& [method, otherSide] :
         {std::pair{"text", "/shape"}, std::pair{"shape", "/text"}}) {
        folder.write("query.json", with(queryDocument(), otherSide, nullptr));
        expectCleanEnd(runIn(folder, {"/method", method}));
        EXPECT_EQ(hitMembers(folder, "name"), (std::vector<json>{"near"}));
    }
}

}  // namespace
}  // namespace quillon::test
