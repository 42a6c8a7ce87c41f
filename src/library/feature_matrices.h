// Shapes the flat values of a load into a matrix.
#pragma once

#include <cstdint>
#include <vector>

#include "shared/feature_matrix.h"

namespace quillon {

/// `matrix` becomes rows × width and holds `values` in order: surplus floats are cut, missing ones
/// are 0. Nothing is scaled or tested; NaN and infinity stand as they are.
void buildFeatureMatrix(std::vector<float>& values, std::uint64_t rows, std::size_t width,
                        FeatureMatrix& matrix);

}  // namespace quillon
