// A parsed document taken apart: blocks, diagnostics in their places, and failures.
#include "library/document_blocks.h"

#include <gtest/gtest.h>

#include <exception>
#include <nlohmann/json.hpp>
#include <string>

#include "support/documents.h"
#include "support/failure_texts.h"

namespace quillon::test {
namespace {

using nlohmann::json;

template <class Exception>
std::string textOf(const std::exception_ptr& failure) {
    return thrownText<Exception>([&] { std::rethrow_exception(failure); });
}

TEST(BlocksOfDocument, HasARowOnEachSideForEachBlock) {
    const Drawing drawing = blocksOfDocument(encodings({{"a*A*1", 3}, {"b*B*2*more", 4}}));
    ASSERT_EQ(drawing.blocks.size(), 2U);
    EXPECT_EQ(drawing.blocks[0].key, "a*A*1");
    EXPECT_EQ(drawing.blocks[1].key, "b*B*2*more");
    EXPECT_EQ(drawing.shapes.rowCount(), 2U);
    EXPECT_EQ(drawing.texts.rowCount(), 2U);
    EXPECT_EQ(drawing.shapes.row(1)[0], 4.0F);
    EXPECT_EQ(drawing.shapes.row(1)[511], 0.0F);
    EXPECT_EQ(drawing.texts.row(1)[0], -4.0F);
    EXPECT_EQ(drawing.texts.row(1)[383], 0.0F);
    EXPECT_FALSE(drawing.failure);
    EXPECT_EQ(drawing.diagnostics, "");
}

TEST(BlocksOfDocument, PutsDiagnosticsBeforeTheNextBlockOrBehindTheLast) {
    json document = encodings({{"a*A*1", 1}, {"b*B*2", 2}, {"c", 3}, {"d*D*4", 4}, {"e*E*5", 5}});
    document["shape"][0].push_back(0);
    document["text"][4].erase(0);
    const Drawing drawing = blocksOfDocument(document);
    ASSERT_EQ(drawing.blocks.size(), 2U);
    EXPECT_EQ(drawing.blocks[0].key, "b*B*2");
    EXPECT_EQ(drawing.blocks[0].diagnostics, "Invalid shape vector for \"a*A*1\"\n");
    EXPECT_EQ(drawing.blocks[1].key, "d*D*4");
    EXPECT_EQ(drawing.blocks[1].diagnostics,
              "Warning: block key with fewer than three fields: c\n");
    EXPECT_EQ(drawing.diagnostics, "Invalid text vector for \"e*E*5\"\n");
    EXPECT_EQ(drawing.shapes.row(1)[0], 4.0F);
}

TEST(BlocksOfDocument, KeepsAFailureWithItsSideAndItsBlock) {
    json document = encodings({{"a*A*1", 1}, {"b*B*2", 2}, {"c*C*3", 3}});
    document["shape"][0][511] = nullptr;
    document["text"][0][0] = "x";
    document["text"][1][0] = "x";
    const Drawing drawing = blocksOfDocument(document);
    ASSERT_EQ(drawing.blocks.size(), 3U);
    EXPECT_EQ(textOf<json::type_error>(drawing.blocks[0].failure), noNumber("null"));
    EXPECT_FALSE(drawing.blocks[0].hasShape);
    EXPECT_EQ(textOf<json::type_error>(drawing.blocks[1].failure), noNumber("string"));
    EXPECT_TRUE(drawing.blocks[1].hasShape);
    EXPECT_FALSE(drawing.blocks[2].failure);
    EXPECT_EQ(drawing.shapes.row(2)[0], 3.0F);
    EXPECT_EQ(drawing.texts.row(2)[0], -3.0F);
}

TEST(BlocksOfDocument, EndsAtTheFirstFailureWithWhatStandsBeforeIt) {
    json document = encodings({{"a*A*1", 1}, {"b*B*2", 2}, {"c*C*3", 3}});
    document["blocks"][1] = 7;
    const Drawing drawing = blocksOfDocument(document);
    ASSERT_EQ(drawing.blocks.size(), 1U);
    EXPECT_EQ(drawing.blocks[0].key, "a*A*1");
    EXPECT_EQ(textOf<json::type_error>(drawing.failure), noString("number"));
}

TEST(BlocksOfDocument, FailsForAWrongTopLevel) {
    for (const auto& [document, type] :
         {std::pair(json(), "null"), std::pair(json(1), "number"), std::pair(json("x"), "string"),
          std::pair(json::array(), "array")}) {
        const Drawing drawing = blocksOfDocument(document);
        EXPECT_EQ(textOf<json::type_error>(drawing.failure), noObject(type));
        EXPECT_EQ(drawing.isNull, document.is_null());
    }
    const Drawing drawing = blocksOfDocument({{"blocks", {"a*A*1"}}, {"text", json::array()}});
    EXPECT_EQ(textOf<json::out_of_range>(drawing.failure), noKey("shape"));
}

TEST(BlocksOfDocument, ADrawingWithoutBlocksNeedsNoVectors) {
    const Drawing drawing = blocksOfDocument({{"blocks", json::array()}});
    EXPECT_FALSE(drawing.failure);
    EXPECT_TRUE(drawing.blocks.empty());
}

}  // namespace
}  // namespace quillon::test
