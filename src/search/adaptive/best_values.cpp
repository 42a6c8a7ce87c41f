#include "search/adaptive/best_values.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <numeric>

namespace quillon {
namespace {

/// The lowest of the `wanted` best values; the lowest float if there are fewer.
float valueToReach(std::span<const RowValue> computed, std::size_t wanted) {
    constexpr float lowest = std::numeric_limits<float>::lowest();
    if (wanted == 0 || computed.size() < wanted) {
        return lowest;
    }
    std::vector<float> values;
    for (const RowValue& row : computed) {
        values.push_back(std::isnan(row.value) ? lowest : row.value);
    }
    const auto last = values.begin() + static_cast<std::ptrdiff_t>(wanted) - 1;
    std::nth_element(values.begin(), last, values.end(), std::greater<>());
    return *last;
}

}  // namespace

std::vector<RowValue> bestValues(std::vector<RowValue> bounded, std::size_t wanted,
                                 const ValuesOf& valuesOf) {
    // The values of fewer rows take as long as those of two full packs.
    std::size_t batchRows = std::max<std::size_t>(32, 2 * wanted);
    std::sort(bounded.begin(), bounded.end(),
              [](const RowValue& a, const RowValue& b) { return a.value > b.value; });
    std::vector<RowValue> computed;
    for (std::size_t next = 0; next < bounded.size(); batchRows *= 2) {
        const float toReach = valueToReach(computed, wanted);
        const std::size_t end = std::min(next + batchRows, bounded.size());
        Rows batch;
        for (; next < end && bounded[next].value >= toReach; ++next) {
            batch.push_back(bounded[next].row);
        }
        if (batch.empty()) {
            break;
        }
        const std::vector<float> values = valuesOf(batch);
        for (std::size_t i = 0; i < batch.size(); ++i) {
            computed.push_back({batch[i], values[i]});
        }
    }
    return computed;
}

Rows bestNeighbours(std::span<const RowValue> queryRow, std::uint32_t k, std::size_t rowCount) {
    std::vector<float> values(rowCount, 0.0F);
    for (const RowValue& similarity : queryRow) {
        values[similarity.row] = similarity.value;
    }
    Rows rows(rowCount);
    std::iota(rows.begin(), rows.end(), 0);
    const std::size_t wanted = std::min(std::size_t{k} + 1, rowCount - 1);
    const auto end = rows.begin() + static_cast<std::ptrdiff_t>(wanted);
    std::partial_sort(rows.begin(), end, rows.end(), [&](Row a, Row b) {
        return values[a] != values[b] ? values[a] > values[b] : a > b;
    });
    return {std::min(rows.begin() + 1, end), end};
}

}  // namespace quillon
