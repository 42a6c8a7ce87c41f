// Simple: the shape side proposes candidates, the text side orders them.
#pragma once

#include <cstdint>
#include <vector>

#include "search/search_result.h"
#include "shared/feature_matrix.h"

namespace quillon {

/// Takes the hits of `searchByShape` for 5k as candidates and appends to `hits` those of the k of
/// them nearest to the query by text whose squared text distance is below 1, nearest text first;
/// `distOrScore` is the shape distance. The candidate at position L of the shape ranking is left
/// out when library row L has the query's shape vector. Throws as `searchByShape` and
/// `searchByText` do, both widths tested before anything else. Runs on the calling thread.
void searchSimple(std::uint32_t k, const FeatureMatrix& queryShape, const FeatureMatrix& queryText,
                  const FeatureMatrix& shapeMatrix, const FeatureMatrix& textMatrix,
                  float minThreshold, std::vector<SearchResult>& hits);

}  // namespace quillon
