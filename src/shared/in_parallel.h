// Shares a loop out among the processors.
#pragma once

#include <algorithm>
#include <cstddef>
#include <future>
#include <thread>
#include <vector>

namespace quillon {

/// Calls `work(begin, end)` for consecutive ranges that together are 0 to `count`, side by side,
/// and returns when all are done: a range a processor, but none below `least`, where starting a
/// thread would take longer. An exception of `work` is thrown here. Ranges for which no thread can
/// be started are left to the calling thread.
template <class Work>
void inParallel(std::size_t count, std::size_t least, const Work& work) {
    const std::size_t processors = std::max(1U, std::thread::hardware_concurrency());
    const std::size_t parts = std::clamp<std::size_t>(count / least, 1, processors);
    std::vector<std::future<void>> others;
    others.reserve(parts);
    for (std::size_t part = 1; part < parts; ++part) {
        // Without a launch policy, what gets no thread runs in `get`.
        others.push_back(std::async([&work, count, part, parts] {
            work(count * part / parts, count * (part + 1) / parts);
        }));
    }
    work(0, count / parts);
    for (std::future<void>& other : others) {
        other.get();
    }
}

}  // namespace quillon
