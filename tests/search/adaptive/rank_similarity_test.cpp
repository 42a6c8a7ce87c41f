// The distance between neighbour lists, and the similarities computed from it.
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

TEST(RankListDistance, MatchesGapsWithTheFirstGap) {
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

TEST(RankSimilarity, Is0ForDisjointListsAndInALibraryOfOneBlock) {
    EXPECT_EQ(rankSimilarity(listOf({1, 2, 3, 4, 5}), listOf({7, 8, 9, 10, 11})), 0.0F);
    EXPECT_EQ(rankSimilarity(listOf({1}), listOf({0})), 0.0F);
}

/// The elements of a list of five that are in the set of bits `shared`, and strangers up to five.
std::vector<Row> listSharing(unsigned shared, Row strangersFrom) {
    std::vector<Row> list;
    for (Row element = 1; element <= 5; ++element) {
        if ((shared >> (element - 1) & 1U) != 0) {
            list.push_back(element);
        }
    }
    for (Row stranger = strangersFrom; list.size() < 5; ++stranger) {
        list.push_back(stranger);
    }
    return list;
}

// For each choice of common elements, all lists that hold these, in every order: the bound holds,
// and one of the lists reaches it.
TEST(RankSimilarityBound, IsTheGreatestSimilarityOfListsWithTheseCommonElements) {
    const NeighbourList list = listOf({1, 2, 3, 4, 5});
    for (unsigned shared = 0; shared < 32; ++shared) {
        std::vector<Row> other = listSharing(shared, 10);
        std::vector<Row> elements = other;
        std::erase_if(elements, [](Row element) { return element >= 10; });
        float greatest = 0.0F;
        do {
            greatest = std::max(greatest, rankSimilarity(list, listOf(other)));
        } while (std::next_permutation(other.begin(), other.end()));
        EXPECT_EQ(rankSimilarityBound(list, elements), greatest) << shared;
    }
}

TEST(RankSimilarityBound, CountsAnElementByItsPlace) {
    const NeighbourList list = listOf({9, 8, 7, 6, 5});
    EXPECT_EQ(rankSimilarityBound(list, std::vector<Row>{9}),
              1.0F - (26.0F / 35.0F + 26.0F / 35.0F) * 0.5F);
    EXPECT_EQ(rankSimilarityBound(list, std::vector<Row>{5}),
              1.0F - (30.0F / 35.0F + 30.0F / 35.0F) * 0.5F);
    EXPECT_EQ(rankSimilarityBound(list, std::vector<Row>{1, 5, 8, 10}),
              1.0F - (22.0F / 35.0F + 22.0F / 35.0F) * 0.5F);
    EXPECT_EQ(rankSimilarityBound(list, {}), 0.0F);
    EXPECT_EQ(rankSimilarityBound(listOf({1}), std::vector<Row>{1}), 1.0F);
}

TEST(RankSimilarityBound, IsOneWhereBothListsMayHaveGaps) {
    const std::vector<Row> gap{4, noRow};
    EXPECT_EQ(rankSimilarityBound(listOf({1, 2, noRow}), gap), 1.0F);
    EXPECT_EQ(rankSimilarityBound(listOf({1, 2, 3}), gap), 0.0F);
    EXPECT_EQ(rankSimilarityBound(listOf({1, 2, noRow}), std::vector<Row>{4}), 0.0F);
}

TEST(FusedSimilarity, UsesTheWeightsOfTheFirstRow) {
    // On the shape side the lists are disjoint, on the text side they are equal.
    const ListedRow a = listedRow(0, {1}, {2}, {0.75F, 0.25F});
    const ListedRow b = listedRow(1, {2}, {2}, {0.5F, 0.5F});
    EXPECT_EQ(fusedSimilarity(a, b), 0.25F);
    EXPECT_EQ(fusedSimilarity(b, a), 0.5F);
}

TEST(FusedSimilarity, HasASimilarityOf1ForARowAndItself) {
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

TEST(FusedSimilarity, IsNanForANanWeight) {
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    const ListedRow a = listedRow(0, {1}, {2}, {nan, nan});
    EXPECT_TRUE(std::isnan(fusedSimilarity(a, listedRow(1, {3}, {4}, {0.5F, 0.5F}))));
    EXPECT_TRUE(std::isnan(fusedSimilarity(a, a)));
}

}  // namespace
}  // namespace quillon::test
