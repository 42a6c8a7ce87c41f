// The distance between neighbour lists and the similarity made of it.
#include "search/rank_similarity.h"

#include <gtest/gtest.h>

#include <vector>

namespace quillon::test {
namespace {

using List = std::vector<std::int32_t>;

float distance(const List& a, const List& b) {
    return rankListDistance(a.data(), b.data(), a.size());
}

NeighbourLists listsOf(const std::vector<List>& rows) {
    NeighbourLists lists;
    lists.rows = rows.size();
    lists.count = rows[0].size();
    for (const List& row : rows) {
        lists.labels.insert(lists.labels.end(), row.begin(), row.end());
    }
    return lists;
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
    EXPECT_EQ(distance({3, -1, -1, -1, -1}, {3, -1, -1, -1, -1}), (1.0F + 2.0F + 3.0F) / 35.0F);
    EXPECT_EQ(distance({-1, -1}, {7, -1}), (1.0F + 0.0F) / 5.0F);
}

TEST(RankSimilarity, IsSymmetricWithOneOnTheDiagonal) {
    const NeighbourLists lists =
        listsOf({{1, 2, 3, 4, 5}, {2, 3, 4, 5, 6}, {-1, -1, -1, -1, -1}, {7, 8, 9, 10, 11}});
    EXPECT_EQ(rankSimilarity(lists, 0, 1), 1.0F - (13.0F / 35.0F + 9.0F / 35.0F) * 0.5F);
    EXPECT_EQ(rankSimilarity(lists, 1, 0), rankSimilarity(lists, 0, 1));
    EXPECT_EQ(rankSimilarity(lists, 2, 2), 1.0F);
    EXPECT_EQ(rankSimilarity(lists, 0, 3), 0.0F);
}

TEST(InvertLists, NamesTheRowsThatListAnElement) {
    const NeighbourLists lists = listsOf({{1, 2}, {2, 0}, {1, -1}, {-1, -1}});
    const ListedBy inverted = invertLists(lists);
    const auto rowsListing = [&](std::int32_t element) {
        const std::size_t slot = slotOf(element);
        const auto rows = inverted.rows.begin();
        return List(rows + static_cast<std::ptrdiff_t>(inverted.begins[slot]),
                    rows + static_cast<std::ptrdiff_t>(inverted.begins[slot + 1]));
    };
    EXPECT_EQ(rowsListing(-1), (List{2, 3, 3}));
    EXPECT_EQ(rowsListing(0), (List{1}));
    EXPECT_EQ(rowsListing(1), (List{0, 2}));
    EXPECT_EQ(rowsListing(2), (List{0, 1}));
    EXPECT_EQ(rowsListing(3), (List{}));
}

}  // namespace
}  // namespace quillon::test
