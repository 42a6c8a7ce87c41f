// The four search methods by the numbers that options and run hand on.
#pragma once

#include <cstdint>

namespace quillon {

enum class QueryType : std::uint32_t {
    NotChosen = 0,  // only until the run starts, then it becomes Adaptive
    Adaptive = 1,
    ByShape = 2,
    ByText = 3,
    Simple = 4,
};

}  // namespace quillon
