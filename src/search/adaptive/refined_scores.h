// The score of a block: the mean of its fused similarities to the query and to the query's best
// neighbours.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "search/adaptive/best_values.h"
#include "search/adaptive/listed_rows.h"

namespace quillon {

/// Inverted index of lists: element, and place of a row that lists it, ascending.
using InvertedIndex = std::vector<std::pair<Row, std::size_t>>;

/// Calls `visit(place)` for each occurrence of `element` in an indexed list.
template <class Visit>
void forEachPlace(const InvertedIndex& index, Row element, const Visit& visit) {
    for (auto entry =
             std::lower_bound(index.begin(), index.end(), std::pair(element, std::size_t{0}));
         entry != index.end() && entry->first == element; ++entry) {
        visit(entry->second);
    }
}

/// The rows that a score compares a block with, and the inverted indexes of their lists.
struct Votes {
    ListedRow query;
    std::vector<ListedRow> neighbours;  // of the query, the best first
    std::array<InvertedIndex, 2> indexes;
    std::uint32_t k = 0;
};

Votes votesOf(const ListedRow& query, std::vector<ListedRow> neighbours, std::uint32_t k);

/// The score of a row: (fused similarity of the query to the row + sum of the row's fused
/// similarities to the neighbours, in their order) / (k + 1), all in 32-bit floats. NaN if a weight
/// of the row is NaN and there are neighbours.
float refinedScore(const Votes& votes, const ListedRow& row);

/// The scores of `rows`, in their order.
std::vector<float> refinedScores(const Votes& votes, std::span<const ListedRow> rows);

}  // namespace quillon
