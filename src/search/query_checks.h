// What every search method asks of the query's vectors.
#pragma once

#include <cstddef>

#include "shared/feature_matrix.h"

namespace quillon {

/// True for a query twin: both have the same width and all elements of `matrix` row `row` and of
/// row 0 of `query` are equal as floats: 0 equals -0, NaN equals nothing.
bool equalsQuery(const FeatureMatrix& matrix, std::size_t row, const FeatureMatrix& query);

/// Throws std::invalid_argument that gives both widths when `query` is narrower than `matrix`: a
/// search reads as many floats of the query as a library row has. `side` is "shape" or "text".
void checkQueryWidth(const FeatureMatrix& query, const FeatureMatrix& matrix, const char* side);

/// Throws xt::concatenate_error, in the array library's words, when the widths differ.
void checkSameWidth(const FeatureMatrix& query, const FeatureMatrix& matrix);

}  // namespace quillon
