// Adaptive, the default method: ranks blocks by the neighbours that they share with the query and
// with its best neighbours, on both sides. Each row weighs its sides by how clearly its near
// neighbours stand out. README.md in this folder describes the sequence.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "search/packed_distances.h"
#include "search/search_result.h"
#include "shared/feature_matrix.h"

namespace quillon {

/// Appends to `hits` the blocks with a refined score of at least `minThreshold`, best first, among
/// equal scores the higher row first, until it has k hits; k = 0 sets no limit. Query twins are
/// left out. With more than 32 rows, the query included, NaN scores rank below all others. With at
/// most 32 rows, an insertion sort orders the scores, and the hits end at its first NaN from above.
/// `queryShape` 1 × 512, `shapeMatrix` R × 512, `queryText` 1 × 384, `textMatrix` R × 384, k at
/// most R. Throws xt::concatenate_error if query and library differ in width on one side. The hits
/// are the same to the bit on every processor and for every number of threads.
///
/// Time grows with k and little faster than R. It grows with R² for k near R, or if `minThreshold`
/// is at most 0 and fewer than k blocks have a higher score. Memory beyond the arguments is 150 to
/// 350 bytes a row. Runs on all processors.
void searchAdaptive(std::uint32_t k, const FeatureMatrix& queryShape,
                    const FeatureMatrix& queryText, const FeatureMatrix& shapeMatrix,
                    const FeatureMatrix& textMatrix, float minThreshold,
                    std::vector<SearchResult>& hits);

/// `searchAdaptive` on `workers` threads, the calling one included, with the given kernel. Both
/// change the time of a search, but not its hits.
void searchAdaptiveOn(std::size_t workers, const DistanceKernel& kernel, std::uint32_t k,
                      const FeatureMatrix& queryShape, const FeatureMatrix& queryText,
                      const FeatureMatrix& shapeMatrix, const FeatureMatrix& textMatrix,
                      float minThreshold, std::vector<SearchResult>& hits);

}  // namespace quillon
