// Adaptive, the default method: both sides at once, each weighed per row by how clearly its near
// neighbours stand out, and every block judged by the query's neighbours too.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "search/fused_similarity.h"
#include "search/search_result.h"
#include "shared/feature_matrix.h"

namespace quillon {

/// Appends to `hits` the blocks of refined score at least `minThreshold`, best first, among equal
/// scores the higher row first, until it holds k; k = 0 sets no limit. Blocks whose shape vector
/// equals the query's are passed over. A NaN score ends the list. `queryShape` 1 × 512,
/// `shapeMatrix` R × 512, `queryText` 1 × 384, `textMatrix` R × 384, k at most R.
/// Throws xt::concatenate_error when query and library differ in width on one side, before anything
/// is computed. Time is that of one self-join a side; memory beyond the arguments one index copy of
/// a side and what grows with R. Runs on the calling thread and the index's own.
void searchAdaptive(std::uint32_t k, const FeatureMatrix& queryShape,
                    const FeatureMatrix& queryText, const FeatureMatrix& shapeMatrix,
                    const FeatureMatrix& textMatrix, float minThreshold,
                    std::vector<SearchResult>& hits);

/// Row 0 of the refined similarities, N scores: (own fused similarity to the query + that of the
/// row to each of the query's k best neighbours) / (k + 1). k at most N - 1.
std::vector<float> refineByNeighbours(const FusedSimilarities& fused, std::int32_t k);

/// For every row the sum of its fused similarity to each of `neighbours`, added in their order.
std::vector<float> voteRow(const FusedSimilarities& fused,
                           const std::vector<std::size_t>& neighbours);

/// Positions of `values` from the smallest to the largest, equal ones in ascending order. What a
/// plain insertion sort does with NaN holds at every length: nothing moves past one, so the values
/// between two NaNs are sorted among themselves.
std::vector<std::size_t> ascendingOrder(const std::vector<float>& values);

}  // namespace quillon
