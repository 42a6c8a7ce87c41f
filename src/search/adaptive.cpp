#include "search/adaptive.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <map>
#include <numeric>
#include <span>
#include <utility>

#include "search/adaptive/best_values.h"
#include "search/adaptive/listed_rows.h"
#include "search/adaptive/overlapping_rows.h"
#include "search/adaptive/rank_similarity.h"
#include "search/adaptive/ranked_order.h"
#include "search/adaptive/refined_scores.h"
#include "search/adaptive/reverse_neighbours.h"
#include "search/adaptive/score_bounds.h"
#include "search/query_checks.h"
#include "shared/in_parallel.h"

namespace quillon {
namespace {

/// The hits so far, and what decides on the next one.
struct HitList {
    std::uint32_t k;  // 0 for no limit
    float minThreshold;
    const FeatureMatrix& queryShape;
    const FeatureMatrix& shapeMatrix;
    std::array<float, 2> queryWeights;
    std::vector<SearchResult>& hits;

    /// False for the query and query twins.
    bool mayBeHit(Row row) const {
        return row != 0 && !equalsQuery(shapeMatrix, row - 1, queryShape);
    }

    /// Appends the row if it is a hit. False if no row of an equal or lower score can follow.
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

/// The fused similarities of the query. A row's list is only made on sides where it may share an
/// element with the query's list: elsewhere the similarity is 0.
ValuesOf similaritiesOfQuery(ListMemo& memo, const ListedRow& query,
                             const OverlappingRows& nearQuery) {
    return [&](std::span<const Row> rows) {
        std::map<Row, std::array<float, 2>> similarities;
        for (std::size_t s = 0; s < memo.size(); ++s) {
            Rows sharing;
            std::copy_if(rows.begin(), rows.end(), std::back_inserter(sharing),
                         [&](Row row) { return !nearQuery.at(row)[s].elements.empty(); });
            const std::vector<NeighbourList> lists = neighbourLists(memo[s], sharing);
            for (std::size_t i = 0; i < sharing.size(); ++i) {
                similarities[sharing[i]][s] = rankSimilarity(query.lists[s], lists[i]);
            }
        }
        std::vector<float> fused;
        for (const Row row : rows) {
            fused.push_back(row == query.row ? fusedSimilarity(query, query)
                                             : fuse(query.weights, similarities[row]));
        }
        return fused;
    };
}

/// Visits all rows from the best score on, in the order of an insertion sort.
void addFewRows(const ValuesOf& scoresOf, std::size_t rowCount, HitList& list) {
    Rows rows(rowCount);
    std::iota(rows.begin(), rows.end(), 0);
    const std::vector<float> scores = scoresOf(rows);
    const std::vector<std::size_t> order = ascendingOrder(scores);
    std::all_of(order.rbegin(), order.rend(),
                [&](std::size_t row) { return list.add(rows[row], scores[row]); });
}

/// Visits the rows with `scores` of 0, the higher row first. Only rows with computed scores have
/// others. The weights of a row show whether its score is 0 or NaN.
void addRowsOfScore0(ListMemo& memo, std::span<const float> scores, bool haveVotes, HitList& list) {
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

/// Visits rows from the best score on, among equal ones the higher row first. Rows with NaN scores
/// come last.
void addBestRows(ListMemo& memo, std::vector<RowValue> best, bool haveVotes, HitList& list) {
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
        addRowsOfScore0(memo, scores, haveVotes, list);
    }
}

}  // namespace

void searchAdaptive(std::uint32_t k, const FeatureMatrix& queryShape,
                    const FeatureMatrix& queryText, const FeatureMatrix& shapeMatrix,
                    const FeatureMatrix& textMatrix, float minThreshold,
                    std::vector<SearchResult>& hits) {
    searchAdaptiveOn(processorCount(), runnableKernels().back(), k, queryShape, queryText,
                     shapeMatrix, textMatrix, minThreshold, hits);
}

void searchAdaptiveOn(std::size_t workers, const DistanceKernel& kernel, std::uint32_t k,
                      const FeatureMatrix& queryShape, const FeatureMatrix& queryText,
                      const FeatureMatrix& shapeMatrix, const FeatureMatrix& textMatrix,
                      float minThreshold, std::vector<SearchResult>& hits) {
    const std::size_t rowCount = shapeMatrix.shape(0) + 1;
    StackedSide shapes = stackSide(queryShape, shapeMatrix, workers, kernel);
    StackedSide texts = stackSide(queryText, textMatrix, workers, kernel);
    ListMemo memo = emptyMemo(std::move(shapes), std::move(texts));
    const ListedRow query = listedRows(memo, Rows{0}).front();
    NeighbourBounds bounds;
    for (std::size_t s = 0; s < memo.size(); ++s) {
        bounds[s] = neighbourBounds(memo[s].rows);
    }

    // Without neighbours, scores are the fused similarities of the query itself.
    const Votes byQuery = votesOf(query, {}, 0);
    const OverlappingRows nearQuery = overlappingRows(memo, bounds, {&query, 1});
    std::vector<RowValue> candidates = scoreBounds(byQuery, nearQuery, {});
    const ValuesOf similarities = similaritiesOfQuery(memo, query, nearQuery);
    const std::vector<RowValue> queryRow =
        bestValues(std::move(candidates), std::size_t{k} + 1, similarities);
    const Rows neighbours = bestNeighbours(queryRow, k, rowCount);

    const Votes votes = votesOf(query, listedRows(memo, neighbours), k);
    HitList list{k, minThreshold, queryShape, shapeMatrix, query.weights, hits};
    const ValuesOf scoresOf = [&](std::span<const Row> rows) {
        const std::vector<ListedRow> listed = listedRows(memo, rows);
        return refinedScores(votes, listed);
    };
    const OverlappingRows nearNeighbours = overlappingRows(memo, bounds, votes.neighbours);
    candidates = scoreBounds(votes, nearQuery, nearNeighbours);
    std::erase_if(candidates, [&](const RowValue& candidate) {
        return candidate.value < minThreshold || !list.mayBeHit(candidate.row);
    });
    if (rowCount <= insertionSorted) {
        addFewRows(scoresOf, rowCount, list);
    } else {
        addBestRows(memo, bestValues(std::move(candidates), k, scoresOf), !neighbours.empty(),
                    list);
    }
}

}  // namespace quillon
