#include "search/fused_similarity.h"

#include <utility>

#include "search/rank_similarity.h"

namespace quillon {

WeightedSides nothingWeighed(SideRows shapes, SideRows texts) {
    const std::size_t rowCount = shapes.count;
    return {{WeightedSide{nothingListed(std::move(shapes)), std::vector<float>(rowCount)},
             WeightedSide{nothingListed(std::move(texts)), std::vector<float>(rowCount)}},
            std::vector<char>(rowCount, 0)};
}

void fuseSimilarities(WeightedSides& weighted, std::span<const Row> rows, float minWeight) {
    for (WeightedSide& side : weighted.sides) {
        buildNeighbourLists(side.lists, rows);
        measureCurveAreas(side.lists, rows);
    }
    for (const Row row : rows) {
        auto [shapeWeight, textWeight] = curveAreaWeights(
            curveAreaOf(weighted.sides[0].lists, row), curveAreaOf(weighted.sides[1].lists, row));
        if (row == 0) {
            // Written so that NaN gets the floor too.
            if (!(shapeWeight > minWeight)) {
                shapeWeight = minWeight;
            }
            textWeight = 1.0F - shapeWeight;
        }
        weighted.sides[0].weights[row] = shapeWeight;
        weighted.sides[1].weights[row] = textWeight;
        weighted.isWeighed[row] = 1;
    }
}

std::array<float, 2> curveAreaWeights(float shapeArea, float textArea) {
    const float total = shapeArea + textArea;
    return {shapeArea / total, textArea / total};
}

float fusedSimilarity(const WeightedSides& weighted, Row row, Row column) {
    float sum = 0.0F;
    for (const WeightedSide& side : weighted.sides) {
        sum = side.weights[row] * rankSimilarity(side.lists, row, column) + sum;
    }
    return sum;
}

}  // namespace quillon
