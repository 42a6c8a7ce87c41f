#include "search/adaptive.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <span>
#include <utility>

#include "search/adaptive/best_values.h"
#include "search/adaptive/listed_rows.h"
#include "search/adaptive/overlapping_rows.h"
#include "search/adaptive/ranked_order.h"
#include "search/adaptive/refined_scores.h"
#include "search/adaptive/reverse_neighbours.h"
#include "search/adaptive/score_bounds.h"
#include "search/query_checks.h"
#include "shared/in_parallel.h"

namespace quillon {
namespace {

/// Which rows become hits, and what every hit tells of the query.
struct HitList {
    std::uint32_t k;  // 0 for no limit
    float minThreshold;
    const FeatureMatrix& queryShape;
    const FeatureMatrix& shapeMatrix;
    std::array<float, 2> queryWeights;
    std::vector<SearchResult>& hits;

    /// False for the query and its twins.
    bool mayBeHit(Row row) const {
        return row != 0 && !equalsQuery(shapeMatrix, row - 1, queryShape);
    }

    /// Appends the row if it is a hit. False when no row of this score or a lower one can be.
    bool add(Row row, float score) {
        if (!mayBeHit(row)) {
            return true;
        }
        if (!(score >= minThreshold)) {
            return false;
        }
        hits.push_back({std::int64_t{row} - 1, score, queryWeights[0], queryWeights[1]});
        return hits.size() != k;
    }
};

ValuesOf scoresBy(ListMemo& memo, const Votes& votes) {
    return [&](std::span<const Row> rows) {
        std::vector<float> scores;
        scores.reserve(rows.size());
        for (const ListedRow& row : listedRows(memo, rows)) {
            scores.push_back(refinedScore(votes, row));
        }
        return scores;
    };
}

/// Few rows are walked in the order in which an insertion sort leaves all their scores.
void walkFewRows(const ValuesOf& scoresOf, std::size_t rowCount, HitList& list) {
    Rows rows(rowCount);
    std::iota(rows.begin(), rows.end(), 0);
    const std::vector<float> scores = scoresOf(rows);
    const std::vector<std::size_t> order = ascendingOrder(scores);
    std::all_of(order.rbegin(), order.rend(),
                [&](std::size_t row) { return list.add(rows[row], scores[row]); });
}

/// Walks the rows of score 0, the higher first: those that `scores`, by row, has nothing about.
/// Whether such a row has the score 0 or NaN, its weights tell.
void walkRowsOfNoScore(ListMemo& memo, std::span<const float> scores, bool haveVotes,
                       HitList& list) {
    std::size_t batchRows = 32;
    for (auto next = static_cast<Row>(scores.size()); next > 0; batchRows *= 2) {
        Rows batch;
        for (; next > 0 && batch.size() < batchRows; --next) {
            if (scores[next - 1] == 0.0F) {
                batch.push_back(next - 1);
            }
        }
        for (const ListedRow& row : listedRows(memo, batch)) {
            const bool isNumber = !haveVotes || !std::isnan(row.weights[0] + row.weights[1]);
            if (isNumber && !list.add(row.row, 0.0F)) {
                return;
            }
        }
    }
}

/// Walks rows from the best score on, among equal ones the higher first. Scores that are not a
/// number come last.
void walkBestRows(ListMemo& memo, std::vector<RowValue> best, bool haveVotes, HitList& list) {
    std::vector<float> scores(memo[0].rows.rowCount, 0.0F);
    for (const RowValue& row : best) {
        scores[row.row] = row.value;
    }
    std::erase_if(best, [](const RowValue& row) { return !(row.value > 0.0F); });
    std::sort(best.begin(), best.end(), [](const RowValue& a, const RowValue& b) {
        return a.value != b.value ? a.value > b.value : a.row > b.row;
    });
    if (std::all_of(best.begin(), best.end(),
                    [&](const RowValue& row) { return list.add(row.row, row.value); }) &&
        0.0F >= list.minThreshold) {
        walkRowsOfNoScore(memo, scores, haveVotes, list);
    }
}

}  // namespace

void searchAdaptive(std::uint32_t k, const FeatureMatrix& queryShape,
                    const FeatureMatrix& queryText, const FeatureMatrix& shapeMatrix,
                    const FeatureMatrix& textMatrix, float minThreshold,
                    std::vector<SearchResult>& hits) {
    checkSameWidth(queryShape, shapeMatrix);
    checkSameWidth(queryText, textMatrix);
    searchAdaptiveOn(processorCount(), runnableKernels().back(), k, queryShape, queryText,
                     shapeMatrix, textMatrix, minThreshold, hits);
}

void searchAdaptiveOn(std::size_t workers, const DistanceKernel& kernel, std::uint32_t k,
                      const FeatureMatrix& queryShape, const FeatureMatrix& queryText,
                      const FeatureMatrix& shapeMatrix, const FeatureMatrix& textMatrix,
                      float minThreshold, std::vector<SearchResult>& hits) {
    const std::size_t rowCount = shapeMatrix.shape(0) + 1;
    ListMemo memo = emptyMemo(stackSide(queryShape, shapeMatrix, workers, kernel),
                              stackSide(queryText, textMatrix, workers, kernel));
    const NeighbourBounds bounds{neighbourBounds(memo[0].rows), neighbourBounds(memo[1].rows)};

    // Without neighbours, scores are the fused similarities of the query itself.
    const Votes byQuery = votesOf(listedRows(memo, Rows{0}).front(), {}, 0);
    const OverlappingRows nearQuery = overlappingRows(memo, bounds, {&byQuery.query, 1});
    const std::vector<RowValue> queryRow = bestValues(scoreBounds(memo, byQuery, nearQuery, {}),
                                                      std::size_t{k} + 1, scoresBy(memo, byQuery));

    const Rows neighbours = bestNeighbours(queryRow, k, rowCount);
    const Votes votes = votesOf(byQuery.query, listedRows(memo, neighbours), k);
    HitList list{k, minThreshold, queryShape, shapeMatrix, votes.query.weights, hits};
    if (rowCount <= insertionSorted) {
        walkFewRows(scoresBy(memo, votes), rowCount, list);
        return;
    }
    const OverlappingRows nearNeighbours = overlappingRows(memo, bounds, votes.neighbours);
    std::vector<RowValue> candidates = scoreBounds(memo, votes, nearQuery, nearNeighbours);
    std::erase_if(candidates, [&](const RowValue& candidate) {
        return candidate.value < minThreshold || !list.mayBeHit(candidate.row);
    });
    walkBestRows(memo, bestValues(std::move(candidates), k, scoresBy(memo, votes)),
                 !neighbours.empty(), list);
}

}  // namespace quillon
