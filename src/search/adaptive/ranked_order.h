// The order of scores, with NaN among them.
#pragma once

#include <cstddef>
#include <vector>

namespace quillon {

/// Up to this size std::sort is a plain insertion sort in all common standard libraries. Callers
/// rely on where such a sort leaves NaN.
inline constexpr std::size_t insertionSorted = 32;

/// Returns the positions of at most 32 `values` from the smallest to the largest, equal values in
/// ascending order of their positions, like the insertion sort of the standard libraries: a value
/// less than the first one moves to the front, past all NaNs. Any other moves left while it is less
/// than its neighbour, so it stops at a NaN.
std::vector<std::size_t> ascendingOrder(const std::vector<float>& values);

}  // namespace quillon
