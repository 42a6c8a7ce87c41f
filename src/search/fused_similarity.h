// The fused similarity of Adaptive, in factored form: of the N × N values that it stands for, the
// neighbour lists and two weights a row are kept, and a value is computed when it is asked for.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "search/neighbour_lists.h"

namespace quillon {

/// One side's share in the fused similarity.
struct WeightedSide {
    NeighbourLists lists;
    /// N: the side's weight in each row. NaN where the curves of both sides are flat, or rise
    /// without a finite bound.
    std::vector<float> weights;
};

/// Shape side first.
struct FusedSimilarities {
    std::array<WeightedSide, 2> sides;

    std::size_t rows() const { return sides[0].lists.rows; }
};

/// Weighs the sides of every row by their curve areas. In row 0, the query's, the shape side counts
/// at least `minWeight` and the text side has the rest.
FusedSimilarities fuseSimilarities(NeighbourLists shapeLists, NeighbourLists textLists,
                                   float minWeight);

/// Each side's share of each row's total area, a 32-bit quotient.
std::array<std::vector<float>, 2> curveAreaWeights(const std::vector<float>& shapeAreas,
                                                   const std::vector<float>& textAreas);

/// Row `row`'s own weights times the two rank similarities of `row` and `column`, summed in 32-bit
/// floats, shape side first. Not symmetric.
float fusedSimilarity(const FusedSimilarities& fused, std::size_t row, std::size_t column);

}  // namespace quillon
