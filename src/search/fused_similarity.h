// The fused similarity of Adaptive, in factored form: of the N × N values that it stands for, the
// neighbour lists and two weights a row are kept, for the rows that count, and a value is computed
// when it is asked for.
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <vector>

#include "search/neighbours/neighbour_lists.h"

namespace quillon {

/// One side's share in the fused similarity.
struct WeightedSide {
    NeighbourLists lists;
    /// N: the side's weight in each row that has been weighed. NaN where the curves of both sides
    /// are flat, or rise without a finite bound.
    std::vector<float> weights;
};

/// What fused similarities are computed from; shape side first.
struct WeightedSides {
    std::array<WeightedSide, 2> sides;
    std::vector<char> isWeighed;  // N

    std::size_t rowCount() const { return isWeighed.size(); }
};

/// Both sides with nothing weighed and, but for vectors near nothing, nothing listed.
WeightedSides nothingWeighed(SideRows shapes, SideRows texts);

/// Weighs the sides of `rows` by their curve areas, after building the lists that are missing. In
/// row 0, the query's, the shape side counts at least `minWeight` and the text side has the rest.
void fuseSimilarities(WeightedSides& weighted, std::span<const Row> rows, float minWeight);

/// Each side's share of the total area, a 32-bit quotient.
std::array<float, 2> curveAreaWeights(float shapeArea, float textArea);

/// Row `row`'s own weights times the two rank similarities of `row` and `column`, summed in 32-bit
/// floats, shape side first. Not symmetric. `row` has been weighed; both rows are listed, or share
/// no list element, on each side.
float fusedSimilarity(const WeightedSides& weighted, Row row, Row column);

}  // namespace quillon
