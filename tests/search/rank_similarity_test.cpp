// The distance between neighbour lists and the similarity made of it.
#include "search/rank_similarity.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "support/listed_rows.h"

namespace quillon::test {
namespace {

using List = std::vector<Row>;

float distance(const List& a, const List& b) {
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

TEST(RankSimilarity, IsSymmetricWithOneOnTheDiagonal) {
    NeighbourLists lists = listsOf(
        {{1, 2, 3, 4, 5}, {2, 3, 4, 5, 6}, {noRow, noRow, noRow, noRow, noRow}, {7, 8, 9, 10, 11}});
    EXPECT_EQ(rankSimilarity(lists, 0, 1), 1.0F - (13.0F / 35.0F + 9.0F / 35.0F) * 0.5F);
    EXPECT_EQ(rankSimilarity(lists, 1, 0), rankSimilarity(lists, 0, 1));
    EXPECT_EQ(rankSimilarity(lists, 2, 2), 1.0F);
    EXPECT_EQ(rankSimilarity(lists, 0, 3), 0.0F);
    lists.isListed[1] = 0;
    EXPECT_EQ(rankSimilarity(lists, 0, 1), 0.0F);
    EXPECT_EQ(rankSimilarity(lists, 1, 1), 1.0F);
}

// All lists of five out of seven elements against one: the bound holds with the elements shared,
// and is reached by one of them.
TEST(MostRankSimilarity, BoundsEveryListWithNoOtherSharedElements) {
    const List list{1, 2, 3, 4, 5};
    for (unsigned shared = 0; shared < 32; ++shared) {
        List elements;
        for (Row element = 1; element <= 5; ++element) {
            if ((shared >> static_cast<unsigned>(element - 1) & 1U) != 0) {
                elements.push_back(element);
            }
        }
        const float most = mostRankSimilarity(list, elements);
        // The other list: the shared elements and strangers, in every order.
        List other = elements;
        for (Row stranger = 10; other.size() < 5; ++stranger) {
            other.push_back(stranger);
        }
        std::sort(other.begin(), other.end());
        do {
            const NeighbourLists lists = listsOf({list, other});
            EXPECT_LE(rankSimilarity(lists, 0, 1), most) << shared;
        } while (std::next_permutation(other.begin(), other.end()));
        // With one element fewer in common it holds all the more.
        if (!elements.empty()) {
            elements.pop_back();
            EXPECT_LT(mostRankSimilarity(list, elements), most) << shared;
        }
    }
    EXPECT_EQ(mostRankSimilarity(list, list), 1.0F);
    EXPECT_EQ(mostRankSimilarity(list, List{}), 0.0F);
    EXPECT_EQ(mostRankSimilarity(list, List{1, 2, 3}),
              1.0F - (11.0F / 35.0F + 11.0F / 35.0F) * 0.5F);
}

}  // namespace
}  // namespace quillon::test
