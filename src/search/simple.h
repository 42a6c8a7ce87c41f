// Simple: candidates by shape, hits in the order of their text distances.
#pragma once

#include <cstdint>
#include <vector>

#include "search/search_result.h"
#include "shared/feature_matrix.h"

namespace quillon {

/// Takes the hits of `searchByShape` for 5k as candidates. Appends those of the k nearest to the
/// query by text whose squared text distance is below 1, nearest text first, ties by shape rank.
/// `distOrScore` is the shape distance. The candidate at position L of the shape ranking is left
/// out when library row L is a query twin. Shapes of the arguments, exceptions and threads are
/// those of `searchByShape` and `searchByText`; both widths are checked before anything else.
void searchSimple(std::uint32_t k, const FeatureMatrix& queryShape, const FeatureMatrix& queryText,
                  const FeatureMatrix& shapeMatrix, const FeatureMatrix& textMatrix,
                  float minThreshold, std::vector<SearchResult>& hits);

}  // namespace quillon
