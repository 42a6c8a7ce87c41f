// Adaptive, the default method: both sides at once, each weighed per row by how clearly its near
// neighbours stand out, and every block judged by the query's neighbours too. README.md beside this
// file tells how its parts fit.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "search/search_result.h"
#include "shared/feature_matrix.h"

namespace quillon {

/// Appends to `hits` the blocks of refined score at least `minThreshold`, best first, among equal
/// scores the higher row first, until it holds k; k = 0 sets no limit. Blocks whose shape vector
/// equals the query's are passed over. Among more than 32 rows, the query included, scores that are
/// not a number rank below all others; among fewer the list ends at the first one, wherever
/// `ascendingOrder` puts it. `queryShape` 1 × 512, `shapeMatrix` R × 512, `queryText` 1 × 384,
/// `textMatrix` R × 384, k at most R. Throws xt::concatenate_error when query and library differ in
/// width on one side, before anything is computed. The hits are the same to the bit on every
/// processor, thread count and BLAS.
///
/// Time grows with k and little faster than R; memory beyond the arguments is some 200 bytes a row.
/// For k of a twentieth of R and more, and for less than 1000 rows, time grows with the square of
/// R. Runs on all processors.
void searchAdaptive(std::uint32_t k, const FeatureMatrix& queryShape,
                    const FeatureMatrix& queryText, const FeatureMatrix& shapeMatrix,
                    const FeatureMatrix& textMatrix, float minThreshold,
                    std::vector<SearchResult>& hits);

/// Two ways to the same hits: the lists of all rows, or of those alone that count.
enum class ListedRows { all, thoseThatCount };

/// The way that `searchAdaptive` takes for k and `rowCount` rows, the query included.
ListedRows quickerWay(std::uint32_t k, std::size_t rowCount);

/// `searchAdaptive` by a given way. The arguments have been checked, and the products secured.
void searchAdaptiveBy(ListedRows listedRows, std::uint32_t k, const FeatureMatrix& queryShape,
                      const FeatureMatrix& queryText, const FeatureMatrix& shapeMatrix,
                      const FeatureMatrix& textMatrix, float minThreshold,
                      std::vector<SearchResult>& hits);

/// Positions of `values` from the smallest to the largest, equal ones in ascending order. Of more
/// than 32 values the NaNs come first. At most 32 are sorted by the insertion sort of the standard
/// libraries, in which a NaN is neither less nor greater than anything: a value less than the first
/// one moves to the front, past NaNs too; any other moves left while it is less than its neighbour.
std::vector<std::size_t> ascendingOrder(const std::vector<float>& values);

}  // namespace quillon
