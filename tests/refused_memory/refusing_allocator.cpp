#include "refused_memory/refusing_allocator.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace quillon::test {
namespace {

std::atomic<std::size_t> requests = 0;
std::atomic<std::size_t> firstFailing = 0;
std::atomic<std::size_t> failingCount = 0;
std::atomic<bool> hasFailed = false;

bool failsNow() {
    const std::size_t request = requests++;
    const bool isFailing = request >= firstFailing && request - firstFailing < failingCount;
    if (isFailing) {
        hasFailed = true;
    }
    return isFailing;
}

void* allocate(std::size_t size) {
    void* memory = failsNow() ? nullptr : std::malloc(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

}  // namespace

void failAllocations(std::size_t first, std::size_t count) {
    hasFailed = false;
    requests = 0;
    firstFailing = first;
    failingCount = count;
}

bool allowAllocations() {
    failingCount = 0;
    return hasFailed;
}

}  // namespace quillon::test

// The forms with an alignment are left to the standard library.
void* operator new(std::size_t size, const std::nothrow_t& /*form*/) noexcept {
    return quillon::test::failsNow() ? nullptr : std::malloc(size);
}
void* operator new[](std::size_t size, const std::nothrow_t& /*form*/) noexcept {
    return quillon::test::failsNow() ? nullptr : std::malloc(size);
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
extern "C" void* failingRealloc(void* memory, std::size_t size) __asm__("__wrap_realloc");

extern "C" void* failingRealloc(void* memory, std::size_t size) {
#ifdef _WIN32
    // The run-time of mingw-w64 is part of the program, so its calls come here too. The first
    // exception of a thread has it ask for a few bytes, and where that fails it goes on with
    // the exception forgotten. What the program itself asks for here are rows.
    constexpr std::size_t leastRows = 1024;
    if (size < leastRows) {
        return realRealloc(memory, size);
    }
#endif
    return quillon::test::failsNow() ? nullptr : realRealloc(memory, size);
}
