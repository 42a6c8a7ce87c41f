// The weights of the two sides and the similarity they fuse.
#include "search/fused_similarity.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "support/listed_rows.h"

namespace quillon::test {
namespace {

TEST(CurveAreaWeights, AreEachSidesShareOfTheTotalArea) {
    constexpr float infinity = std::numeric_limits<float>::infinity();
    EXPECT_FLOAT_EQ(curveAreaWeights(0.48F, 0.16F)[0], 0.75F);
    EXPECT_FLOAT_EQ(curveAreaWeights(0.48F, 0.16F)[1], 0.25F);
    EXPECT_EQ(curveAreaWeights(0.0F, 2.0F), (std::array<float, 2>{0.0F, 1.0F}));
    EXPECT_TRUE(std::isnan(curveAreaWeights(0.0F, 0.0F)[0]));
    EXPECT_TRUE(std::isnan(curveAreaWeights(0.0F, 0.0F)[1]));
    EXPECT_TRUE(std::isnan(curveAreaWeights(infinity, 1.0F)[0]));
    EXPECT_EQ(curveAreaWeights(infinity, 1.0F)[1], 0.0F);
}

TEST(FuseSimilarities, TheQuerysShapeSideCountsAtLeastTheMinimum) {
    struct Case {
        float shapeArea;
        float textArea;
        float shapeWeight;
    };
    for (const Case& c : {Case{3.0F, 1.0F, 0.75F}, Case{1.0F, 3.0F, 0.4F}, Case{0.0F, 0.0F, 0.4F},
                          Case{4.0F, 0.0F, 1.0F}}) {
        WeightedSides weighted = weightedOf(listsOf({{1}, {0}}, {c.shapeArea, 1.0F}),
                                            listsOf({{1}, {0}}, {c.textArea, 3.0F}));
        fuseSimilarities(weighted, std::vector<Row>{0, 1}, 0.4F);
        EXPECT_EQ(weighted.sides[0].weights[0], c.shapeWeight);
        EXPECT_EQ(weighted.sides[1].weights[0], 1.0F - c.shapeWeight);
        // No other row has a floor.
        EXPECT_EQ(weighted.sides[0].weights[1], 0.25F);
        EXPECT_EQ(weighted.sides[1].weights[1], 0.75F);
    }
}

TEST(FusedSimilarity, TakesTheWeightsOfItsOwnRow) {
    // Rows 0 and 1 list each other's elements on the text side only.
    WeightedSides weighted = weightedOf(listsOf({{1}, {2}, {0}}, {3.0F, 1.0F, 1.0F}),
                                        listsOf({{2}, {2}, {0}}, {1.0F, 1.0F, 0.0F}));
    fuseSimilarities(weighted, std::vector<Row>{0, 1, 2}, 0.4F);
    EXPECT_EQ(fusedSimilarity(weighted, 0, 1), 0.25F);
    EXPECT_EQ(fusedSimilarity(weighted, 1, 0), 0.5F);
    EXPECT_EQ(fusedSimilarity(weighted, 0, 0), 1.0F);
    EXPECT_EQ(fusedSimilarity(weighted, 2, 1), 0.0F);
}

}  // namespace
}  // namespace quillon::test
