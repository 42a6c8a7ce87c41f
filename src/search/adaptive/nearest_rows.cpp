#include "search/adaptive/nearest_rows.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "search/adaptive/row_comparison.h"
#include "shared/in_parallel.h"

namespace quillon {
namespace {

/// The nearest distinct rows of one row among those offered, and some more.
struct NearestSoFar {
    std::vector<Near> near;
    float limit = unreached;  // rows at this distance or farther away are out
};

void keepNearest(NearestSoFar& nearest, std::size_t wanted) {
    std::vector<Near>& near = nearest.near;
    if (near.size() > wanted) {
        const auto last = near.begin() + static_cast<std::ptrdiff_t>(wanted) - 1;
        std::nth_element(near.begin(), last, near.end());
        // A row at the same distance with a lower number may still come.
        nearest.limit = std::nextafter(last->first, unreached);
        near.resize(wanted);
    }
}

void offer(NearestSoFar& nearest, Near other, std::size_t wanted) {
    const std::size_t room = 2 * wanted + 16;
    nearest.near.reserve(room);
    nearest.near.push_back(other);
    if (nearest.near.size() == room) {
        keepNearest(nearest, wanted);
    }
}

/// Offers `others` to the rows of all packs; `nearest` has an entry for each of these, in order.
void compareWith(const StackedSide& side, std::span<const RowPack> packs,
                 std::span<const Row> others, std::size_t wanted,
                 std::vector<NearestSoFar>& nearest) {
    for (std::size_t p = 0; p < packs.size(); ++p) {
        const std::span<NearestSoFar> ofPack(nearest.data() + p * packSize, packs[p].rows.size());
        std::array<float, packSize> limits = noLaneLimits;
        for (std::size_t lane = 0; lane < ofPack.size(); ++lane) {
            limits[lane] = ofPack[lane].limit;
        }
        forEachNear(
            side, packs[p], others, limits, [](std::size_t) { return nothingBelow; },
            [&](std::size_t place, std::size_t lane, float distance) {
                offer(ofPack[lane], {distance, others[place]}, wanted);
                limits[lane] = ofPack[lane].limit;
            });
    }
}

/// The `wanted` nearest of all rows, out of the `wanted` nearest distinct ones.
std::vector<Near> withIdenticalRows(const StackedSide& side, const std::vector<Near>& distinct,
                                    std::size_t wanted) {
    std::vector<Near> all;
    for (const auto& [distance, first] : distinct) {
        std::size_t taken = 0;
        for (Row row = first; row != noRow && taken < wanted; row = side.nextIdentical[row]) {
            all.emplace_back(distance, row);
            ++taken;
        }
    }
    std::sort(all.begin(), all.end());
    all.resize(std::min(all.size(), wanted));
    return all;
}

}  // namespace

std::vector<std::vector<Near>> nearestRows(const StackedSide& side, std::span<const Row> rows,
                                           std::size_t wanted) {
    // So many others stay near the processor while all packs are compared with them.
    constexpr std::size_t othersPerChunk = 64;
    const std::vector<RowPack> packs = packRows(side, rows);
    std::vector<std::vector<NearestSoFar>> ofWorkers(side.workers);
    forEachChunk(side.workers, side.distinct.size(), othersPerChunk,
                 [&](std::size_t worker, std::size_t begin, std::size_t end) {
                     ofWorkers[worker].resize(rows.size());
                     compareWith(side, packs, std::span(side.distinct).subspan(begin, end - begin),
                                 wanted, ofWorkers[worker]);
                 });
    std::vector<std::vector<Near>> nearest(rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        NearestSoFar ofAll;
        for (const std::vector<NearestSoFar>& ofWorker : ofWorkers) {
            if (!ofWorker.empty()) {
                const std::vector<Near>& near = ofWorker[i].near;
                ofAll.near.insert(ofAll.near.end(), near.begin(), near.end());
            }
        }
        keepNearest(ofAll, wanted);
        nearest[i] = withIdenticalRows(side, ofAll.near, wanted);
    }
    return nearest;
}

}  // namespace quillon
