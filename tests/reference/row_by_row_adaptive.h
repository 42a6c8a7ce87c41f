// The dense form of Adaptive without its arrays of N × N values: the distances of one row at a time
// to all others. For libraries of some thousand rows whose vectors are 0 but for a few columns.
#pragma once

#include <cstdint>
#include <vector>

#include "search/search_result.h"
#include "shared/feature_matrix.h"

namespace quillon::reference {

/// The hits of `searchAdaptive` in dense_adaptive.h. k at most the library's row count.
std::vector<SearchResult> searchAdaptiveRowByRow(std::uint32_t k, const FeatureMatrix& queryShape,
                                                 const FeatureMatrix& queryText,
                                                 const FeatureMatrix& shapeMatrix,
                                                 const FeatureMatrix& textMatrix,
                                                 float minThreshold);

}  // namespace quillon::reference
