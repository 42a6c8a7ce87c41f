#include "search/adaptive/overlapping_rows.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "search/adaptive/reverse_neighbours.h"

namespace quillon {
namespace {

/// The elements of all lists of one side, ascending and unique.
Rows elementsOf(std::span<const ListedRow> listed, std::size_t side) {
    Rows elements;
    for (const ListedRow& row : listed) {
        const std::span<const Row> list = row.lists[side].rows();
        elements.insert(elements.end(), list.begin(), list.end());
    }
    std::sort(elements.begin(), elements.end());
    elements.erase(std::unique(elements.begin(), elements.end()), elements.end());
    return elements;
}

}  // namespace

OverlappingRows overlappingRows(ListMemo& memo, const NeighbourBounds& bounds,
                                std::span<const ListedRow> listed) {
    OverlappingRows overlapping;
    for (std::size_t s = 0; s < memo.size(); ++s) {
        const std::vector<Row>& nextIdentical = memo[s].rows.nextIdentical;
        Rows withIdenticalRows;
        for (const ReverseNeighbour& neighbour :
             reverseNeighbourCandidates(memo[s].rows, bounds[s], elementsOf(listed, s))) {
            for (Row row = neighbour.row; row != noRow; row = nextIdentical[row]) {
                overlapping[row][s].elements = neighbour.elements;
            }
            if (nextIdentical[neighbour.row] != noRow) {
                withIdenticalRows.push_back(neighbour.row);
            }
        }
        // One list serves all rows that are identical, and often shows a flat curve.
        const std::vector<NeighbourList> lists = neighbourLists(memo[s], withIdenticalRows);
        for (std::size_t i = 0; i < lists.size(); ++i) {
            for (Row row = withIdenticalRows[i]; row != noRow; row = nextIdentical[row]) {
                overlapping[row][s].isFlat = lists[i].curveArea == 0.0F;
            }
        }
    }
    return overlapping;
}

}  // namespace quillon
