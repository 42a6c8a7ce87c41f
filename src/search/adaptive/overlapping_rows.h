// The rows whose neighbour lists share an element with one of a few lists. All other rows have the
// rank similarity 0 to these.
#pragma once

#include <array>
#include <map>
#include <span>
#include <vector>

#include "search/adaptive/listed_rows.h"

namespace quillon {

/// Shape side first, here and below.
using NeighbourBounds = std::array<std::vector<float>, 2>;

/// What a distinct row may share with the lists in question on one side.
struct Overlap {
    Rows elements;  // ascending
    /// Known to have a flat curve: the side counts nothing for the row, unless the other one is
    /// flat too.
    bool isFlat = false;
};

struct OverlappingRows {
    Rows rows;                                       // ascending, identical ones included
    std::array<std::map<Row, Overlap>, 2> overlaps;  // by distinct row
};

/// All rows whose list shares an element with that of one of `listed` on either side, and some
/// whose list does not. `bounds` are those of both sides' rows. Uses the sides' workers.
OverlappingRows overlappingRows(ListMemo& memo, const NeighbourBounds& bounds,
                                std::span<const ListedRow> listed);

}  // namespace quillon
