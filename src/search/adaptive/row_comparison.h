// Compares packed rows of a side with other rows of it, tile by tile.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <span>
#include <vector>

#include "search/adaptive/stacked_side.h"
#include "search/packed_distances.h"
#include "shared/in_parallel.h"

namespace quillon {

/// No distance that counts is this large: rows at it or farther away, or at a distance that is not
/// a number, are neighbours of nothing.
inline constexpr float unreached = std::numeric_limits<float>::max();

/// Below any distance: the limit of a row that has nothing to ask.
inline constexpr float nothingBelow = std::numeric_limits<float>::lowest();

template <std::size_t count>
constexpr std::array<float, count> filledWith(float value) {
    std::array<float, count> values{};
    values.fill(value);
    return values;
}

/// Limits for lanes that have nothing to ask.
inline constexpr auto noLaneLimits = filledWith<packSize>(nothingBelow);

/// Up to 16 rows of a side, packed.
struct RowPack {
    Rows rows;
    VectorPack vectors;
};

/// `rows` in packs, in their order.
inline std::vector<RowPack> packRows(const StackedSide& side, std::span<const Row> rows) {
    std::vector<RowPack> packs;
    for (std::size_t begin = 0; begin < rows.size(); begin += packSize) {
        const auto ofPack = rows.subspan(begin, std::min(packSize, rows.size() - begin));
        std::vector<const float*> vectors;
        for (const Row row : ofPack) {
            vectors.push_back(vectorOf(side, row));
        }
        packs.push_back({{ofPack.begin(), ofPack.end()}, packVectors(vectors, side.width)});
    }
    return packs;
}

/// Calls `visit(place, lane, distance)` for every pair of `rows[place]` and the pack's row `lane`
/// whose distance is below its limit, the greater one of `laneLimits[lane]` and
/// `rowLimitAt(place)`: place by place, lane by lane. `visit` may lower limits.
template <class RowLimitAt, class Visit>
void forEachNear(const StackedSide& side, const RowPack& pack, std::span<const Row> rows,
                 const std::array<float, packSize>& laneLimits, const RowLimitAt& rowLimitAt,
                 const Visit& visit) {
    alignas(64) std::array<float, packSize> lanes{};
    alignas(64) std::array<std::array<float, packSize>, tileRows> distances{};
    std::array<float, tileRows> limits{};
    std::array<const float*, tileRows> vectors{};
    for (std::size_t begin = 0; begin < rows.size(); begin += tileRows) {
        const std::size_t size = std::min(tileRows, rows.size() - begin);
        lanes = laneLimits;
        for (std::size_t r = 0; r < tileRows; ++r) {
            // Where no row is left, the last one again, about which nothing is asked.
            vectors[r] = vectorOf(side, rows[begin + std::min(r, size - 1)]);
            limits[r] = r < size ? rowLimitAt(begin + r) : nothingBelow;
        }
        side.kernel.measureTile(pack.vectors.front().lanes.data(), side.width, vectors.data(),
                                lanes.data(), limits.data(), distances.front().data());
        for (std::size_t r = 0; r < size; ++r) {
            for (std::size_t lane = 0; lane < pack.rows.size(); ++lane) {
                if (distances[r][lane] < std::max(lanes[lane], limits[r])) {
                    visit(begin + r, lane, distances[r][lane]);
                }
            }
        }
    }
}

/// Compares `rows` with `columns`, which have no limits of their own, on all workers: calls
/// `visit(i, j, distance)` for every pair of `rows[i]` and `columns[j]` whose distance is below
/// `rowLimitAt(i)`, for each row from one thread and in the order of the columns.
template <class RowLimitAt, class Visit>
void compareRows(const StackedSide& side, std::span<const Row> rows, std::span<const Row> columns,
                 const RowLimitAt& rowLimitAt, const Visit& visit) {
    constexpr std::size_t rowsPerChunk = 256;
    const std::vector<RowPack> packs = packRows(side, columns);
    forEachChunk(side.workers, rows.size(), rowsPerChunk,
                 [&](std::size_t, std::size_t begin, std::size_t end) {
                     for (std::size_t p = 0; p < packs.size(); ++p) {
                         forEachNear(
                             side, packs[p], rows.subspan(begin, end - begin), noLaneLimits,
                             [&](std::size_t place) { return rowLimitAt(begin + place); },
                             [&](std::size_t place, std::size_t lane, float distance) {
                                 visit(begin + place, p * packSize + lane, distance);
                             });
                     }
                 });
}

}  // namespace quillon
