// Blocks of proposals: every pair once, whatever the sizes.
#include "search/neighbours/proposed_distances.h"

#include <gtest/gtest.h>

#include <numeric>
#include <vector>

namespace quillon::test {
namespace {

using Rows = std::vector<Row>;

/// Row r lies at (r % 64, r / 64): all products are small whole numbers and exact.
struct Grid {
    explicit Grid(std::size_t rowCount)
        : query(FeatureMatrix::from_shape({1, 2})),
          library(FeatureMatrix::from_shape({rowCount - 1, 2})) {
        query.fill(0.0F);
        library.fill(0.0F);
        for (std::size_t row = 1; row < rowCount; ++row) {
            library(row - 1, 0) = static_cast<float>(row % 64);
            const std::size_t down = row / 64;
            library(row - 1, 1) = static_cast<float>(down);
        }
    }

    FeatureMatrix query;
    FeatureMatrix library;
};

void expectEveryPairOnce(const SideRows& side, const Rows& rows, const Rows& columns) {
    std::vector<int> seen(rows.size() * columns.size(), 0);
    forEachBlock(side, rows, columns, [&](const ProposedBlock& block) {
        for (std::size_t i = 0; i < block.rows.size(); ++i) {
            ASSERT_EQ(block.rows[i], rows[block.firstRow + i]);
            for (std::size_t j = 0; j < block.columns.size(); ++j) {
                ASSERT_EQ(block.columns[j], columns[block.firstColumn + j]);
                const int across =
                    static_cast<int>(block.rows[i] % 64) - static_cast<int>(block.columns[j] % 64);
                const int down =
                    static_cast<int>(block.rows[i] / 64) - static_cast<int>(block.columns[j] / 64);
                ASSERT_EQ(block.of(i)[j], static_cast<float>(across * across + down * down));
                ++seen[(block.firstRow + i) * columns.size() + block.firstColumn + j];
            }
        }
    });
    EXPECT_EQ(seen, std::vector<int>(seen.size(), 1));
}

TEST(ForEachBlock, ProposesEveryPairOnce) {
    // More rows than a block has, and more columns.
    const Grid grid(4200);
    const SideRows side = stackRows(grid.query, grid.library);
    Rows all(4200);
    std::iota(all.begin(), all.end(), 0);
    const Rows odd{4199, 7, 0, 7, 8, 9, 2100};
    expectEveryPairOnce(side, all, odd);
    expectEveryPairOnce(side, odd, all);
    expectEveryPairOnce(side, odd, odd);
    expectEveryPairOnce(side, Rows(all.begin() + 1, all.begin() + 1000), all);
    expectEveryPairOnce(side, {0}, {0});
}

TEST(ForEachBlock, HasNothingToShowWithoutRowsOrColumns) {
    const Grid grid(3);
    const SideRows side = stackRows(grid.query, grid.library);
    const auto fail = [](const ProposedBlock&) { FAIL(); };
    forEachBlock(side, Rows{}, Rows{1}, fail);
    forEachBlock(side, Rows{1}, Rows{}, fail);
}

TEST(ForEachBelow, VisitsWhatIsBelowItsLimitAtThatTime) {
    for (const std::size_t size : {0U, 1U, 15U, 16U, 17U, 40U}) {
        std::vector<float> proposals(size);
        std::iota(proposals.rbegin(), proposals.rend(), 1.0F);
        // The limit falls to half of each value met: of 40, 39 ... only 40, 19, 9, 4, 1.
        float limit = 1000.0F;
        std::vector<float> met;
        forEachBelow(
            proposals, [&](std::size_t) { return limit; },
            [&](std::size_t i) {
                met.push_back(proposals[i]);
                limit = proposals[i] / 2.0F;
            });
        std::vector<float> expected;
        for (int value = static_cast<int>(size); value > 0; value = (value - 1) / 2) {
            expected.push_back(static_cast<float>(value));
        }
        EXPECT_EQ(met, expected) << size;
    }
}

}  // namespace
}  // namespace quillon::test
