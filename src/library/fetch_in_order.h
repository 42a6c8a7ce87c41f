// Fetches the drawings of a file list on several threads and hands them over in list order.
#pragma once

#include <functional>
#include <nlohmann/json_fwd.hpp>

#include "library/fetch_drawing.h"

namespace quillon {

/// How much may wait, fetched, for a slower drawing ahead of it: enough for the threads not to wait
/// for each other, few enough that rows are still in the processor's cache when they are merged,
/// and little beside any library for which memory matters. What is being fetched already when the
/// limit is reached still comes on top.
inline constexpr std::size_t maxWaitingBytes = std::size_t{8} << 20U;
inline constexpr std::size_t maxWaitingDrawings = 1024;

/// Fetches all drawings of `files` and calls `consume` with each, on the calling thread, in list
/// order; failures of any type are handed over in the drawing. The calling thread fetches too while
/// nothing is ready for it. What is fetched ahead of its turn is bounded in number and memory.
///
/// When the machine refuses a drawing memory or a file descriptor, that drawing and all behind it
/// are fetched on the calling thread alone, after everything else that fetching holds has been let
/// go of.
///
/// What `consume` throws ends the fetching and leaves this function.
void fetchInOrder(const nlohmann::json& files, const std::function<void(ListedDrawing&&)>& consume);

}  // namespace quillon
