// The rows that share a list element with some of a few rows, on either side: all others have the
// fused similarity 0 to these few.
#pragma once

#include <algorithm>
#include <array>
#include <span>
#include <utility>
#include <vector>

#include "search/fused_similarity.h"
#include "search/neighbours/possible_lists.h"

namespace quillon {

struct SideSharers {
    /// Element and first copy that lists it, or may list it; ascending.
    std::vector<std::pair<Row, Row>> listedBy;
    /// What is known of the lists that may hold an element and have not been asked for; ascending.
    std::vector<PossibleList> possible;
};

/// Shape side first.
using Sharers = std::array<SideSharers, 2>;

/// The reaches of crowds.h, shape side first; empty where all rows are listed.
using Reaches = std::array<std::vector<float>, 2>;

enum class SharersLists {
    exact,     // all sharers are to be listed
    possible,  // only those that stand for many rows, or may have gaps
};

/// All sharers of `rows`, which it lists.
Sharers findSharers(WeightedSides& weighted, const Reaches& reaches, std::span<const Row> rows,
                    SharersLists which);

/// At least the fused similarity of `row` to `column`, in whatever way the sides of `row` weigh: a
/// side counts 1 at most, and nothing where its curve is known to be flat. `column` is listed.
float mostFusedSimilarity(const WeightedSides& weighted, const Sharers& sharers, Row row,
                          Row column);

/// Calls `visit(row, column)` for all rows that may share an element with a column, each pair once,
/// the columns in their order. `sharers` are those of all columns.
template <class Visit>
void forEachSharer(const WeightedSides& weighted, const Sharers& sharers,
                   std::span<const Row> columns, const Visit& visit) {
    std::vector<Row> lastColumn(weighted.rowCount(), noRow);
    for (const Row column : columns) {
        for (std::size_t s = 0; s < sharers.size(); ++s) {
            const NeighbourLists& lists = weighted.sides[s].lists;
            const auto& listedBy = sharers[s].listedBy;
            for (const Row element : listOf(lists, column)) {
                for (auto listing = std::lower_bound(listedBy.begin(), listedBy.end(),
                                                     std::pair(element, Row{0}));
                     listing != listedBy.end() && listing->first == element; ++listing) {
                    for (Row row = listing->second; row != noRow; row = lists.side.nextCopy[row]) {
                        if (lastColumn[row] != column) {
                            lastColumn[row] = column;
                            visit(row, column);
                        }
                    }
                }
            }
        }
    }
}

}  // namespace quillon
