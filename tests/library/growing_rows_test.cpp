// Rows that grow, and the matrix that they end as.
#include "library/growing_rows.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <limits>
#include <numeric>

namespace quillon {
namespace {

/// Row r is 10 r, 10 r + 1, 10 r + 2.
GrowingRows threeColumns(std::size_t rowCount, std::size_t expectedRows) {
    GrowingRows rows(3, expectedRows);
    for (std::size_t r = 0; r < rowCount; ++r) {
        float* row = rows.append();
        std::iota(row, row + 3, static_cast<float>(10 * r));
    }
    return rows;
}

TEST(GrowingRows, KeepTheirValuesWhileTheyGrow) {
    const GrowingRows rows = threeColumns(50, 2);
    EXPECT_EQ(rows.rowCount(), 50U);
    EXPECT_EQ(rows.rowWidth(), 3U);
    for (std::size_t r = 0; r < 50; ++r) {
        for (std::size_t c = 0; c < 3; ++c) {
            EXPECT_EQ(rows.row(r)[c], static_cast<float>(10 * r + c));
        }
    }
}

TEST(GrowingRows, TakeWhatIsExpectedFirstAndHalfAsMuchMoreThen) {
    GrowingRows rows(3, 4);
    EXPECT_EQ(rows.capacityBytes(), 0U);
    const std::size_t bytesOfRow = 3 * sizeof(float);
    for (const std::size_t capacity : {4U, 4U, 4U, 4U, 7U, 7U, 7U, 11U}) {
        rows.append();
        EXPECT_EQ(rows.capacityBytes(), capacity * bytesOfRow) << rows.rowCount();
    }
}

TEST(GrowingRows, GrowToWhatIsExpectedByThenUnlessItIsLittle) {
    GrowingRows rows(3, 4);
    rows.expect(2);
    const std::size_t bytesOfRow = 3 * sizeof(float);
    for (const std::size_t capacity : {2U, 2U, 100U}) {
        rows.append();
        EXPECT_EQ(rows.capacityBytes(), capacity * bytesOfRow) << rows.rowCount();
        rows.expect(100);
    }
    while (rows.rowCount() < 101) {
        rows.append();
    }
    EXPECT_EQ(rows.capacityBytes(), 151 * bytesOfRow);
}

TEST(GrowingRows, MakeDoWithLessThanIsExpected) {
    GrowingRows rows(3, 2);
    for (std::size_t r = 0; r < 9; ++r) {
        rows.append()[2] = static_cast<float>(r);
        rows.expect(std::numeric_limits<std::size_t>::max() / 16);
    }
    EXPECT_EQ(rows.row(7)[2], 7.0F);
    EXPECT_EQ(rows.row(8)[2], 8.0F);
    EXPECT_EQ(rows.capacityBytes(), 11 * 3 * sizeof(float));
}

TEST(GrowingRows, GrowFromOneToo) {
    for (const std::size_t expectedRows : {0U, 1U}) {
        const GrowingRows rows = threeColumns(9, expectedRows);
        EXPECT_GE(rows.capacityBytes(), 27 * sizeof(float));
        EXPECT_EQ(rows.row(8)[2], 82.0F);
    }
}

TEST(GrowingRows, EndAsAMatrixOfTheFirstRows) {
    for (const std::size_t wanted : {0U, 1U, 6U, 7U}) {
        const FeatureMatrix matrix = threeColumns(7, 4).takeMatrix(wanted);
        ASSERT_EQ(matrix.shape(0), wanted);
        ASSERT_EQ(matrix.shape(1), 3U);
        for (std::size_t r = 0; r < wanted; ++r) {
            EXPECT_EQ(matrix(r, 0), static_cast<float>(10 * r));
            EXPECT_EQ(matrix(r, 2), static_cast<float>(10 * r + 2));
        }
    }
}

}  // namespace
}  // namespace quillon
