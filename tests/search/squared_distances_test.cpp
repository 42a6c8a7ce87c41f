#include "search/squared_distances.h"

#include <gtest/gtest.h>
#if __has_include(<faiss/utils/distances.h>)
#include <faiss/utils/distances.h>
#endif

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <random>
#include <utility>
#include <vector>

namespace quillon::test {
namespace {

using Visits = std::vector<std::pair<std::size_t, std::uint32_t>>;  // place, bits of the distance

std::uint32_t bitsOf(float distance) {
    return std::bit_cast<std::uint32_t>(distance);
}

// Values of many magnitudes, so that sums in another order round to other bits.
std::vector<float> madeUpVectors(std::size_t count, std::size_t width) {
    std::mt19937 random(static_cast<unsigned>(count * 1000 + width));
    std::vector<float> values(count * width);
    for (float& value : values) {
        value = std::ldexp(static_cast<float>(random() % 2001) - 1000.0F,
                           static_cast<int>(random() % 24) - 12);
    }
    return values;
}

Visits visitsOf(const std::vector<float>& from, const std::vector<float>& vectors,
                std::size_t count) {
    Visits visits;
    forEachDistance(
        from.data(), from.size(), count,
        [&](std::size_t i) { return vectors.data() + i * from.size(); },
        [&](std::size_t i, float distance) { visits.emplace_back(i, bitsOf(distance)); });
    return visits;
}

float plainDistance(const float* a, const float* b, std::size_t width) {
    float sum = 0.0F;
    for (std::size_t i = 0; i < width; ++i) {
        const float difference = a[i] - b[i];
        sum += difference * difference;
    }
    return sum;
}

TEST(ForEachDistance, IsThePlainSumToTheBitForEveryNumberOfVectors) {
    for (const std::size_t width : {0U, 1U, 3U, 16U, 31U, 32U, 33U, 384U, 512U, 515U}) {
        const std::vector<float> from = madeUpVectors(1, width);
        for (std::size_t count = 0; count < 18; ++count) {
            const std::vector<float> vectors = madeUpVectors(count, width);
            Visits expected;
            for (std::size_t i = 0; i < count; ++i) {
                const float* vector = vectors.data() + i * width;
                const float distance = plainDistance(from.data(), vector, width);
                expected.emplace_back(i, bitsOf(distance));
#if __has_include(<faiss/utils/distances.h>)
                EXPECT_EQ(bitsOf(distance), bitsOf(faiss::fvec_L2sqr(from.data(), vector, width)));
#endif
            }
            EXPECT_EQ(visitsOf(from, vectors, count), expected) << width << ", " << count;
        }
    }
}

TEST(ForEachDistance, DependsOnItsTwoVectorsAlone) {
    constexpr float infinity = std::numeric_limits<float>::infinity();
    constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();
    constexpr float longest = std::numeric_limits<float>::max();
    const std::vector<float> from{1.0F, 2.0F};
    const std::vector<float> vectors{1.0F,     infinity, notANumber, 2.0F, longest,
                                     -longest, 4.0F,     6.0F,       1.0F, 2.0F};
    const Visits visits = visitsOf(from, vectors, 5);
    ASSERT_EQ(visits.size(), 5U);
    EXPECT_EQ(visits[0].second, bitsOf(infinity));
    EXPECT_TRUE(std::isnan(std::bit_cast<float>(visits[1].second)));
    EXPECT_EQ(visits[2].second, bitsOf(infinity));
    EXPECT_EQ(visits[3].second, bitsOf(25.0F));
    EXPECT_EQ(visits[4].second, bitsOf(0.0F));
}

}  // namespace
}  // namespace quillon::test
