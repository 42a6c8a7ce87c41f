// Libraries on which a search that leaves out what it takes for impossible goes wrong first: with
// many rows at about one distance, with sums of weights that round up, with distances about the
// largest float. All but a few columns are 0, so that a plain search of them is quick.
#pragma once

#include <cstddef>
#include <cstdint>

#include "support/random_library.h"

namespace quillon::test {

/// Rows of independent values, none of them twice: every row's neighbours are hardly nearer to it
/// than all others.
RandomLibrary uniformLibrary(std::size_t rowCount, std::uint32_t seed);

/// Of 1200 rows six are identical, and 400 others and the query lie about these six, each as far
/// from them on an axis of its own and farther from each other. So all have one and the same list
/// on both sides, the same weights, and the sum of these as the fused similarity to each other: 1
/// but for its rounding, which depends on the lengths of the axes.
RandomLibrary libraryAroundSixIdenticalRows(float shapeLength, float textLength);

/// Of 1200 rows three are short, as the query is, on the shape side; the squared distance of twelve
/// to these is the largest float but for its rounding, and all others are one row far beyond it. So
/// the lists of the short rows have gaps, or have none by a hair.
RandomLibrary libraryAtTheLargestDistance(std::uint32_t seed);

}  // namespace quillon::test
