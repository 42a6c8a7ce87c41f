// The order in which scores are walked.
#pragma once

#include <cstddef>
#include <vector>

namespace quillon {

/// Up to this size std::sort is a plain insertion sort in all common standard libraries. Its order
/// of values that are not a number is part of what callers see.
inline constexpr std::size_t insertionSorted = 32;

/// Positions of `values` from the smallest to the largest, equal ones in ascending order. Of more
/// than 32 values the NaNs come first. At most 32 are sorted by the insertion sort of the standard
/// libraries, in which a NaN is neither less nor greater than anything: a value less than the first
/// one moves to the front, past NaNs too; any other moves left while it is less than its neighbour.
std::vector<std::size_t> ascendingOrder(const std::vector<float>& values);

}  // namespace quillon
