// Finds the rows whose neighbour lists have an element in common with given lists. All other rows
// have the rank similarity 0 to the rows of these lists.
#pragma once

#include <array>
#include <map>
#include <span>
#include <vector>

#include "search/adaptive/listed_rows.h"

namespace quillon {

/// Shape side first, here and below.
using NeighbourBounds = std::array<std::vector<float>, 2>;

/// The elements that a row may have in common with the given lists on one side.
struct Overlap {
    Rows elements;  // ascending
    /// True if the curve is known to be flat. The side then has the weight 0 for the row, or NaN if
    /// the other one is flat, too.
    bool isFlat = false;
};

using OverlappingRows = std::map<Row, std::array<Overlap, 2>>;

/// Returns all rows whose list has an element in common with a list of `listed` on either side, and
/// some other rows. `bounds` are the neighbour bounds of both sides. Uses the sides' workers.
OverlappingRows overlappingRows(ListMemo& memo, const NeighbourBounds& bounds,
                                std::span<const ListedRow> listed);

}  // namespace quillon
