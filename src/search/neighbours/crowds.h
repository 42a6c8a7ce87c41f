// How near a row has company: proposed distances within which so many rows lie that no row farther
// away is on its list.
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <vector>

#include "search/neighbours/neighbour_lists.h"

namespace quillon {

/// A row does not list what so many rows, itself included, are nearer to it than: the first of them
/// is left out of its list, the others fill it.
inline constexpr std::size_t crowdSize = rankedNeighbours + 1;

/// The lowest proposals that a row has met, as many as other rows complete its crowd. Its copies
/// are in it from the start.
struct Crowd {
    std::size_t others = 0;
    std::array<float, crowdSize> nearest{};  // `others` of them, ascending; infinite where unknown

    /// The proposal of the crowd's last row; 0 where copies are crowd enough.
    float reach() const { return others == 0 ? 0.0F : nearest[others - 1]; }
};

Crowd crowdOfCopies(const SideRows& side, Row row);

/// Takes in the nearest of the rows proposed, none of which is the row itself, a copy or in the
/// crowd already.
void join(Crowd& crowd, std::span<const float> proposals);

/// N: for each distinct row the reach of a crowd found in its neighbourhood. Infinite for rows too
/// long for proposals.
///
/// The rows are split by the nearest of a few of them, again and again, until few are left, which
/// are all held against each other. That takes about 250 proposals a row whatever their number. It
/// need not find the nearest rows, only near ones.
std::vector<float> reachesOfNeighbourhoods(const SideRows& side);

}  // namespace quillon
