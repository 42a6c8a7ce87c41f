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
    const auto pageBytes = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t ahead = reinterpret_cast<std::uintptr_t>(memory) % pageBytes;
    const std::size_t pages = (ahead + bytes + pageBytes - 1) / pageBytes;
    madvise(static_cast<char*>(memory) - ahead, pages * pageBytes, MADV_HUGEPAGE);
}

#else

void preferLargePages(void* /*memory*/, std::size_t /*bytes*/) noexcept {}

#endif

}  // namespace quillon
