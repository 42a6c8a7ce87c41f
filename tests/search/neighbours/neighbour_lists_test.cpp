// The exact lists of single rows and of all, against every pair's distance and a sort.
#include "search/neighbours/neighbour_lists.h"

#include <gtest/gtest.h>

#include <limits>
#include <numeric>
#include <string>
#include <vector>
#include <xtensor/xbuilder.hpp>

#include "reference/dense_adaptive.h"
#include "support/random_library.h"

namespace quillon::test {
namespace {

using Rows = std::vector<Row>;

Rows allRows(std::size_t count) {
    Rows rows(count);
    std::iota(rows.begin(), rows.end(), 0);
    return rows;
}

Rows listed(const NeighbourLists& lists, Row row) {
    const auto list = listOf(lists, row);
    return {list.begin(), list.end()};
}

/// The shape side with its expected lists and curves.
struct Expected {
    explicit Expected(const RandomLibrary& library) {
        const reference::Floats distances = reference::squaredDistances(
            xt::concatenate(xt::xtuple(library.queryShape, library.shapeMatrix), 0));
        const auto others = static_cast<std::int32_t>(distances.shape(0)) - 1;
        labels = reference::buildNeighbourLists(distances, std::min(others, 5)).labels;
        curves = reference::neighbourSimilarityCurves(distances);
    }

    Rows list(Row row) const {
        Rows list;
        for (std::size_t n = 0; n < labels.shape(1); ++n) {
            list.push_back(static_cast<Row>(labels(row, n)));
        }
        return list;
    }
    float area(Row row) const {
        std::vector<float> curve;
        for (std::size_t n = 0; n < curves.shape(1); ++n) {
            curve.push_back(curves(row, n));
        }
        return curveArea(curve);
    }

    reference::Labels labels;
    reference::Floats curves;
};

void expectListsOf(const RandomLibrary& library, const Rows& rows, const std::string& label) {
    const Expected expected(library);
    NeighbourLists lists = nothingListed(stackRows(library.queryShape, library.shapeMatrix));
    buildNeighbourLists(lists, rows);
    measureCurveAreas(lists, rows);
    for (const Row row : rows) {
        ASSERT_TRUE(isListed(lists, row)) << label << ", row " << row;
        ASSERT_EQ(listed(lists, row), expected.list(row)) << label << ", row " << row;
        ASSERT_EQ(curveAreaOf(lists, row), expected.area(row)) << label << ", row " << row;
    }
}

TEST(BuildNeighbourLists, AreTheNearestRowsByDistanceAndNumber) {
    for (const LibraryKind kind : allLibraryKinds) {
        for (const std::uint32_t rowCount :
             {1U, 2U, 5U, 6U, 7U, 8U, 100U, 101U, 102U, 103U, 300U}) {
            expectListsOf(makeRandomLibrary(kind, kind, rowCount - 1, rowCount), allRows(rowCount),
                          nameOf(kind) + ", " + std::to_string(rowCount) + " rows");
        }
    }
}

TEST(BuildNeighbourLists, OneRowAloneHasTheSameList) {
    for (const LibraryKind kind : allLibraryKinds) {
        for (const Row row : {0U, 1U, 77U, 150U}) {
            expectListsOf(makeRandomLibrary(kind, kind, 150, 5), {row}, nameOf(kind));
        }
    }
}

// Batches of rows asked for, blocks of rows looked at, and more rows at nearly one distance than
// candidates are kept of.
TEST(BuildNeighbourLists, AreExactInLargeLibrariesOfNearTwins) {
    expectListsOf(makeRandomLibrary(LibraryKind::nearTwins, LibraryKind::nearTwins, 1600, 1),
                  allRows(1601), "near twins");
}

TEST(BuildNeighbourLists, TwinsListThemselvesAndLoseATwin) {
    const RandomLibrary library =
        makeRandomLibrary(LibraryKind::allTwins, LibraryKind::allTwins, 7, 1);
    NeighbourLists lists = nothingListed(stackRows(library.queryShape, library.shapeMatrix));
    buildNeighbourLists(lists, Rows{4});
    for (Row row = 0; row < 8; ++row) {
        EXPECT_EQ(listed(lists, row), (Rows{1, 2, 3, 4, 5})) << row;
    }
    EXPECT_EQ(lists.listed, Rows{0});
}

TEST(NothingListed, KnowsThatARowWithNanHasNoNeighbours) {
    RandomLibrary library =
        makeRandomLibrary(LibraryKind::clustered, LibraryKind::clustered, 30, 1);
    library.shapeMatrix(3, 100) = std::numeric_limits<float>::quiet_NaN();
    library.shapeMatrix(8, 0) = -std::numeric_limits<float>::infinity();
    library.shapeMatrix(9, 0) = 3e38F;
    NeighbourLists lists = nothingListed(stackRows(library.queryShape, library.shapeMatrix));
    EXPECT_EQ(lists.listed, (Rows{4, 9}));
    EXPECT_EQ(listed(lists, 4), Rows(5, noRow));
    EXPECT_FALSE(isListed(lists, 10));
    measureCurveAreas(lists, Rows{4});
    EXPECT_EQ(curveAreaOf(lists, 4), 0.0F);
}

TEST(NeighbourSimilarityCurve, IsOneMinusTheDistanceUnclipped) {
    std::vector<float> distances{0.0F, 0.25F, 1.0F, 3.5F};
    neighbourSimilarityCurve(distances);
    EXPECT_EQ(distances, (std::vector<float>{1.0F, 0.75F, 0.0F, -2.5F}));
}

TEST(CurveArea, IsTheTrapezoidSumOfSquaredHeights) {
    // Heights 1.5, 1.25, 0.75, 0; squares 2.25, 1.5625, 0.5625, 0.
    EXPECT_EQ(curveArea(std::vector<float>{1.0F, 0.75F, 0.25F, -0.5F}),
              1.90625F + 1.0625F + 0.28125F);
    EXPECT_FLOAT_EQ(curveArea(std::vector<float>{0.9F, 0.5F, 0.1F}), 0.48F);
}

TEST(CurveArea, IsZeroBelowTwoPointsAndForAFlatCurve) {
    EXPECT_EQ(curveArea({}), 0.0F);
    EXPECT_EQ(curveArea(std::vector<float>(1, 0.3F)), 0.0F);
    EXPECT_EQ(curveArea(std::vector<float>(100, 0.3F)), 0.0F);
}

}  // namespace
}  // namespace quillon::test
