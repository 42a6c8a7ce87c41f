// How alike two rows are by the neighbours that they list.
#pragma once

#include <span>

#include "search/neighbours/neighbour_lists.h"

namespace quillon {

/// Normalised footrule distance from list `a` to list `b`, of equal length K: every element of `a`
/// at position i adds its shift |p - i| to its first position p in `b`, or 2 K - i - 1 when `b`
/// lacks it. 0 for equal lists of distinct elements, 1 for disjoint ones. Not symmetric.
float rankListDistance(std::span<const Row> a, std::span<const Row> b);

/// 1 minus the mean of both distances, 1 for a row and itself; symmetric. Exactly 0 for two rows
/// whose lists share no element, which a row that is not listed is taken for.
float rankSimilarity(const NeighbourLists& lists, Row a, Row b);

/// No less than the rank similarity of a row with list `list` to one that is not listed, has no
/// gaps and lists of its elements none but those in `shared`, which is ascending.
float mostRankSimilarity(std::span<const Row> list, std::span<const Row> shared);

}  // namespace quillon
