#include "search/neighbours/crowds.h"

#include <algorithm>
#include <limits>

#include "search/neighbours/distance_bounds.h"
#include "search/neighbours/proposed_distances.h"

namespace quillon {
namespace {

constexpr float infinity = std::numeric_limits<float>::infinity();

// The fewer, the fewer neighbours a row meets; the more, the more every row costs.
constexpr std::size_t mostCentres = 128;
constexpr std::size_t smallNeighbourhood = 256;
/// What a split leaves in a neighbourhood at least, on average.
constexpr std::size_t rowsPerCentre = 64;

using Rows = std::vector<Row>;

void lowerReach(const SideRows& side, Row row, std::span<const float> proposals,
                std::vector<float>& reaches) {
    Crowd crowd = crowdOfCopies(side, row);
    join(crowd, proposals);
    reaches[row] = std::min(reaches[row], crowd.reach());
}

/// Holds all rows against each other.
void meet(const SideRows& side, std::span<const Row> rows, std::vector<float>& reaches) {
    forEachBlock(side, rows, rows, [&](const ProposedBlock& block) {
        for (std::size_t i = 0; i < block.rows.size(); ++i) {
            block.of(i)[block.firstRow + i] = infinity;
            lowerReach(side, block.rows[i], block.of(i), reaches);
        }
    });
}

/// `count` rows evenly spread over `rows`.
Rows spread(std::span<const Row> rows, std::size_t count) {
    Rows chosen;
    for (std::size_t i = 0; i < count; ++i) {
        chosen.push_back(rows[i * rows.size() / count]);
    }
    return chosen;
}

/// The rows by the centre that is nearest to them, after they have met the centres.
std::vector<Rows> splitByCentres(const SideRows& side, std::span<const Row> rows,
                                 std::vector<float>& reaches) {
    const Rows centres = spread(rows, std::min(mostCentres, rows.size() / rowsPerCentre));
    std::vector<Rows> neighbourhoods(centres.size());
    std::size_t centresPassed = 0;
    forEachBlock(side, rows, centres, [&](const ProposedBlock& block) {
        for (std::size_t i = 0; i < block.rows.size(); ++i) {
            const Row row = block.rows[i];
            const std::span<float> proposals = block.of(i);
            const auto nearest = std::min_element(proposals.begin(), proposals.end());
            neighbourhoods[static_cast<std::size_t>(nearest - proposals.begin())].push_back(row);
            if (centresPassed < centres.size() && centres[centresPassed] == row) {
                proposals[centresPassed] = infinity;
                ++centresPassed;
            }
            lowerReach(side, row, proposals, reaches);
        }
    });
    return neighbourhoods;
}

void meetNeighbours(const SideRows& side, std::span<const Row> rows, std::vector<float>& reaches) {
    if (rows.size() <= smallNeighbourhood) {
        meet(side, rows, reaches);
        return;
    }
    for (const Rows& neighbourhood : splitByCentres(side, rows, reaches)) {
        if (neighbourhood.size() <= rows.size() / 2) {
            meetNeighbours(side, neighbourhood, reaches);
            continue;
        }
        // As near to one centre as to the other: another split would not part them either.
        const std::span<const Row> all(neighbourhood);
        for (std::size_t begin = 0; begin < all.size(); begin += smallNeighbourhood) {
            meet(side, all.subspan(begin, std::min(smallNeighbourhood, all.size() - begin)),
                 reaches);
        }
    }
}

}  // namespace

Crowd crowdOfCopies(const SideRows& side, Row row) {
    Crowd crowd;
    crowd.others = crowdSize - countCopies(side, row, crowdSize);
    crowd.nearest.fill(infinity);
    return crowd;
}

void join(Crowd& crowd, std::span<const float> proposals) {
    if (crowd.others == 0) {
        return;
    }
    forEachBelow(
        proposals, [&](std::size_t) { return crowd.reach(); },
        [&](std::size_t i) {
            std::size_t place = crowd.others - 1;
            for (; place > 0 && proposals[i] < crowd.nearest[place - 1]; --place) {
                crowd.nearest[place] = crowd.nearest[place - 1];
            }
            crowd.nearest[place] = proposals[i];
        });
}

std::vector<float> reachesOfNeighbourhoods(const SideRows& side) {
    std::vector<float> reaches(side.count, infinity);
    Rows ordinary;
    for (const Row row : side.distinct) {
        if (isOrdinary(side.squaredLengths[row])) {
            ordinary.push_back(row);
        }
    }
    meetNeighbours(side, ordinary, reaches);
    return reaches;
}

}  // namespace quillon
