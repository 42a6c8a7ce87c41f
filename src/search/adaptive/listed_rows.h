// What Adaptive computes scores from: a row's neighbour lists on both sides, and the weights of the
// two sides for the row.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "search/adaptive/stacked_side.h"

namespace quillon {

/// Length of a neighbour list, whose order is compared between rows; and length of a similarity
/// curve, long enough to show whether the listed rows stand out from the others. Smaller libraries
/// have shorter ones.
inline constexpr std::size_t rankedNeighbours = 5;
inline constexpr std::size_t curveNeighbours = 100;

/// The neighbour list of a row on one side. All rows, itself included, are put into ascending
/// (distance, row number). The first one is left out, as a rule the row itself; the next
/// K = min(N - 1, rankedNeighbours) are the list. So a row that has identical rows can list itself.
/// Rows whose distance is not below the largest float are left out; `noRow` fills their places.
struct NeighbourList {
    std::array<Row, rankedNeighbours> labels{};
    std::uint32_t count = 0;  // K
    float curveArea = 0.0F;

    std::span<const Row> rows() const { return {labels.data(), count}; }
};

/// Shape side first, here and below.
struct ListedRow {
    Row row = 0;
    std::array<NeighbourList, 2> lists;
    /// Weights of the two sides, together 1. NaN if both curves are flat or one is not finite. In
    /// row 0, the query's, the shape side has at least `minShapeWeight`, also instead of NaN.
    std::array<float, 2> weights{};
};

/// Lowest weight of the query's shape side, so that blocks that look different are not found by
/// their texts alone.
inline constexpr float minShapeWeight = 0.4F;

/// One side, and its lists made so far. Identical rows share one list.
struct SideMemo {
    StackedSide rows;
    std::vector<NeighbourList> lists;
    std::vector<std::uint32_t> places;  // N: where a distinct row's list is in `lists`, or `noRow`
};

using ListMemo = std::array<SideMemo, 2>;

ListMemo emptyMemo(StackedSide shapes, StackedSide texts);

/// Returns the lists of `rows`, in their order. Makes and keeps missing lists, by comparing each of
/// their rows with all rows. The result does not depend on earlier calls. Uses the side's workers.
std::vector<NeighbourList> neighbourLists(SideMemo& side, std::span<const Row> rows);

/// Returns `rows` with their lists of both sides, in their order.
std::vector<ListedRow> listedRows(ListMemo& memo, std::span<const Row> rows);

}  // namespace quillon
