// The order of scores, among them some that are not numbers.
#include "search/adaptive/ranked_order.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <limits>
#include <numeric>
#include <random>
#include <vector>

#include "reference/dense_adaptive.h"

namespace quillon::test {
namespace {

constexpr float nan = std::numeric_limits<float>::quiet_NaN();

TEST(AscendingOrder, KeepsEqualValuesInOrder) {
    EXPECT_EQ(ascendingOrder({2.0F, 1.0F, 2.0F, 1.0F, -0.0F, 0.0F}),
              (std::vector<std::size_t>{4, 5, 1, 3, 0, 2}));
    const std::vector<std::size_t> order = ascendingOrder(std::vector<float>(1000, 0.0F));
    for (std::size_t i = 0; i < order.size(); ++i) {
        EXPECT_EQ(order[i], i);
    }
}

TEST(AscendingOrder, OfFewValuesOnlyThoseBelowTheFirstMovePastANan) {
    EXPECT_EQ(ascendingOrder({0.811F, 0.785F, 0.807F, nan, 0.752F}),
              (std::vector<std::size_t>{4, 1, 2, 0, 3}));
    EXPECT_EQ(ascendingOrder({3.0F, 2.0F, nan, 1.0F, 0.0F, nan, nan, 5.0F, 4.0F}),
              (std::vector<std::size_t>{4, 3, 1, 0, 2, 5, 6, 8, 7}));
    EXPECT_EQ(ascendingOrder({nan, 2.0F, 1.0F, nan, 0.0F}),
              (std::vector<std::size_t>{0, 2, 1, 3, 4}));
}

TEST(AscendingOrder, NansComeFirstAmongManyValues) {
    std::vector<float> values(33, 1.0F);
    values[0] = 2.0F;
    values[4] = nan;
    values[20] = nan;
    values[30] = 0.5F;
    const std::vector<std::size_t> order = ascendingOrder(values);
    EXPECT_EQ((std::vector<std::size_t>{order[0], order[1], order[2], order[3], order[32]}),
              (std::vector<std::size_t>{4, 20, 30, 1, 0}));
    values.resize(32);
    std::vector<std::size_t> expected{30, 1, 2, 3, 0};
    for (std::size_t i = 4; i < 32; ++i) {
        if (i != 30) {
            expected.push_back(i);
        }
    }
    EXPECT_EQ(ascendingOrder(values), expected);
}

/// By the reference, and up to 16 values, which it sorts by insertion alone, by the standard
/// library too.
void expectOrderOfAnInsertionSort(const std::vector<float>& values) {
    const std::vector<std::size_t> actual = ascendingOrder(values);
    reference::Floats row = reference::Floats::from_shape({1, values.size()});
    std::copy(values.begin(), values.end(), row.begin());
    const std::vector<std::int64_t> plain = reference::insertionSorted(row, 0);
    ASSERT_EQ(actual, std::vector<std::size_t>(plain.begin(), plain.end()))
        << testing::PrintToString(values);
#ifdef __GLIBCXX__
    if (values.size() <= 16) {
        std::vector<std::size_t> sorted(values.size());
        std::iota(sorted.begin(), sorted.end(), std::size_t{0});
        std::sort(sorted.begin(), sorted.end(),
                  [&](std::size_t a, std::size_t b) { return values[a] < values[b]; });
        ASSERT_EQ(actual, sorted) << testing::PrintToString(values);
    }
#endif
}

TEST(AscendingOrder, EqualsAnInsertionSortOfFewValues) {
    constexpr std::array<float, 4> kinds{nan, 0.0F, 1.0F, 2.0F};
    // All sequences of up to 6 values, then random ones.
    for (std::size_t size = 0, sequences = 1; size <= 6; ++size, sequences *= kinds.size()) {
        for (std::size_t sequence = 0; sequence < sequences; ++sequence) {
            std::vector<float> values;
            for (std::size_t rest = sequence; values.size() < size; rest /= kinds.size()) {
                values.push_back(kinds[rest % kinds.size()]);
            }
            expectOrderOfAnInsertionSort(values);
        }
    }
    std::mt19937 random(5);
    for (std::size_t sequence = 0; sequence < 20'000; ++sequence) {
        std::vector<float> values(random() % 33);
        const std::size_t nanOneIn = 2 + random() % 12;
        for (float& value : values) {
            value = random() % nanOneIn == 0 ? nan : static_cast<float>(random() % 20);
        }
        expectOrderOfAnInsertionSort(values);
    }
}

}  // namespace
}  // namespace quillon::test
