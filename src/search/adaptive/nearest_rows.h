// Finds the nearest rows of given rows, by comparing these with all rows of a side.
#pragma once

#include <cstddef>
#include <span>
#include <utility>
#include <vector>

#include "search/adaptive/stacked_side.h"

namespace quillon {

/// Squared distance and row: neighbours are ordered by both.
using Near = std::pair<float, Row>;

/// Returns for each of `rows`, which are distinct, the `wanted` nearest rows in ascending
/// (distance, row): itself and all identical rows included, fewer if fewer have a distance below
/// the largest float. Takes some 2 kB for each of `rows` and each worker. Uses the side's workers.
std::vector<std::vector<Near>> nearestRows(const StackedSide& side, std::span<const Row> rows,
                                           std::size_t wanted);

}  // namespace quillon
