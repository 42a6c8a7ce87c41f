#include "search/adaptive/overlapping_rows.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "search/adaptive/reverse_neighbours.h"

namespace quillon {
namespace {

void sortUnique(Rows& rows) {
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
}

/// The elements of all lists of one side, ascending, each once.
Rows elementsOf(std::span<const ListedRow> listed, std::size_t side) {
    Rows elements;
    for (const ListedRow& row : listed) {
        const std::span<const Row> list = row.lists[side].rows();
        elements.insert(elements.end(), list.begin(), list.end());
    }
    sortUnique(elements);
    return elements;
}

}  // namespace

OverlappingRows overlappingRows(ListMemo& memo, const NeighbourBounds& bounds,
                                std::span<const ListedRow> listed) {
    OverlappingRows overlapping;
    for (std::size_t s = 0; s < memo.size(); ++s) {
        Rows withIdenticalRows;
        for (ReverseNeighbour& neighbour :
             reverseNeighbourCandidates(memo[s].rows, bounds[s], elementsOf(listed, s))) {
            for (Row row = neighbour.row; row != noRow; row = memo[s].rows.nextIdentical[row]) {
                overlapping.rows.push_back(row);
            }
            if (memo[s].rows.nextIdentical[neighbour.row] != noRow) {
                withIdenticalRows.push_back(neighbour.row);
            }
            overlapping.overlaps[s][neighbour.row].elements = std::move(neighbour.elements);
        }
        // One list tells of all rows that are identical, and often that their curve is flat.
        const std::vector<NeighbourList> lists = neighbourLists(memo[s], withIdenticalRows);
        for (std::size_t i = 0; i < lists.size(); ++i) {
            overlapping.overlaps[s][withIdenticalRows[i]].isFlat = lists[i].curveArea == 0.0F;
        }
    }
    sortUnique(overlapping.rows);
    return overlapping;
}

}  // namespace quillon
