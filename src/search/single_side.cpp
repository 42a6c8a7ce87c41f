#include "search/single_side.h"

#include <algorithm>
#include <limits>
#include <span>
#include <stdexcept>
#include <utility>
#include <vector>

#include "search/query_checks.h"
#include "search/squared_distances.h"
#include "shared/in_parallel.h"

namespace quillon {
namespace {

/// Callers compare this text, which is that of faiss 1.7.3 for k = 0.
constexpr const char* zeroHitsFailure =
    "Error in virtual void faiss::IndexFlat::search(faiss::Index::idx_t, const float*, "
    "faiss::Index::idx_t, float*, faiss::Index::idx_t*, const faiss::SearchParameters*) const at "
    "./faiss/IndexFlat.cpp:33: Error: 'k > 0' failed";

std::vector<float> distancesOfRows(const FeatureMatrix& query, const FeatureMatrix& matrix,
                                   const char* side) {
    checkQueryWidth(query, matrix, side);
    const std::size_t width = matrix.shape(1);
    std::vector<float> distances(matrix.shape(0));
    constexpr std::size_t rowsPerChunk = 1024;  // a fraction of a millisecond
    forEachChunk(processorCount(), distances.size(), rowsPerChunk,
                 [&](std::size_t, std::size_t begin, std::size_t end) {
                     forEachDistance(
                         query.data(), width, end - begin,
                         [&](std::size_t i) { return matrix.data() + (begin + i) * width; },
                         [&](std::size_t i, float distance) { distances[begin + i] = distance; });
                 });
    return distances;
}

void appendNearest(std::uint32_t k, const FeatureMatrix& query, const FeatureMatrix& matrix,
                   const char* side, float minThreshold, bool reportTwins,
                   std::vector<SearchResult>& hits) {
    const std::vector<float> distances = distancesOfRows(query, matrix, side);
    if (k == 0) {
        throw std::runtime_error(zeroHitsFailure);
    }
    const float limit = 1.0F - minThreshold;
    std::vector<std::pair<float, std::size_t>> near;  // ordered by distance and row
    for (std::size_t row = 0; row < distances.size(); ++row) {
        if (distances[row] < limit && distances[row] < std::numeric_limits<float>::max()) {
            near.emplace_back(distances[row], row);
        }
    }
    const std::size_t count = std::min<std::size_t>(k, near.size());
    const auto end = near.begin() + static_cast<std::ptrdiff_t>(count);
    std::partial_sort(near.begin(), end, near.end());
    for (const auto& [distance, row] : std::span(near).first(count)) {
        if (reportTwins || !equalsQuery(matrix, row, query)) {
            hits.push_back({static_cast<std::int64_t>(row), distance});
        }
    }
}

}  // namespace

void searchByShape(std::uint32_t k, const FeatureMatrix& queryShape,
                   const FeatureMatrix& shapeMatrix, float minThreshold,
                   std::vector<SearchResult>& hits) {
    appendNearest(k, queryShape, shapeMatrix, "shape", minThreshold, false, hits);
}

void searchByText(std::uint32_t k, const FeatureMatrix& queryText, const FeatureMatrix& textMatrix,
                  float minThreshold, std::vector<SearchResult>& hits) {
    appendNearest(k, queryText, textMatrix, "text", minThreshold, true, hits);
}

}  // namespace quillon
