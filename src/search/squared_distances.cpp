#include "search/squared_distances.h"

namespace quillon {

DistancesAtOnce squaredDistances(const float* vector, const VectorsAtOnce& others,
                                 std::size_t width) {
    // Locals: the compiler keeps these in registers.
    const VectorsAtOnce rows = others;
    DistancesAtOnce sums{};
    for (std::size_t i = 0; i < width; ++i) {
        for (std::size_t r = 0; r < rows.size(); ++r) {
            const float difference = vector[i] - rows[r][i];
            sums[r] += difference * difference;
        }
    }
    return sums;
}

}  // namespace quillon
