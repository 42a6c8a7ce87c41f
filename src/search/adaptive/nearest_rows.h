// The nearest rows of some rows of a side, by comparing them with all rows.
#pragma once

#include <cstddef>
#include <span>
#include <utility>
#include <vector>

#include "search/adaptive/stacked_side.h"

namespace quillon {

/// Squared distance and row: neighbours are ordered by both.
using Near = std::pair<float, Row>;

/// For each of `rows`, which are distinct, the `wanted` nearest rows in ascending (distance, row),
/// itself included and identical rows each for itself; fewer where fewer are at a distance below
/// the largest float. Takes some 2 kB for each of `rows` and worker while it works.
std::vector<std::vector<Near>> nearestRows(const StackedSide& side, std::span<const Row> rows,
                                           std::size_t wanted);

}  // namespace quillon
