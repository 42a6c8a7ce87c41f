// How alike two rows are by the neighbours that they list.
#pragma once

#include <cstddef>
#include <span>

#include "search/adaptive/listed_rows.h"

namespace quillon {

/// Normalised footrule distance from list `a` to list `b`, of equal length K: every element of `a`
/// at position i adds its shift |p - i| to its first position p in `b`, or 2 K - i - 1 when `b`
/// lacks it. 0 for equal lists of distinct elements, 1 for disjoint ones. Not symmetric.
float rankListDistance(std::span<const Row> a, std::span<const Row> b);

/// 1 minus the mean of the distances between both lists; symmetric. Exactly 0 for two lists that
/// share no element.
float rankSimilarity(const NeighbourList& a, const NeighbourList& b);

/// Upper bound on the rank similarity of two lists of `count` elements that have at most `common`
/// elements in common.
float rankSimilarityBound(std::size_t common, std::size_t count);

/// The rank similarities of both sides, each times what the side counts for `row`, summed in 32-bit
/// floats, shape side first. Not symmetric. A row's rank similarity to itself is 1.
float fusedSimilarity(const ListedRow& row, const ListedRow& column);

}  // namespace quillon
