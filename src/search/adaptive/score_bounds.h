// Upper bounds on scores, computed before the rows' lists are made. Only the rows with the highest
// bounds then need their lists.
#pragma once

#include <vector>

#include "search/adaptive/best_values.h"
#include "search/adaptive/overlapping_rows.h"
#include "search/adaptive/refined_scores.h"

namespace quillon {

/// Returns the rows of `nearQuery` and of `nearNeighbours`, ascending, with upper bounds on their
/// scores. `nearQuery` overlaps with the query's lists, `nearNeighbours` with the neighbours'
/// lists. A NaN score has no bound. Row 0, the query, may score higher than its bound, because its
/// shape weight is raised; it is never a hit.
std::vector<RowValue> scoreBounds(const Votes& votes, const OverlappingRows& nearQuery,
                                  const OverlappingRows& nearNeighbours);

}  // namespace quillon
