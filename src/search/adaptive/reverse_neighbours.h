// Reverse nearest-neighbour search: which rows may have one of a few rows in their lists?
#pragma once

#include <span>
#include <vector>

#include "search/adaptive/stacked_side.h"

namespace quillon {

/// N: for each distinct row an upper bound on the distance to its sixth-nearest row, identical rows
/// and itself included: the sixth-lowest of its distances to some 64 rows. Rows farther away cannot
/// be in its list. `unreached` where fewer than six are nearer than that, and for rows that are not
/// distinct.
std::vector<float> neighbourBounds(const StackedSide& side);

/// What is known of a list that has not been made.
struct ReverseNeighbour {
    Row row = 0;    // distinct
    Rows elements;  // ascending: those asked about that the list may hold
};

/// All distinct rows whose list may hold one of `elements`, ascending, among them few whose list
/// does not. `elements` ascend, each once, and may end with `noRow`, which is in lists with gaps.
/// `bounds` are those of `neighbourBounds`. Uses the side's workers.
///
/// A row is out once six rows, itself included, are known that are nearer to it than the nearest of
/// the elements: the bounds rule out most. The rows left lie around the elements, as do the rows
/// that can rule them out, so they are compared with each other, in growing samples.
std::vector<ReverseNeighbour> reverseNeighbourCandidates(const StackedSide& side,
                                                         std::span<const float> bounds,
                                                         std::span<const Row> elements);

}  // namespace quillon
