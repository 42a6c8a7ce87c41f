#include "refused_memory/refusing_allocator.h"

#include <atomic>
#include <cstdlib>
#include <limits>
#include <new>

namespace quillon::test {
namespace {

constexpr std::size_t never = std::numeric_limits<std::size_t>::max();

std::atomic<std::size_t> requests = 0;
std::atomic<std::size_t> firstRefused = never;
std::atomic<std::size_t> lastRefused = never;
std::atomic<bool> hasRefused = false;

bool isRefused() {
    const std::size_t request = requests++;
    const bool refused = request >= firstRefused && request <= lastRefused;
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

void refuseMemory(std::size_t first, Refusal refusal) {
    requests = 0;
    hasRefused = false;
    lastRefused = refusal == Refusal::once ? first : never - 1;
    firstRefused = first;
}

bool grantMemory() {
    firstRefused = never;
    return hasRefused;
}

}  // namespace quillon::test

// The forms with an alignment or without an exception are left to the standard library; the latter
// go by way of these.
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

// The linker sends the calls of `realloc` here.
extern "C" void* __real_realloc(void* memory, std::size_t size);
extern "C" void* __wrap_realloc(void* memory, std::size_t size) {
    return quillon::test::isRefused() ? nullptr : __real_realloc(memory, size);
}
