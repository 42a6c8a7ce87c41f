// Exact distances from one vector to several at a time.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>

namespace quillon {

/// Every addition waits for the previous one of its sum. Eight sums at once take about a third of
/// the time of eight sums one after the other, and less than two times four sums.
inline constexpr std::size_t distancesAtOnce = 8;

/// Vectors of equal length, by their first elements.
using VectorsAtOnce = std::array<const float*, distancesAtOnce>;
using DistancesAtOnce = std::array<float, distancesAtOnce>;

/// Returns the squared L2 distances of `vector` to `others`, `width` elements each: the sum of
/// squared differences in the order of the elements, each step rounded to 32 bits. ByShape and
/// ByText report this number. It depends on the two vectors alone: symmetric, 0 for identical
/// finite vectors, the same on every processor and for any other vectors beside them.
inline DistancesAtOnce squaredDistances(const float* vector, const VectorsAtOnce& others,
                                        std::size_t width) {
    // Local copies, which the compiler keeps in registers.
    const VectorsAtOnce rows = others;
    DistancesAtOnce sums{};
    for (std::size_t i = 0; i < width; ++i) {
        for (std::size_t r = 0; r < rows.size(); ++r) {
            const float difference = vector[i] - rows[r][i];
            sums[r] += difference * difference;
        }
    }
    return sums;
}

/// Calls `visit(i, distance)` for `i` from 0 to `count` - 1, in this order, with the squared
/// distance of `vector` to `vectorAt(i)`.
template <class VectorAt, class Visit>
void forEachDistance(const float* vector, std::size_t width, std::size_t count,
                     const VectorAt& vectorAt, const Visit& visit) {
    for (std::size_t begin = 0; begin < count; begin += distancesAtOnce) {
        const std::size_t size = std::min(distancesAtOnce, count - begin);
        VectorsAtOnce others;
        for (std::size_t i = 0; i < others.size(); ++i) {
            others[i] =
                vectorAt(begin + std::min(i, size - 1));  // the last again where none is left
        }
        const DistancesAtOnce distances = squaredDistances(vector, others, width);
        for (std::size_t i = 0; i < size; ++i) {
            visit(begin + i, distances[i]);
        }
    }
}

}  // namespace quillon
