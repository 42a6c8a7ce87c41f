// The machine and the software of a measurement.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace quillon::bench {

/// Name and value: processor, memory, load, compiler, libraries.
using Machine = std::vector<std::pair<std::string, std::string>>;

/// Facts that the platform does not have are left out.
Machine describeMachine();

/// Peak memory of this process; 0 if the platform does not have it.
std::size_t ownPeakMiB();

}  // namespace quillon::bench
