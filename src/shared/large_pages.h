// Memory in large pages, where the system has them for the asking.
#pragma once

#include <cstddef>

namespace quillon {

/// Advises the system to back what malloc gave at `memory` with large pages: to get a page and have
/// it zeroed is much of what a load costs, and 2 MiB at once cost little more than 4 KiB. Advice
/// only: nothing fails, and nothing happens to a small array.
void preferLargePages(void* memory, std::size_t bytes) noexcept;

}  // namespace quillon
