// The curve of a row's neighbours, its area, and what the sides count for it.
#include "search/adaptive/similarity_curve.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <vector>

namespace quillon::test {
namespace {

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

TEST(CurveArea, MeasuresHeightsFromTheMinimumWhereverItIs) {
    EXPECT_EQ(curveArea(std::vector<float>{1.0F, -1.0F, 0.0F}), 2.0F + 0.5F);
    EXPECT_EQ(curveArea(std::vector<float>{3.0F, 2.0F}), 0.5F);
}

TEST(CurveArea, IsZeroBelowTwoPointsAndForAFlatCurve) {
    EXPECT_EQ(curveArea({}), 0.0F);
    EXPECT_EQ(curveArea(std::vector<float>(1, 0.3F)), 0.0F);
    EXPECT_EQ(curveArea(std::vector<float>(100, 0.3F)), 0.0F);
}

// A 32-bit sum would lose every pair behind the first.
TEST(CurveArea, SumsIn64Bits) {
    std::vector<float> curve(101, 1.0F);
    curve.front() = 8193.0F;
    curve.back() = 0.0F;
    // Squares of the heights: 8193², then 99 times 1, then 0.
    EXPECT_EQ(curveArea(curve),
              static_cast<float>(double{8193.0F * 8193.0F + 1.0F} * 0.5 + 98.0 + 0.5));
    EXPECT_NE(curveArea(curve), (8193.0F * 8193.0F + 1.0F) * 0.5F);
}

// The pair is rounded to 32 bits before it is halved and added.
TEST(CurveArea, AddsPairsIn32Bits) {
    // Squares 2^24, 1 and 0: the pair 2^24 + 1 rounds down.
    EXPECT_EQ(curveArea(std::vector<float>{4096.0F, 1.0F, 0.0F}), 8388608.0F);
    const std::vector<float> curve{4096.0F, 1.0F, 1.0F, 0.0F};
    EXPECT_EQ(curveArea(curve), static_cast<float>(8388608.0 + 1.0 + 0.5));
}

TEST(CurveAreaWeights, AreEachSidesShareOfTheTotalArea) {
    constexpr float infinity = std::numeric_limits<float>::infinity();
    const std::array<float, 2> shares = curveAreaWeights({0.48F, 0.16F});
    EXPECT_FLOAT_EQ(shares[0], 0.75F);
    EXPECT_FLOAT_EQ(shares[1], 0.25F);
    EXPECT_EQ(curveAreaWeights({0.0F, 2.0F}), (std::array<float, 2>{0.0F, 1.0F}));
    EXPECT_TRUE(std::isnan(curveAreaWeights({0.0F, 0.0F})[0]));
    EXPECT_TRUE(std::isnan(curveAreaWeights({0.0F, 0.0F})[1]));
    EXPECT_TRUE(std::isnan(curveAreaWeights({infinity, 1.0F})[0]));
    EXPECT_EQ(curveAreaWeights({infinity, 1.0F})[1], 0.0F);
}

}  // namespace
}  // namespace quillon::test
