// The best of many values that are expensive to compute and cheap to bound.
#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <vector>

#include "search/adaptive/stacked_side.h"

namespace quillon {

/// A row and its value, or an upper bound on it.
struct RowValue {
    Row row = 0;
    float value = 0.0F;
};

/// Computes the values of some rows, in their order.
using ValuesOf = std::function<std::vector<float>(std::span<const Row>)>;

/// The values of the `wanted` best of the rows in `bounded`, and of some more: computed from the
/// highest bound down, until no bound reaches the `wanted` best values found; of all rows for
/// `wanted` = 0. Values that are not a number are never among the best.
std::vector<RowValue> bestValues(std::vector<RowValue> bounded, std::size_t wanted,
                                 const ValuesOf& valuesOf);

}  // namespace quillon
