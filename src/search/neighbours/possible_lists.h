// Which rows may list one of a few elements? Nearly every row can be shown not to, without its
// list.
//
// A row is out as soon as it has a crowd that is nearer to it, beyond doubt, than the nearest of
// the elements: first by the crowd of its neighbourhood, found once for all questions; then the
// rows that are left, which lie all about the elements, are held against each other, in growing
// samples.
#pragma once

#include <span>
#include <vector>

#include "search/neighbours/neighbour_lists.h"

namespace quillon {

/// What is known of a list that has not been asked for.
struct PossibleList {
    Row row = 0;                // a first copy that is not listed
    std::vector<Row> elements;  // ascending, those asked for that it may hold, or none
    bool mayHaveGaps = false;   // it may hold `noRow`, too
};

/// All lists that may hold one of `elements` (ascending, each once, no `noRow`) or
/// `noRow`, but those known already. `reaches` are those of `lists.side`, see crowds.h; not used
/// when all lists are known.
std::vector<PossibleList> possibleLists(const NeighbourLists& lists, std::span<const float> reaches,
                                        std::span<const Row> elements);

}  // namespace quillon
