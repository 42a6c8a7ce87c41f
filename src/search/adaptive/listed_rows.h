// All that Adaptive's scores are computed from: a row's nearest rows on both sides, and what each
// side counts for the row.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "search/adaptive/stacked_side.h"

namespace quillon {

/// Neighbours whose order is compared between rows: the few that are of a kind with a block; and
/// neighbours on a similarity curve: enough to show whether these few stand out from the rest.
/// Fewer in libraries with fewer rows.
inline constexpr std::size_t rankedNeighbours = 5;
inline constexpr std::size_t curveNeighbours = 100;

/// The list of a row on one side: all rows, itself included, in ascending (distance, row number),
/// the first left out unseen, then K = min(N - 1, rankedNeighbours) of them. Among identical rows a
/// row may so list itself and miss another. Rows whose distance is not below the largest float
/// never enter; `noRow` fills what is left.
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
    /// What each side counts, in sum 1. NaN where the curves of both sides are flat, or rise
    /// without a finite bound. In row 0, the query's, the shape side counts at least
    /// `minShapeWeight` and the text side has the rest.
    std::array<float, 2> weights{};
};

/// What the query's shape side counts at least: blocks that look different are not found by a
/// telling text alone.
inline constexpr float minShapeWeight = 0.4F;

/// One side and its lists that have been made so far. Identical rows share theirs.
struct SideMemo {
    StackedSide rows;
    std::vector<NeighbourList> lists;
    std::vector<std::uint32_t> places;  // N: where a distinct row's list is in `lists`, or `noRow`
};

using ListMemo = std::array<SideMemo, 2>;

ListMemo emptyMemo(StackedSide shapes, StackedSide texts);

/// The lists of `rows`, in their order. Makes and keeps those that are missing, each of which takes
/// the time of comparing its row with all rows. The answer does not depend on what has been asked
/// for before. Uses the side's workers.
std::vector<NeighbourList> neighbourLists(SideMemo& side, std::span<const Row> rows);

/// `rows` with their lists of both sides, in their order.
std::vector<ListedRow> listedRows(ListMemo& memo, std::span<const Row> rows);

}  // namespace quillon
