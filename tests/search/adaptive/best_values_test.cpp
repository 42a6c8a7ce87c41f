// The best values, and how few of them are computed.
#include "search/adaptive/best_values.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <iterator>
#include <limits>
#include <random>
#include <set>
#include <vector>

namespace quillon::test {
namespace {

constexpr float nan = std::numeric_limits<float>::quiet_NaN();

/// Bounds of some rows, their values, and the batches in which these are asked for.
struct Bounded {
    std::vector<RowValue> bounds;
    std::vector<float> values;
    std::vector<std::size_t> batches;
    Rows asked;

    std::vector<RowValue> best(std::size_t wanted) {
        batches.clear();
        asked.clear();
        return bestValues(bounds, wanted, [&](std::span<const Row> rows) {
            batches.push_back(rows.size());
            asked.insert(asked.end(), rows.begin(), rows.end());
            std::vector<float> some;
            for (const Row row : rows) {
                some.push_back(values[row]);
            }
            return some;
        });
    }
};

/// Row r has a value of 0 to 20 and a bound that is as high or a little higher.
Bounded randomValues(std::size_t rowCount, std::uint32_t seed, bool hasNans) {
    std::mt19937 random(seed);
    Bounded bounded;
    for (Row row = 0; row < rowCount; ++row) {
        const auto value = static_cast<float>(random() % 21);
        bounded.bounds.push_back({row, value + static_cast<float>(random() % 3)});
        bounded.values.push_back(hasNans && random() % 5 == 0 ? nan : value);
    }
    return bounded;
}

TEST(BestValues, HoldAllValuesThatReachTheWantedBest) {
    for (std::uint32_t seed = 0; seed < 200; ++seed) {
        Bounded bounded = randomValues(seed * 3, seed, seed % 2 == 0);
        for (const std::size_t wanted : {1U, 2U, 5U, 40U, 1000U}) {
            const std::vector<RowValue> best = bounded.best(wanted);
            std::set<Row> computed;
            for (const RowValue& row : best) {
                EXPECT_TRUE(computed.insert(row.row).second);
                const float value = bounded.values[row.row];
                EXPECT_TRUE(row.value == value || (std::isnan(row.value) && std::isnan(value)));
            }
            std::vector<float> numbers;
            std::copy_if(bounded.values.begin(), bounded.values.end(), std::back_inserter(numbers),
                         [](float value) { return value == value; });
            std::sort(numbers.begin(), numbers.end(), std::greater<>());
            const float worst = numbers.size() < wanted ? -1.0F : numbers[wanted - 1];
            for (Row row = 0; row < bounded.values.size(); ++row) {
                EXPECT_TRUE(!(bounded.values[row] >= worst) || computed.count(row) == 1)
                    << "seed " << seed << ", wanted " << wanted << ", row " << row;
            }
        }
    }
}

TEST(BestValues, AreComputedFromTheHighestBoundDown) {
    Bounded bounded = randomValues(500, 1, false);
    bounded.best(3);
    std::vector<float> bounds;
    for (const Row row : bounded.asked) {
        bounds.push_back(bounded.bounds[row].value);
    }
    EXPECT_TRUE(std::is_sorted(bounds.rbegin(), bounds.rend()));
    EXPECT_GE(bounds.size(), 32U);
    EXPECT_LT(bounds.size(), 200U);
}

// Bounds 1000, 999 ... and values a tenth of that.
Bounded falling(std::size_t rowCount) {
    Bounded bounded;
    for (Row row = 0; row < rowCount; ++row) {
        bounded.bounds.push_back({row, static_cast<float>(1000 - row)});
        bounded.values.push_back(static_cast<float>(1000 - row) / 10.0F);
    }
    return bounded;
}

TEST(BestValues, AreComputedInGrowingBatchesWhileBoundsReachTheBestValues) {
    Bounded bounded = falling(1000);
    // The best value is 100, which the bound of row 900 still is.
    EXPECT_EQ(bounded.best(1).size(), 901U);
    EXPECT_EQ(bounded.batches, (std::vector<std::size_t>{32, 64, 128, 256, 421}));
    // The 20th best is 98.1, which the bound of row 901 still exceeds.
    EXPECT_EQ(bounded.best(20).size(), 902U);
    EXPECT_EQ(bounded.batches, (std::vector<std::size_t>{40, 80, 160, 320, 302}));
}

TEST(BestValues, OfNoLimitAreAll) {
    Bounded bounded = randomValues(500, 1, true);
    EXPECT_EQ(bounded.best(0).size(), 500U);
    bounded = falling(1000);
    EXPECT_EQ(bounded.best(0).size(), 1000U);
}

TEST(BestValues, OfNoRowsAreNone) {
    Bounded bounded;
    EXPECT_TRUE(bounded.best(5).empty());
    EXPECT_TRUE(bounded.best(0).empty());
    EXPECT_TRUE(bounded.batches.empty());
}

// However high the bounds of such values, they do not count among the wanted.
TEST(BestValues, DoNotCountThoseThatAreNotNumbers) {
    Bounded bounded;
    for (Row row = 0; row < 200; ++row) {
        bounded.bounds.push_back({row, row < 100 ? 5.0F : 2.0F});
        bounded.values.push_back(row < 100 ? nan : 2.0F);
    }
    EXPECT_EQ(bounded.best(1).size(), 200U);
}

}  // namespace
}  // namespace quillon::test
