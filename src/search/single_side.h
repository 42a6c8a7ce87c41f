// ByShape and ByText: the exact nearest rows of the query on one side.
#pragma once

#include <cstdint>
#include <vector>

#include "search/search_result.h"
#include "shared/feature_matrix.h"

namespace quillon {

/// Appends to `hits` those of the k library rows nearest to row 0 of `queryShape` whose squared L2
/// distance is below 1 - `minThreshold`, in ascending (distance, row number). A query twin is left
/// out, its place in the k not refilled. Rows whose distance is not below the largest float are
/// never hits. `queryShape` 1 × D, `shapeMatrix` N × 512. Throws std::invalid_argument for D < 512,
/// before anything else, and std::runtime_error for k = 0; a wider query is searched by its first
/// columns, and then no row is its twin. Large libraries are measured on several threads, which
/// changes no hit.
void searchByShape(std::uint32_t k, const FeatureMatrix& queryShape,
                   const FeatureMatrix& shapeMatrix, float minThreshold,
                   std::vector<SearchResult>& hits);

/// The same on the text side (N × 384), except that query twins are reported.
void searchByText(std::uint32_t k, const FeatureMatrix& queryText, const FeatureMatrix& textMatrix,
                  float minThreshold, std::vector<SearchResult>& hits);

}  // namespace quillon
