// Shares a loop out among the processors.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace quillon {

/// One worker a processor that this process may use, at least one.
inline std::size_t processorCount() {
    return std::max(1U, std::thread::hardware_concurrency());
}

/// Calls `work(worker, begin, end)` for consecutive ranges of `chunk` numbers that together are 0
/// to `count`, on up to `workers` threads, the calling one among them; `worker` is below `workers`,
/// and calls with the same `worker` never overlap. A worker takes the next range whenever it is
/// free, so one that shares its processor with another process takes fewer. Threads that cannot be
/// started are done without.
///
/// Rethrows an exception of `work`; the ranges not begun by then are left out.
template <class Work>
void forEachChunk(std::size_t workers, std::size_t count, std::size_t chunk, const Work& work) {
    std::atomic<std::size_t> next = 0;
    std::mutex mutex;
    std::exception_ptr failure;
    const auto takeChunks = [&](std::size_t worker) noexcept {
        for (std::size_t begin = next.fetch_add(chunk); begin < count;
             begin = next.fetch_add(chunk)) {
            try {
                work(worker, begin, std::min(begin + chunk, count));
            } catch (...) {
                const std::lock_guard lock(mutex);
                failure = std::current_exception();
                next = count;
            }
        }
    };
    {
        std::vector<std::jthread> others;
        try {
            const std::size_t chunks = (count + chunk - 1) / chunk;
            for (std::size_t worker = 1; worker < std::min(workers, chunks); ++worker) {
                others.emplace_back(takeChunks, worker);
            }
        } catch (const std::exception&) {
            // The threads there are take all chunks.
        }
        takeChunks(0);
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
}

}  // namespace quillon
