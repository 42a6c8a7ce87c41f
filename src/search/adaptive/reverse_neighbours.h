// Reverse nearest-neighbour search: finds the rows that may list one of a few given rows.
#pragma once

#include <span>
#include <vector>

#include "search/adaptive/stacked_side.h"

namespace quillon {

/// Neighbour bounds, N: for each distinct row an upper bound on the distance to its sixth-nearest
/// row, identical rows and itself included. Rows farther away cannot be in its list. The bound is
/// the sixth-lowest distance to a group of up to 128 rows that are near each other; `unreached` if
/// fewer than six are below `unreached`, and for rows that are not distinct. Uses the side's
/// workers.
std::vector<float> neighbourBounds(const StackedSide& side);

/// What is known about the list of a row before it is made.
struct ReverseNeighbour {
    Row row = 0;    // distinct
    Rows elements;  // ascending: the given elements that the list may have
};

/// Returns all distinct rows whose list may have one of `elements`, ascending, and few other rows.
/// `elements` are ascending and unique, and may end with `noRow`, which is in lists with gaps.
/// `bounds` are those of `neighbourBounds`. Uses the side's workers.
///
/// If six rows, itself included, are nearer to a row than every element, the row lists none of
/// them. The bounds rule out most rows in this way. The rows left are near the elements, and so are
/// the rows that can rule them out. So they are compared with each other, in growing samples.
std::vector<ReverseNeighbour> reverseNeighbourCandidates(const StackedSide& side,
                                                         std::span<const float> bounds,
                                                         std::span<const Row> elements);

}  // namespace quillon
