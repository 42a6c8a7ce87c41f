// Crowds: near enough rows to keep others off a list.
#include "search/neighbours/crowds.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <vector>

#include "search/neighbours/distance_bounds.h"
#include "support/random_library.h"

namespace quillon::test {
namespace {

constexpr float infinity = std::numeric_limits<float>::infinity();

TEST(Crowd, IsTheRowItselfAndFiveOthers) {
    const RandomLibrary library =
        makeRandomLibrary(LibraryKind::uniform, LibraryKind::uniform, 3, 1);
    Crowd crowd = crowdOfCopies(stackRows(library.queryShape, library.shapeMatrix), 0);
    EXPECT_EQ(crowd.others, 5U);
    EXPECT_EQ(crowd.reach(), infinity);
    join(crowd, std::vector<float>{9.0F, 1.0F, 8.0F, 2.0F});
    EXPECT_EQ(crowd.reach(), infinity);
    join(crowd, std::vector<float>{7.0F});
    EXPECT_EQ(crowd.reach(), 9.0F);
    join(crowd, std::vector<float>{3.0F, 8.5F, 3.0F});
    EXPECT_EQ(crowd.reach(), 7.0F);
}

TEST(Crowd, CopiesAreInItFromTheStart) {
    RandomLibrary library = makeRandomLibrary(LibraryKind::allTwins, LibraryKind::uniform, 3, 1);
    Crowd four = crowdOfCopies(stackRows(library.queryShape, library.shapeMatrix), 2);
    EXPECT_EQ(four.others, 2U);
    join(four, std::vector<float>{5.0F, 4.0F, 6.0F});
    EXPECT_EQ(four.reach(), 5.0F);

    library = makeRandomLibrary(LibraryKind::allTwins, LibraryKind::uniform, 6, 1);
    Crowd seven = crowdOfCopies(stackRows(library.queryShape, library.shapeMatrix), 2);
    EXPECT_EQ(seven.reach(), 0.0F);
    join(seven, std::vector<float>{-1.0F});
    EXPECT_EQ(seven.reach(), 0.0F);
}

/// What the sixth nearest row is away, counted by the one distances.
float crowdDistance(const SideRows& side, Row row) {
    std::vector<float> distances;
    for (Row other = 0; other < static_cast<Row>(side.count); ++other) {
        distances.push_back(squaredDistance(side, row, other));
    }
    std::sort(distances.begin(), distances.end());
    return distances[crowdSize - 1];
}

TEST(ReachesOfNeighbourhoods, HoldACrowdEach) {
    for (const LibraryKind kind :
         {LibraryKind::uniform, LibraryKind::clustered, LibraryKind::lattice, LibraryKind::oneHot,
          LibraryKind::nearTwins, LibraryKind::oneCommon}) {
        for (const std::uint32_t rowCount : {20U, 255U, 256U, 257U, 700U}) {
            const RandomLibrary library = makeRandomLibrary(kind, kind, rowCount, rowCount);
            const SideRows side = stackRows(library.queryShape, library.shapeMatrix);
            const std::vector<float> reaches = reachesOfNeighbourhoods(side);
            for (const Row row : side.distinct) {
                const DistanceBounds bounds = boundsOf(side.squaredLengths[row], side.width);
                EXPECT_GE(atMost(reaches[row], bounds), crowdDistance(side, row))
                    << nameOf(kind) << ", " << rowCount << " rows, row " << row;
            }
        }
    }
}

// Five rows near each other and far from all others are no crowd for one of them, though they are
// just the five centres that the others are split by.
TEST(ReachesOfNeighbourhoods, CountNoRowTwice) {
    RandomLibrary library = makeRandomLibrary(LibraryKind::uniform, LibraryKind::uniform, 319, 1);
    for (std::size_t row = 0; row < 319; ++row) {
        library.shapeMatrix(row, 2) = 0.001F * static_cast<float>(row);  // no copies
    }
    const std::vector<std::size_t> centres{0, 64, 128, 192, 256};
    for (const std::size_t row : centres) {
        float* vector = row == 0 ? library.queryShape.data()
                                 : library.shapeMatrix.data() + (row - 1) * shapeWidth;
        std::fill_n(vector, shapeWidth, 0.0F);
        vector[0] = 9.0F;
        vector[1] = 0.001F * static_cast<float>(row);
    }
    const SideRows side = stackRows(library.queryShape, library.shapeMatrix);
    ASSERT_EQ(side.distinct.size(), 320U);
    const std::vector<float> reaches = reachesOfNeighbourhoods(side);
    for (const std::size_t row : centres) {
        EXPECT_GT(reaches[row], 10.0F) << row;
    }
}

// Rows of one cluster are at squared distances about 1 or less, others at about 2.
TEST(ReachesOfNeighbourhoods, AreNearInClusters) {
    const RandomLibrary library =
        makeRandomLibrary(LibraryKind::clustered, LibraryKind::clustered, 1000, 1);
    const SideRows side = stackRows(library.queryShape, library.shapeMatrix);
    const std::vector<float> reaches = reachesOfNeighbourhoods(side);
    std::size_t near = 0;
    for (const Row row : side.distinct) {
        near += reaches[row] < 1.4F ? 1 : 0;
    }
    EXPECT_GT(near, side.distinct.size() * 9 / 10);
}

// Small crowds along axes of their own are all as far from every centre, so that no split parts
// them.
TEST(ReachesOfNeighbourhoods, AreNearWhereNoSplitPartsTheRows) {
    constexpr std::size_t rowCount = 360;
    RandomLibrary library =
        makeRandomLibrary(LibraryKind::uniform, LibraryKind::uniform, rowCount, 1);
    std::fill(library.shapeMatrix.begin(), library.shapeMatrix.end(), 0.0F);
    for (std::size_t row = 0; row < rowCount; ++row) {
        library.shapeMatrix(row, row / crowdSize) = 1.0F;
        library.shapeMatrix(row, rowCount / crowdSize + row) = 0.25F;
    }
    const SideRows side = stackRows(library.queryShape, library.shapeMatrix);
    const std::vector<float> reaches = reachesOfNeighbourhoods(side);
    // But for the crowds of the centres, and one that lies across the end of the rows held against
    // each other.
    EXPECT_GT(std::count_if(reaches.begin(), reaches.end(), [](float reach) { return reach < 1; }),
              320);
}

TEST(ReachesOfNeighbourhoods, AreUnknownForRowsTooLong) {
    const RandomLibrary library =
        makeRandomLibrary(LibraryKind::notFinite, LibraryKind::notFinite, 300, 1);
    const SideRows side = stackRows(library.queryShape, library.shapeMatrix);
    const std::vector<float> reaches = reachesOfNeighbourhoods(side);
    std::size_t unknown = 0;
    for (const Row row : side.distinct) {
        EXPECT_EQ(reaches[row] < infinity, isOrdinary(side.squaredLengths[row])) << row;
        unknown += reaches[row] < infinity ? 0 : 1;
    }
    EXPECT_GT(unknown, 10U);
}

}  // namespace
}  // namespace quillon::test
