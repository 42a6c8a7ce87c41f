#include "search/squared_distances.h"

namespace quillon {

std::array<float, 4> squaredDistances(const float* vector, const FourVectors& others,
                                      std::size_t width) {
    // By value: the compiler keeps these in registers.
    const FourVectors rows = others;
    std::array<float, 4> sums{};
    for (std::size_t i = 0; i < width; ++i) {
        for (std::size_t r = 0; r < rows.size(); ++r) {
            const float difference = vector[i] - rows[r][i];
            sums[r] += difference * difference;
        }
    }
    return sums;
}

}  // namespace quillon
