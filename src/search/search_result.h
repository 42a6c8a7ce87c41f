// One hit of a search.
#pragma once

#include <cstdint>

namespace quillon {

struct SearchResult {
    std::int64_t index = 0;  // row of the library's matrices and records
    /// Adaptive: the refined score, higher is better. Others: a squared distance, lower is better.
    float distOrScore = 0.0F;
    /// Weights of the query's sides, together 1. Adaptive only; 0 for the other methods.
    float shapeWeight = 0.0F;
    float textWeight = 0.0F;
};

}  // namespace quillon
