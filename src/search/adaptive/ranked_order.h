// The order in which scores are walked.
#pragma once

#include <cstddef>
#include <vector>

namespace quillon {

/// Up to this size std::sort is a plain insertion sort in all common standard libraries. Its order
/// of values that are not a number is part of what callers see.
inline constexpr std::size_t insertionSorted = 32;

/// Positions of at most 32 `values` from the smallest to the largest, equal ones in ascending
/// order, as the insertion sort of the standard libraries leaves them. A NaN is neither less nor
/// greater than anything: a value less than the first one moves to the front, past NaNs too; any
/// other moves left while it is less than its neighbour.
std::vector<std::size_t> ascendingOrder(const std::vector<float>& values);

}  // namespace quillon
