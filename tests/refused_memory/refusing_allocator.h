// The memory of this test program. A test chooses which allocations fail.
#pragma once

#include <cstddef>
#include <limits>

namespace quillon::test {

inline constexpr std::size_t allRequests = std::numeric_limits<std::size_t>::max();

/// Has `count` requests fail, from number `first` on, counted from here over all threads, 0 being
/// the next one.
void failAllocations(std::size_t first, std::size_t count = allRequests);

/// Lets every request succeed again. Returns whether one has failed.
bool allowAllocations();

}  // namespace quillon::test
