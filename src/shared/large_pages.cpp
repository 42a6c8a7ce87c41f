#include "shared/large_pages.h"

#ifdef __linux__
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#endif

namespace quillon {

#ifdef __linux__

void preferLargePages(void* memory, std::size_t bytes) noexcept {
    constexpr std::size_t leastBytes = std::size_t{4} << 20U;  // two large pages
    if (bytes < leastBytes) {
        return;
    }
    // All of the pages, those included that the array has a part of: a mapping whose pages differ
    // in their advice can't be moved by realloc, which copies it then.
    const auto pageBytes = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    const auto address = reinterpret_cast<std::uintptr_t>(memory);
    const std::uintptr_t first = address / pageBytes * pageBytes;
    const std::uintptr_t end = (address + bytes + pageBytes - 1) / pageBytes * pageBytes;
    madvise(reinterpret_cast<void*>(first), end - first, MADV_HUGEPAGE);
}

#else

void preferLargePages(void* /*memory*/, std::size_t /*bytes*/) noexcept {}

#endif

}  // namespace quillon
