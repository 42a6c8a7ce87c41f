#include "search/adaptive/best_values.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>

namespace quillon {
namespace {

/// The least of the `wanted` best values; the lowest float where there are fewer.
float valueToReach(std::span<const RowValue> computed, std::size_t wanted) {
    std::vector<float> numbers;
    for (const RowValue& row : computed) {
        if (!std::isnan(row.value)) {
            numbers.push_back(row.value);
        }
    }
    if (wanted == 0 || numbers.size() < wanted) {
        return std::numeric_limits<float>::lowest();
    }
    const auto last = numbers.begin() + static_cast<std::ptrdiff_t>(wanted) - 1;
    std::nth_element(numbers.begin(), last, numbers.end(), std::greater<>());
    return *last;
}

}  // namespace

std::vector<RowValue> bestValues(std::vector<RowValue> bounded, std::size_t wanted,
                                 const ValuesOf& valuesOf) {
    // The values of a few rows take as long as those of two packs.
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

}  // namespace quillon
