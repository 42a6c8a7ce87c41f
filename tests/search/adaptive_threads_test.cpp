// How many threads a search starts. Every library of this program starts its threads by the
// pthread_create below. Linux only. Not part of the builds with sanitizers, which replace that
// function themselves.
#ifdef __linux__
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <memory>
#include <vector>

#include "search/adaptive.h"
#include "support/random_library.h"

namespace {

std::atomic<std::size_t> startedThreads = 0;
std::atomic<std::size_t> runningThreads = 0;
std::atomic<std::size_t> mostRunning = 0;

struct ThreadStart {
    void* (*function)(void*);
    void* argument;
};

void* runCounted(void* start) {
    const std::unique_ptr<ThreadStart> own(static_cast<ThreadStart*>(start));
    ++startedThreads;
    const std::size_t running = ++runningThreads;
    std::size_t most = mostRunning;
    while (most < running && !mostRunning.compare_exchange_weak(most, running)) {
    }
    void* result = own->function(own->argument);
    --runningThreads;
    return result;
}

}  // namespace

// glibc declares it with parameter names that only a system header may use.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                              void* (*function)(void*), void* argument) {
    static const auto create =
        reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
    auto start = std::make_unique<ThreadStart>(ThreadStart{function, argument});
    const int error = create(thread, attributes, runCounted, start.get());
    if (error == 0) {
        static_cast<void>(start.release());  // the thread owns it
    }
    return error;
}

namespace quillon::test {
namespace {

// A thread of a BLAS or of OpenMP would be one more, and would still be there after the search.
TEST(SearchAdaptive, StartsNoThreadsBesideItsWorkers) {
    const RandomLibrary library =
        makeRandomLibrary(LibraryKind::clustered, LibraryKind::clustered, 2000, 5);
    const auto search = [&](std::size_t workers) {
        std::vector<SearchResult> hits;
        searchAdaptiveOn(workers, runnableKernels().back(), 5, library.queryShape,
                         library.queryText, library.shapeMatrix, library.textMatrix, 0.3F, hits);
    };
    const std::size_t before = runningThreads;
    const std::size_t startedBefore = startedThreads;
    search(1);
    EXPECT_EQ(startedThreads, startedBefore);
    for (const std::size_t workers : {2U, 4U}) {
        mostRunning = 0;
        // Repeated until all of them ran at once, which as a rule the first search shows.
        for (int searches = 0; searches < 1000 && mostRunning < before + workers - 1; ++searches) {
            search(workers);
        }
        EXPECT_EQ(mostRunning, before + workers - 1);  // the calling thread is a worker, too
        EXPECT_EQ(runningThreads, before);
    }
}

}  // namespace
}  // namespace quillon::test
#endif
