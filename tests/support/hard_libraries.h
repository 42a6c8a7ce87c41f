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

/// On the shape side the query is far beyond the largest float from all of 1200 rows, so that its
/// list has gaps alone. Five rows are short. One is as far from these as the largest float, and
/// from the first of them beyond it by rounding alone, so that its list has one gap. All others are
/// identical and as far from everything else as the query.
RandomLibrary libraryAtTheLargestDistance(std::uint32_t seed);

}  // namespace quillon::test
