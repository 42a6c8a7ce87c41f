#include "search/neighbours/nearest_candidates.h"

#include <algorithm>

#include "search/squared_distances.h"

namespace quillon {
namespace {

/// Puts the one distances in the place of the proposals, and sorts by them.
void settle(const SideRows& side, NearestCandidates& candidates) {
    std::vector<Near>& near = candidates.near;
    forEachDistance(
        vectorOf(side, candidates.row), side.width, near.size(),
        [&](std::size_t i) { return vectorOf(side, near[i].second); },
        [&](std::size_t i, float distance) { near[i].first = distance; });
    std::sort(near.begin(), near.end());
}

}  // namespace

NearestCandidates candidatesFor(const SideRows& side, Row row, std::size_t wanted) {
    return {row, wanted, boundsOf(side.squaredLengths[row], side.width), unreached, {}};
}

void offer(const SideRows& side, NearestCandidates& candidates, Near other) {
    std::vector<Near>& near = candidates.near;
    const std::size_t room = 2 * candidates.wanted + 16;
    if (near.empty()) {
        near.reserve(std::min(room, side.distinct.size()));
    }
    near.push_back(other);
    if (near.size() < room) {
        return;
    }
    dropFarther(candidates);
    if (near.size() > room / 4 * 3) {
        // More than the proposals can tell apart. The one distances can.
        settle(side, candidates);
        near.resize(candidates.wanted);
        candidates.limit = surelyFartherFrom(near.back().first, candidates.bounds);
    }
}

void offerAll(const SideRows& side, NearestCandidates& candidates) {
    candidates.near.clear();
    candidates.limit = unreached;
    forEachDistance(
        vectorOf(side, candidates.row), side.width, side.distinct.size(),
        [&](std::size_t i) { return vectorOf(side, side.distinct[i]); },
        [&](std::size_t i, float distance) {
            if (distance < candidates.limit) {
                offer(side, candidates, {distance, side.distinct[i]});
            }
        });
}

void dropFarther(NearestCandidates& candidates) {
    std::vector<Near>& near = candidates.near;
    if (near.size() <= candidates.wanted) {
        return;
    }
    const auto last = near.begin() + static_cast<std::ptrdiff_t>(candidates.wanted) - 1;
    std::nth_element(near.begin(), last, near.end(),
                     [](const Near& a, const Near& b) { return a.first < b.first; });
    const float limit = surelyFartherFrom(last->first, candidates.bounds);
    near.erase(
        std::remove_if(last, near.end(), [&](const Near& other) { return !(other.first < limit); }),
        near.end());
    candidates.limit = std::min(candidates.limit, limit);
}

bool areComplete(const SideRows& side, const NearestCandidates& candidates) {
    return candidates.near.size() == side.distinct.size() ||
           (candidates.near.size() >= candidates.wanted && candidates.limit < farthestOrdinary);
}

std::vector<Near> nearestRows(const SideRows& side, NearestCandidates candidates) {
    dropFarther(candidates);
    settle(side, candidates);
    std::vector<Near> rows;
    for (const auto& [distance, first] : candidates.near) {
        std::size_t copies = 0;
        for (Row copy = first; distance < unreached && copy != noRow && copies < candidates.wanted;
             copy = side.nextCopy[copy]) {
            rows.emplace_back(distance, copy);
            ++copies;
        }
    }
    std::sort(rows.begin(), rows.end());
    rows.resize(std::min(rows.size(), candidates.wanted));
    return rows;
}

}  // namespace quillon
