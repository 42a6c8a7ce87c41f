#include "search/sharers.h"

#include "search/rank_similarity.h"

namespace quillon {
namespace {

using Rows = std::vector<Row>;

/// The elements of the lists of `rows`, ascending, each once; no `noRow`.
Rows elementsOf(const NeighbourLists& lists, std::span<const Row> rows) {
    Rows elements;
    for (const Row row : rows) {
        const std::span<const Row> list = listOf(lists, row);
        elements.insert(elements.end(), list.begin(), list.end());
    }
    std::erase(elements, noRow);
    std::sort(elements.begin(), elements.end());
    elements.erase(std::unique(elements.begin(), elements.end()), elements.end());
    return elements;
}

SideSharers findOnSide(NeighbourLists& lists, std::span<const float> reaches,
                       std::span<const Row> rows, SharersLists which) {
    buildNeighbourLists(lists, rows);
    SideSharers sharers;
    Rows listNow;
    for (PossibleList& possible : possibleLists(lists, reaches, elementsOf(lists, rows))) {
        if (which == SharersLists::exact || possible.mayHaveGaps ||
            lists.side.nextCopy[possible.row] != noRow) {
            listNow.push_back(possible.row);
        } else {
            sharers.possible.push_back(std::move(possible));
        }
    }
    buildNeighbourLists(lists, listNow);
    // A flat curve, as that of many copies, keeps all of them from counting.
    measureCurveAreas(lists, listNow);

    for (const Row row : lists.listed) {
        for (const Row element : listOf(lists, row)) {
            sharers.listedBy.emplace_back(element, row);
        }
    }
    for (const PossibleList& possible : sharers.possible) {
        for (const Row element : possible.elements) {
            sharers.listedBy.emplace_back(element, possible.row);
        }
    }
    std::sort(sharers.listedBy.begin(), sharers.listedBy.end());
    return sharers;
}

float mostOnSide(const NeighbourLists& lists, const SideSharers& sharers, Row row, Row column) {
    if (row == column || isListed(lists, row)) {
        return rankSimilarity(lists, row, column);
    }
    const auto possible =
        std::lower_bound(sharers.possible.begin(), sharers.possible.end(), row,
                         [](const PossibleList& list, Row wanted) { return list.row < wanted; });
    return possible != sharers.possible.end() && possible->row == row
               ? mostRankSimilarity(listOf(lists, column), possible->elements)
               : 0.0F;
}

}  // namespace

Sharers findSharers(WeightedSides& weighted, const Reaches& reaches, std::span<const Row> rows,
                    SharersLists which) {
    return {findOnSide(weighted.sides[0].lists, reaches[0], rows, which),
            findOnSide(weighted.sides[1].lists, reaches[1], rows, which)};
}

float mostFusedSimilarity(const WeightedSides& weighted, const Sharers& sharers, Row row,
                          Row column) {
    float most = 0.0F;
    for (std::size_t s = 0; s < sharers.size(); ++s) {
        const NeighbourLists& lists = weighted.sides[s].lists;
        if (curveAreaOf(lists, row) != 0.0F) {
            most = std::max(most, mostOnSide(lists, sharers[s], row, column));
        }
    }
    // The weights add up to 1 but for their rounding, and so do the products.
    constexpr float roundedUp = 1.000001F;
    return most * roundedUp;
}

}  // namespace quillon
