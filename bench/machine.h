// What the numbers were measured on and with.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace quillon::bench {

/// Name and value: processor, memory, load, compiler, libraries.
using Machine = std::vector<std::pair<std::string, std::string>>;

/// What the platform does not tell is left out.
Machine describeMachine();

/// The most memory that this process has held at a time; 0 where the platform does not tell.
std::size_t ownPeakMiB();

}  // namespace quillon::bench
