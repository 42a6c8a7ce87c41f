// The refined scores of a few rows with lists and areas written down.
#include "search/refined_scores.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "support/listed_rows.h"

namespace quillon::test {
namespace {

using Rows = std::vector<Row>;

TEST(BestNeighbours, StandBehindTheLargestTheHigherFirstAmongEqualOnes) {
    EXPECT_EQ(bestNeighbours({1.0F, 0.5F, 0.0F, 0.7F, 0.5F, 0.0F}, 3), (Rows{3, 4, 1}));
    EXPECT_EQ(bestNeighbours({1.0F, 0.5F, 0.0F, 0.7F, 0.5F, 0.0F}, 4), (Rows{3, 4, 1, 5}));
    // A twin of the query stands before it and is left out in its place.
    EXPECT_EQ(bestNeighbours({1.0F, 0.5F, 1.0F, 0.7F}, 2), (Rows{0, 3}));
}

TEST(BestNeighbours, NeverHaveTheWeakestColumn) {
    EXPECT_EQ(bestNeighbours({1.0F, 0.5F, 0.0F, 0.7F}, 3), (Rows{3, 1}));
    EXPECT_EQ(bestNeighbours({1.0F, 0.5F}, 1), Rows{});
    EXPECT_EQ(bestNeighbours({1.0F, 0.5F, 0.2F}, 0), Rows{});
    EXPECT_EQ(bestNeighbours({1.0F}, 0), Rows{});
}

TEST(RefineByNeighbours, AddsTheVotesOfTheBestNeighbours) {
    // The query's row of fused similarities is 1, 0.4, 0.4 and 0; with k = 3 only the two in the
    // middle vote, the weakest column does not.
    WeightedSides weighted = weightedOf(listsOf({{1}, {1}, {1}, {0}}, {0.0F, 1.0F, 1.0F, 1.0F}),
                                        listsOf({{3}, {2}, {2}, {2}}, {1.0F, 1.0F, 1.0F, 1.0F}));
    RefinedScores refined = refineByNeighbours(weighted, {}, 3);
    EXPECT_EQ(refined.queryRow, (std::vector<float>{1.0F, 0.4F, 0.4F, 0.0F}));
    EXPECT_EQ(refined.neighbours, (Rows{2, 1}));
    settle(weighted, Rows{0, 1, 2, 3}, refined);
    EXPECT_EQ(refined.scores, (std::vector<float>{(1.0F + 0.8F) / 4.0F, (0.4F + 2.0F) / 4.0F,
                                                  (0.4F + 2.0F) / 4.0F, (0.0F + 1.0F) / 4.0F}));
}

TEST(RefineByNeighbours, BoundsTheScoresThatAreNotSettled) {
    WeightedSides weighted = weightedOf(listsOf({{1}, {1}, {1}, {0}}, {0.0F, 1.0F, 1.0F, 1.0F}),
                                        listsOf({{3}, {2}, {2}, {2}}, {1.0F, 1.0F, 1.0F, 3.0F}));
    RefinedScores refined = refineByNeighbours(weighted, {}, 3);
    EXPECT_TRUE(isSettled(weighted, refined, 0));
    EXPECT_FALSE(isSettled(weighted, refined, 3));
    const float bound = refined.scores[3];
    settle(weighted, Rows{3}, refined);
    EXPECT_TRUE(isSettled(weighted, refined, 3));
    EXPECT_EQ(refined.scores[3], (0.75F + 0.75F) / 4.0F);
    EXPECT_GE(bound, refined.scores[3]);
}

TEST(RefineByNeighbours, AWeightThatIsNotANumberMakesTheScoreSo) {
    // Row 3 shares nothing with anyone.
    WeightedSides weighted = weightedOf(listsOf({{1}, {1}, {1}, {4}}, {0.0F, 1.0F, 1.0F, 0.0F}),
                                        listsOf({{3}, {2}, {2}, {5}}, {1.0F, 1.0F, 1.0F, 0.0F}));
    RefinedScores refined = refineByNeighbours(weighted, {}, 2);
    EXPECT_EQ(refined.scores[3], 0.0F);
    settle(weighted, Rows{3}, refined);
    EXPECT_TRUE(std::isnan(refined.scores[3]));

    refined = refineByNeighbours(weighted, {}, 0);
    EXPECT_TRUE(isSettled(weighted, refined, 2));
    EXPECT_EQ(refined.scores[3], 0.0F);
}

}  // namespace
}  // namespace quillon::test
