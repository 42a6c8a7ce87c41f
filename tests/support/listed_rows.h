// Neighbour lists written down instead of found, for tests of what is made of them.
#pragma once

#include <algorithm>
#include <array>
#include <vector>

#include "search/adaptive/listed_rows.h"

namespace quillon::test {

/// At most five labels.
inline NeighbourList listOf(const std::vector<Row>& labels, float curveArea = 1.0F) {
    NeighbourList list;
    list.labels.fill(noRow);
    std::copy(labels.begin(), labels.end(), list.labels.begin());
    list.count = static_cast<std::uint32_t>(labels.size());
    list.curveArea = curveArea;
    return list;
}

inline ListedRow listedRow(Row row, const std::vector<Row>& shapes, const std::vector<Row>& texts,
                           const std::array<float, 2>& weights) {
    return {row, {listOf(shapes), listOf(texts)}, weights};
}

inline std::vector<Row> labelsOf(const NeighbourList& list) {
    return {list.rows().begin(), list.rows().end()};
}

}  // namespace quillon::test
