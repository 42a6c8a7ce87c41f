// Tile by tile, every pair below its limit once.
#include "search/adaptive/row_comparison.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <numeric>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "support/plain_neighbours.h"

namespace quillon::test {
namespace {

/// Row r at r on a line: distances are small whole numbers and exact.
std::vector<float> line(std::size_t rowCount) {
    std::vector<float> values(rowCount);
    std::iota(values.begin(), values.end(), 0.0F);
    return values;
}

Rows consecutive(Row first, std::size_t count) {
    Rows rows(count);
    std::iota(rows.begin(), rows.end(), first);
    return rows;
}

float distanceOf(Row a, Row b) {
    const float difference = static_cast<float>(a) - static_cast<float>(b);
    return difference * difference;
}

using Visits = std::vector<std::tuple<std::size_t, std::size_t, float>>;

TEST(ForEachNear, VisitsEveryPairBelowItsLimitInOrder) {
    const NarrowSide narrow(line(60));
    const StackedSide side = sideOf(narrow);
    for (std::size_t packed = 1; packed <= packSize; ++packed) {
        const RowPack pack = packRows(side, consecutive(20, packed)).front();
        for (std::size_t count = 0; count < 19; ++count) {
            SCOPED_TRACE(std::to_string(packed) + " packed, " + std::to_string(count) + " rows");
            const Rows rows = consecutive(17, count);
            const auto rowLimitAt = [](std::size_t place) {
                return place % 3 == 0 ? nothingBelow : static_cast<float>(place * 3);
            };
            std::array<float, packSize> laneLimits = noLaneLimits;
            for (std::size_t lane = 0; lane < packed; lane += 2) {
                laneLimits[lane] = static_cast<float>(lane);
            }
            Visits expected;
            for (std::size_t place = 0; place < count; ++place) {
                for (std::size_t lane = 0; lane < packed; ++lane) {
                    const float distance = distanceOf(rows[place], pack.rows[lane]);
                    if (distance < std::max(laneLimits[lane], rowLimitAt(place))) {
                        expected.emplace_back(place, lane, distance);
                    }
                }
            }
            Visits visits;
            forEachNear(side, pack, rows, laneLimits, rowLimitAt,
                        [&](std::size_t place, std::size_t lane, float distance) {
                            visits.emplace_back(place, lane, distance);
                        });
            EXPECT_EQ(visits, expected);
        }
    }
}

// Once a limit is lowered, the tiles that follow know.
TEST(ForEachNear, LooksAtTheLimitsBeforeEveryTile) {
    const NarrowSide narrow(line(60));
    const StackedSide side = sideOf(narrow);
    const RowPack pack = packRows(side, Rows{30}).front();
    std::array<float, packSize> laneLimits = noLaneLimits;
    laneLimits[0] = unreached;
    std::size_t visited = 0;
    forEachNear(
        side, pack, consecutive(0, 30), laneLimits, [](std::size_t) { return nothingBelow; },
        [&](std::size_t, std::size_t, float) {
            ++visited;
            laneLimits[0] = nothingBelow;
        });
    EXPECT_EQ(visited, tileRows);

    float rowLimit = unreached;
    visited = 0;
    forEachNear(
        side, pack, consecutive(0, 30), noLaneLimits, [&](std::size_t) { return rowLimit; },
        [&](std::size_t, std::size_t, float) {
            ++visited;
            rowLimit = nothingBelow;
        });
    EXPECT_EQ(visited, tileRows);
}

TEST(ForEachNear, LeavesOutDistancesAtTheLargestFloatAndThoseThatAreNoNumbers) {
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    const NarrowSide narrow({0.0F, nan, 1e20F, -3e38F, 1e19F, 2.0F});
    const StackedSide side = sideOf(narrow);
    Rows visited;
    forEachNear(
        side, packRows(side, Rows{0}).front(), consecutive(0, 6), noLaneLimits,
        [](std::size_t) { return unreached; },
        [&](std::size_t place, std::size_t, float) { visited.push_back(static_cast<Row>(place)); });
    EXPECT_EQ(visited, (Rows{0, 4, 5}));
}

// As many rows as several workers share, and columns in several packs.
TEST(CompareRows, VisitsEveryPairBelowItsLimitInTheOrderOfTheColumns) {
    const NarrowSide narrow(line(1500));
    StackedSide side = sideOf(narrow);
    for (const std::size_t workers : {1U, 2U, 7U}) {
        side.workers = workers;
        for (const auto& [rowCount, columnCount] :
             std::vector<std::pair<std::size_t, std::size_t>>{{1500, 1},
                                                              {1500, 40},
                                                              {1, 1500},
                                                              {255, 16},
                                                              {256, 17},
                                                              {257, 15},
                                                              {0, 5},
                                                              {5, 0}}) {
            SCOPED_TRACE(std::to_string(rowCount) + " rows, " + std::to_string(columnCount) +
                         " columns, " + std::to_string(workers) + " workers");
            const Rows rows = consecutive(0, rowCount);
            Rows columns = consecutive(static_cast<Row>(1500 - columnCount), columnCount);
            std::reverse(columns.begin(), columns.end());
            const auto limitAt = [](std::size_t i) {
                return i % 3 == 0 ? nothingBelow : static_cast<float>(i * i);
            };
            using Near = std::vector<std::pair<std::size_t, float>>;
            std::vector<Near> expected(rowCount);
            for (std::size_t i = 0; i < rowCount; ++i) {
                for (std::size_t j = 0; j < columnCount; ++j) {
                    if (distanceOf(rows[i], columns[j]) < limitAt(i)) {
                        expected[i].emplace_back(j, distanceOf(rows[i], columns[j]));
                    }
                }
            }
            std::vector<Near> visited(rowCount);
            compareRows(side, rows, columns, limitAt,
                        [&](std::size_t i, std::size_t j, float distance) {
                            visited[i].emplace_back(j, distance);
                        });
            EXPECT_EQ(visited, expected);
        }
    }
}

TEST(PackRows, PacksSixteenRowsAtATimeInTheirOrder) {
    const NarrowSide narrow(line(60));
    const StackedSide side = sideOf(narrow);
    for (const std::size_t count : {0U, 1U, 15U, 16U, 17U, 32U, 33U}) {
        const Rows rows = consecutive(3, count);
        const std::vector<RowPack> packs = packRows(side, rows);
        Rows packed;
        for (const RowPack& pack : packs) {
            EXPECT_EQ(pack.rows.size(), std::min(packSize, count - packed.size())) << count;
            ASSERT_EQ(pack.vectors.size(), 3U);
            for (std::size_t lane = 0; lane < pack.rows.size(); ++lane) {
                EXPECT_EQ(pack.vectors[0].lanes[lane], static_cast<float>(pack.rows[lane]));
            }
            packed.insert(packed.end(), pack.rows.begin(), pack.rows.end());
        }
        EXPECT_EQ(packed, rows);
    }
}

}  // namespace
}  // namespace quillon::test
