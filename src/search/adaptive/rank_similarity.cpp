#include "search/adaptive/rank_similarity.h"

#include <algorithm>

namespace quillon {
namespace {

/// What an element at `position` adds if the other list lacks it.
std::size_t penaltyAt(std::size_t position, std::size_t count) {
    return 2 * count - position - 1;
}

/// Divides `sum` by the sum of two disjoint lists.
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
    std::size_t sum = 0;
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

float rankSimilarityBound(const NeighbourList& list, std::span<const Row> elements) {
    const auto isCommon = [&](Row element) {
        return std::binary_search(elements.begin(), elements.end(), element);
    };
    if (isCommon(noRow) && list.rows().back() == noRow) {
        return 1.0F;  // one gap matches all others
    }
    // At best the common elements are in the same places.
    std::size_t sum = 0;
    for (std::size_t i = 0; i < list.count; ++i) {
        sum += isCommon(list.labels[i]) ? 0 : penaltyAt(i, list.count);
    }
    return similarityFrom(normalised(sum, list.count), normalised(sum, list.count));
}

float fuse(const std::array<float, 2>& weights, const std::array<float, 2>& similarities) {
    float sum = 0.0F;
    for (std::size_t s = 0; s < weights.size(); ++s) {
        sum = weights[s] * similarities[s] + sum;
    }
    return sum;
}

float fusedSimilarity(const ListedRow& row, const ListedRow& column) {
    if (row.row == column.row) {
        return fuse(row.weights, {1.0F, 1.0F});
    }
    return fuse(row.weights, {rankSimilarity(row.lists[0], column.lists[0]),
                              rankSimilarity(row.lists[1], column.lists[1])});
}

}  // namespace quillon
