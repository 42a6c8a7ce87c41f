// Adaptive by dense arrays in full: every row of the refined array, not only the one that is read.
#pragma once

#include <vector>

#include "made_up_blocks.h"
#include "search/search_result.h"

namespace quillon::bench {

/// The hits of `searchAdaptive` with k = 5 and minThreshold 0.3, from the steps of tests/reference
/// up to the fused similarities; then all rows are sorted, stably, and vote on all threads. Of
/// rows × rows elements it holds 4 bytes five times over.
std::vector<SearchResult> searchDenseInFull(const SearchData& data);

}  // namespace quillon::bench
