#include "search/refined_scores.h"

#include <algorithm>
#include <numeric>

namespace quillon {
namespace {

std::vector<float> fusedQueryRow(WeightedSides& weighted, const Reaches& reaches) {
    const std::vector<Row> query{0};
    fuseSimilarities(weighted, query, minShapeWeight);
    const Sharers sharers = findSharers(weighted, reaches, query, SharersLists::exact);
    std::vector<float> queryRow(weighted.rowCount(), 0.0F);
    forEachSharer(weighted, sharers, query,
                  [&](Row row, Row) { queryRow[row] = fusedSimilarity(weighted, 0, row); });
    // A row is as similar to itself as can be, whatever it lists.
    queryRow[0] = fusedSimilarity(weighted, 0, 0);
    return queryRow;
}

/// For every row that `isAsked` the sum of its fused similarity to each neighbour, added in their
/// order, or no less where the row is not settled; then its score.
void voteRow(const WeightedSides& weighted, const std::vector<char>& isAsked,
             RefinedScores& refined) {
    std::vector<float>& votes = refined.scores;
    for (std::size_t row = 0; row < votes.size(); ++row) {
        if (isAsked[row] != 0) {
            votes[row] = 0.0F;
            // Similarities of 0 change no sum, unless a weight is NaN, which makes the row's sum
            // NaN whatever else is in it.
            if (weighted.isWeighed[row] != 0 && !refined.neighbours.empty()) {
                votes[row] += weighted.sides[0].weights[row] * 0.0F;
                votes[row] += weighted.sides[1].weights[row] * 0.0F;
            }
        }
    }
    forEachSharer(weighted, refined.sharers, refined.neighbours, [&](Row row, Row neighbour) {
        if (isAsked[row] != 0) {
            votes[row] += weighted.isWeighed[row] != 0
                              ? fusedSimilarity(weighted, row, neighbour)
                              : mostFusedSimilarity(weighted, refined.sharers, row, neighbour);
        }
    });
    for (std::size_t row = 0; row < votes.size(); ++row) {
        if (isAsked[row] != 0) {
            refined.scores[row] =
                (refined.queryRow[row] + votes[row]) / static_cast<float>(refined.k + 1);
        }
    }
}

}  // namespace

RefinedScores refineByNeighbours(WeightedSides& weighted, const Reaches& reaches, std::int32_t k) {
    RefinedScores refined;
    refined.k = k;
    refined.queryRow = fusedQueryRow(weighted, reaches);
    refined.neighbours = bestNeighbours(refined.queryRow, k);
    refined.sharers = findSharers(weighted, reaches, refined.neighbours, SharersLists::possible);
    refined.scores.resize(weighted.rowCount());
    voteRow(weighted, std::vector<char>(weighted.rowCount(), 1), refined);
    return refined;
}

void settle(WeightedSides& weighted, std::span<const Row> rows, RefinedScores& refined) {
    fuseSimilarities(weighted, rows, minShapeWeight);
    std::vector<char> isAsked(weighted.rowCount(), 0);
    for (const Row row : rows) {
        isAsked[row] = 1;
    }
    voteRow(weighted, isAsked, refined);
}

bool isSettled(const WeightedSides& weighted, const RefinedScores& refined, Row row) {
    return refined.neighbours.empty() || weighted.isWeighed[row] != 0;
}

std::vector<Row> bestNeighbours(const std::vector<float>& queryRow, std::int32_t k) {
    std::vector<Row> columns(queryRow.size());
    std::iota(columns.begin(), columns.end(), 0);
    const std::size_t wanted = std::min(static_cast<std::size_t>(k) + 1, columns.size() - 1);
    const auto end = columns.begin() + static_cast<std::ptrdiff_t>(wanted);
    std::partial_sort(columns.begin(), end, columns.end(), [&](Row a, Row b) {
        return queryRow[a] != queryRow[b] ? queryRow[a] > queryRow[b] : a > b;
    });
    columns.erase(end, columns.end());
    if (!columns.empty()) {
        columns.erase(columns.begin());
    }
    return columns;
}

}  // namespace quillon
