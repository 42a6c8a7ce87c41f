// The distance between neighbour lists and the similarities made of it.
#include "search/adaptive/rank_similarity.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <vector>

#include "support/listed_rows.h"

namespace quillon::test {
namespace {

float distance(const std::vector<Row>& a, const std::vector<Row>& b) {
    return rankListDistance(a, b);
}

TEST(RankListDistance, IsTheFootruleWithAPenaltyForAbsentElements) {
    EXPECT_EQ(distance({1, 2, 3, 4, 5}, {1, 2, 3, 4, 5}), 0.0F);
    EXPECT_EQ(distance({1, 2, 3, 4, 5}, {6, 7, 8, 9, 10}), 1.0F);
    EXPECT_EQ(distance({1, 2, 3, 4, 5}, {2, 3, 4, 5, 6}), 13.0F / 35.0F);
    EXPECT_EQ(distance({2, 3, 4, 5, 6}, {1, 2, 3, 4, 5}), 9.0F / 35.0F);
    EXPECT_EQ(distance({1, 2}, {2, 1}), 2.0F / 5.0F);
    EXPECT_EQ(distance({1}, {0}), 1.0F);
}

TEST(RankListDistance, UnfilledPositionsMatchTheFirstUnfilledOne) {
    EXPECT_EQ(distance({3, noRow, noRow, noRow, noRow}, {3, noRow, noRow, noRow, noRow}),
              (1.0F + 2.0F + 3.0F) / 35.0F);
    EXPECT_EQ(distance({noRow, noRow}, {7, noRow}), (1.0F + 0.0F) / 5.0F);
}

TEST(RankSimilarity, IsSymmetric) {
    const NeighbourList a = listOf({1, 2, 3, 4, 5});
    const NeighbourList b = listOf({2, 3, 4, 5, 6});
    EXPECT_EQ(rankSimilarity(a, b), 1.0F - (13.0F / 35.0F + 9.0F / 35.0F) * 0.5F);
    EXPECT_EQ(rankSimilarity(b, a), rankSimilarity(a, b));
    EXPECT_EQ(rankSimilarity(a, a), 1.0F);
}

TEST(RankSimilarity, IsZeroForDisjointListsAndForThoseOfTwoRows) {
    EXPECT_EQ(rankSimilarity(listOf({1, 2, 3, 4, 5}), listOf({7, 8, 9, 10, 11})), 0.0F);
    EXPECT_EQ(rankSimilarity(listOf({1}), listOf({0})), 0.0F);
}

// Of all lists of five out of ten elements against one, in every order: the bound holds, and is
// reached for every number of common elements.
TEST(RankSimilarityBound, IsTheGreatestSimilarityOfListsWithSoManyCommonElements) {
    const std::vector<Row> list{1, 2, 3, 4, 5};
    std::array<float, 6> greatest{};
    for (unsigned shared = 0; shared < 32; ++shared) {
        std::vector<Row> other;
        for (Row element = 1; element <= 5; ++element) {
            if ((shared >> (element - 1) & 1U) != 0) {
                other.push_back(element);
            }
        }
        const std::size_t common = other.size();
        for (Row stranger = 10; other.size() < 5; ++stranger) {
            other.push_back(stranger);
        }
        do {
            const float similarity = rankSimilarity(listOf(list), listOf(other));
            EXPECT_LE(similarity, rankSimilarityBound(common, 5));
            greatest[common] = std::max(greatest[common], similarity);
        } while (std::next_permutation(other.begin(), other.end()));
    }
    for (std::size_t common = 0; common <= 5; ++common) {
        EXPECT_EQ(rankSimilarityBound(common, 5), greatest[common]) << common;
    }
    EXPECT_EQ(rankSimilarityBound(0, 5), 0.0F);
    EXPECT_EQ(rankSimilarityBound(5, 5), 1.0F);
    EXPECT_EQ(rankSimilarityBound(3, 5), 1.0F - (11.0F / 35.0F + 11.0F / 35.0F) * 0.5F);
    EXPECT_EQ(rankSimilarityBound(0, 1), 0.0F);
}

// One gap counts as all elements.
TEST(RankSimilarityBound, IsOneForMoreCommonElementsThanThereAre) {
    EXPECT_EQ(rankSimilarityBound(6, 5), 1.0F);
    EXPECT_EQ(rankSimilarityBound(10, 5), 1.0F);
}

TEST(FusedSimilarity, TakesTheWeightsOfTheFirstRow) {
    // On the shape side the lists are disjoint, on the text side they are equal.
    const ListedRow a = listedRow(0, {1}, {2}, {0.75F, 0.25F});
    const ListedRow b = listedRow(1, {2}, {2}, {0.5F, 0.5F});
    EXPECT_EQ(fusedSimilarity(a, b), 0.25F);
    EXPECT_EQ(fusedSimilarity(b, a), 0.5F);
}

TEST(FusedSimilarity, CountsARowAsMostSimilarToItselfWhateverItLists) {
    const ListedRow row = listedRow(3, {noRow, noRow}, {noRow, noRow}, {0.75F, 0.25F});
    EXPECT_EQ(fusedSimilarity(row, row), 1.0F);
    ListedRow other = row;
    other.row = 4;
    EXPECT_LT(fusedSimilarity(row, other), 1.0F);
}

TEST(FusedSimilarity, RoundsEveryProductAndSum) {
    const float third = 1.0F / 3.0F;
    const ListedRow a = listedRow(0, {1, 2, 3, 4, 5}, {1, 2, 3, 4, 5}, {1.0F - third, third});
    const ListedRow b = listedRow(1, {2, 3, 4, 5, 6}, {5, 4, 3, 2, 1}, {0.5F, 0.5F});
    const float shapes = (1.0F - third) * rankSimilarity(a.lists[0], b.lists[0]);
    const float texts = third * rankSimilarity(a.lists[1], b.lists[1]);
    EXPECT_EQ(fusedSimilarity(a, b), texts + shapes);
}

TEST(FusedSimilarity, IsNotANumberWhereAWeightIsNone) {
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    const ListedRow a = listedRow(0, {1}, {2}, {nan, nan});
    EXPECT_TRUE(std::isnan(fusedSimilarity(a, listedRow(1, {3}, {4}, {0.5F, 0.5F}))));
    EXPECT_TRUE(std::isnan(fusedSimilarity(a, a)));
}

}  // namespace
}  // namespace quillon::test
