#include "search/neighbours/neighbour_lists.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "search/neighbours/nearest_candidates.h"
#include "search/neighbours/proposed_distances.h"
#include "shared/in_parallel.h"

namespace quillon {
namespace {

// As long as a thread takes to start, and longer.
constexpr std::size_t listsWorthAThread = 256;
constexpr std::size_t areasWorthAThread = 16;

/// How many nearest rows a curve needs, the one that is left out included.
std::size_t curveRows(const NeighbourLists& lists) {
    return std::min(lists.side.count, curveNeighbours + 1);
}

/// The candidates for the curves, and so for the lists, of `rows`.
std::vector<NearestCandidates> findCandidates(const SideRows& side, std::span<const Row> rows,
                                              std::size_t wanted) {
    std::vector<NearestCandidates> all;
    all.reserve(rows.size());
    for (const Row row : rows) {
        all.push_back(candidatesFor(side, row, wanted));
    }
    // Side by side, for the comparison of many at once.
    std::vector<float> limits(rows.size(), unreached);
    forEachBlock(side, side.distinct, rows, [&](const ProposedBlock& block) {
        for (std::size_t i = 0; i < block.rows.size(); ++i) {
            const std::span<const float> proposals = block.of(i);
            forEachBelow(
                proposals, [&](std::size_t j) { return limits[j]; },
                [&](std::size_t j) {
                    offer(side, all[j], {proposals[j], block.rows[i]});
                    limits[j] = all[j].limit;
                });
        }
    });
    inParallel(all.size(), listsWorthAThread, [&](std::size_t begin, std::size_t end) {
        for (std::size_t j = begin; j < end; ++j) {
            dropFarther(all[j]);
            if (!isOrdinary(side.squaredLengths[all[j].row]) || !areComplete(side, all[j])) {
                offerAll(side, all[j]);
            }
        }
    });
    return all;
}

void addList(NeighbourLists& lists, const NearestCandidates& candidates,
             std::span<const Near> nearest) {
    const Row row = candidates.row;
    lists.isListed[row] = 1;
    lists.listed.push_back(row);
    lists.curveBegins[row] = lists.curveCandidates.size();
    lists.curveSizes[row] = static_cast<std::uint32_t>(candidates.near.size());
    for (const Near& other : candidates.near) {
        lists.curveCandidates.push_back(other.second);
    }
    for (std::size_t n = 1; n < nearest.size(); ++n) {
        lists.labels[row * lists.count + n - 1] = nearest[n].second;
    }
}

std::vector<Row> firstCopies(const SideRows& side, std::span<const Row> rows) {
    std::vector<Row> first;
    first.reserve(rows.size());
    for (const Row row : rows) {
        first.push_back(side.firstCopy[row]);
    }
    std::sort(first.begin(), first.end());
    first.erase(std::unique(first.begin(), first.end()), first.end());
    return first;
}

float measuredArea(const NeighbourLists& lists, Row row) {
    NearestCandidates candidates = candidatesFor(lists.side, row, curveRows(lists));
    candidates.near.reserve(lists.curveSizes[row]);
    for (std::size_t i = 0; i < lists.curveSizes[row]; ++i) {
        candidates.near.emplace_back(0.0F, lists.curveCandidates[lists.curveBegins[row] + i]);
    }
    const std::vector<Near> nearest = nearestRows(lists.side, std::move(candidates));
    std::vector<float> curve(curveRows(lists) - 1, unreached);
    for (std::size_t n = 1; n < nearest.size(); ++n) {
        curve[n - 1] = nearest[n].first;
    }
    neighbourSimilarityCurve(curve);
    return curveArea(curve);
}

}  // namespace

NeighbourLists nothingListed(SideRows side) {
    NeighbourLists lists;
    const std::size_t rowCount = side.count;
    lists.side = std::move(side);
    lists.count = std::min(rowCount - 1, rankedNeighbours);
    lists.isListed.assign(rowCount, 0);
    lists.labels.assign(rowCount * lists.count, noRow);
    lists.curveBegins.assign(rowCount, 0);
    lists.curveSizes.assign(rowCount, 0);
    lists.curveAreas.assign(rowCount, -1.0F);
    for (const Row row : lists.side.distinct) {
        if (!isOrdinary(lists.side.squaredLengths[row]) &&
            !(squaredDistance(lists.side, row, row) < unreached)) {
            addList(lists, candidatesFor(lists.side, row, 0), {});
        }
    }
    return lists;
}

void buildNeighbourLists(NeighbourLists& lists, std::span<const Row> rows) {
    constexpr std::size_t batchRows = 1024;
    std::vector<Row> missing = firstCopies(lists.side, rows);
    std::erase_if(missing, [&](Row row) { return isListed(lists, row); });
    for (std::size_t begin = 0; begin < missing.size(); begin += batchRows) {
        const std::span<const Row> batch = std::span<const Row>(missing).subspan(
            begin, std::min(batchRows, missing.size() - begin));
        const std::vector<NearestCandidates> all =
            findCandidates(lists.side, batch, curveRows(lists));
        std::vector<std::vector<Near>> nearest(all.size());
        inParallel(all.size(), listsWorthAThread, [&](std::size_t first, std::size_t end) {
            for (std::size_t i = first; i < end; ++i) {
                NearestCandidates candidates = all[i];
                candidates.wanted = lists.count + 1;
                nearest[i] = nearestRows(lists.side, std::move(candidates));
            }
        });
        for (std::size_t i = 0; i < all.size(); ++i) {
            addList(lists, all[i], nearest[i]);
        }
    }
}

void measureCurveAreas(NeighbourLists& lists, std::span<const Row> rows) {
    std::vector<Row> missing = firstCopies(lists.side, rows);
    std::erase_if(missing, [&](Row row) { return lists.curveAreas[row] >= 0.0F; });
    inParallel(missing.size(), areasWorthAThread, [&](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end; ++i) {
            lists.curveAreas[missing[i]] = measuredArea(lists, missing[i]);
        }
    });
}

bool isListed(const NeighbourLists& lists, Row row) {
    return lists.isListed[lists.side.firstCopy[row]] != 0;
}

std::span<const Row> listOf(const NeighbourLists& lists, Row row) {
    const Row first = lists.side.firstCopy[row];
    return {lists.labels.data() + first * lists.count, lists.count};
}

float curveAreaOf(const NeighbourLists& lists, Row row) {
    return lists.curveAreas[lists.side.firstCopy[row]];
}

void neighbourSimilarityCurve(std::span<float> distances) {
    for (float& distance : distances) {
        distance = 1.0F - distance;
    }
}

float curveArea(std::span<const float> curve) {
    float minimum = std::numeric_limits<float>::max();
    for (const float similarity : curve) {
        minimum = std::min(minimum, similarity);
    }
    const auto squaredHeight = [&](std::size_t i) {
        const float height = curve[i] - minimum;
        return height * height;
    };
    double area = 0.0;
    for (std::size_t i = 1; i < curve.size(); ++i) {
        const float pair = squaredHeight(i) + squaredHeight(i - 1);
        area += double{pair} * 0.5;
    }
    return static_cast<float>(area);
}

}  // namespace quillon
