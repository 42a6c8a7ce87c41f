#include "search/adaptive/ranked_order.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace quillon {

std::vector<std::size_t> ascendingOrder(const std::vector<float>& values) {
    std::vector<std::size_t> order(values.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    const auto isNan = [&](std::size_t position) { return std::isnan(values[position]); };
    const auto isLess = [&](std::size_t a, std::size_t b) { return values[a] < values[b]; };
    if (values.size() > insertionSorted) {
        std::stable_sort(std::stable_partition(order.begin(), order.end(), isNan), order.end(),
                         isLess);
        return order;
    }
    for (auto next = order.begin(); next != order.end(); ++next) {
        auto place = next;
        if (isLess(*next, order.front())) {
            place = order.begin();
        }
        while (place != order.begin() && isLess(*next, *(place - 1))) {
            --place;
        }
        std::rotate(place, next, next + 1);
    }
    return order;
}

}  // namespace quillon
