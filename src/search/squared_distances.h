// Exact distances from one vector to several at a time.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>

namespace quillon {

/// Each sum waits for its addition before. Eight side by side take about a third of the time of
/// eight one by one, and less than two times four.
inline constexpr std::size_t distancesAtOnce = 8;

/// Vectors of equal length, by their first elements.
using VectorsAtOnce = std::array<const float*, distancesAtOnce>;
using DistancesAtOnce = std::array<float, distancesAtOnce>;

/// The squared L2 distances of `vector` to `others`, `width` elements each: the direct sum of
/// squared differences, element by element in their order, each step rounded to 32 bits. That is
/// the number that ByShape and ByText report. It depends on the two vectors alone: symmetric, 0 for
/// identical finite vectors, the same on every processor and whatever the other vectors are.
inline DistancesAtOnce squaredDistances(const float* vector, const VectorsAtOnce& others,
                                        std::size_t width) {
    // Locals: the compiler keeps these in registers.
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
