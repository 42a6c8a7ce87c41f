// Libraries on which bounds that are slightly wrong lose hits: many rows at nearly equal distances,
// sums of weights that round up, distances near the largest float. All but a few columns are 0, so
// that a simple search is quick.
#pragma once

#include <cstddef>
#include <cstdint>

#include "support/random_library.h"

namespace quillon::test {

/// Different rows of independent values: the neighbours of a row are hardly nearer than other rows.
RandomLibrary uniformLibrary(std::size_t rowCount, std::uint32_t seed);

/// 1200 rows. Six are identical. 400 others and the query are around these six, each on its own
/// axis, so they are nearer to the six than to each other. All have the same list on both sides and
/// the same weights. Their fused similarity to each other is the sum of the weights: 1 except for
/// rounding, which depends on the lengths of the axes.
RandomLibrary libraryAroundSixIdenticalRows(float shapeLength, float textLength);

/// 1200 rows. On the shape side three rows and the query are short. The squared distance of twelve
/// rows to these is the largest float except for rounding, and all others are identical and farther
/// away. So the lists of the short rows have gaps, or are only just filled.
RandomLibrary libraryAtTheLargestDistance(std::uint32_t seed);

}  // namespace quillon::test
