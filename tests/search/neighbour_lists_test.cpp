// The self-join: batches and the shared search must not change a bit, ties must keep their order.
#include "search/neighbour_lists.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>
#include <xtensor/xbuilder.hpp>

#include "reference/dense_adaptive.h"
#include "support/random_library.h"

namespace quillon::test {
namespace {

reference::Floats stacked(const FeatureMatrix& query, const FeatureMatrix& matrix) {
    return xt::concatenate(xt::xtuple(query, matrix), 0);
}

std::vector<std::int32_t> flattened(const reference::Labels& labels) {
    std::vector<std::int32_t> values;
    for (const std::int64_t label : labels) {
        values.push_back(static_cast<std::int32_t>(label));
    }
    return values;
}

// One list serves as the beginning of the other only as long as the index keeps equal distances in
// ascending row order on each of its paths: by single rows and by matrix product, with a heap below
// 100 answers and a reservoir from there on.
TEST(BuildNeighbourLists, ListsAreTheBeginningOfLongerListsAmidTies) {
    std::vector<std::uint32_t> sizes{1, 2, 3, 5, 6, 7, 19, 20, 21, 99, 100, 101, 102, 103};
    for (std::uint32_t rows = 1000; rows <= 1030; rows += 5) {
        sizes.push_back(rows);
    }
    for (const std::uint32_t stackedRows : sizes) {
        for (const LibraryKind kind :
             {LibraryKind::lattice, LibraryKind::oneHot, LibraryKind::allTwins}) {
            const RandomLibrary library =
                makeRandomLibrary(kind, kind, stackedRows - 1, stackedRows);
            const NeighbourLists lists =
                buildNeighbourLists(library.queryShape, library.shapeMatrix);
            const reference::DenseLists expected = reference::buildNeighbourLists(
                stacked(library.queryShape, library.shapeMatrix),
                static_cast<std::int32_t>(std::min(stackedRows - 1, 5U)));
            EXPECT_EQ(lists.labels, flattened(expected.labels))
                << nameOf(kind) << ", " << stackedRows << " rows";
        }
    }
}

// Rows at equal distances, found by a plain scan: the answer to rely on, not just the index's own.
TEST(BuildNeighbourLists, KeepsEqualDistancesInAscendingRowOrder) {
    for (const std::uint32_t rows : {15U, 60U, 150U, 1010U}) {
        const RandomLibrary library =
            makeRandomLibrary(LibraryKind::lattice, LibraryKind::lattice, rows, rows);
        const reference::Floats points = stacked(library.queryShape, library.shapeMatrix);
        const NeighbourLists lists = buildNeighbourLists(library.queryShape, library.shapeMatrix);
        for (std::size_t row = 0; row <= rows; ++row) {
            std::vector<std::pair<float, std::int32_t>> byDistance;
            for (std::size_t other = 0; other <= rows; ++other) {
                float distance = 0.0F;
                for (std::size_t c = 0; c < 4; ++c) {
                    const float difference = points(row, c) - points(other, c);
                    distance += difference * difference;
                }
                byDistance.emplace_back(distance, static_cast<std::int32_t>(other));
            }
            std::sort(byDistance.begin(), byDistance.end());
            for (std::size_t n = 0; n < lists.count; ++n) {
                EXPECT_EQ(lists.list(row)[n], byDistance[n + 1].second)
                    << rows << " rows, row " << row << ", position " << n;
            }
        }
    }
}

TEST(BuildNeighbourLists, BatchesOfQueryRowsChangeNoBit) {
    // Around one block of the matrix product, and a last batch just below and at the row count that
    // has a product of its own.
    for (const std::uint32_t stackedRows : {4095U, 4096U, 4097U, 4115U, 4116U, 8195U}) {
        const RandomLibrary library = makeRandomLibrary(
            LibraryKind::clustered, LibraryKind::clustered, stackedRows - 1, stackedRows);
        const reference::Floats rows = stacked(library.queryText, library.textMatrix);
        const NeighbourLists lists = buildNeighbourLists(library.queryText, library.textMatrix);
        EXPECT_EQ(lists.labels, flattened(reference::buildNeighbourLists(rows, 5).labels))
            << stackedRows;
        const reference::Floats curves = reference::neighbourSimilarityCurves(rows);
        for (std::size_t row = 0; row < stackedRows; ++row) {
            ASSERT_EQ(lists.curveAreas[row], curveArea(&curves(row, 0), 100))
                << stackedRows << " rows, row " << row;
        }
    }
}

TEST(BuildNeighbourLists, OneRowHasNoNeighbours) {
    const RandomLibrary library =
        makeRandomLibrary(LibraryKind::clustered, LibraryKind::clustered, 0, 1);
    const NeighbourLists lists = buildNeighbourLists(library.queryShape, library.shapeMatrix);
    EXPECT_EQ(lists.rows, 1U);
    EXPECT_EQ(lists.count, 0U);
    EXPECT_TRUE(lists.labels.empty());
    EXPECT_EQ(lists.curveAreas, std::vector<float>{0.0F});
}

TEST(BuildNeighbourLists, TwinsListThemselvesAndLoseATwin) {
    const RandomLibrary library =
        makeRandomLibrary(LibraryKind::allTwins, LibraryKind::allTwins, 7, 1);
    const NeighbourLists lists = buildNeighbourLists(library.queryShape, library.shapeMatrix);
    for (std::size_t row = 0; row < 8; ++row) {
        EXPECT_EQ(std::vector<std::int32_t>(lists.list(row), lists.list(row) + 5),
                  (std::vector<std::int32_t>{1, 2, 3, 4, 5}))
            << row;
    }
}

TEST(BuildNeighbourLists, ARowWithNanHasNoNeighbours) {
    RandomLibrary library =
        makeRandomLibrary(LibraryKind::clustered, LibraryKind::clustered, 30, 1);
    library.shapeMatrix(3, 100) = std::numeric_limits<float>::quiet_NaN();
    const NeighbourLists lists = buildNeighbourLists(library.queryShape, library.shapeMatrix);
    EXPECT_EQ(std::vector<std::int32_t>(lists.list(4), lists.list(4) + 5),
              std::vector<std::int32_t>(5, -1));
    EXPECT_EQ(lists.curveAreas[4], 0.0F);
}

TEST(NeighbourSimilarityCurve, IsOneMinusTheDistanceUnclipped) {
    std::vector<float> distances{0.0F, 0.25F, 1.0F, 3.5F};
    neighbourSimilarityCurve(distances.data(), distances.size());
    EXPECT_EQ(distances, (std::vector<float>{1.0F, 0.75F, 0.0F, -2.5F}));
}

TEST(CurveArea, IsTheTrapezoidSumOfSquaredHeights) {
    const std::vector<float> curve{1.0F, 0.75F, 0.25F, -0.5F};
    // Heights 1.5, 1.25, 0.75, 0; squares 2.25, 1.5625, 0.5625, 0.
    EXPECT_EQ(curveArea(curve.data(), curve.size()), 1.90625F + 1.0625F + 0.28125F);
    const std::vector<float> rounded{0.9F, 0.5F, 0.1F};
    EXPECT_FLOAT_EQ(curveArea(rounded.data(), rounded.size()), 0.48F);
}

TEST(CurveArea, IsZeroBelowTwoPointsAndForAFlatCurve) {
    const std::vector<float> flat(100, 0.3F);
    EXPECT_EQ(curveArea(flat.data(), 0), 0.0F);
    EXPECT_EQ(curveArea(flat.data(), 1), 0.0F);
    EXPECT_EQ(curveArea(flat.data(), 100), 0.0F);
}

}  // namespace
}  // namespace quillon::test
