#include "search/simple.h"

#include <algorithm>

#include "search/query_checks.h"
#include "search/single_side.h"

namespace quillon {

void searchSimple(std::uint32_t k, const FeatureMatrix& queryShape, const FeatureMatrix& queryText,
                  const FeatureMatrix& shapeMatrix, const FeatureMatrix& textMatrix,
                  float minThreshold, std::vector<SearchResult>& hits) {
    // Enough that the texts have something to choose from, few enough to look like the query.
    constexpr std::uint32_t candidatesPerHit = 5;
    // All squared text distances below 1: vectors of length 1 up to 60 degrees apart. "/min" is
    // meant for the shapes.
    constexpr float textThreshold = 0.0F;

    checkQueryWidth(queryShape, shapeMatrix, "shape");
    checkQueryWidth(queryText, textMatrix, "text");
    std::vector<SearchResult> shapeHits;
    searchByShape(candidatesPerHit * k, queryShape, shapeMatrix, minThreshold, shapeHits);

    const std::size_t width = textMatrix.shape(1);
    FeatureMatrix candidateText = FeatureMatrix::from_shape({shapeHits.size(), width});
    for (std::size_t i = 0; i < shapeHits.size(); ++i) {
        const float* row = textMatrix.data() + static_cast<std::size_t>(shapeHits[i].index) * width;
        std::copy(row, row + width, candidateText.data() + i * width);
    }
    std::vector<SearchResult> textHits;
    searchByText(k, queryText, candidateText, textThreshold, textHits);

    for (const SearchResult& hit : textHits) {
        // The position in the shape ranking is looked up as a library row, unmapped: callers rely
        // on lists with this gap. True twins of the query left in the shape search already.
        const auto position = static_cast<std::size_t>(hit.index);
        if (!equalsQuery(shapeMatrix, position, queryShape)) {
            hits.push_back({shapeHits[position].index, shapeHits[position].distOrScore});
        }
    }
}

}  // namespace quillon
