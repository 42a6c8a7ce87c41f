#include "search/adaptive/listed_rows.h"

#include <algorithm>
#include <utility>

#include "search/adaptive/nearest_rows.h"
#include "search/adaptive/row_comparison.h"
#include "search/adaptive/similarity_curve.h"

namespace quillon {
namespace {

/// `nearest` begins with the row that is left out, as a rule the row itself.
NeighbourList listFrom(const std::vector<Near>& nearest, std::size_t rowCount) {
    NeighbourList list;
    list.labels.fill(noRow);
    list.count = static_cast<std::uint32_t>(std::min(rowCount - 1, rankedNeighbours));
    for (std::size_t n = 1; n < nearest.size() && n <= list.count; ++n) {
        list.labels[n - 1] = nearest[n].second;
    }
    std::vector<float> curve(std::min(rowCount - 1, curveNeighbours), unreached);
    for (std::size_t n = 1; n < nearest.size(); ++n) {
        curve[n - 1] = nearest[n].first;
    }
    neighbourSimilarityCurve(curve);
    list.curveArea = curveArea(curve);
    return list;
}

void addMissingLists(SideMemo& side, std::span<const Row> rows) {
    Rows missing;
    for (const Row row : rows) {
        const Row first = side.rows.firstIdentical[row];
        if (side.places[first] == noRow) {
            side.places[first] = static_cast<Row>(side.lists.size() + missing.size());
            missing.push_back(first);
        }
    }
    // Bounds the memory that the nearest rows take.
    constexpr std::size_t rowsAtOnce = 1024;
    const std::size_t rowCount = side.rows.rowCount;
    for (std::size_t begin = 0; begin < missing.size(); begin += rowsAtOnce) {
        const auto batch =
            std::span(missing).subspan(begin, std::min(rowsAtOnce, missing.size() - begin));
        for (const std::vector<Near>& nearest :
             nearestRows(side.rows, batch, std::min(rowCount, curveNeighbours + 1))) {
            side.lists.push_back(listFrom(nearest, rowCount));
        }
    }
}

std::array<float, 2> weightsOf(Row row, const std::array<NeighbourList, 2>& lists) {
    const std::array<float, 2> weights = curveAreaWeights({lists[0].curveArea, lists[1].curveArea});
    if (row != 0) {
        return weights;
    }
    // Written so that NaN gets the floor too.
    const float shapeWeight = weights[0] > minShapeWeight ? weights[0] : minShapeWeight;
    return {shapeWeight, 1.0F - shapeWeight};
}

}  // namespace

ListMemo emptyMemo(StackedSide shapes, StackedSide texts) {
    const std::vector<std::uint32_t> noPlaces(shapes.rowCount, noRow);
    return {SideMemo{std::move(shapes), {}, noPlaces}, SideMemo{std::move(texts), {}, noPlaces}};
}

std::vector<NeighbourList> neighbourLists(SideMemo& side, std::span<const Row> rows) {
    addMissingLists(side, rows);
    std::vector<NeighbourList> lists;
    lists.reserve(rows.size());
    for (const Row row : rows) {
        lists.push_back(side.lists[side.places[side.rows.firstIdentical[row]]]);
    }
    return lists;
}

std::vector<ListedRow> listedRows(ListMemo& memo, std::span<const Row> rows) {
    const std::vector<NeighbourList> shapes = neighbourLists(memo[0], rows);
    const std::vector<NeighbourList> texts = neighbourLists(memo[1], rows);
    std::vector<ListedRow> listed;
    listed.reserve(rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const std::array<NeighbourList, 2> lists{shapes[i], texts[i]};
        listed.push_back({rows[i], lists, weightsOf(rows[i], lists)});
    }
    return listed;
}

}  // namespace quillon
