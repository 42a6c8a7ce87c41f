// Exact distances from one vector to several at a time.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>

namespace quillon {

/// Calls `visit(i, distance)` for `i` from 0 to `count` - 1, in this order, with the squared L2
/// distance of `vector` to `vectorAt(i)`, `width` elements each: the sum of squared differences in
/// the order of the elements, each step rounded to 32 bits. ByShape and ByText report this number.
/// It depends on the two vectors alone: symmetric, 0 for identical finite vectors, the same on
/// every processor and for any other vectors beside them.
template <class VectorAt, class Visit>
void forEachDistance(const float* vector, std::size_t width, std::size_t count,
                     const VectorAt& vectorAt, const Visit& visit) {
    // Each sum waits for its addition before. Eight in parallel take about a third of the time of
    // eight one after the other, and less than two times four.
    constexpr std::size_t atOnce = 8;
    for (std::size_t begin = 0; begin < count; begin += atOnce) {
        const std::size_t size = std::min(atOnce, count - begin);
        std::array<const float*, atOnce> others{};
        for (std::size_t i = 0; i < atOnce; ++i) {
            others[i] =
                vectorAt(begin + std::min(i, size - 1));  // the last again where none is left
        }
        std::array<float, atOnce> sums{};
        for (std::size_t i = 0; i < width; ++i) {
            for (std::size_t r = 0; r < atOnce; ++r) {
                const float difference = vector[i] - others[r][i];
                sums[r] += difference * difference;
            }
        }
        for (std::size_t i = 0; i < size; ++i) {
            visit(begin + i, sums[i]);
        }
    }
}

}  // namespace quillon
