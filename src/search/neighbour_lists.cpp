#include "search/neighbour_lists.h"

#include <faiss/IndexFlat.h>
#include <faiss/utils/distances.h>

#include <algorithm>
#include <limits>

namespace quillon {
namespace {

using Label = faiss::Index::idx_t;

/// How many query rows to ask for at once. Whole blocks of the index's own matrix product, and no
/// last batch so short that it would be computed another way: so each distance has the bits that
/// one search for all rows would give it.
std::size_t batchSize(std::size_t remaining) {
    const auto block = static_cast<std::size_t>(faiss::distance_compute_blas_query_bs);
    const auto shortest = static_cast<std::size_t>(faiss::distance_compute_blas_threshold);
    return remaining < block + shortest ? remaining : block;
}

}  // namespace

NeighbourLists buildNeighbourLists(const FeatureMatrix& query, const FeatureMatrix& matrix) {
    const std::size_t width = matrix.shape(1);
    faiss::IndexFlatL2 index(static_cast<Label>(width));
    index.add(1, query.data());
    index.add(static_cast<Label>(matrix.shape(0)), matrix.data());
    const float* stackedRows = index.get_xb();

    NeighbourLists lists;
    lists.rows = matrix.shape(0) + 1;
    lists.count = std::min(lists.rows - 1, rankedNeighbours);
    lists.labels.reserve(lists.rows * lists.count);
    lists.curveAreas.reserve(lists.rows);

    // The ranked neighbours are the first on the curve, so one search serves both.
    const std::size_t curveCount = std::min(lists.rows - 1, curveNeighbours);
    const std::size_t found = curveCount + 1;
    std::vector<float> distances;
    std::vector<Label> labels;
    for (std::size_t first = 0; first < lists.rows;) {
        const std::size_t batch = batchSize(lists.rows - first);
        distances.resize(batch * found);
        labels.resize(batch * found);
        index.search(static_cast<Label>(batch), stackedRows + first * width,
                     static_cast<Label>(found), distances.data(), labels.data());
        for (std::size_t i = 0; i < batch; ++i) {
            const Label* others = labels.data() + i * found + 1;
            for (std::size_t n = 0; n < lists.count; ++n) {
                lists.labels.push_back(static_cast<std::int32_t>(others[n]));
            }
            float* curve = distances.data() + i * found + 1;
            neighbourSimilarityCurve(curve, curveCount);
            lists.curveAreas.push_back(curveArea(curve, curveCount));
        }
        first += batch;
    }
    return lists;
}

void neighbourSimilarityCurve(float* distances, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        distances[i] = 1.0F - distances[i];
    }
}

float curveArea(const float* curve, std::size_t count) {
    float minimum = std::numeric_limits<float>::max();
    for (std::size_t i = 0; i < count; ++i) {
        minimum = std::min(minimum, curve[i]);
    }
    const auto squaredHeight = [&](std::size_t i) {
        const float height = curve[i] - minimum;
        return height * height;
    };
    double area = 0.0;
    for (std::size_t i = 1; i < count; ++i) {
        const float pair = squaredHeight(i) + squaredHeight(i - 1);
        area += double{pair} * 1.0 * 0.5;
    }
    return static_cast<float>(area);
}

}  // namespace quillon
