#include "search/adaptive/ranked_order.h"

#include <algorithm>
#include <numeric>

namespace quillon {

std::vector<std::size_t> ascendingOrder(const std::vector<float>& values) {
    std::vector<std::size_t> order(values.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    const auto isLess = [&](std::size_t a, std::size_t b) { return values[a] < values[b]; };
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
