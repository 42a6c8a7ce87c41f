#include "search/adaptive.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>
#include <xtensor/xexception.hpp>

#include "search/rank_similarity.h"
#include "search/single_side.h"

namespace quillon {
namespace {

/// What the query's shape side counts at least.
constexpr float minShapeWeight = 0.4F;

void checkSameWidth(const FeatureMatrix& query, const FeatureMatrix& matrix) {
    if (query.shape(1) != matrix.shape(1)) {
        throw xt::concatenate_error(
            "Incompatible dimension of arrays, compile in DEBUG for more info");
    }
}

/// The query's best neighbours: the columns behind the largest value of row 0, which is taken to be
/// the query itself, best first. Never the weakest column of all.
std::vector<std::size_t> bestNeighbours(const std::vector<float>& queryRow, std::int32_t k) {
    const std::vector<std::size_t> order = ascendingOrder(queryRow);
    const auto rows = static_cast<std::int32_t>(order.size());
    std::vector<std::size_t> neighbours;
    const std::int32_t stop = std::max(rows - k - 2, 0);
    for (std::int32_t rank = rows - 2; rank > stop; --rank) {
        neighbours.push_back(order[static_cast<std::size_t>(rank)]);
    }
    return neighbours;
}

}  // namespace

void searchAdaptive(std::uint32_t k, const FeatureMatrix& queryShape,
                    const FeatureMatrix& queryText, const FeatureMatrix& shapeMatrix,
                    const FeatureMatrix& textMatrix, float minThreshold,
                    std::vector<SearchResult>& hits) {
    checkSameWidth(queryShape, shapeMatrix);
    checkSameWidth(queryText, textMatrix);
    NeighbourLists shapeLists = buildNeighbourLists(queryShape, shapeMatrix);
    NeighbourLists textLists = buildNeighbourLists(queryText, textMatrix);
    const FusedSimilarities fused =
        fuseSimilarities(std::move(shapeLists), std::move(textLists), minShapeWeight);
    const std::vector<float> scores = refineByNeighbours(fused, static_cast<std::int32_t>(k));

    const std::vector<std::size_t> order = ascendingOrder(scores);
    for (auto column = order.rbegin(); column != order.rend(); ++column) {
        if (*column == 0 || equalsQuery(shapeMatrix, *column - 1, queryShape)) {
            continue;
        }
        const float score = scores[*column];
        if (!(score >= minThreshold)) {
            break;
        }
        hits.push_back({static_cast<std::int64_t>(*column) - 1, score, fused.sides[0].weights[0],
                        fused.sides[1].weights[0]});
        if (hits.size() == k) {
            break;
        }
    }
}

std::vector<float> refineByNeighbours(const FusedSimilarities& fused, std::int32_t k) {
    std::vector<float> scores(fused.rows());
    for (std::size_t column = 0; column < scores.size(); ++column) {
        scores[column] = fusedSimilarity(fused, 0, column);
    }
    const std::vector<float> votes = voteRow(fused, bestNeighbours(scores, k));
    for (std::size_t column = 0; column < scores.size(); ++column) {
        scores[column] = (scores[column] + votes[column]) / static_cast<float>(k + 1);
    }
    return scores;
}

std::vector<float> voteRow(const FusedSimilarities& fused,
                           const std::vector<std::size_t>& neighbours) {
    std::vector<float> votes(fused.rows(), 0.0F);
    if (neighbours.empty()) {
        return votes;
    }
    // Most rows share no list element with a given neighbour. Their value is 0, which changes no
    // sum, unless a weight is NaN, which makes the row's sum NaN whatever else is in it.
    for (std::size_t row = 0; row < votes.size(); ++row) {
        for (const WeightedSide& side : fused.sides) {
            votes[row] += side.weights[row] * 0.0F;
        }
    }
    const std::array<ListedBy, 2> listedBy{invertLists(fused.sides[0].lists),
                                           invertLists(fused.sides[1].lists)};
    std::vector<std::size_t> lastVoter(votes.size(), votes.size());
    for (const std::size_t neighbour : neighbours) {
        for (std::size_t s = 0; s < listedBy.size(); ++s) {
            const NeighbourLists& lists = fused.sides[s].lists;
            for (std::size_t n = 0; n < lists.count; ++n) {
                const std::size_t slot = slotOf(lists.list(neighbour)[n]);
                for (std::size_t i = listedBy[s].begins[slot]; i < listedBy[s].begins[slot + 1];
                     ++i) {
                    const auto row = static_cast<std::size_t>(listedBy[s].rows[i]);
                    if (lastVoter[row] != neighbour) {
                        lastVoter[row] = neighbour;
                        votes[row] += fusedSimilarity(fused, row, neighbour);
                    }
                }
            }
        }
    }
    return votes;
}

std::vector<std::size_t> ascendingOrder(const std::vector<float>& values) {
    std::vector<std::size_t> order(values.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    const auto isNan = [&](std::size_t position) { return std::isnan(values[position]); };
    const auto isLess = [&](std::size_t a, std::size_t b) { return values[a] < values[b]; };
    for (auto first = order.begin(); first != order.end();) {
        const auto nan = std::find_if(first, order.end(), isNan);
        std::stable_sort(first, nan, isLess);
        first = nan == order.end() ? nan : nan + 1;
    }
    return order;
}

}  // namespace quillon
