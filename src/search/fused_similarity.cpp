#include "search/fused_similarity.h"

#include <utility>

#include "search/rank_similarity.h"

namespace quillon {

FusedSimilarities nothingFused(SideRows shapes, SideRows texts) {
    const std::size_t rows = shapes.count;
    return {{WeightedSide{nothingListed(std::move(shapes)), std::vector<float>(rows)},
             WeightedSide{nothingListed(std::move(texts)), std::vector<float>(rows)}},
            std::vector<char>(rows, 0)};
}

void fuseSimilarities(FusedSimilarities& fused, std::span<const Row> rows, float minWeight) {
    for (WeightedSide& side : fused.sides) {
        buildNeighbourLists(side.lists, rows);
        measureCurveAreas(side.lists, rows);
    }
    for (const Row row : rows) {
        auto [shapeWeight, textWeight] = curveAreaWeights(curveAreaOf(fused.sides[0].lists, row),
                                                          curveAreaOf(fused.sides[1].lists, row));
        if (row == 0) {
            // Written so that NaN gets the floor too.
            if (!(shapeWeight > minWeight)) {
                shapeWeight = minWeight;
            }
            textWeight = 1.0F - shapeWeight;
        }
        fused.sides[0].weights[row] = shapeWeight;
        fused.sides[1].weights[row] = textWeight;
        fused.isWeighed[row] = 1;
    }
}

std::array<float, 2> curveAreaWeights(float shapeArea, float textArea) {
    const float total = shapeArea + textArea;
    return {shapeArea / total, textArea / total};
}

float fusedSimilarity(const FusedSimilarities& fused, Row row, Row column) {
    float sum = 0.0F;
    for (const WeightedSide& side : fused.sides) {
        sum = side.weights[row] * rankSimilarity(side.lists, row, column) + sum;
    }
    return sum;
}

}  // namespace quillon
