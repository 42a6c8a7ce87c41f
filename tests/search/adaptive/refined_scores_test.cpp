// The best neighbours and the scores of a few rows with lists and weights written down.
#include "search/adaptive/refined_scores.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <random>
#include <set>
#include <utility>
#include <vector>

#include "search/adaptive/rank_similarity.h"
#include "support/listed_rows.h"

namespace quillon::test {
namespace {

constexpr float nan = std::numeric_limits<float>::quiet_NaN();

/// `values[r]` for row r; zeros are left out, as rows are that overlap with nothing.
Rows bestOf(const std::vector<float>& values, std::uint32_t k) {
    std::vector<RowValue> rows;
    for (Row row = 0; row < values.size(); ++row) {
        if (values[row] != 0.0F) {
            rows.push_back({row, values[row]});
        }
    }
    return bestNeighbours(rows, k, values.size());
}

TEST(BestNeighbours, BreakTiesByHigherRow) {
    EXPECT_EQ(bestOf({1.0F, 0.5F, 0.0F, 0.7F, 0.5F, 0.0F}, 3), (Rows{3, 4, 1}));
    EXPECT_EQ(bestOf({1.0F, 0.5F, 0.0F, 0.7F, 0.5F, 0.0F}, 4), (Rows{3, 4, 1, 5}));
    EXPECT_EQ(bestOf({1.0F, 0.0F, 0.0F, 0.0F}, 2), (Rows{3, 2}));
}

TEST(BestNeighbours, LeaveOutTheFirstWhicheverRowItIs) {
    // As similar to the query as itself: it comes first and is left out in the query's place.
    EXPECT_EQ(bestOf({1.0F, 0.5F, 1.0F, 0.7F}, 2), (Rows{0, 3}));
}

TEST(BestNeighbours, AreNeverTheWeakestRow) {
    EXPECT_EQ(bestOf({1.0F, 0.5F, 0.0F, 0.7F}, 3), (Rows{3, 1}));
    EXPECT_EQ(bestOf({1.0F, 0.5F, 0.0F, 0.7F}, 2), (Rows{3, 1}));
    EXPECT_EQ(bestOf({1.0F, 0.5F, 0.0F, 0.7F}, 1), Rows{3});
    EXPECT_EQ(bestOf({1.0F, 0.5F}, 1), Rows{});
    EXPECT_EQ(bestOf({1.0F, 0.5F, 0.2F}, 0), Rows{});
    EXPECT_EQ(bestOf({1.0F}, 0), Rows{});
}

/// Rows 4, 5 and 6, which list 1 and 2, 2 and 3, 9 and 9 on the shape side, 7 and 8 on the other.
Votes threeVotes(std::uint32_t k = 3) {
    return votesOf(
        listedRow(0, {4, 5}, {6, 7}, {0.4F, 0.6F}),
        {listedRow(4, {1, 2}, {7, 8}, {0.5F, 0.5F}), listedRow(5, {3, 2}, {7, 8}, {0.5F, 0.5F}),
         listedRow(6, {9, noRow}, {7, 8}, {0.5F, 0.5F})},
        k);
}

TEST(VotesOf, IndexTheListsOfBothSides) {
    const Votes votes = threeVotes();
    EXPECT_EQ(votes.k, 3U);
    EXPECT_EQ(votes.query.row, 0U);
    EXPECT_EQ(votes.neighbours.size(), 3U);
    EXPECT_EQ(votes.indexes[0],
              (InvertedIndex{{1, 0}, {2, 0}, {2, 1}, {3, 1}, {9, 2}, {noRow, 2}}));
    EXPECT_EQ(votes.indexes[1], (InvertedIndex{{7, 0}, {7, 1}, {7, 2}, {8, 0}, {8, 1}, {8, 2}}));
}

TEST(ForEachPlace, VisitsThePlacesOfAnElementInOrder) {
    const InvertedIndex index = threeVotes().indexes[0];
    const auto placesOf = [&](Row element) {
        std::vector<std::size_t> places;
        forEachPlace(index, element, [&](std::size_t place) { places.push_back(place); });
        return places;
    };
    using Places = std::vector<std::size_t>;
    EXPECT_EQ(placesOf(1), Places{0});
    EXPECT_EQ(placesOf(2), (Places{0, 1}));
    EXPECT_EQ(placesOf(3), Places{1});
    EXPECT_EQ(placesOf(4), Places{});
    EXPECT_EQ(placesOf(0), Places{});
    EXPECT_EQ(placesOf(noRow), Places{2});
}

TEST(RefinedScore, AddsTheVotesOfTheBestNeighboursWithTheRowsOwnWeights) {
    const std::vector<ListedRow> rows{
        listedRow(0, {1}, {3}, {0.4F, 0.6F}), listedRow(1, {1}, {2}, {0.5F, 0.5F}),
        listedRow(2, {1}, {2}, {0.5F, 0.5F}), listedRow(3, {0}, {2}, {0.25F, 0.75F})};
    const Votes votes = votesOf(rows[0], {rows[2], rows[1]}, 3);
    EXPECT_EQ(refinedScore(votes, rows[0]), (1.0F + 0.8F) / 4.0F);
    EXPECT_EQ(refinedScore(votes, rows[1]), (0.4F + 2.0F) / 4.0F);
    EXPECT_EQ(refinedScore(votes, rows[2]), (0.4F + 2.0F) / 4.0F);
    EXPECT_EQ(refinedScore(votes, rows[3]), (0.0F + 1.5F) / 4.0F);
}

std::vector<Row> randomList(std::mt19937& random) {
    std::vector<Row> list{1, 2, 3, 4, 5, 6, 7, 8};
    for (std::size_t i = 0; i < list.size(); ++i) {
        std::swap(list[i], list[random() % list.size()]);
    }
    list.resize(5);
    return list;
}

// Sums in another order have other last bits.
TEST(RefinedScore, AddsTheVotesInTheOrderOfTheNeighbours) {
    std::mt19937 random(1);
    const ListedRow query = listedRow(0, randomList(random), randomList(random), {0.4F, 0.6F});
    const ListedRow row = listedRow(9, randomList(random), randomList(random), {0.3F, 0.7F});
    std::vector<ListedRow> neighbours;
    for (Row neighbour = 1; neighbour <= 6; ++neighbour) {
        neighbours.push_back(
            listedRow(neighbour, randomList(random), randomList(random), {0.5F, 0.5F}));
    }
    std::set<float> scores;
    for (std::size_t order = 0; order < 100; ++order) {
        std::swap(neighbours[random() % 6], neighbours[random() % 6]);
        float sum = 0.0F;
        for (const ListedRow& neighbour : neighbours) {
            sum += fusedSimilarity(row, neighbour);
        }
        scores.insert(refinedScore(votesOf(query, neighbours, 6), row));
        EXPECT_EQ(refinedScore(votesOf(query, neighbours, 6), row),
                  (fusedSimilarity(query, row) + sum) / 7.0F);
    }
    EXPECT_GT(scores.size(), 1U);
}

TEST(RefinedScore, IsNotANumberWhereAWeightIsNoneAndThereAreNeighbours) {
    const std::vector<ListedRow> rows{listedRow(0, {1}, {3}, {0.4F, 0.6F}),
                                      listedRow(1, {1}, {2}, {0.5F, 0.5F})};
    // It overlaps with nothing.
    for (const std::array<float, 2>& weights :
         {std::array<float, 2>{nan, nan}, std::array<float, 2>{nan, 0.0F},
          std::array<float, 2>{0.0F, nan}}) {
        const ListedRow row = listedRow(3, {4}, {5}, weights);
        EXPECT_TRUE(std::isnan(refinedScore(votesOf(rows[0], {rows[1]}, 2), row)));
        EXPECT_EQ(refinedScore(votesOf(rows[0], {}, 0), row), 0.0F);
    }
    EXPECT_EQ(refinedScore(votesOf(rows[0], {rows[1]}, 2), listedRow(3, {4}, {5}, {0.5F, 0.5F})),
              0.0F);
}

}  // namespace
}  // namespace quillon::test
