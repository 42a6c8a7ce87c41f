#include "search/single_side.h"

#include <faiss/IndexFlat.h>
#include <faiss/impl/ResultHandler.h>
#include <faiss/utils/distances.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

#include "search/squared_distances.h"
#include "shared/in_parallel.h"

namespace quillon {
namespace {

using Label = faiss::Index::idx_t;

/// The nearest rows of one query: k distances and labels, label -1 where there are fewer rows.
struct Nearest {
    std::vector<float> distances;
    std::vector<Label> labels;
};

std::vector<float> distancesOfRows(const FeatureMatrix& query, const FeatureMatrix& matrix) {
    const std::size_t width = matrix.shape(1);
    std::vector<float> distances(matrix.shape(0));
    constexpr std::size_t leastRows = 2000;  // a millisecond's work, many times a thread's start
    inParallel(distances.size(), leastRows, [&](std::size_t begin, std::size_t end) {
        forEachDistance(
            query.data(), width, end - begin,
            [&](std::size_t i) { return matrix.data() + (begin + i) * width; },
            [&](std::size_t i, float distance) { distances[begin + i] = distance; });
    });
    return distances;
}

/// What the index does with its rows for one query: the rows are offered in their order, whoever
/// measured them. In the index it runs in a parallel region, where memory that is refused ends the
/// process.
template <class Handler>
void offerRows(Handler handler, const std::vector<float>& distances) {
    typename Handler::SingleResultHandler result(handler);
    result.begin(0);
    for (std::size_t row = 0; row < distances.size(); ++row) {
        result.add_result(distances[row], static_cast<Label>(row));
    }
    result.end();
}

Nearest nearestRows(std::uint32_t k, const FeatureMatrix& query, const FeatureMatrix& matrix) {
    using Order = faiss::CMax<float, Label>;
    Nearest nearest{std::vector<float>(k), std::vector<Label>(k)};
    float* distances = nearest.distances.data();
    Label* labels = nearest.labels.data();
    if (k == 0) {
        // Refused in the index's own words.
        faiss::IndexFlatL2(static_cast<Label>(matrix.shape(1)))
            .search(1, query.data(), 0, distances, labels);
        return nearest;
    }
    const std::vector<float> ofRows = distancesOfRows(query, matrix);
    if (k < static_cast<std::uint32_t>(faiss::distance_compute_min_k_reservoir)) {
        offerRows(faiss::HeapResultHandler<Order>(1, distances, labels, k), ofRows);
    } else {
        offerRows(faiss::ReservoirResultHandler<Order>(1, distances, labels, k), ofRows);
    }
    return nearest;
}

/// Rows equal to the query.
enum class Twins { reported, leftOut };

void appendNearest(std::uint32_t k, const FeatureMatrix& query, const FeatureMatrix& matrix,
                   float minThreshold, Twins twins, std::vector<SearchResult>& hits) {
    const Nearest nearest = nearestRows(k, query, matrix);
    const float limit = 1.0F - minThreshold;
    for (std::uint32_t i = 0; i < k; ++i) {
        const Label row = nearest.labels[i];
        // Unfilled positions have the largest finite distance, which an infinite limit admits.
        if (row >= 0 && limit > nearest.distances[i] &&
            (twins == Twins::reported ||
             !equalsQuery(matrix, static_cast<std::size_t>(row), query))) {
            hits.push_back({row, nearest.distances[i]});
        }
    }
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
    appendNearest(k, queryShape, shapeMatrix, minThreshold, Twins::leftOut, hits);
}

void searchByText(std::uint32_t k, const FeatureMatrix& queryText, const FeatureMatrix& textMatrix,
                  float minThreshold, std::vector<SearchResult>& hits) {
    checkQueryWidth(queryText, textMatrix, "text");
    appendNearest(k, queryText, textMatrix, minThreshold, Twins::reported, hits);
}

}  // namespace quillon
