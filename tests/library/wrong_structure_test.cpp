// Encodings files that parse but are not what they should be: such a file ends the parallel load,
// while the sequential load survives it and keeps what was merged before.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "library/load_library.h"
#include "shared/utf8_path.h"
#include "support/console_capture.h"
#include "support/documents.h"
#include "support/failure_texts.h"
#include "support/formats.h"
#include "support/load_outcome.h"
#include "support/temp_folder.h"

namespace quillon {
namespace {

using namespace std::string_view_literals;
using namespace test;
using nlohmann::json;
using Keys = std::vector<std::string>;
using Floats = std::vector<float>;

constexpr bool parallel = true;
constexpr bool oneAtATime = false;

struct WrongStructure {
    json document;
    std::string text;
    Keys keysBefore;  // blocks of the document merged before the failure
};

std::vector<WrongStructure> wrongStructures() {
    const json good = encodings({{"x*X*1", 3}, {"y*Y*1", 4}});
    const json object = {{"a", 1}};
    return {
        {json::array(), noObject("array"), {}},
        {json::array({good}), noObject("array"), {}},
        {"text", noObject("string"), {}},
        {3, noObject("number"), {}},
        {true, noObject("boolean"), {}},
        {false, noObject("boolean"), {}},
        {json::object(), noKey("shape"), {}},
        {without(good, "shape"), noKey("shape"), {}},
        {without(good, "text"), noKey("text"), {}},
        {without(good, "blocks"), noKey("blocks"), {}},
        {with(good, "/shape", nullptr), noArray("null"), {}},
        {with(good, "/shape", true), noArray("boolean"), {}},
        {with(good, "/shape", 5), noArray("number"), {}},
        {with(good, "/shape", "x"), noArray("string"), {}},
        {with(good, "/shape", object), noArray("object"), {}},
        {with(good, "/shape", json::object()), noArray("object"), {}},
        {with(good, "/text", nullptr), noArray("null"), {}},
        {with(good, "/text", 5), noArray("number"), {}},
        {with(good, "/text", "text"), noArray("string"), {}},
        {with(good, "/text", object), noArray("object"), {}},
        {with(good, "/blocks", true), noArray("boolean"), {}},
        {with(good, "/blocks", 5), noArray("number"), {}},
        {with(good, "/blocks", "x*X*1"), noArray("string"), {}},
        {with(good, "/blocks", object), noArray("object"), {}},
        // The name of a rejected block is looked up in the same way.
        {with(with(good, "/blocks", "x"), "/shape/0", nullptr), noArray("string"), {}},
        {with(with(good, "/blocks", object), "/shape/0", nullptr), noArray("object"), {}},
        {with(good, "/blocks/0", nullptr), noString("null"), {}},
        {with(good, "/blocks/0", true), noString("boolean"), {}},
        {with(good, "/blocks/0", 5), noString("number"), {}},
        {with(good, "/blocks/1", nullptr), noString("null"), {"x*X*1"}},
        {with(good, "/blocks/1", 5), noString("number"), {"x*X*1"}},
        {with(good, "/blocks/1", json::array({"y*Y*1"})), noString("array"), {"x*X*1"}},
        {with(good, "/blocks/1", object), noString("object"), {"x*X*1"}},
    };
}

TEST(LoadBlockLibrary, EndsWithADocumentOfWrongStructureInTheParallelMode) {
    const TempFolder folder;
    const std::string good = writeDrawing(folder, "a.json", encodings({{"a*A*1", 1}}));
    for (const auto& [document, text, keysBefore] : wrongStructures()) {
        SCOPED_TRACE(text);
        const auto list =
            writeList(folder, {good, 5, writeDrawing(folder, "wrong.json", document), good});
        const LoadOutcome outcome = load(list, parallel);
        EXPECT_EQ(outcome.failure, text);
        EXPECT_EQ(outcome.console, progressLine(4, list) + "Warning: " + noString("number") + "\n");
    }
}

TEST(LoadBlockLibrary, SurvivesADocumentOfWrongStructureInOneAtATimeMode) {
    const TempFolder folder;
    const std::string good = writeDrawing(folder, "a.json", encodings({{"a*A*1", 1}}));
    const std::string last = writeDrawing(folder, "b.json", encodings({{"b*B*1", 2}}));
    for (const auto& [document, text, keysBefore] : wrongStructures()) {
        SCOPED_TRACE(text);
        const std::string wrong = writeDrawing(folder, "wrong.json", document);
        const auto list = writeList(folder, {good, wrong, last});
        const LoadOutcome outcome = load(list, oneAtATime);
        EXPECT_EQ(outcome.failure, "");
        Keys keys{"a*A*1"};
        keys.insert(keys.end(), keysBefore.begin(), keysBefore.end());
        keys.push_back("b*B*1");
        EXPECT_EQ(outcome.console, progressLine(3, list) + failLine(wrong, text) +
                                       summary(3, keys.size(), keys.size(), 0));
        EXPECT_EQ(outcome.library.counters.failedDrawings, 1U);
        EXPECT_EQ(blockKeys(outcome.library), keys);
        EXPECT_EQ(outcome.library.shapeMatrix.shape(0), keys.size());
        EXPECT_EQ(outcome.library.textMatrix.shape(0), keys.size());
    }
}

struct WrongElement {
    json value;
    std::string type;
};

const std::vector<WrongElement> wrongElements{
    {"5", "string"}, {nullptr, "null"}, {json::array({5}), "array"}, {json::object(), "object"}};

/// A block whose `side` vector fails on its last element, behind a good one and before another.
json drawingWithBadElement(const char* side, const json& element) {
    json document = encodings({{"x*X*1", 1}, {"y*Y*1", 2}, {"z*Z*1", 3}});
    document[side][1].back() = element;
    return document;
}

TEST(LoadBlockLibrary, EndsWithAVectorElementThatIsNoNumberInTheParallelMode) {
    const TempFolder folder;
    for (const char* side : {"shape", "text"}) {
        for (const auto& [element, type] : wrongElements) {
            const auto list = writeLibrary(folder, {drawingWithBadElement(side, element)});
            const LoadOutcome outcome = load(list, parallel);
            EXPECT_EQ(outcome.failure, noNumber(type));
            EXPECT_EQ(outcome.console, progressLine(1, list));
        }
    }
}

// Nothing is rolled back: code and record of the failed block stay, so that the records no longer
// name the rows behind them.
TEST(LoadBlockLibrary, KeepsTheRecordOfABlockWhoseShapeFails) {
    const TempFolder folder;
    const std::string last =
        writeDrawing(folder, "b.json", encodings({{"again*Y*1", 4}, {"b*B*1", 5}}));
    for (const auto& [element, type] : wrongElements) {
        const std::string bad =
            writeDrawing(folder, "bad.json", drawingWithBadElement("shape", element));
        const auto list = writeList(folder, {bad, last});
        const LoadOutcome outcome = load(list, oneAtATime);
        EXPECT_EQ(outcome.console,
                  progressLine(2, list) + failLine(bad, noNumber(type)) + summary(2, 3, 2, 1));
        EXPECT_EQ(blockKeys(outcome.library), (Keys{"x*X*1", "y*Y*1", "b*B*1"}));
        EXPECT_EQ(marks(outcome.library.shapeMatrix), (Floats{1, 5}));
        EXPECT_EQ(marks(outcome.library.textMatrix), (Floats{-1, -5}));
        EXPECT_EQ(outcome.library.counters.failedDrawings, 1U);
    }
}

TEST(LoadBlockLibrary, KeepsTheShapeOfABlockWhoseTextFails) {
    const TempFolder folder;
    const std::string last =
        writeDrawing(folder, "b.json", encodings({{"again*Y*1", 4}, {"b*B*1", 5}, {"c*C*1", 6}}));
    for (const auto& [element, type] : wrongElements) {
        const std::string bad =
            writeDrawing(folder, "bad.json", drawingWithBadElement("text", element));
        const auto list = writeList(folder, {bad, last});
        const LoadOutcome outcome = load(list, oneAtATime);
        EXPECT_EQ(outcome.console,
                  progressLine(2, list) + failLine(bad, noNumber(type)) + summary(2, 4, 3, 1));
        EXPECT_EQ(blockKeys(outcome.library), (Keys{"x*X*1", "y*Y*1", "b*B*1", "c*C*1"}));
        // Out of step from the failed block on, the surplus cut at the end.
        EXPECT_EQ(marks(outcome.library.shapeMatrix), (Floats{1, 2, 5}));
        EXPECT_EQ(marks(outcome.library.textMatrix), (Floats{-1, -5, -6}));
    }
}

TEST(LoadBlockLibrary, LeavesEmptyMatricesWhenTheOnlyBlockFails) {
    const TempFolder folder;
    for (const char* side : {"shape", "text"}) {
        json document = encodings({{"a*A*0", 1}});
        document[side][0][5] = "5";
        const auto list = writeLibrary(folder, {document});
        const LoadOutcome outcome = load(list, oneAtATime);
        EXPECT_EQ(outcome.failure, "");
        EXPECT_EQ(outcome.library.records.size(), 1U);
        EXPECT_EQ(outcome.library.shapeMatrix.shape(), (FeatureMatrix::shape_type{0, 512}));
        EXPECT_EQ(outcome.library.textMatrix.shape(), (FeatureMatrix::shape_type{0, 384}));
        EXPECT_EQ(outcome.library.counters.uniqueBlocks, 0U);
    }
}

TEST(LoadBlockLibrary, ReportsTextThatIsNotUtf8AsAnyOtherFailure) {
    const TempFolder folder;
    // A list entry that must be written as JSON ends the load; as plain text it is just bytes.
    const auto list = folder.write("list.cbor",
                                   "\xA1\x65"
                                   "files"
                                   "\x81\x62\xFF"
                                   "a"sv);
    BlockLibrary library;
    const std::string text = notUtf8(0);
    {
        const ConsoleCapture console;
        EXPECT_EQ(thrownText<json::type_error>(
                      [&] { loadBlockLibrary(list, oneAtATime, true, library); }),
                  text);
    }
    const LoadOutcome outcome = load(list, parallel);
    EXPECT_EQ(outcome.failure, noEncodings);
    EXPECT_EQ(outcome.console, progressLine(1, list) +
                                   "Warning: fail to open input file: \xFF"
                                   "a\n");

    // A block key in a message belongs to its document.
    json drawing = encodings({{"\xFF*X*1", 1}});
    drawing["shape"][0] = nullptr;
    const std::string path = utf8FromPath(folder.write("a.cbor", encoded(drawing, ".cbor")));
    const std::string good = writeDrawing(folder, "b.json", encodings({{"b*B*1", 2}}));
    const auto drawings = writeList(folder, {path, good});
    EXPECT_EQ(load(drawings, parallel).failure, text);
    EXPECT_EQ(load(drawings, oneAtATime).failure, "");
    EXPECT_EQ(load(drawings, oneAtATime).library.counters.failedDrawings, 1U);
}

}  // namespace
}  // namespace quillon
