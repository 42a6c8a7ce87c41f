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

/// The k rows behind the one with the largest value, which is taken to be the query itself, best
/// first, among equal ones the higher row first, but never the weakest of all rows. Rows that are
/// not in `queryRow`, the fused similarities of the query to other rows, have the value 0.
Rows bestNeighbours(std::span<const RowValue> queryRow, std::uint32_t k, std::size_t rowCount);

/// Inverted index of lists: element and place of a row that lists it, ascending.
using InvertedIndex = std::vector<std::pair<Row, std::size_t>>;

/// Calls `visit(place)` for each time that an indexed list has `element`.
template <class Visit>
void forEachPlace(const InvertedIndex& index, Row element, const Visit& visit) {
    for (auto entry =
             std::lower_bound(index.begin(), index.end(), std::pair(element, std::size_t{0}));
         entry != index.end() && entry->first == element; ++entry) {
        visit(entry->second);
    }
}

/// What all scores are made from.
struct Votes {
    ListedRow query;
    std::vector<ListedRow> neighbours;  // of the query, the best first
    std::array<InvertedIndex, 2> indexes;
    std::uint32_t k = 0;
};

Votes votesOf(const ListedRow& query, std::vector<ListedRow> neighbours, std::uint32_t k);

/// The score of a row: (fused similarity of the query to it + the sum of its fused similarities to
/// each neighbour, in their order) / (k + 1), all in 32-bit floats. NaN where a weight of the row
/// is and there are neighbours.
float refinedScore(const Votes& votes, const ListedRow& row);

}  // namespace quillon
