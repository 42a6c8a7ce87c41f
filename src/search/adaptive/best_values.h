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

/// Returns the values of the given rows, in their order.
using ValuesOf = std::function<std::vector<float>(std::span<const Row>)>;

/// Returns the values of the `wanted` best rows in `bounded` and of some others, in no order; of
/// all rows for `wanted` = 0. Computes values from the highest bound down, until all other bounds
/// are below the `wanted` best values. NaN is never among the best.
std::vector<RowValue> bestValues(std::vector<RowValue> bounded, std::size_t wanted,
                                 const ValuesOf& valuesOf);

/// Returns the k rows after the one with the largest value, which is taken for the query itself:
/// best first, among equal values the higher row first, but never the last of all rows. `queryRow`
/// has the fused similarities of the query to other rows; rows that are not in it have the value 0.
Rows bestNeighbours(std::span<const RowValue> queryRow, std::uint32_t k, std::size_t rowCount);

}  // namespace quillon
