#include "search/adaptive.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <numeric>
#include <xtensor/xexception.hpp>

#include "search/fused_similarity.h"
#include "search/neighbours/crowds.h"
#include "search/neighbours/product_resources.h"
#include "search/refined_scores.h"
#include "search/single_side.h"

namespace quillon {
namespace {

using Rows = std::vector<Row>;

/// As many values the standard libraries sort by insertion alone.
constexpr std::size_t insertionSorted = 32;

void checkSameWidth(const FeatureMatrix& query, const FeatureMatrix& matrix) {
    if (query.shape(1) != matrix.shape(1)) {
        throw xt::concatenate_error(
            "Incompatible dimension of arrays, compile in DEBUG for more info");
    }
}

Rows allRows(std::size_t count) {
    Rows rows(count);
    std::iota(rows.begin(), rows.end(), 0);
    return rows;
}

/// What the list of hits asks for.
struct Wanted {
    std::size_t k;
    float minThreshold;
    /// N: not the query, nor a block with its shape vector.
    std::vector<char> mayBeHit;
};

Wanted wantedHits(std::uint32_t k, float minThreshold, const FeatureMatrix& queryShape,
                  const FeatureMatrix& shapeMatrix) {
    Wanted wanted{k, minThreshold, std::vector<char>(shapeMatrix.shape(0) + 1, 0)};
    for (std::size_t row = 1; row < wanted.mayBeHit.size(); ++row) {
        wanted.mayBeHit[row] = equalsQuery(shapeMatrix, row - 1, queryShape) ? 0 : 1;
    }
    return wanted;
}

/// The k-th best of the settled scores that may be hits; the lowest float where there are fewer.
float scoreToBeat(const WeightedSides& weighted, const RefinedScores& refined,
                  const Wanted& wanted) {
    std::vector<float> scores;
    for (const Row row : allRows(weighted.rowCount())) {
        if (isSettled(weighted, refined, row) && wanted.mayBeHit[row] != 0 &&
            refined.scores[row] >= wanted.minThreshold) {
            scores.push_back(refined.scores[row]);
        }
    }
    if (wanted.k == 0 || scores.size() < wanted.k) {
        return std::numeric_limits<float>::lowest();
    }
    const auto last = scores.begin() + static_cast<std::ptrdiff_t>(wanted.k) - 1;
    std::nth_element(scores.begin(), last, scores.end(), std::greater<>());
    return *last;
}

/// Settles the rows that may be hits, those with the highest bounds first, until no bound reaches
/// what has been found. Rows with the bound 0 are left: they have the score 0, or NaN.
void settleBest(WeightedSides& weighted, const Wanted& wanted, std::size_t leastAtOnce,
                RefinedScores& refined) {
    Rows open;
    for (const Row row : allRows(weighted.rowCount())) {
        if (!isSettled(weighted, refined, row) && wanted.mayBeHit[row] != 0 &&
            refined.scores[row] > 0.0F && refined.scores[row] >= wanted.minThreshold) {
            open.push_back(row);
        }
    }
    std::stable_sort(open.begin(), open.end(),
                     [&](Row a, Row b) { return refined.scores[a] > refined.scores[b]; });
    std::size_t batchRows = std::max(leastAtOnce, 2 * wanted.k);
    for (auto next = open.begin(); next != open.end(); batchRows *= 2) {
        const float toBeat = scoreToBeat(weighted, refined, wanted);
        const auto batchEnd =
            next + std::min(static_cast<std::ptrdiff_t>(batchRows), open.end() - next);
        const auto reached =
            std::find_if(next, batchEnd, [&](Row row) { return refined.scores[row] < toBeat; });
        settle(weighted, Rows(next, reached), refined);
        next = reached == batchEnd ? batchEnd : open.end();
    }
}

using Walk = std::vector<std::size_t>::const_reverse_iterator;

/// Settles the next rows of the walk that are not yet, as many as may still become hits.
void settleNext(WeightedSides& weighted, const Wanted& wanted, std::size_t missing,
                const Walk& from, const Walk& end, RefinedScores& refined) {
    Rows rows;
    for (Walk column = from; column != end && rows.size() < std::max<std::size_t>(32, missing);
         ++column) {
        const auto row = static_cast<Row>(*column);
        if (wanted.mayBeHit[row] != 0 && !isSettled(weighted, refined, row)) {
            rows.push_back(row);
        }
    }
    settle(weighted, rows, refined);
}

}  // namespace

void searchAdaptive(std::uint32_t k, const FeatureMatrix& queryShape,
                    const FeatureMatrix& queryText, const FeatureMatrix& shapeMatrix,
                    const FeatureMatrix& textMatrix, float minThreshold,
                    std::vector<SearchResult>& hits) {
    checkSameWidth(queryShape, shapeMatrix);
    checkSameWidth(queryText, textMatrix);
    secureProducts(shapeMatrix.shape(0));
    searchAdaptiveBy(quickerWay(k, shapeMatrix.shape(0) + 1), k, queryShape, queryText, shapeMatrix,
                     textMatrix, minThreshold, hits);
}

ListedRows quickerWay(std::uint32_t k, std::size_t rowCount) {
    // k neighbours with five elements each on a side ask for more and more of the library; and a
    // small library is listed as soon as its neighbourhoods are found.
    return rowCount < 1000 || rowCount / 20 < k ? ListedRows::all : ListedRows::thoseThatCount;
}

void searchAdaptiveBy(ListedRows listedRows, std::uint32_t k, const FeatureMatrix& queryShape,
                      const FeatureMatrix& queryText, const FeatureMatrix& shapeMatrix,
                      const FeatureMatrix& textMatrix, float minThreshold,
                      std::vector<SearchResult>& hits) {
    WeightedSides weighted =
        nothingWeighed(stackRows(queryShape, shapeMatrix), stackRows(queryText, textMatrix));
    Reaches reaches;
    for (std::size_t s = 0; s < reaches.size(); ++s) {
        if (listedRows == ListedRows::all) {
            buildNeighbourLists(weighted.sides[s].lists, allRows(weighted.rowCount()));
        } else {
            reaches[s] = reachesOfNeighbourhoods(weighted.sides[s].lists.side);
        }
    }
    const Wanted wanted = wantedHits(k, minThreshold, queryShape, shapeMatrix);
    RefinedScores refined = refineByNeighbours(weighted, reaches, static_cast<std::int32_t>(k));
    if (weighted.rowCount() <= insertionSorted) {
        settle(weighted, allRows(weighted.rowCount()), refined);
    } else {
        // Where lists are still to be made, a product for a few rows takes as long as one for some
        // dozens.
        settleBest(weighted, wanted, listedRows == ListedRows::all ? 8 : 32, refined);
    }

    const std::vector<std::size_t> order = ascendingOrder(refined.scores);
    for (auto column = order.crbegin(); column != order.crend(); ++column) {
        const auto row = static_cast<Row>(*column);
        if (wanted.mayBeHit[row] == 0) {
            continue;
        }
        if (!isSettled(weighted, refined, row) && refined.scores[row] >= minThreshold) {
            settleNext(weighted, wanted, k - hits.size(), column, order.crend(), refined);
        }
        const float score = refined.scores[row];
        if (std::isnan(score) && weighted.rowCount() > insertionSorted) {
            continue;  // its place is behind all numbers, wherever its bound was
        }
        if (!(score >= minThreshold)) {
            break;
        }
        hits.push_back({std::int64_t{row} - 1, score, weighted.sides[0].weights[0],
                        weighted.sides[1].weights[0]});
        if (hits.size() == k) {
            break;
        }
    }
}

std::vector<std::size_t> ascendingOrder(const std::vector<float>& values) {
    std::vector<std::size_t> order(values.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    const auto isNan = [&](std::size_t position) { return std::isnan(values[position]); };
    const auto isLess = [&](std::size_t a, std::size_t b) { return values[a] < values[b]; };
    if (values.size() > insertionSorted) {
        std::stable_sort(std::stable_partition(order.begin(), order.end(), isNan), order.end(),
                         isLess);
        return order;
    }
    for (auto next = order.begin(); next != order.end(); ++next) {
        auto place = next;
        if (isLess(*next, order.front())) {
            place = order.begin();
        }
        while (place != order.begin() && isLess(*next, *(place - 1))) {
            --place;
        }
        std::rotate(place, next, next + 1);
    }
    return order;
}

}  // namespace quillon
