// Adaptive, the default method: both sides at once, each weighed per row by how clearly its near
// neighbours stand out, and every block judged by the query's neighbours too. README.md beside this
// file tells how its parts fit.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "search/packed_distances.h"
#include "search/search_result.h"
#include "shared/feature_matrix.h"

namespace quillon {

/// Appends to `hits` the blocks of refined score at least `minThreshold`, best first, among equal
/// scores the higher row first, until it holds k; k = 0 sets no limit. Query twins are passed over.
/// Among more than 32 rows, the query included, scores that are not a number rank below all others;
/// among fewer the list ends at one, where a plain insertion sort leaves it. `queryShape` 1 × 512,
/// `shapeMatrix` R × 512, `queryText` 1 × 384, `textMatrix` R × 384, k at most R. Throws
/// xt::concatenate_error when query and library differ in width on one side, before anything is
/// computed. The hits are the same to the bit on every processor and for every number of threads:
/// all distances are exact, and no result depends on which thread found it.
///
/// Time grows with k and little faster than R; with R's square for k near R, or where
/// `minThreshold` is 0 or less and fewer than k blocks have a higher score. Memory beyond the
/// arguments is some 300 bytes a row. Runs on all processors.
void searchAdaptive(std::uint32_t k, const FeatureMatrix& queryShape,
                    const FeatureMatrix& queryText, const FeatureMatrix& shapeMatrix,
                    const FeatureMatrix& textMatrix, float minThreshold,
                    std::vector<SearchResult>& hits);

/// `searchAdaptive` on `workers` threads, the calling one among them, with the given kernel; these
/// change the time of a search and never its hits.
void searchAdaptiveOn(std::size_t workers, const DistanceKernel& kernel, std::uint32_t k,
                      const FeatureMatrix& queryShape, const FeatureMatrix& queryText,
                      const FeatureMatrix& shapeMatrix, const FeatureMatrix& textMatrix,
                      float minThreshold, std::vector<SearchResult>& hits);

}  // namespace quillon
