#include "search/single_side.h"

#include <faiss/IndexFlat.h>

#include <algorithm>
#include <stdexcept>
#include <string>

namespace quillon {
namespace {

/// The nearest rows of one query: k distances and labels, label -1 where there are fewer rows.
struct Nearest {
    std::vector<float> distances;
    std::vector<faiss::Index::idx_t> labels;
};

Nearest nearestRows(std::uint32_t k, const FeatureMatrix& query, const FeatureMatrix& matrix) {
    faiss::IndexFlatL2 index(static_cast<faiss::Index::idx_t>(matrix.shape(1)));
    index.add(static_cast<faiss::Index::idx_t>(matrix.shape(0)), matrix.data());
    Nearest nearest{std::vector<float>(k), std::vector<faiss::Index::idx_t>(k)};
    index.search(1, query.data(), k, nearest.distances.data(), nearest.labels.data());
    return nearest;
}

}  // namespace

bool equalsQuery(const FeatureMatrix& matrix, std::size_t row, const FeatureMatrix& query) {
    const std::size_t width = matrix.shape(1);
    const float* values = matrix.data() + row * width;
    return query.shape(1) == width && std::equal(values, values + width, query.data());
}

void checkQueryWidth(const FeatureMatrix& query, const FeatureMatrix& matrix, const char* side) {
    if (query.shape(1) < matrix.shape(1)) {
        throw std::invalid_argument(
            std::string("the query's ") + side + " vector has " + std::to_string(query.shape(1)) +
            " elements, the library's rows have " + std::to_string(matrix.shape(1)));
    }
}

void searchByShape(std::uint32_t k, const FeatureMatrix& queryShape,
                   const FeatureMatrix& shapeMatrix, float minThreshold,
                   std::vector<SearchResult>& hits) {
    checkQueryWidth(queryShape, shapeMatrix, "shape");
    const Nearest nearest = nearestRows(k, queryShape, shapeMatrix);
    const float limit = 1.0F - minThreshold;
    for (std::uint32_t i = 0; i < k; ++i) {
        const auto row = nearest.labels[i];
        // Unfilled positions have the largest finite distance, which an infinite limit admits.
        if (row >= 0 && limit > nearest.distances[i] &&
            !equalsQuery(shapeMatrix, static_cast<std::size_t>(row), queryShape)) {
            hits.push_back({row, nearest.distances[i]});
        }
    }
}

void searchByText(std::uint32_t k, const FeatureMatrix& queryText, const FeatureMatrix& textMatrix,
                  float minThreshold, std::vector<SearchResult>& hits) {
    checkQueryWidth(queryText, textMatrix, "text");
    const Nearest nearest = nearestRows(k, queryText, textMatrix);
    const float limit = 1.0F - minThreshold;
    for (std::uint32_t i = 0; i < k; ++i) {
        if (nearest.labels[i] >= 0 && limit > nearest.distances[i]) {
            hits.push_back({nearest.labels[i], nearest.distances[i]});
        }
    }
}

}  // namespace quillon
