#include "refused_memory/refusing_allocator.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace quillon::test {
namespace {

std::atomic<std::size_t> requests = 0;
std::atomic<std::size_t> firstRefused = 0;
std::atomic<std::size_t> refusedCount = 0;
std::atomic<bool> hasRefused = false;

bool isRefused() {
    const std::size_t request = requests++;
    const bool refused = request >= firstRefused && request - firstRefused < refusedCount;
    if (refused) {
        hasRefused = true;
    }
    return refused;
}

void* allocate(std::size_t size) {
    void* memory = isRefused() ? nullptr : std::malloc(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

}  // namespace

void refuseMemory(std::size_t first, std::size_t count) {
    hasRefused = false;
    requests = 0;
    firstRefused = first;
    refusedCount = count;
}

bool grantMemory() {
    refusedCount = 0;
    return hasRefused;
}

}  // namespace quillon::test

// The forms with an alignment are left to the standard library.
void* operator new(std::size_t size, const std::nothrow_t& /*form*/) noexcept {
    return quillon::test::isRefused() ? nullptr : std::malloc(size);
}
void* operator new[](std::size_t size, const std::nothrow_t& /*form*/) noexcept {
    return quillon::test::isRefused() ? nullptr : std::malloc(size);
}
void* operator new(std::size_t size) {
    return quillon::test::allocate(size);
}
void* operator new[](std::size_t size) {
    return quillon::test::allocate(size);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}

// The linker sends the calls of `realloc` here. These are its names for what it wraps.
extern "C" void* realRealloc(void* memory, std::size_t size) __asm__("__real_realloc");
extern "C" void* refusingRealloc(void* memory, std::size_t size) __asm__("__wrap_realloc");

extern "C" void* refusingRealloc(void* memory, std::size_t size) {
#ifdef _WIN32
    // The run-time of mingw-w64 is part of the program, so its calls come here too. The first
    // exception of a thread has it ask for a few bytes, and where they are refused it goes on with
    // the exception forgotten. What the program itself asks for here are rows.
    constexpr std::size_t leastRows = 1024;
    if (size < leastRows) {
        return realRealloc(memory, size);
    }
#endif
    return quillon::test::isRefused() ? nullptr : realRealloc(memory, size);
}
