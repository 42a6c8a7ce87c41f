// ByShape and ByText: exact nearest neighbours of the query on one side, as the index finds them,
// without an index: the rows are searched where they lie.
#pragma once

#include <cstdint>
#include <vector>

#include "search/search_result.h"
#include "shared/feature_matrix.h"

namespace quillon {

/// Appends to `hits` those of the k library rows nearest to row 0 of `queryShape` whose squared L2
/// distance is below 1 - `minThreshold`, nearest first, ties in the index's order. A row equal to
/// the query element by element is left out, its place in the k not refilled. `queryShape` 1 × D,
/// `shapeMatrix` N × 512. Throws std::invalid_argument for D < 512, before anything else, and the
/// index's exception for k = 0; a wider query is searched by its first columns, and then no row is
/// its equal. Large libraries are measured on several threads, which changes no hit.
void searchByShape(std::uint32_t k, const FeatureMatrix& queryShape,
                   const FeatureMatrix& shapeMatrix, float minThreshold,
                   std::vector<SearchResult>& hits);

/// The same on the text side (N × 384), except that rows equal to the query are reported.
void searchByText(std::uint32_t k, const FeatureMatrix& queryText, const FeatureMatrix& textMatrix,
                  float minThreshold, std::vector<SearchResult>& hits);

/// True when both have the same width and all elements of `matrix` row `row` and of row 0 of
/// `query` are equal as floats: 0 equals -0, NaN equals nothing.
bool equalsQuery(const FeatureMatrix& matrix, std::size_t row, const FeatureMatrix& query);

/// Throws std::invalid_argument that gives both widths when `query` is narrower than `matrix`: a
/// search reads as many floats of the query as a library row has. `side` is "shape" or "text".
void checkQueryWidth(const FeatureMatrix& query, const FeatureMatrix& matrix, const char* side);

}  // namespace quillon
