#include "search/fused_similarity.h"

#include <utility>

#include "search/rank_similarity.h"

namespace quillon {

FusedSimilarities fuseSimilarities(NeighbourLists shapeLists, NeighbourLists textLists,
                                   float minWeight) {
    auto [shapeWeights, textWeights] =
        curveAreaWeights(shapeLists.curveAreas, textLists.curveAreas);
    // Written so that NaN gets the floor too.
    if (!(shapeWeights[0] > minWeight)) {
        shapeWeights[0] = minWeight;
    }
    textWeights[0] = 1.0F - shapeWeights[0];
    return {{WeightedSide{std::move(shapeLists), std::move(shapeWeights)},
             WeightedSide{std::move(textLists), std::move(textWeights)}}};
}

std::array<std::vector<float>, 2> curveAreaWeights(const std::vector<float>& shapeAreas,
                                                   const std::vector<float>& textAreas) {
    std::array<std::vector<float>, 2> weights{shapeAreas, textAreas};
    for (std::size_t row = 0; row < shapeAreas.size(); ++row) {
        const float total = shapeAreas[row] + textAreas[row];
        weights[0][row] /= total;
        weights[1][row] /= total;
    }
    return weights;
}

float fusedSimilarity(const FusedSimilarities& fused, std::size_t row, std::size_t column) {
    float sum = 0.0F;
    for (const WeightedSide& side : fused.sides) {
        sum = side.weights[row] * rankSimilarity(side.lists, row, column) + sum;
    }
    return sum;
}

}  // namespace quillon
