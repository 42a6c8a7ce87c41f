// Which blocks enter the library: of drawings made by hand, and of encodings documents in both ways
// of loading.
#include "library/merge_drawing.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "shared/utf8_path.h"
#include "support/documents.h"
#include "support/load_outcome.h"
#include "support/temp_folder.h"

namespace quillon {
namespace {

using nlohmann::json;
using namespace test;
using Fields = std::vector<std::string>;

/// Blocks whose vectors begin with 1, 2, 3 ... in the shape and -1, -2, -3 ... in the text.
Drawing drawingOf(const std::vector<std::string>& keys) {
    Drawing drawing;
    for (const std::string& key : keys) {
        drawing.blocks.emplace_back().key = key;
        const auto mark = static_cast<float>(drawing.blocks.size());
        *drawing.shapes.append() = mark;
        *drawing.texts.append() = -mark;
    }
    return drawing;
}

std::exception_ptr failureOf(const char* text) {
    return std::make_exception_ptr(std::runtime_error(text));
}

/// What drawings leave that are merged one after the other.
struct Merged {
    MergeState state;
    std::vector<BlockRecord> records;
    std::string diagnostics;
    std::string failure;

    void add(Drawing drawing, bool dedupe = true) {
        drawing.path = std::make_shared<const std::filesystem::path>("a.json");
        try {
            addDrawingBlocks(std::move(drawing), dedupe, state, records, diagnostics);
        } catch (const std::runtime_error& exception) {
            failure = exception.what();
        }
    }
    Fields keys() const {
        Fields all;
        for (const BlockRecord& record : records) {
            all.push_back(record.blockKey);
        }
        return all;
    }
};

TEST(MergeOfDrawings, RowsRecordsAndCountsGoTogether) {
    Merged merged;
    merged.add(drawingOf({"zero*Z*0", "a*A*1", "again*A*2", "last*Y*0", "b*B*3"}));
    EXPECT_EQ(merged.keys(), (Fields{"a*A*1", "b*B*3", "last*Y*0"}));
    EXPECT_EQ(merged.state.uniqueCount, 3U);
    EXPECT_EQ(merged.state.duplicateCount, 1U);
    EXPECT_EQ(merged.state.seenCodes, (std::unordered_set<std::string>{"A", "B", "Y"}));
    EXPECT_EQ(marks(std::move(merged.state.shapes).takeMatrix(3)), (std::vector<float>{2, 5, 4}));
    EXPECT_EQ(marks(std::move(merged.state.texts).takeMatrix(3)), (std::vector<float>{-2, -5, -4}));
}

TEST(MergeOfDrawings, ASideThatIsNotKeptHasNoRows) {
    for (const KeptSides kept : {KeptSides{true, false}, {false, true}}) {
        Merged merged;
        merged.state.kept = kept;
        merged.add(drawingOf({"a*A*1", "b*B*2"}));
        EXPECT_EQ(merged.state.uniqueCount, 2U);
        EXPECT_EQ(merged.state.shapes.rowCount(), kept.shape ? 2U : 0U);
        EXPECT_EQ(merged.state.texts.rowCount(), kept.text ? 2U : 0U);

        Drawing drawing = drawingOf({"c*C*3"});
        drawing.blocks[0].failure = failureOf("no number");
        drawing.blocks[0].hasShape = kept.shape;
        merged.add(std::move(drawing));
        EXPECT_EQ(merged.failure, "no number");
        EXPECT_EQ(merged.state.uniqueCount, 2U);
    }
}

TEST(MergeOfDrawings, PrintsDiagnosticsInOrderUpToTheFailure) {
    Merged merged;
    Drawing drawing = drawingOf({"a*A*1", "b*B*2", "zero*Z*0"});
    drawing.blocks[0].diagnostics = "before a\n";
    drawing.blocks[1].diagnostics = "before b\n";
    drawing.diagnostics = "behind\n";
    drawing.failure = failureOf("broken off");
    merged.diagnostics = "earlier\n";
    merged.add(std::move(drawing));
    EXPECT_EQ(merged.diagnostics, "earlier\nbefore a\nbefore b\nbehind\n");
    EXPECT_EQ(merged.failure, "broken off");
    EXPECT_EQ(merged.keys(), (Fields{"a*A*1", "b*B*2"}));
    EXPECT_EQ(merged.state.uniqueCount, 2U);

    merged = {};
    drawing = drawingOf({"a*A*1", "b*B*2"});
    drawing.blocks[0].failure = failureOf("no number");
    drawing.blocks[0].hasShape = false;
    drawing.blocks[1].diagnostics = "never seen\n";
    merged.add(std::move(drawing));
    EXPECT_EQ(merged.failure, "no number");
    EXPECT_EQ(merged.diagnostics, "");
}

TEST(MergeOfDrawings, KeepsWhatWentInBeforeAFailure) {
    struct Case {
        bool isShape;
        std::size_t shapes;
    };
    for (const auto& [isShape, shapes] : {Case{true, 0}, Case{false, 1}}) {
        Merged merged;
        Drawing drawing = drawingOf({"a*A*1"});
        drawing.blocks[0].failure = failureOf("no number");
        drawing.blocks[0].hasShape = !isShape;
        merged.add(std::move(drawing));
        EXPECT_EQ(merged.failure, "no number");
        EXPECT_EQ(merged.keys(), Fields{"a*A*1"});
        EXPECT_EQ(merged.state.seenCodes.count("A"), 1U);
        EXPECT_EQ(merged.state.uniqueCount, 0U);
        EXPECT_EQ(merged.state.shapes.rowCount(), shapes);
        EXPECT_EQ(merged.state.texts.rowCount(), 0U);
    }
}

TEST(MergeOfDrawings, IgnoresAFailureOfADuplicate) {
    for (const bool dedupe : {true, false}) {
        Merged merged;
        merged.add(drawingOf({"a*A*1"}));
        Drawing drawing = drawingOf({"b*A*1"});
        drawing.blocks[0].failure = failureOf("no number");
        merged.add(std::move(drawing), dedupe);
        EXPECT_EQ(merged.failure, dedupe ? "" : "no number");
        EXPECT_EQ(merged.state.duplicateCount, dedupe ? 1U : 0U);
    }
}

/// The parameter is `parallelLoad`.
class AddDrawingBlocks : public testing::TestWithParam<bool> {
  protected:
    /// Loads the documents, which must succeed, and compares the console as a whole: `messages`
    /// between the progress line and the summary.
    BlockLibrary loaded(const std::vector<json>& documents, std::size_t total, std::size_t unique,
                        std::size_t duplicated, const std::string& messages = {},
                        bool dedupe = true) {
        const auto list = writeLibrary(folder, documents);
        LoadOutcome outcome = load(list, GetParam(), dedupe);
        EXPECT_EQ(outcome.failure, "");
        EXPECT_EQ(outcome.console, progressLine(documents.size(), list) + messages +
                                       summary(documents.size(), total, unique, duplicated));
        const LoadCounters& counters = outcome.library.counters;
        EXPECT_EQ(counters.totalDrawings, documents.size());
        EXPECT_EQ(counters.failedDrawings, 0U);
        EXPECT_EQ(counters.totalBlocks, total);
        EXPECT_EQ(counters.uniqueBlocks, unique);
        return std::move(outcome.library);
    }

    /// Records and rows, both sides: these blocks in this order.
    static void expectBlocks(const BlockLibrary& library, const std::vector<MarkedBlock>& blocks) {
        Fields keys;
        std::vector<float> shapeMarks;
        std::vector<float> textMarks;
        for (const MarkedBlock& block : blocks) {
            keys.push_back(block.key);
            shapeMarks.push_back(static_cast<float>(block.mark));
            textMarks.push_back(static_cast<float>(-block.mark));
        }
        EXPECT_EQ(blockKeys(library), keys);
        EXPECT_EQ(marks(library.shapeMatrix), shapeMarks);
        EXPECT_EQ(marks(library.textMatrix), textMarks);
    }

    std::string pathOf(const char* name) const { return utf8FromPath(folder.path() / name); }

    TempFolder folder;
};

INSTANTIATE_TEST_SUITE_P(, AddDrawingBlocks, testing::Bool(),
                         [](const testing::TestParamInfo<bool>& mode) {
                             return mode.param ? "Parallel" : "OneAtATime";
                         });

TEST_P(AddDrawingBlocks, KeepsTheEarliestDrawingOfADuplicate) {
    const BlockLibrary library = loaded(
        {encodings({{"a*A*1", 1}}), encodings({{"b*B*1", 2}, {"other*A*9", 3}, {"c*C*1", 4}})}, 4,
        3, 1);
    expectBlocks(library, {{"a*A*1", 1}, {"b*B*1", 2}, {"c*C*1", 4}});
    EXPECT_EQ(utf8FromPath(*library.records[0].encodingsPath), pathOf("0.json"));
    EXPECT_EQ(utf8FromPath(*library.records[1].encodingsPath), pathOf("1.json"));
    EXPECT_EQ(utf8FromPath(*library.records[2].encodingsPath), pathOf("1.json"));
}

TEST_P(AddDrawingBlocks, KeepsTheLowestIndexOfADuplicate) {
    expectBlocks(loaded({encodings({{"a*A*1", 1}, {"b*A*2", 2}, {"c*A*3", 3}})}, 3, 1, 2),
                 {{"a*A*1", 1}});
}

TEST_P(AddDrawingBlocks, LetsTheBlockWithHandleZeroLoseATie) {
    expectBlocks(loaded({encodings({{"zero*A*0", 1}, {"a*A*1", 2}})}, 2, 1, 1), {{"a*A*1", 2}});
    expectBlocks(loaded({encodings({{"a*A*1", 1}, {"zero*A*0", 2}})}, 2, 1, 1), {{"a*A*1", 1}});
}

TEST_P(AddDrawingBlocks, AddsTheBlockWithHandleZeroLastOfItsDrawing) {
    expectBlocks(loaded({encodings({{"zero*A*0", 1}, {"b*B*1", 2}, {"c*C*2", 3}}),
                         encodings({{"d*D*1", 4}})},
                        4, 4, 0),
                 {{"b*B*1", 2}, {"c*C*2", 3}, {"zero*A*0", 1}, {"d*D*1", 4}});
}

TEST_P(AddDrawingBlocks, AdmitsOneBlockWithHandleZeroADrawing) {
    const json drawing = encodings({{"x*A*0", 1}, {"y*B*0", 2}, {"z*C*0", 3}});
    expectBlocks(loaded({drawing}, 1, 1, 0), {{"z*C*0", 3}});
    expectBlocks(loaded({drawing}, 1, 1, 0, "", false), {{"z*C*0", 3}});
    // The codes of those that vanish are not taken.
    expectBlocks(loaded({drawing, encodings({{"a*A*1", 4}})}, 2, 2, 0),
                 {{"z*C*0", 3}, {"a*A*1", 4}});
}

TEST_P(AddDrawingBlocks, TakesOnlyTheExactHandleZeroApart) {
    const std::vector<MarkedBlock> blocks{{"a*A*00", 1}, {"b*B* 0", 2}, {"c*C*0 ", 3},
                                          {"d*D*", 4},   {"e*E*O", 5},  {"f*F*1*0", 6},
                                          {"g*0*7", 7},  {"0*H*8", 8}};
    expectBlocks(loaded({encodings(blocks)}, 8, 8, 0), blocks);
    expectBlocks(loaded({encodings({{"zero*A*0*1", 1}, {"b*B*1", 2}})}, 2, 2, 0),
                 {{"b*B*1", 2}, {"zero*A*0*1", 1}});
}

TEST_P(AddDrawingBlocks, ComparesCodesByTheirBytes) {
    const std::vector<MarkedBlock> blocks{{"n*a*1", 1},  {"n*A*1", 2}, {"n*ab*1", 3},
                                          {"n* a*1", 4}, {"n*é*1", 5}, {"n*e\u0301*1", 6}};
    expectBlocks(loaded({encodings(blocks)}, 6, 6, 0), blocks);
}

TEST_P(AddDrawingBlocks, TakesAnEmptyCodeForACode) {
    expectBlocks(
        loaded({encodings({{"a**1", 1}, {"b**2", 2}, {"c*C*3", 3}}), encodings({{"d**4", 4}})}, 4,
               2, 2),
        {{"a**1", 1}, {"c*C*3", 3}});
}

TEST_P(AddDrawingBlocks, KeepsDuplicatesWithoutDeduplication) {
    const json drawing = encodings({{"a*A*1", 1}, {"b*A*2", 2}});
    const std::string path = utf8FromPath(folder.write("twice.json", drawing));
    const auto list = folder.write("twice-list.json", listDocument({path, path}));
    LoadOutcome outcome = load(list, GetParam(), false);
    EXPECT_EQ(outcome.console, progressLine(2, list) + summary(2, 4, 4, 0));
    expectBlocks(outcome.library, {{"a*A*1", 1}, {"b*A*2", 2}, {"a*A*1", 1}, {"b*A*2", 2}});
    outcome = load(list, GetParam(), true);
    EXPECT_EQ(outcome.console, progressLine(2, list) + summary(2, 4, 1, 3));
}

TEST_P(AddDrawingBlocks, RejectsVectorsThatAreNotOfTheirWidth) {
    json tooShortObject = json::object();
    tooShortObject["a"] = 1;
    const std::vector<json> wrong{
        nullptr, 5, 0.5, "text", true, json::array(), json::object(), tooShortObject};
    for (const char* side : {"shape", "text"}) {
        const std::size_t width = side == std::string("shape") ? 512 : 384;
        std::vector<json> vectors = wrong;
        vectors.push_back(markedVector(width - 1, 7));
        vectors.push_back(markedVector(width + 1, 7));
        vectors.push_back(markedVector(width == 512 ? 384 : 512, 7));
        for (const json& vector : vectors) {
            SCOPED_TRACE(side + vector.dump().substr(0, 20));
            json document = encodings({{"a*A*1", 1}, {"b \"1\"*B*2", 2}, {"c*C*3", 3}});
            document[side][1] = vector;
            expectBlocks(
                loaded({document}, 2, 2, 0,
                       std::string("Invalid ") + side + " vector for \"b \\\"1\\\"*B*2\"\n"),
                {{"a*A*1", 1}, {"c*C*3", 3}});
        }
    }
}

TEST_P(AddDrawingBlocks, ReportsABlockWithTwoBadVectorsForItsShape) {
    json document = encodings({{"a*A*1", 1}, {"b*B*2", 2}});
    document["shape"][0] = nullptr;
    document["text"][0] = nullptr;
    expectBlocks(loaded({document}, 1, 1, 0, "Invalid shape vector for \"a*A*1\"\n"),
                 {{"b*B*2", 2}});
}

TEST_P(AddDrawingBlocks, ReportsARejectedKeyOfAnyKindAsItIs) {
    json document = encodings({{"a*A*1", 1}, {"b*B*2", 2}, {"c*C*3", 3}});
    document["blocks"][0] = {{"no", {"string", 5}}};
    document["blocks"][1] = nullptr;
    document["shape"][0] = 0;
    document["text"][1] = 0;
    expectBlocks(loaded({document}, 1, 1, 0,
                        "Invalid shape vector for {\"no\":[\"string\",5]}\n"
                        "Invalid text vector for null\n"),
                 {{"c*C*3", 3}});

    json noVectors = encodings({});
    noVectors["blocks"] = {nullptr, true, -1.5, json::array({1, "x"}), {{"k", {{"l", nullptr}}}}};
    expectBlocks(loaded({noVectors, document}, 1, 1, 0,
                        "Invalid shape vector for null\n"
                        "Invalid shape vector for true\n"
                        "Invalid shape vector for -1.5\n"
                        "Invalid shape vector for [1,\"x\"]\n"
                        "Invalid shape vector for {\"k\":{\"l\":null}}\n"
                        "Invalid shape vector for {\"no\":[\"string\",5]}\n"
                        "Invalid text vector for null\n"),
                 {{"c*C*3", 3}});
}

TEST_P(AddDrawingBlocks, DoesNotRememberTheCodeOfARejectedBlock) {
    json document = encodings({{"a*A*1", 1}, {"b*A*2", 2}});
    document["text"][0].erase(0);
    expectBlocks(loaded({document}, 1, 1, 0, "Invalid text vector for \"a*A*1\"\n"),
                 {{"b*A*2", 2}});
}

TEST_P(AddDrawingBlocks, RejectsBlocksWhoseVectorIsMissing) {
    json document = encodings({{"a*A*1", 1}, {"b*B*2", 2}, {"c*C*3", 3}});
    document["shape"].erase(2);
    document["text"].erase(2);
    document["text"].erase(1);
    expectBlocks(loaded({document}, 1, 1, 0,
                        "Invalid text vector for \"b*B*2\"\n"
                        "Invalid shape vector for \"c*C*3\"\n"),
                 {{"a*A*1", 1}});
}

TEST_P(AddDrawingBlocks, IgnoresVectorsBeyondTheBlocks) {
    json document = encodings({{"a*A*1", 1}});
    document["shape"].push_back("surplus");
    document["text"].push_back(5);
    expectBlocks(loaded({document}, 1, 1, 0), {{"a*A*1", 1}});
}

TEST_P(AddDrawingBlocks, RejectsAKeyWithFewerThanThreeFields) {
    expectBlocks(
        loaded({encodings({{"a*A", 1}, {"b*A*2", 2}, {"TÜR \"90\"", 3}, {"", 4}, {"0", 5}})}, 1, 1,
               0,
               "Warning: block key with fewer than three fields: a*A\n"
               "Warning: block key with fewer than three fields: TÜR \"90\"\n"
               "Warning: block key with fewer than three fields: \n"
               "Warning: block key with fewer than three fields: 0\n"),
        {{"b*A*2", 2}});
}

TEST_P(AddDrawingBlocks, TakesADrawingOfRejectedBlocksForLoaded) {
    json rejected = encodings({{"a*A*1", 1}});
    rejected["shape"][0] = nullptr;
    expectBlocks(loaded({rejected, encodings({{"b*B*2", 2}})}, 1, 1, 0,
                        "Invalid shape vector for \"a*A*1\"\n"),
                 {{"b*B*2", 2}});
}

/// `width` members whose byte-wise key order is not that of their numbers: "k0", "k1", "k10", ...
json objectVector(std::size_t width) {
    json object = json::object();
    for (std::size_t i = 0; i < width; ++i) {
        object["k" + std::to_string(i)] = i;
    }
    return object;
}

TEST_P(AddDrawingBlocks, ReadsAnObjectVectorInKeyOrder) {
    json document = encodings({{"a*A*1", 1}});
    document["shape"][0] = objectVector(512);
    document["text"][0] = objectVector(384);
    const BlockLibrary library = loaded({document}, 1, 1, 0);
    for (const auto& [matrix, lastInOrder] :
         {std::pair{&library.shapeMatrix, 99.0F}, std::pair{&library.textMatrix, 99.0F}}) {
        const FeatureMatrix& row = *matrix;
        EXPECT_EQ(row(0, 0), 0.0F);
        EXPECT_EQ(row(0, 1), 1.0F);
        EXPECT_EQ(row(0, 2), 10.0F);
        EXPECT_EQ(row(0, 3), 100.0F);
        EXPECT_EQ(row(0, 13), 11.0F);
        EXPECT_EQ(row(0, row.shape(1) - 1), lastInOrder);
    }
}

TEST_P(AddDrawingBlocks, RoundsEveryKindOfNumberToFloat) {
    json document = encodings({{"a*A*1", 1}});
    json& shape = document["shape"][0];
    const json values = {-3, 16777217U, 0.1, true, false, -0.0, 9007199254740993};
    for (std::size_t i = 0; i < values.size(); ++i) {
        shape[i] = values[i];
    }
    const BlockLibrary library = loaded({document}, 1, 1, 0);
    EXPECT_EQ(
        std::vector<float>(library.shapeMatrix.begin(), library.shapeMatrix.begin() + 7),
        (std::vector<float>{-3.0F, 16777216.0F, 0.1F, 1.0F, 0.0F, -0.0F, 9007199254740992.0F}));
}

}  // namespace
}  // namespace quillon
