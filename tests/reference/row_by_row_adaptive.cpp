#include "reference/row_by_row_adaptive.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <xtensor/xbuilder.hpp>
#include <xtensor/xmath.hpp>
#include <xtensor/xview.hpp>

#include "reference/dense_adaptive.h"

namespace quillon::reference {
namespace {

/// One side's matrix by columns, the query in row 0. Columns of zeros alone, which add nothing to
/// any distance, are left out.
std::vector<std::vector<float>> stackedColumns(const FeatureMatrix& query,
                                               const FeatureMatrix& matrix) {
    std::vector<std::vector<float>> columns;
    for (std::size_t c = 0; c < query.shape(1); ++c) {
        std::vector<float> column{query(0, c)};
        for (std::size_t row = 0; row < matrix.shape(0); ++row) {
            column.push_back(matrix(row, c));
        }
        if (std::any_of(column.begin(), column.end(), [](float value) { return value != 0.0F; })) {
            columns.push_back(std::move(column));
        }
    }
    return columns;
}

/// To each row the sum of squared differences, column by column.
std::vector<float> distancesOf(const std::vector<std::vector<float>>& columns, std::size_t row,
                               std::size_t rowCount) {
    std::vector<float> distances(rowCount, 0.0F);
    for (const std::vector<float>& column : columns) {
        const float own = column[row];
        for (std::size_t other = 0; other < rowCount; ++other) {
            const float difference = own - column[other];
            distances[other] += difference * difference;
        }
    }
    return distances;
}

/// As `buildNeighbourLists` of the dense form, for the curves.
DenseLists nearestOf(const std::vector<std::vector<float>>& columns, std::size_t rowCount) {
    constexpr float largest = std::numeric_limits<float>::max();
    const std::size_t count = std::min<std::size_t>(rowCount - 1, 100);
    DenseLists lists{Labels::from_shape({rowCount, count}), Floats::from_shape({rowCount, count})};
    for (std::size_t row = 0; row < rowCount; ++row) {
        const std::vector<float> distances = distancesOf(columns, row, rowCount);
        std::vector<std::pair<float, std::int64_t>> near;
        for (std::size_t other = 0; other < rowCount; ++other) {
            if (distances[other] < largest) {
                near.emplace_back(distances[other], static_cast<std::int64_t>(other));
            }
        }
        near.resize(std::max(near.size(), count + 1), {largest, -1});
        const auto end = near.begin() + static_cast<std::ptrdiff_t>(count) + 1;
        std::partial_sort(near.begin(), end, near.end());
        for (std::size_t n = 0; n < count; ++n) {
            lists.distances(row, n) = near[n + 1].first;
            lists.labels(row, n) = near[n + 1].second;
        }
    }
    return lists;
}

struct Side {
    Labels labels;   // N × 5: the lists that rank similarities compare
    Floats weights;  // 1 × N
};

/// One value of `fuseSimilarities`.
float fusedSimilarity(const std::vector<Side>& sides, std::size_t row, std::size_t column) {
    const auto a = static_cast<std::int32_t>(row);
    const auto b = static_cast<std::int32_t>(column);
    float fused = 0.0F;
    for (const Side& side : sides) {
        const float similarity = row == column ? 1.0F
                                               : 1.0F - (rankListDistance(side.labels, b, a) +
                                                         rankListDistance(side.labels, a, b)) *
                                                            0.5F;
        fused = side.weights(0, row) * similarity + fused;
    }
    return fused;
}

std::vector<Side> weighedSides(const FeatureMatrix& queryShape, const FeatureMatrix& queryText,
                               const FeatureMatrix& shapeMatrix, const FeatureMatrix& textMatrix) {
    const std::size_t rowCount = shapeMatrix.shape(0) + 1;
    std::vector<Side> sides;
    std::vector<Floats> curves;
    for (const auto& [query, matrix] :
         {std::pair(&queryShape, &shapeMatrix), std::pair(&queryText, &textMatrix)}) {
        const DenseLists nearest = nearestOf(stackedColumns(*query, *matrix), rowCount);
        curves.emplace_back(1 - nearest.distances);
        sides.push_back({xt::view(nearest.labels, xt::all(), xt::range(0, 5)), {}});
    }
    const std::vector<Floats> weights = curveAreaWeights(curves);
    for (std::size_t s = 0; s < sides.size(); ++s) {
        sides[s].weights = weights[s];
    }
    float& shapeWeight = sides[0].weights(0, 0);
    shapeWeight = shapeWeight > 0.4F ? shapeWeight : 0.4F;
    sides[1].weights(0, 0) = 1.0F - shapeWeight;
    return sides;
}

}  // namespace

std::vector<SearchResult> searchAdaptiveRowByRow(std::uint32_t k, const FeatureMatrix& queryShape,
                                                 const FeatureMatrix& queryText,
                                                 const FeatureMatrix& shapeMatrix,
                                                 const FeatureMatrix& textMatrix,
                                                 float minThreshold) {
    const std::vector<Side> sides = weighedSides(queryShape, queryText, shapeMatrix, textMatrix);
    const std::size_t rowCount = shapeMatrix.shape(0) + 1;
    Floats queryRow = Floats::from_shape({1, rowCount});
    for (std::size_t column = 0; column < rowCount; ++column) {
        queryRow(0, column) = fusedSimilarity(sides, 0, column);
    }
    // Behind the last, which is taken to be the query's own, k of them, but never the first.
    std::vector<std::int64_t> ranks = insertionSorted(queryRow, 0);
    std::reverse(ranks.begin(), ranks.end());
    const std::vector<std::int64_t> neighbours(
        ranks.begin() + 1,
        ranks.begin() + 1 + static_cast<std::ptrdiff_t>(std::min<std::size_t>(k, rowCount - 2)));

    Floats refined = Floats::from_shape({1, rowCount});
    for (std::size_t row = 0; row < rowCount; ++row) {
        float sum = 0.0F;
        for (const std::int64_t neighbour : neighbours) {
            sum += fusedSimilarity(sides, row, static_cast<std::size_t>(neighbour));
        }
        refined(0, row) = (queryRow(0, row) + sum) / static_cast<float>(k + 1);
    }
    std::vector<std::int64_t> rankedColumns = insertionSorted(refined, 0);
    std::reverse(rankedColumns.begin(), rankedColumns.end());

    std::vector<SearchResult> hits;
    for (const std::int64_t column : rankedColumns) {
        const auto row = static_cast<std::size_t>(column);
        if (row == 0 ||
            std::equal(queryShape.begin(), queryShape.end(), &shapeMatrix(row - 1, 0))) {
            continue;
        }
        const float score = refined(0, row);
        if (!(score >= minThreshold)) {
            break;
        }
        hits.push_back({column - 1, score, sides[0].weights(0, 0), sides[1].weights(0, 0)});
        if (hits.size() == k) {
            break;
        }
    }
    return hits;
}

}  // namespace quillon::reference
