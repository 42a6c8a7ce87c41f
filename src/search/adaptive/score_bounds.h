// Upper bounds on similarities and scores, from what is known of lists that have not been made.
// Only the rows with the highest bounds need their lists.
#pragma once

#include <vector>

#include "search/adaptive/best_values.h"
#include "search/adaptive/overlapping_rows.h"
#include "search/adaptive/refined_scores.h"

namespace quillon {

/// The rows of `nearQuery` and of `nearNeighbours`, which overlap with the lists of the neighbours,
/// with upper bounds on their scores, as far as these are numbers. Row 0, the query's, may score
/// higher than its bound: its weights have a floor, and it is never a hit. Uses the sides' workers.
std::vector<RowValue> scoreBounds(const ListMemo& memo, const Votes& votes,
                                  const OverlappingRows& nearQuery,
                                  const OverlappingRows& nearNeighbours);

}  // namespace quillon
