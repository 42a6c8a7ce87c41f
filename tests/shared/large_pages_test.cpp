// The advice that large arrays carry, as the system reports it.
#ifdef __linux__  // there is none elsewhere
#include "shared/large_pages.h"

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "shared/growable_floats.h"

namespace quillon {
namespace {

/// One area of memory of this process: what the system keeps one advice for.
struct Area {
    std::uintptr_t first = 0;
    std::uintptr_t end = 0;
    bool hasLargePages = false;
};

Area areaOf(const void* memory) {
    const auto address = reinterpret_cast<std::uintptr_t>(memory);
    std::ifstream areas("/proc/self/smaps");
    Area area;
    for (std::string line; std::getline(areas, line);) {
        std::istringstream words(line);
        std::uintptr_t first = 0;
        std::uintptr_t end = 0;
        char dash = 0;
        if (words >> std::hex >> first >> dash >> end && dash == '-') {
            area = {first, end, false};
        } else if (line.starts_with("VmFlags:") && area.first <= address && address < area.end) {
            area.hasLargePages = line.find(" hg") != std::string::npos;
            return area;
        }
    }
    return {};
}

/// A kernel may be built without them: it refuses the advice, and no array may carry it.
bool systemHasLargePages() {
    return std::filesystem::exists("/sys/kernel/mm/transparent_hugepage/enabled");
}

/// Pages that nothing else has, by themselves.
class MappedMemory {
  public:
    explicit MappedMemory(std::size_t size)
        : bytes(size),
          memory(mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)) {}
    ~MappedMemory() { munmap(memory, bytes); }
    MappedMemory(const MappedMemory&) = delete;
    MappedMemory& operator=(const MappedMemory&) = delete;

    const std::size_t bytes;
    void* const memory;
};

TEST(PreferLargePages, LeavesSmallArraysAlone) {
    constexpr std::size_t least = std::size_t{4} << 20U;
    for (const std::size_t bytes : {least - 4096, least}) {
        const MappedMemory pages(bytes);
        ASSERT_NE(pages.memory, MAP_FAILED);
        preferLargePages(pages.memory, bytes);
        EXPECT_EQ(areaOf(pages.memory).hasLargePages, systemHasLargePages() && bytes == least);
    }
}

TEST(PreferLargePages, ConcernsTheWholeOfAnArrayThatGrows) {
    GrowableFloats floats;
    for (const std::size_t mebibytes : {64U, 96U, 144U, 70U}) {
        floats.resize(mebibytes << 18U);
        const auto* const first = reinterpret_cast<const char*>(floats.data());
        const Area area = areaOf(first);
        EXPECT_EQ(area.hasLargePages, systemHasLargePages()) << mebibytes;
        // With what malloc keeps ahead of it, in one area: such is moved without a copy.
        EXPECT_EQ(areaOf(first - 1).first, area.first) << mebibytes;
        EXPECT_GE(area.end, reinterpret_cast<std::uintptr_t>(floats.data() + floats.size()))
            << mebibytes;
    }
}

}  // namespace
}  // namespace quillon

#endif
