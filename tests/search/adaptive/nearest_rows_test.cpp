// The nearest rows against a plain scan of all rows.
#include "search/adaptive/nearest_rows.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/plain_neighbours.h"
#include "support/random_library.h"

namespace quillon::test {
namespace {

/// The scans of some rows of a side.
std::vector<std::vector<Near>> scansOf(const StackedSide& side, const Rows& rows) {
    std::vector<std::vector<Near>> scans;
    for (const Row row : rows) {
        scans.push_back(nearestByScan(side, row));
    }
    return scans;
}

void expectNearest(const StackedSide& side, const Rows& rows,
                   const std::vector<std::vector<Near>>& scans, std::size_t wanted) {
    const std::vector<std::vector<Near>> nearest = nearestRows(side, rows, wanted);
    ASSERT_EQ(nearest.size(), rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const std::vector<Near>& scan = scans[i];
        const std::vector<Near> expected(
            scan.begin(),
            scan.begin() + static_cast<std::ptrdiff_t>(std::min(wanted, scan.size())));
        ASSERT_EQ(nearest[i], expected)
            << "row " << rows[i] << ", " << wanted << " wanted, " << side.workers << " workers";
    }
}

TEST(NearestRows, EqualsAScanOfAllRows) {
    for (const LibraryKind kind : allLibraryKinds) {
        for (const std::uint32_t rowCount :
             {1U, 2U, 5U, 15U, 16U, 17U, 18U, 63U, 64U, 65U, 66U, 127U, 128U, 129U, 130U, 300U}) {
            SCOPED_TRACE(nameOf(kind) + ", " + std::to_string(rowCount) + " rows");
            const RandomLibrary library = makeRandomLibrary(kind, kind, rowCount - 1, rowCount);
            StackedSide side = sideOf(library.queryText, library.textMatrix, 1);
            const std::vector<std::vector<Near>> scans = scansOf(side, side.distinct);
            for (const std::size_t workers : {1U, 2U, 7U}) {
                side.workers = workers;
                for (const std::size_t wanted : {1U, 6U, 101U}) {
                    expectNearest(side, side.distinct, scans, wanted);
                }
            }
        }
    }
}

TEST(NearestRows, TakesAnyDistinctRowsInAnyOrder) {
    const RandomLibrary library =
        makeRandomLibrary(LibraryKind::lattice, LibraryKind::nearTwins, 400, 3);
    for (const std::size_t workers : {1U, 2U, 7U}) {
        const StackedSide side = sideOf(library.queryText, library.textMatrix, workers);
        Rows rows;
        for (std::size_t i = 0; i < side.distinct.size(); i += 5) {
            rows.push_back(side.distinct[side.distinct.size() - 1 - i]);
            const auto count = static_cast<std::ptrdiff_t>(rows.size());
            if (count == 1 || count == 16 || count == 17) {
                expectNearest(side, rows, scansOf(side, rows), 20);
            }
        }
        EXPECT_TRUE(nearestRows(side, Rows{}, 20).empty());
    }
}

// Chunks enough for every worker to find some of the nearest rows.
TEST(NearestRows, EqualsAScanOfAllRowsInLargeLibraries) {
    for (const LibraryKind kind :
         {LibraryKind::uniform, LibraryKind::nearTwins, LibraryKind::oneCommon}) {
        const RandomLibrary library = makeRandomLibrary(kind, kind, 2000, 1);
        StackedSide side = sideOf(library.queryText, library.textMatrix, 1);
        const std::vector<std::vector<Near>> scans = scansOf(side, side.distinct);
        for (const std::size_t workers : {1U, 2U, 7U}) {
            SCOPED_TRACE(nameOf(kind));
            side.workers = workers;
            expectNearest(side, side.distinct, scans, 101);
        }
    }
}

// All of 300 rows are as far from the query: the lower numbers win, wherever they come from.
TEST(NearestRows, BreaksTiesByLowerRow) {
    RandomLibrary library = makeRandomLibrary(LibraryKind::allTwins, LibraryKind::uniform, 300, 1);
    library.queryShape.fill(0.0F);
    library.shapeMatrix.fill(0.0F);
    for (std::size_t row = 0; row < 300; ++row) {
        library.shapeMatrix(row, row) = 1.0F;
    }
    for (const std::size_t workers : {1U, 2U, 7U}) {
        const StackedSide side = sideOf(library.queryShape, library.shapeMatrix, workers);
        const std::vector<Near> nearest = nearestRows(side, Rows{0}, 101).front();
        ASSERT_EQ(nearest.size(), 101U);
        for (Row row = 1; row < 101; ++row) {
            EXPECT_EQ(nearest[row], (Near{1.0F, row}));
        }
    }
}

// By the time that the nearest row comes, the limit is the distance of another, one unit in the
// last place farther.
TEST(NearestRows, KeepsARowNearerByOneUnitInTheLastPlace) {
    std::vector<float> values(60);
    for (std::size_t row = 1; row < values.size(); ++row) {
        values[row] = 5.0F + static_cast<float>(row);
    }
    NarrowSide narrow(values);
    narrow.library(0, 0) = 1.0F;
    narrow.library(0, 1) = 0x1p-11F;
    narrow.library(49, 0) = 1.0F;
    narrow.library(49, 1) = 0.00034F;
    EXPECT_EQ(nearestRows(sideOf(narrow), Rows{0}, 3).front(),
              (std::vector<Near>{{0.0F, 0}, {0x1.000002p+0F, 50}, {0x1.000004p+0F, 1}}));
    EXPECT_EQ(nearestRows(sideOf(narrow), Rows{0}, 2).front(),
              (std::vector<Near>{{0.0F, 0}, {0x1.000002p+0F, 50}}));
}

TEST(NearestRows, ListsIdenticalRowsEachForItself) {
    const NarrowSide narrow({0, 1, 2, 1, 0, 1, 5, 2});
    const StackedSide side = sideOf(narrow.query, narrow.library, 2);
    EXPECT_EQ(nearestRows(side, Rows{0}, 4).front(),
              (std::vector<Near>{{0.0F, 0}, {0.0F, 4}, {1.0F, 1}, {1.0F, 3}}));
    EXPECT_EQ(nearestRows(side, Rows{2}, 8).front(), (std::vector<Near>{{0.0F, 2},
                                                                        {0.0F, 7},
                                                                        {1.0F, 1},
                                                                        {1.0F, 3},
                                                                        {1.0F, 5},
                                                                        {4.0F, 0},
                                                                        {4.0F, 4},
                                                                        {9.0F, 6}}));
    EXPECT_EQ(nearestRows(side, Rows{1}, 2).front(), (std::vector<Near>{{0.0F, 1}, {0.0F, 3}}));
}

// Rows of another vector, at the same distance, between identical ones.
TEST(NearestRows, MergesIdenticalRowsWithOthersAtTheSameDistance) {
    const NarrowSide narrow({0, 1, -1, 1, -1, 1, -1, 1, 9});
    const StackedSide side = sideOf(narrow);
    EXPECT_EQ(
        nearestRows(side, Rows{0}, 6).front(),
        (std::vector<Near>{{0.0F, 0}, {1.0F, 1}, {1.0F, 2}, {1.0F, 3}, {1.0F, 4}, {1.0F, 5}}));
}

TEST(NearestRows, LeavesOutRowsThatAreNotBelowTheLargestFloat) {
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    const NarrowSide narrow({0.0F, nan, 1e20F, -3e38F, 1e19F, 2.0F});
    const StackedSide side = sideOf(narrow);
    const std::vector<std::vector<Near>> nearest = nearestRows(side, Rows{0, 1, 2}, 6);
    EXPECT_EQ(nearest[0].size(), 3U);
    EXPECT_TRUE(nearest[1].empty());
    EXPECT_EQ(nearest[2], (std::vector<Near>{{0.0F, 2}}));
}

}  // namespace
}  // namespace quillon::test
