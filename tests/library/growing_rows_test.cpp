// Rows that grow, and the matrix that they end as.
#include "library/growing_rows.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <numeric>
#include <utility>

namespace quillon {
namespace {

/// Row r is 10 r, 10 r + 1, 10 r + 2.
GrowingRows threeColumns(std::size_t rowCount) {
    GrowingRows rows(3);
    for (std::size_t r = 0; r < rowCount; ++r) {
        float* row = rows.append();
        std::iota(row, row + 3, static_cast<float>(10 * r));
    }
    return rows;
}

TEST(GrowingRows, KeepTheirValuesWhileTheyGrow) {
    const GrowingRows rows = threeColumns(50);
    EXPECT_EQ(rows.rowCount(), 50U);
    EXPECT_EQ(rows.rowWidth(), 3U);
    for (std::size_t r = 0; r < 50; ++r) {
        for (std::size_t c = 0; c < 3; ++c) {
            EXPECT_EQ(rows.row(r)[c], static_cast<float>(10 * r + c));
        }
    }
}

TEST(GrowingRows, GrowByHalf) {
    GrowingRows rows(3);
    EXPECT_EQ(rows.capacityBytes(), 0U);
    for (const std::size_t capacity : {16U, 24U, 36U, 54U}) {
        while (rows.rowCount() < capacity) {
            rows.append();
            EXPECT_EQ(rows.capacityBytes(), capacity * 3 * sizeof(float)) << rows.rowCount();
        }
    }
}

TEST(GrowingRows, ReserveWhatTheyDoNotHaveYet) {
    GrowingRows rows(3);
    for (const auto& [wanted, capacity] : {std::pair(5U, 5U), {3U, 5U}, {40U, 40U}}) {
        rows.reserve(wanted);
        EXPECT_EQ(rows.capacityBytes(), capacity * 3 * sizeof(float));
        EXPECT_EQ(rows.rowCount(), 0U);
    }
}

TEST(GrowingRows, EndAsAMatrixOfTheFirstRows) {
    for (const std::size_t wanted : {0U, 1U, 6U, 7U}) {
        const FeatureMatrix matrix = threeColumns(7).takeMatrix(wanted);
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
