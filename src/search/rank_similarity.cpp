#include "search/rank_similarity.h"

#include <algorithm>
#include <cstddef>

namespace quillon {
namespace {

/// What an element at `position` adds when the other list lacks it.
std::size_t penaltyAt(std::size_t position, std::size_t count) {
    return 2 * count - position - 1;
}

/// A sum of small whole numbers, exact in any order and width, by that of two disjoint lists.
float normalised(std::size_t sum, std::size_t count) {
    const std::size_t disjointSum = count * (count - 1) / 2 + count * count;
    return static_cast<float>(sum) / static_cast<float>(disjointSum);
}

float similarityFrom(float oneDistance, float otherDistance) {
    return 1.0F - (oneDistance + otherDistance) * 0.5F;
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

float rankSimilarity(const NeighbourLists& lists, Row a, Row b) {
    if (a == b) {
        return 1.0F;
    }
    if (!isListed(lists, a) || !isListed(lists, b)) {
        return 0.0F;
    }
    return similarityFrom(rankListDistance(listOf(lists, b), listOf(lists, a)),
                          rankListDistance(listOf(lists, a), listOf(lists, b)));
}

float mostRankSimilarity(std::span<const Row> list, std::span<const Row> shared) {
    const std::size_t count = list.size();
    std::size_t common = 0;
    std::size_t fromList = 0;
    for (std::size_t i = 0; i < count; ++i) {
        if (std::binary_search(shared.begin(), shared.end(), list[i])) {
            ++common;  // at best in the same place
        } else {
            fromList += penaltyAt(i, count);
        }
    }
    // The other list is nearest when the elements that this one lacks are its last.
    std::size_t toList = 0;
    for (std::size_t i = common; i < count; ++i) {
        toList += penaltyAt(i, count);
    }
    return similarityFrom(normalised(fromList, count), normalised(toList, count));
}

}  // namespace quillon
