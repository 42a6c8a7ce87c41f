// A parsed document taken apart: blocks, remarks in their places, faults and failures.
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
    const DrawingBlocks drawing = blocksOfDocument(encodings({{"a*A*1", 3}, {"b*B*2*more", 4}}));
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
    EXPECT_EQ(drawing.remarks, "");
}

TEST(BlocksOfDocument, RemarksStandBeforeTheNextBlockOrBehindTheLast) {
    json document = encodings({{"a*A*1", 1}, {"b*B*2", 2}, {"c", 3}, {"d*D*4", 4}, {"e*E*5", 5}});
    document["shape"][0].push_back(0);
    document["text"][4].erase(0);
    const DrawingBlocks drawing = blocksOfDocument(document);
    ASSERT_EQ(drawing.blocks.size(), 2U);
    EXPECT_EQ(drawing.blocks[0].key, "b*B*2");
    EXPECT_EQ(drawing.blocks[0].remarks, "Invalid shape vector for \"a*A*1\"\n");
    EXPECT_EQ(drawing.blocks[1].key, "d*D*4");
    EXPECT_EQ(drawing.blocks[1].remarks, "Warning: block key with fewer than three fields: c\n");
    EXPECT_EQ(drawing.remarks, "Invalid text vector for \"e*E*5\"\n");
    EXPECT_EQ(drawing.shapes.row(1)[0], 4.0F);
}

TEST(BlocksOfDocument, AFaultStaysWithItsSideAndItsBlock) {
    json document = encodings({{"a*A*1", 1}, {"b*B*2", 2}, {"c*C*3", 3}});
    document["shape"][0][511] = nullptr;
    document["text"][1][0] = "x";
    const DrawingBlocks drawing = blocksOfDocument(document);
    ASSERT_EQ(drawing.blocks.size(), 3U);
    EXPECT_EQ(textOf<json::type_error>(drawing.blocks[0].shapeFault), noNumber("null"));
    EXPECT_FALSE(drawing.blocks[0].textFault);
    EXPECT_FALSE(drawing.blocks[1].shapeFault);
    EXPECT_EQ(textOf<json::type_error>(drawing.blocks[1].textFault), noNumber("string"));
    EXPECT_FALSE(drawing.blocks[2].shapeFault || drawing.blocks[2].textFault);
    EXPECT_EQ(drawing.shapes.row(2)[0], 3.0F);
    EXPECT_EQ(drawing.texts.row(2)[0], -3.0F);
}

TEST(BlocksOfDocument, EndsAtTheFirstFailureWithWhatStandsBeforeIt) {
    json document = encodings({{"a*A*1", 1}, {"b*B*2", 2}, {"c*C*3", 3}});
    document["blocks"][1] = 7;
    const DrawingBlocks drawing = blocksOfDocument(document);
    ASSERT_EQ(drawing.blocks.size(), 1U);
    EXPECT_EQ(drawing.blocks[0].key, "a*A*1");
    EXPECT_EQ(textOf<json::type_error>(drawing.failure), noString("number"));
}

TEST(BlocksOfDocument, FailsForAWrongTopLevel) {
    for (const auto& [document, type] :
         {std::pair(json(), "null"), std::pair(json(1), "number"), std::pair(json("x"), "string"),
          std::pair(json::array(), "array")}) {
        const DrawingBlocks drawing = blocksOfDocument(document);
        EXPECT_EQ(textOf<json::type_error>(drawing.failure), noObject(type));
        EXPECT_EQ(drawing.isNull, document.is_null());
    }
    const DrawingBlocks drawing =
        blocksOfDocument({{"blocks", {"a*A*1"}}, {"text", json::array()}});
    EXPECT_EQ(textOf<json::out_of_range>(drawing.failure), noKey("shape"));
}

TEST(BlocksOfDocument, ADrawingWithoutBlocksNeedsNoVectors) {
    const DrawingBlocks drawing = blocksOfDocument({{"blocks", json::array()}});
    EXPECT_FALSE(drawing.failure);
    EXPECT_TRUE(drawing.blocks.empty());
}

}  // namespace
}  // namespace quillon::test
