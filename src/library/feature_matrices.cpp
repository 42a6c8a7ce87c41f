#include "library/feature_matrices.h"

#include <algorithm>

namespace quillon {

void buildFeatureMatrix(std::vector<float>& values, std::uint64_t rows, std::size_t width,
                        FeatureMatrix& matrix) {
    values.resize(rows * width);
    matrix.resize({static_cast<std::size_t>(rows), width});
    std::copy(values.begin(), values.end(), matrix.storage().begin());
}

}  // namespace quillon
