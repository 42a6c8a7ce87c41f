// Row 0 of the refined similarities: the score of each block, exact for the rows asked for and an
// upper bound for the others.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "search/fused_similarity.h"
#include "search/sharers.h"

namespace quillon {

/// What the query's shape side counts at least: blocks that look different are not found by a
/// telling text alone.
inline constexpr float minShapeWeight = 0.4F;

struct RefinedScores {
    std::int32_t k = 0;
    std::vector<float> queryRow;  // N: row 0 of the fused similarities
    std::vector<Row> neighbours;  // the query's best, see `bestNeighbours`
    Sharers sharers;              // of the neighbours
    std::vector<float> scores;    // N: exact where settled, else at least the exact score, or NaN's
};

/// Row 0 refined: (own fused similarity to the query + that of the row to each of the query's k
/// best neighbours) / (k + 1). k at most N - 1. Settles the rows that `weighted` has weighed.
RefinedScores refineByNeighbours(WeightedSides& weighted, const Reaches& reaches, std::int32_t k);

/// Makes the scores of `rows` exact. NaN where a weight is.
void settle(WeightedSides& weighted, std::span<const Row> rows, RefinedScores& refined);

/// True when the row's score is exact.
bool isSettled(const WeightedSides& weighted, const RefinedScores& refined, Row row);

/// The columns behind the largest value of `queryRow`, which is taken to be the query's own, best
/// first, among equal ones the higher first: k of them, but never the weakest of all.
std::vector<Row> bestNeighbours(const std::vector<float>& queryRow, std::int32_t k);

}  // namespace quillon
