#include "search/adaptive/rank_similarity.h"

#include <algorithm>

namespace quillon {
namespace {

/// What an element at `position` adds when the other list lacks it.
std::size_t penaltyAt(std::size_t position, std::size_t count) {
    return 2 * count - position - 1;
}

/// `sum` as a part of what two disjoint lists add up to.
float normalised(std::size_t sum, std::size_t count) {
    const std::size_t disjointSum = count * (count - 1) / 2 + count * count;
    return static_cast<float>(sum) / static_cast<float>(disjointSum);
}

float similarityFrom(float distance, float otherDistance) {
    return 1.0F - (distance + otherDistance) * 0.5F;
}

}  // namespace

float rankListDistance(std::span<const Row> a, std::span<const Row> b) {
    const std::size_t count = a.size();
    std::size_t sum = 0;  // of small whole numbers: exact in any order
    for (std::size_t i = 0; i < count; ++i) {
        const auto position =
            static_cast<std::size_t>(std::find(b.begin(), b.end(), a[i]) - b.begin());
        if (position == count) {
            sum += penaltyAt(i, count);
        } else {
            sum += position > i ? position - i : i - position;
        }
    }
    return normalised(sum, count);
}

float rankSimilarity(const NeighbourList& a, const NeighbourList& b) {
    return similarityFrom(rankListDistance(b.rows(), a.rows()),
                          rankListDistance(a.rows(), b.rows()));
}

float rankSimilarityBound(std::size_t common, std::size_t count) {
    // At best the common elements are in the same places, and the others are the last ones.
    std::size_t sum = 0;
    for (std::size_t i = common; i < count; ++i) {
        sum += penaltyAt(i, count);
    }
    return similarityFrom(normalised(sum, count), normalised(sum, count));
}

float fusedSimilarity(const ListedRow& row, const ListedRow& column) {
    float sum = 0.0F;
    for (std::size_t s = 0; s < row.lists.size(); ++s) {
        const float similarity =
            row.row == column.row ? 1.0F : rankSimilarity(row.lists[s], column.lists[s]);
        sum = row.weights[s] * similarity + sum;
    }
    return sum;
}

}  // namespace quillon
