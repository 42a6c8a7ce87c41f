// Neighbour lists written down instead of found, for tests of what is made of them.
#pragma once

#include <numeric>
#include <utility>
#include <vector>

#include "search/fused_similarity.h"

namespace quillon::test {

/// Row r has the list `lists[r]`, and the curve area `areas[r]` where areas are given. No row has a
/// copy, and none a vector.
inline NeighbourLists listsOf(const std::vector<std::vector<Row>>& lists,
                              const std::vector<float>& areas = {}) {
    const std::size_t rowCount = lists.size();
    SideRows side;
    side.count = rowCount;
    side.distinct.resize(rowCount);
    std::iota(side.distinct.begin(), side.distinct.end(), 0);
    side.firstCopy = side.distinct;
    side.nextCopy.assign(rowCount, noRow);
    side.squaredLengths.assign(rowCount, 1.0F);
    NeighbourLists listed = nothingListed(std::move(side));
    listed.count = lists[0].size();
    listed.listed = listed.side.distinct;
    listed.isListed.assign(rowCount, 1);
    listed.labels.clear();
    for (const std::vector<Row>& list : lists) {
        listed.labels.insert(listed.labels.end(), list.begin(), list.end());
    }
    if (!areas.empty()) {
        listed.curveAreas = areas;
    }
    return listed;
}

inline WeightedSides weightedOf(NeighbourLists shapes, NeighbourLists texts) {
    const std::size_t rowCount = shapes.side.count;
    return {{WeightedSide{std::move(shapes), std::vector<float>(rowCount)},
             WeightedSide{std::move(texts), std::vector<float>(rowCount)}},
            std::vector<char>(rowCount, 0)};
}

}  // namespace quillon::test
