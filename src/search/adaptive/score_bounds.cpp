#include "search/adaptive/score_bounds.h"

#include <algorithm>
#include <array>
#include <map>

#include "search/adaptive/rank_similarity.h"

namespace quillon {
namespace {

/// Upper bound on the fused similarity of the query to a row. The query's weights are known.
float mostOfQuery(const ListedRow& query, Row row, const std::array<Overlap, 2>& overlaps) {
    return row == query.row
               ? fusedSimilarity(query, query)
               : fuse(query.weights, {rankSimilarityBound(query.lists[0], overlaps[0].elements),
                                      rankSimilarityBound(query.lists[1], overlaps[1].elements)});
}

/// Upper bound on the sum of a row's fused similarities to all neighbours, for any weights.
float mostOfNeighbours(const Votes& votes, Row row, const std::array<Overlap, 2>& overlaps) {
    std::map<std::size_t, float> similarities;  // by place of the neighbour
    for (std::size_t s = 0; s < overlaps.size(); ++s) {
        for (const Row element : overlaps[s].isFlat ? Rows{} : overlaps[s].elements) {
            forEachPlace(votes.indexes[s], element, [&](std::size_t place) {
                const ListedRow& neighbour = votes.neighbours[place];
                // A row is as similar to itself as can be, whatever it lists.
                const float similarity =
                    neighbour.row == row
                        ? 1.0F
                        : rankSimilarityBound(neighbour.lists[s], overlaps[s].elements);
                similarities[place] = std::max(similarities[place], similarity);
            });
        }
    }
    float sum = 0.0F;
    for (const auto& [place, similarity] : similarities) {
        // Weights and products add up to 1, except for rounding.
        constexpr float roundedUp = 1.000001F;
        sum += similarity * roundedUp;
    }
    return sum;
}

}  // namespace

std::vector<RowValue> scoreBounds(const Votes& votes, const OverlappingRows& nearQuery,
                                  const OverlappingRows& nearNeighbours) {
    std::map<Row, float> sums;
    for (const auto& [row, overlaps] : nearQuery) {
        sums[row] += mostOfQuery(votes.query, row, overlaps);
    }
    for (const auto& [row, overlaps] : nearNeighbours) {
        sums[row] += mostOfNeighbours(votes, row, overlaps);
    }
    std::vector<RowValue> bounds;
    bounds.reserve(sums.size());
    for (const auto& [row, sum] : sums) {
        bounds.push_back({row, sum / static_cast<float>(votes.k + 1)});
    }
    return bounds;
}

}  // namespace quillon
