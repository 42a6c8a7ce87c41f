// Upper bounds on similarities and scores: never below the exact ones.
#include "search/adaptive/score_bounds.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

#include "search/adaptive/rank_similarity.h"
#include "search/adaptive/reverse_neighbours.h"
#include "support/listed_rows.h"
#include "support/plain_neighbours.h"
#include "support/random_library.h"

namespace quillon::test {
namespace {

ListMemo memoOf(const RandomLibrary& library) {
    return emptyMemo(sideOf(library.queryShape, library.shapeMatrix, 2),
                     sideOf(library.queryText, library.textMatrix, 2));
}

std::map<Row, float> byRow(const std::vector<RowValue>& values) {
    std::map<Row, float> byRow;
    for (const RowValue& value : values) {
        EXPECT_TRUE(byRow.emplace(value.row, value.value).second);
    }
    return byRow;
}

/// Each of `exact` that is above 0 has a bound at least as high. Returns how many have.
std::size_t expectBounds(const std::vector<RowValue>& bounds, const std::vector<float>& exact) {
    const std::map<Row, float> boundOf = byRow(bounds);
    std::size_t bounded = 0;
    for (Row row = 0; row < exact.size(); ++row) {
        if (!(exact[row] > 0.0F)) {
            continue;
        }
        const auto bound = boundOf.find(row);
        EXPECT_TRUE(bound != boundOf.end() && bound->second >= exact[row])
            << "row " << row << ", exact " << exact[row] << ", bound "
            << (bound == boundOf.end() ? -1.0F : bound->second);
        ++bounded;
    }
    return bounded;
}

std::size_t expectBoundsOf(const RandomLibrary& library, std::uint32_t k) {
    const std::size_t rowCount = library.shapeMatrix.shape(0) + 1;
    Rows rows(rowCount);
    std::iota(rows.begin(), rows.end(), 0);
    ListMemo full = memoOf(library);
    const std::vector<ListedRow> all = listedRows(full, rows);

    ListMemo memo = memoOf(library);
    const NeighbourBounds bounds{neighbourBounds(memo[0].rows), neighbourBounds(memo[1].rows)};
    const Votes byQuery = votesOf(all[0], {}, 0);
    const OverlappingRows nearQuery = overlappingRows(memo, bounds, {{byQuery.query}});
    std::vector<float> exact;
    std::vector<RowValue> queryRow;
    for (const ListedRow& row : all) {
        exact.push_back(fusedSimilarity(byQuery.query, row));
        queryRow.push_back({row.row, exact.back()});
    }
    std::size_t bounded = expectBounds(scoreBounds(memo, byQuery, nearQuery, {}), exact);

    std::vector<ListedRow> neighbours;
    for (const Row row : bestNeighbours(queryRow, k, rowCount)) {
        neighbours.push_back(all[row]);
    }
    const Votes votes = votesOf(byQuery.query, neighbours, k);
    const OverlappingRows nearNeighbours = overlappingRows(memo, bounds, neighbours);
    // The query's own score, which is never a hit's, has no bound: its shape side counts even when
    // its curve is flat.
    exact.assign(1, 0.0F);
    for (std::size_t row = 1; row < all.size(); ++row) {
        exact.push_back(refinedScore(votes, all[row]));
    }
    const std::vector<RowValue> scores = scoreBounds(memo, votes, nearQuery, nearNeighbours);
    EXPECT_TRUE(std::is_sorted(scores.begin(), scores.end(),
                               [](const auto& a, const auto& b) { return a.row < b.row; }));
    bounded += expectBounds(scores, exact);
    return bounded;
}

TEST(ScoreBounds, HoldForLibrariesOfEveryKind) {
    std::size_t bounded = 0;
    std::uint32_t seed = 0;
    for (const LibraryKind shapeKind : allLibraryKinds) {
        for (const LibraryKind textKind : allLibraryKinds) {
            const std::uint32_t rowCount = ++seed * 7;
            SCOPED_TRACE("shape " + nameOf(shapeKind) + ", text " + nameOf(textKind) + ", rows " +
                         std::to_string(rowCount));
            bounded +=
                expectBoundsOf(makeRandomLibrary(shapeKind, textKind, rowCount, seed), seed % 13);
        }
    }
    EXPECT_GT(bounded, 5000U);
}

/// Four rows, none of which is identical with another.
const NarrowSide fourRows({1, 2, 3, 4});

ListMemo memoOfFourRows() {
    return emptyMemo(sideOf(fourRows), sideOf(fourRows));
}

TEST(ScoreBounds, OfTheQueryCountTheCommonElementsOfEachSide) {
    const Votes votes = votesOf(listedRow(0, {1, 2, 3}, {1, 2, 3}, {0.75F, 0.25F}), {}, 0);
    OverlappingRows near;
    near.rows = {0, 1, 2, 3};
    near.overlaps[0] = {{1, {{1}}}, {2, {{1, 2}}}};
    near.overlaps[1] = {{2, {{1, 2, 3}}}, {3, {{1, noRow}}}};
    const std::map<Row, float> bounds = byRow(scoreBounds(memoOfFourRows(), votes, near, {}));
    EXPECT_EQ(bounds.size(), 4U);
    EXPECT_EQ(bounds.at(0), 1.0F);
    EXPECT_EQ(bounds.at(1), 0.75F * rankSimilarityBound(1, 3));
    EXPECT_EQ(bounds.at(2), 0.25F + 0.75F * rankSimilarityBound(2, 3));
    // One gap matches all others.
    EXPECT_EQ(bounds.at(3), 0.25F);
}

/// The bound of row 1 by its overlaps with the lists of one neighbour, which is `neighbour`.
float boundOfRow(Overlap shapes, Overlap texts, Row neighbour = 2) {
    const Votes votes = votesOf(listedRow(0, {30, 31}, {32, 33}, {0.5F, 0.5F}),
                                {listedRow(neighbour, {5, 6}, {7, 8}, {0.5F, 0.5F})}, 1);
    OverlappingRows near;
    near.rows = {1};
    if (!shapes.elements.empty()) {
        near.overlaps[0][1] = std::move(shapes);
    }
    if (!texts.elements.empty()) {
        near.overlaps[1][1] = std::move(texts);
    }
    const std::vector<RowValue> bounds = scoreBounds(memoOfFourRows(), votes, {}, near);
    EXPECT_EQ(bounds.size(), 1U);
    EXPECT_EQ(bounds.front().row, 1U);
    return bounds.front().value;
}

constexpr float roundedUp = 1.000001F;

TEST(ScoreBounds, OfNeighboursCountTheSideThatSharesMost) {
    EXPECT_EQ(boundOfRow({{5}}, {}), rankSimilarityBound(1, 2) * roundedUp / 2.0F);
    EXPECT_EQ(boundOfRow({{5}}, {{7, 8}}), roundedUp / 2.0F);
    EXPECT_EQ(boundOfRow({{5, 6}}, {{7}}), roundedUp / 2.0F);
    EXPECT_EQ(boundOfRow({{9}}, {{10}}), 0.0F);
}

TEST(ScoreBounds, CountNothingForASideWithAFlatCurve) {
    EXPECT_EQ(boundOfRow({{5, 6}, true}, {}), 0.0F);
    EXPECT_EQ(boundOfRow({{5, 6}, true}, {{7}}), rankSimilarityBound(1, 2) * roundedUp / 2.0F);
}

TEST(ScoreBounds, CountANeighbourAsMostSimilarToItself) {
    EXPECT_EQ(boundOfRow({{5}}, {}, 1), roundedUp / 2.0F);
}

}  // namespace
}  // namespace quillon::test
