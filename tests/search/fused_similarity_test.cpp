// The weights of the two sides and the similarity they fuse.
#include "search/fused_similarity.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace quillon::test {
namespace {

NeighbourLists listsOf(std::vector<std::int32_t> labels, std::vector<float> curveAreas) {
    NeighbourLists lists;
    lists.rows = curveAreas.size();
    lists.count = labels.size() / lists.rows;
    lists.labels = std::move(labels);
    lists.curveAreas = std::move(curveAreas);
    return lists;
}

TEST(CurveAreaWeights, AreEachSidesShareOfTheTotalArea) {
    constexpr float infinity = std::numeric_limits<float>::infinity();
    const auto [shape, text] =
        curveAreaWeights({0.48F, 0.0F, 0.0F, infinity}, {0.16F, 2.0F, 0.0F, 1.0F});
    EXPECT_FLOAT_EQ(shape[0], 0.75F);
    EXPECT_FLOAT_EQ(text[0], 0.25F);
    EXPECT_EQ(shape[1], 0.0F);
    EXPECT_EQ(text[1], 1.0F);
    EXPECT_TRUE(std::isnan(shape[2]));
    EXPECT_TRUE(std::isnan(text[2]));
    EXPECT_TRUE(std::isnan(shape[3]));
    EXPECT_EQ(text[3], 0.0F);
}

TEST(FuseSimilarities, TheQuerysShapeSideCountsAtLeastTheMinimum) {
    struct Case {
        float shapeArea;
        float textArea;
        float shapeWeight;
    };
    for (const Case& c : {Case{3.0F, 1.0F, 0.75F}, Case{1.0F, 3.0F, 0.4F}, Case{0.0F, 0.0F, 0.4F},
                          Case{4.0F, 0.0F, 1.0F}}) {
        const FusedSimilarities fused = fuseSimilarities(listsOf({1, 0}, {c.shapeArea, 1.0F}),
                                                         listsOf({1, 0}, {c.textArea, 3.0F}), 0.4F);
        EXPECT_EQ(fused.sides[0].weights[0], c.shapeWeight);
        EXPECT_EQ(fused.sides[1].weights[0], 1.0F - c.shapeWeight);
        // No other row has a floor.
        EXPECT_EQ(fused.sides[0].weights[1], 0.25F);
        EXPECT_EQ(fused.sides[1].weights[1], 0.75F);
    }
}

TEST(FusedSimilarity, TakesTheWeightsOfItsOwnRow) {
    // Rows 0 and 1 list each other's elements on the text side only.
    const FusedSimilarities fused = fuseSimilarities(listsOf({1, 2, 0}, {3.0F, 1.0F, 1.0F}),
                                                     listsOf({2, 2, 0}, {1.0F, 1.0F, 0.0F}), 0.4F);
    EXPECT_EQ(fusedSimilarity(fused, 0, 1), 0.25F);
    EXPECT_EQ(fusedSimilarity(fused, 1, 0), 0.5F);
    EXPECT_EQ(fusedSimilarity(fused, 0, 0), 1.0F);
    EXPECT_EQ(fusedSimilarity(fused, 2, 1), 0.0F);
}

}  // namespace
}  // namespace quillon::test
