// The bounds between what a matrix product proposes and the one distance, on vectors made to be
// bad.
#include "search/neighbours/distance_bounds.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

#include "search/neighbours/proposed_distances.h"
#include "support/random_library.h"

namespace quillon::test {
namespace {

/// Long vectors in nearly one direction, with differences from nothing to small, and of very
/// different lengths, some of them with all rounding in one direction.
FeatureMatrix badVectors(std::size_t rowCount, std::uint32_t seed) {
    const RandomLibrary random =
        makeRandomLibrary(LibraryKind::uniform, LibraryKind::uniform, rowCount, seed);
    FeatureMatrix matrix = FeatureMatrix::from_shape({rowCount, shapeWidth});
    for (std::size_t row = 0; row < rowCount; ++row) {
        const float length = std::ldexp(1.0F, static_cast<int>(row % 9) * 7 - 28);
        const float difference = std::ldexp(1.0F, -static_cast<int>(row % 25));
        for (std::size_t i = 0; i < shapeWidth; ++i) {
            const float direction = row % 2 == 0 ? 1.0F / 3.0F : random.shapeMatrix(0, i);
            matrix(row, i) = length * (direction + difference * random.shapeMatrix(row, i));
        }
    }
    return matrix;
}

void expectBoundsHold(const FeatureMatrix& query, const FeatureMatrix& matrix,
                      const std::string& label) {
    const SideRows side = stackRows(query, matrix);
    std::size_t checked = 0;
    forEachBlock(side, side.distinct, side.distinct, [&](const ProposedBlock& block) {
        for (std::size_t i = 0; i < block.rows.size(); ++i) {
            const Row row = block.rows[i];
            if (!isOrdinary(side.squaredLengths[row])) {
                continue;
            }
            const DistanceBounds bounds = boundsOf(side.squaredLengths[row], side.width);
            for (std::size_t j = 0; j < block.columns.size(); ++j) {
                const float proposal = block.of(i)[j];
                const float distance = squaredDistance(side, row, block.columns[j]);
                if (!(distance < farthestOrdinary)) {
                    EXPECT_FALSE(proposal < farthestOrdinary) << label;
                    continue;
                }
                EXPECT_LE(distance, atMost(proposal, bounds)) << label << ", row " << row;
                EXPECT_GE(distance, atLeast(proposal, bounds)) << label << ", row " << row;
                ++checked;
            }
        }
    });
    EXPECT_GT(checked, 1000U);
}

TEST(DistanceBounds, HoldForVectorsMadeToBeBad) {
    for (std::uint32_t seed = 0; seed < 4; ++seed) {
        expectBoundsHold(badVectors(1, seed + 100), badVectors(150, seed), std::to_string(seed));
    }
}

TEST(DistanceBounds, HoldForAllKindsOfLibraries) {
    for (const LibraryKind kind :
         {LibraryKind::uniform, LibraryKind::clustered, LibraryKind::lattice,
          LibraryKind::notFinite, LibraryKind::nearTwins, LibraryKind::lengths}) {
        const RandomLibrary library = makeRandomLibrary(kind, kind, 120, 11);
        expectBoundsHold(library.queryShape, library.shapeMatrix, nameOf(kind));
    }
}

// Products of such vectors are below the smallest normal number, and lose most of their digits.
TEST(DistanceBounds, HoldForVectorsWhoseProductsVanish) {
    for (const float scale : {1e-19F, 1e-20F, 1e-21F, 1e-22F, 1e-23F}) {
        RandomLibrary library =
            makeRandomLibrary(LibraryKind::uniform, LibraryKind::uniform, 120, 12);
        for (float& value : library.shapeMatrix) {
            value *= scale;
        }
        expectBoundsHold(library.queryShape, library.shapeMatrix, std::to_string(scale));
    }
}

// The worst that any order of summation may do, worked out in 64-bit floats: every rounding of both
// sums the whole bound off, and both in opposite directions. Three times the length in the same
// direction leaves no room but the hundredth.
TEST(DistanceBounds, HaveRoomForTheWorstRounding) {
    for (const double length : {1e-18, 1e-3, 1.0, 1e10, 1e18}) {
        for (const double otherLength :
             {0.0, 1e-3 * length, length, 2.0 * length, 3.0 * length, 30.0 * length}) {
            const double gamma = 520.0 * 0x1p-24 / (1.0 - 520.0 * 0x1p-24);
            const double worst = gamma * (length + otherLength) * (length + otherLength);
            const double exact = (length - otherLength) * (length - otherLength);
            const DistanceBounds bounds = boundsOf(static_cast<float>(length * length), shapeWidth);
            EXPECT_LE(exact + worst, atMost(exact - worst, bounds)) << length << otherLength;
            EXPECT_GE(std::max(0.0, exact - worst), atLeast(exact + worst, bounds))
                << length << otherLength;
            // No more room than is needed, unless much of it is for underflow.
            if (otherLength == 3.0 * length && length > 1e-18) {
                EXPECT_LE(atMost(exact - worst, bounds), exact + 1.1 * worst) << length;
            }
        }
    }
}

TEST(SurelyFartherFrom, LeavesRoomForTwoErrors) {
    const DistanceBounds bounds = boundsOf(1.0F, shapeWidth);
    const float limit = surelyFartherFrom(0.5F, bounds);
    EXPECT_GT(atLeast(limit, bounds), atMost(0.5, bounds));
    EXPECT_LT(limit, 0.5F + 2.5F * static_cast<float>(bounds.slack));
    EXPECT_EQ(surelyFartherFrom(std::numeric_limits<float>::max(), bounds),
              std::numeric_limits<float>::infinity());
}

TEST(SurelyNearerBelow, LeavesRoomForTwoErrors) {
    const DistanceBounds bounds = boundsOf(1.0F, shapeWidth);
    const float limit = surelyNearerBelow(0.5F, bounds);
    EXPECT_LE(atMost(limit, bounds), atLeast(0.5, bounds));
    EXPECT_GT(limit, 0.5F - 2.5F * static_cast<float>(bounds.slack));
    EXPECT_LT(surelyNearerBelow(0.0F, bounds), 0.0F);
}

TEST(IsOrdinary, RefusesWhatMayOverflow) {
    EXPECT_TRUE(isOrdinary(0.0F));
    EXPECT_TRUE(isOrdinary(1e36F));
    EXPECT_FALSE(isOrdinary(std::nextafter(1e36F, 1e38F)));
    EXPECT_FALSE(isOrdinary(std::numeric_limits<float>::infinity()));
    EXPECT_FALSE(isOrdinary(std::numeric_limits<float>::quiet_NaN()));
}

}  // namespace
}  // namespace quillon::test
