// One hit of a search.
#pragma once

#include <cstdint>

namespace quillon {

struct SearchResult {
    std::int64_t index = 0;  // row of the library's matrices and records
    /// Adaptive: the score, higher is better. Otherwise a squared distance, lower is better.
    float distOrScore = 0.0F;
    /// What each side counted in the query, in sum 1. Adaptive only; 0 elsewhere.
    float shapeWeight = 0.0F;
    float textWeight = 0.0F;
};

}  // namespace quillon
