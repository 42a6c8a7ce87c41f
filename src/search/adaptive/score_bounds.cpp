#include "search/adaptive/score_bounds.h"

#include <algorithm>
#include <iterator>
#include <map>

#include "search/adaptive/rank_similarity.h"
#include "shared/in_parallel.h"

namespace quillon {
namespace {

/// What is known of a row on a side; nothing where it overlaps with no list.
const Overlap* overlapOf(const SideMemo& side, const std::map<Row, Overlap>& overlaps, Row row) {
    const auto found = overlaps.find(side.rows.firstIdentical[row]);
    return found != overlaps.end() ? &found->second : nullptr;
}

/// What a possible element of a list counts among its common elements with another: a gap as all of
/// them, since one gap matches all others.
std::size_t commonBy(Row element, std::size_t count) {
    return element == noRow ? count : 1;
}

/// Of the query to a row: the query's weights are known.
float mostOfQuery(const ListMemo& memo, const ListedRow& query, const OverlappingRows& nearQuery,
                  Row row) {
    if (row == query.row) {
        return fusedSimilarity(query, query);
    }
    float sum = 0.0F;
    for (std::size_t s = 0; s < memo.size(); ++s) {
        const NeighbourList& list = query.lists[s];
        std::size_t common = 0;
        if (const Overlap* overlap = overlapOf(memo[s], nearQuery.overlaps[s], row)) {
            for (const Row element : overlap->elements) {
                common += commonBy(element, list.count);
            }
        }
        sum = query.weights[s] * rankSimilarityBound(common, list.count) + sum;
    }
    return sum;
}

/// Of a row to all neighbours, in whatever way the sides of the row weigh.
float mostOfNeighbours(const ListMemo& memo, const Votes& votes,
                       const OverlappingRows& nearNeighbours, Row row) {
    const std::size_t count = votes.query.lists[0].count;
    std::map<std::size_t, std::size_t> mostCommon;  // by place of the neighbour
    for (std::size_t s = 0; s < memo.size(); ++s) {
        const Overlap* overlap = overlapOf(memo[s], nearNeighbours.overlaps[s], row);
        if (overlap == nullptr || overlap->isFlat) {
            continue;
        }
        std::map<std::size_t, std::size_t> commonOnSide;
        for (const Row element : overlap->elements) {
            forEachPlace(votes.indexes[s], element, [&](std::size_t place) {
                commonOnSide[place] += commonBy(element, count);
            });
        }
        for (const auto& [place, common] : commonOnSide) {
            mostCommon[place] = std::max(mostCommon[place], common);
        }
    }
    float sum = 0.0F;
    for (const auto& [place, common] : mostCommon) {
        // The weights add up to 1 but for their rounding, and so do the products. A row is as
        // similar to itself as can be, whatever it lists.
        constexpr float roundedUp = 1.000001F;
        const bool isItself = votes.neighbours[place].row == row;
        sum += (isItself ? 1.0F : rankSimilarityBound(common, count)) * roundedUp;
    }
    return sum;
}

}  // namespace

std::vector<RowValue> scoreBounds(const ListMemo& memo, const Votes& votes,
                                  const OverlappingRows& nearQuery,
                                  const OverlappingRows& nearNeighbours) {
    constexpr std::size_t rowsPerChunk = 64;
    Rows rows;
    std::set_union(nearQuery.rows.begin(), nearQuery.rows.end(), nearNeighbours.rows.begin(),
                   nearNeighbours.rows.end(), std::back_inserter(rows));
    std::vector<RowValue> bounds(rows.size());
    forEachChunk(memo[0].rows.workers, rows.size(), rowsPerChunk,
                 [&](std::size_t, std::size_t begin, std::size_t end) {
                     for (std::size_t i = begin; i < end; ++i) {
                         const float sum = mostOfQuery(memo, votes.query, nearQuery, rows[i]) +
                                           mostOfNeighbours(memo, votes, nearNeighbours, rows[i]);
                         bounds[i] = {rows[i], sum / static_cast<float>(votes.k + 1)};
                     }
                 });
    return bounds;
}

}  // namespace quillon
