// Checks of the query's vectors, used by all search methods.
#pragma once

#include <cstddef>

#include "shared/feature_matrix.h"

namespace quillon {

/// True if row `row` of `matrix` is a query twin: it has the width of `query`, and all elements are
/// equal to those of row 0 of `query` as floats. 0 equals -0, and NaN equals nothing.
bool equalsQuery(const FeatureMatrix& matrix, std::size_t row, const FeatureMatrix& query);

/// Throws std::invalid_argument with both widths if `query` is narrower than `matrix`, because a
/// search reads as many floats of the query as a library row has. `side` is "shape" or "text".
void checkQueryWidth(const FeatureMatrix& query, const FeatureMatrix& matrix, const char* side);

}  // namespace quillon
