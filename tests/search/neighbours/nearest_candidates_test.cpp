// The candidates for the nearest rows, kept few and yet complete.
#include "search/neighbours/nearest_candidates.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <vector>

#include "support/random_library.h"

namespace quillon::test {
namespace {

/// The nearest rows of row 0 by a plain scan.
std::vector<Near> nearestByScan(const SideRows& side, std::size_t count) {
    std::vector<Near> rows;
    for (Row row = 0; row < static_cast<Row>(side.count); ++row) {
        rows.emplace_back(squaredDistance(side, 0, row), row);
    }
    std::sort(rows.begin(), rows.end());
    rows.resize(count);
    return rows;
}

TEST(Offer, KeepsTheNearestAndFewMore) {
    const RandomLibrary library =
        makeRandomLibrary(LibraryKind::uniform, LibraryKind::uniform, 2000, 1);
    const SideRows side = stackRows(library.queryShape, library.shapeMatrix);
    NearestCandidates candidates = candidatesFor(side, 0, 10);
    for (Row row = 0; row <= 2000; ++row) {
        const float distance = squaredDistance(side, 0, row);
        if (distance < candidates.limit) {
            offer(side, candidates, {distance, row});
        }
        EXPECT_LE(candidates.near.size(), 36U);
    }
    EXPECT_TRUE(areComplete(side, candidates));
    EXPECT_EQ(nearestRows(side, candidates), nearestByScan(side, 10));
}

// Proposals that tell nothing, all rows being as far as the bounds can see: memory stays small, and
// nothing is lost.
TEST(Offer, AsksTheOneDistanceWhereProposalsTellNothing) {
    const RandomLibrary library =
        makeRandomLibrary(LibraryKind::nearTwins, LibraryKind::nearTwins, 800, 2);
    const SideRows side = stackRows(library.queryShape, library.shapeMatrix);
    NearestCandidates candidates = candidatesFor(side, 0, 20);
    for (const Row row : side.distinct) {
        offer(side, candidates, {1e-6F * static_cast<float>(row % 7), row});
        EXPECT_LE(candidates.near.size(), 56U);
    }
    EXPECT_EQ(nearestRows(side, candidates), nearestByScan(side, 20));
}

TEST(AreComplete, NeedsAllRowsOrEnoughOrdinaryOnes) {
    const RandomLibrary library =
        makeRandomLibrary(LibraryKind::uniform, LibraryKind::uniform, 5, 1);
    const SideRows side = stackRows(library.queryShape, library.shapeMatrix);
    NearestCandidates candidates = candidatesFor(side, 0, 3);
    const auto completeWith = [&](std::size_t count, float limit) {
        candidates.near.assign(count, {0.0F, 0});
        candidates.limit = limit;
        return areComplete(side, candidates);
    };
    EXPECT_TRUE(completeWith(side.distinct.size(), unreached));
    EXPECT_TRUE(completeWith(3, 1.0F));
    EXPECT_FALSE(completeWith(2, 1.0F));
    EXPECT_FALSE(completeWith(3, farthestOrdinary));
}

TEST(OfferAll, FindsRowsTooLongForProposals) {
    RandomLibrary library = makeRandomLibrary(LibraryKind::uniform, LibraryKind::uniform, 20, 1);
    for (const std::size_t row : {3U, 9U}) {
        library.shapeMatrix(row, 0) = 1.5e19F;
    }
    library.shapeMatrix(11, 0) = std::numeric_limits<float>::quiet_NaN();
    const SideRows side = stackRows(library.queryShape, library.shapeMatrix);
    NearestCandidates candidates = candidatesFor(side, 4, 3);
    offerAll(side, candidates);
    const std::vector<Near> nearest = nearestRows(side, candidates);
    ASSERT_EQ(nearest.size(), 3U);
    EXPECT_EQ(nearest[0], (Near{0.0F, 4}));
    EXPECT_EQ(nearest[1], (Near{squaredDistance(side, 4, 10), 10}));
}

}  // namespace
}  // namespace quillon::test
