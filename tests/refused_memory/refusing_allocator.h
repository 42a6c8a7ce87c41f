// The memory of this test program: it is there until a test has it refused.
#pragma once

#include <cstddef>
#include <limits>

namespace quillon::test {

inline constexpr std::size_t allRequests = std::numeric_limits<std::size_t>::max();

/// Refuses `count` requests from number `first` on, counted from here over all threads, 0 being the
/// next one.
void refuseMemory(std::size_t first, std::size_t count = allRequests);

/// Grants every request again. Returns whether one has been refused.
bool grantMemory();

}  // namespace quillon::test
