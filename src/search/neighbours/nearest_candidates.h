// Of the rows that come along, those that may be among the nearest of one row.
#pragma once

#include <cstddef>
#include <limits>
#include <utility>
#include <vector>

#include "search/neighbours/distance_bounds.h"
#include "search/neighbours/side_rows.h"

namespace quillon {

/// A squared distance, proposed or the one, and the first copy that has it.
using Near = std::pair<float, Row>;

/// Where no row is.
inline constexpr float unreached = std::numeric_limits<float>::max();

/// Holds every first copy offered so far that may be among the `wanted` nearest of `row`, and some
/// more. Each takes one place whatever its copies, so that `wanted` of them hold at least the
/// `wanted` nearest rows.
struct NearestCandidates {
    Row row = 0;
    std::size_t wanted = 0;
    DistanceBounds bounds{};
    float limit = unreached;  // what is not proposed below is out
    std::vector<Near> near;
};

NearestCandidates candidatesFor(const SideRows& side, Row row, std::size_t wanted);

/// Takes in a row that is proposed below the limit.
void offer(const SideRows& side, NearestCandidates& candidates, Near other);

/// Offers all rows by their one distances: for rows too long for proposals.
void offerAll(const SideRows& side, NearestCandidates& candidates);

/// Drops what is farther, beyond doubt, than the `wanted` nearest, and lowers the limit to that.
void dropFarther(NearestCandidates& candidates);

/// True when nothing can be missing, once all rows have been proposed.
bool areComplete(const SideRows& side, const NearestCandidates& candidates);

/// The `wanted` nearest rows by (one distance, row number), each copy for itself; fewer where fewer
/// are at any distance below the largest float.
std::vector<Near> nearestRows(const SideRows& side, NearestCandidates candidates);

}  // namespace quillon
