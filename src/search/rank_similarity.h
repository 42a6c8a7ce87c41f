// How alike two rows are by the neighbours they list, and which rows a given row is alike to at
// all.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "search/neighbour_lists.h"

namespace quillon {

/// Normalised footrule distance from list `a` to list `b`, each of `count` row numbers: every
/// element of `a` at position i adds its shift |p - i| to its first position p in `b`, or 2 count -
/// i - 1 when `b` lacks it. 0 for equal lists of distinct elements, 1 for disjoint ones. Not
/// symmetric.
float rankListDistance(const std::int32_t* a, const std::int32_t* b, std::size_t count);

/// 1 minus the mean of both distances, 1 for a row and itself; symmetric. Exactly 0 for two rows
/// whose lists share no element.
float rankSimilarity(const NeighbourLists& lists, std::size_t a, std::size_t b);

/// For every list element the rows that list it, ascending: from `rows[begins[slotOf(element)]]` up
/// to where the next slot begins. A row that lists -1 several times stands there as often.
struct ListedBy {
    std::vector<std::size_t> begins;
    std::vector<std::int32_t> rows;
};

/// -1, for an unfilled position, has the first slot.
inline std::size_t slotOf(std::int32_t element) {
    return static_cast<std::size_t>(std::int64_t{element} + 1);
}

ListedBy invertLists(const NeighbourLists& lists);

}  // namespace quillon
