// Fetches the drawings of a file list on several threads and hands them over in list order.
#pragma once

#include <cstddef>
#include <functional>
#include <nlohmann/json_fwd.hpp>

#include "library/drawing.h"

namespace quillon {

/// How many files are read at a time when each takes milliseconds, as on a file share. A file of
/// four calls of 2 ms then takes 0.17 ms, which is about what two processors need to decode it.
inline constexpr std::size_t maxReaders = 48;

/// What may be in flight, in bytes: files that are read or decoded, and rows that wait for a slower
/// drawing ahead of them. Enough for the readers and little beside any library for which memory
/// matters. Two more drawings may come on top: the one whose turn it is, and one that the calling
/// thread reads.
inline constexpr std::size_t maxBytesInFlight = std::size_t{12} << 20U;
inline constexpr std::size_t maxDrawingsInFlight = 1024;

/// Fetches all drawings of `files` and calls `consume` with each, on the calling thread, in list
/// order; failures of any type are handed over in the drawing. No more threads decode at a time
/// than there are processors. What is fetched ahead of its turn is bounded in number and memory.
///
/// When the system has no memory or no file descriptor left for a drawing, or no thread to fetch
/// with, that drawing and all behind it are fetched on the calling thread, after everything else
/// that fetching holds has been freed.
///
/// What `consume` throws ends the fetching and leaves this function.
void fetchInOrder(const nlohmann::json& files, const std::function<void(Drawing&&)>& consume);

}  // namespace quillon
