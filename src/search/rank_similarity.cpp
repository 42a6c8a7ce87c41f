#include "search/rank_similarity.h"

#include <algorithm>
#include <numeric>

namespace quillon {

float rankListDistance(const std::int32_t* a, const std::int32_t* b, std::size_t count) {
    // Small whole numbers: their sum is exact in any order and width.
    std::size_t sum = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const auto position = static_cast<std::size_t>(std::find(b, b + count, a[i]) - b);
        if (position == count) {
            sum += 2 * count - i - 1;
        } else {
            sum += position > i ? position - i : i - position;
        }
    }
    const std::size_t disjointSum = count * (count - 1) / 2 + count * count;
    return static_cast<float>(sum) / static_cast<float>(disjointSum);
}

float rankSimilarity(const NeighbourLists& lists, std::size_t a, std::size_t b) {
    if (a == b) {
        return 1.0F;
    }
    const float toA = rankListDistance(lists.list(b), lists.list(a), lists.count);
    const float toB = rankListDistance(lists.list(a), lists.list(b), lists.count);
    return 1.0F - (toA + toB) * 0.5F;
}

ListedBy invertLists(const NeighbourLists& lists) {
    // Counting sort by element. Counted two slots on, the sums become each slot's begin one slot
    // on; filling moves them to its end, which is the next slot's begin.
    ListedBy inverted;
    inverted.begins.assign(lists.rows + 3, 0);
    for (const std::int32_t element : lists.labels) {
        ++inverted.begins[slotOf(element) + 2];
    }
    std::partial_sum(inverted.begins.begin(), inverted.begins.end(), inverted.begins.begin());
    inverted.rows.resize(lists.labels.size());
    for (std::size_t row = 0; row < lists.rows; ++row) {
        for (std::size_t n = 0; n < lists.count; ++n) {
            std::size_t& place = inverted.begins[slotOf(lists.list(row)[n]) + 1];
            inverted.rows[place++] = static_cast<std::int32_t>(row);
        }
    }
    return inverted;
}

}  // namespace quillon
