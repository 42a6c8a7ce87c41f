// The similarity of two rows by their neighbour lists.
#pragma once

#include <array>
#include <span>

#include "search/adaptive/listed_rows.h"

namespace quillon {

/// Normalised footrule distance from list `a` to list `b`, both of length K. An element of `a` at
/// position i adds |p - i| for its first position p in `b`, or 2 K - i - 1 if `b` lacks it. 0 for
/// equal lists of distinct elements, 1 for disjoint lists. Not symmetric.
float rankListDistance(std::span<const Row> a, std::span<const Row> b);

/// 1 minus the mean of both distances between the lists. Symmetric. Exactly 0 for two lists without
/// a common element.
float rankSimilarity(const NeighbourList& a, const NeighbourList& b);

/// Upper bound on the rank similarity of `list` to a list that holds no other elements of it than
/// `elements`, which ascend.
float rankSimilarityBound(const NeighbourList& list, std::span<const Row> elements);

/// The rank similarities of both sides, each times the side's weight, summed in 32-bit floats,
/// shape side first.
float fuse(const std::array<float, 2>& weights, const std::array<float, 2>& similarities);

/// The rank similarities of two rows, fused by the weights of `row`. Not symmetric. A row's rank
/// similarity to itself is 1.
float fusedSimilarity(const ListedRow& row, const ListedRow& column);

}  // namespace quillon
