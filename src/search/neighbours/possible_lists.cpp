#include "search/neighbours/possible_lists.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <utility>

#include "search/neighbours/crowds.h"
#include "search/neighbours/distance_bounds.h"
#include "search/neighbours/proposed_distances.h"

namespace quillon {
namespace {

constexpr float infinity = std::numeric_limits<float>::infinity();

using Rows = std::vector<Row>;

/// A row that may list an element, and the crowd that it has met among its like.
struct Survivor {
    Row row;
    float limit;  // see `crowdLimit`, for the nearest element
    Crowd crowd;
};

/// A crowd that reaches below this keeps an element with this proposal off the row's list. However
/// far the element is, the crowd has to be one that proposals can speak of.
float crowdLimit(const SideRows& side, Row row, float proposal) {
    const float squaredLength = side.squaredLengths[row];
    if (!isOrdinary(squaredLength)) {
        return -infinity;
    }
    return std::min(surelyNearerBelow(proposal, boundsOf(squaredLength, side.width)),
                    farthestOrdinary);
}

std::vector<float> nearestProposals(const SideRows& side, std::span<const Row> elements) {
    std::vector<float> nearest(side.count, infinity);
    forEachBlock(side, side.distinct, elements, [&](const ProposedBlock& block) {
        for (std::size_t i = 0; i < block.rows.size(); ++i) {
            for (const float proposal : block.of(i)) {
                nearest[block.rows[i]] = std::min(nearest[block.rows[i]], proposal);
            }
        }
    });
    return nearest;
}

/// The rows that the crowds of their neighbourhoods leave in.
std::vector<Survivor> firstSurvivors(const NeighbourLists& lists, std::span<const float> reaches,
                                     std::span<const Row> elements) {
    const std::vector<float> nearest = nearestProposals(lists.side, elements);
    std::vector<Survivor> survivors;
    for (const Row row : lists.side.distinct) {
        if (!isListed(lists, row)) {
            const float limit = crowdLimit(lists.side, row, nearest[row]);
            if (!(reaches[row] < limit)) {
                survivors.push_back({row, limit, crowdOfCopies(lists.side, row)});
            }
        }
    }
    return survivors;
}

Rows rowsOf(const std::vector<Survivor>& survivors) {
    Rows rows;
    rows.reserve(survivors.size());
    for (const Survivor& survivor : survivors) {
        rows.push_back(survivor.row);
    }
    return rows;
}

/// Holds the survivors against `sample`, ascending, and drops those that have their crowd by then.
void meet(const SideRows& side, std::span<const Row> sample, std::vector<Survivor>& survivors) {
    forEachBlock(side, rowsOf(survivors), sample, [&](const ProposedBlock& block) {
        for (std::size_t i = 0; i < block.rows.size(); ++i) {
            const std::span<float> proposals = block.of(i);
            const auto own =
                std::lower_bound(block.columns.begin(), block.columns.end(), block.rows[i]);
            if (own != block.columns.end() && *own == block.rows[i]) {
                proposals[static_cast<std::size_t>(own - block.columns.begin())] = infinity;
            }
            join(survivors[block.firstRow + i].crowd, proposals);
        }
    });
    std::erase_if(survivors,
                  [](const Survivor& survivor) { return survivor.crowd.reach() < survivor.limit; });
}

Rows everyNth(const Rows& rows, std::size_t first, std::size_t step) {
    Rows chosen;
    for (std::size_t i = first; i < rows.size(); i += step) {
        chosen.push_back(rows[i]);
    }
    return chosen;
}

void meetEachOther(const SideRows& side, std::vector<Survivor>& survivors) {
    constexpr std::size_t firstSample = 256;
    const Rows all = rowsOf(survivors);
    std::size_t step = 1;
    while (all.size() / step > firstSample) {
        step *= 2;
    }
    meet(side, everyNth(all, 0, step), survivors);
    for (; step > 1; step /= 2) {
        // Those halfway between the ones met so far: the samples double and share no row.
        meet(side, everyNth(all, step / 2, step), survivors);
    }
}

}  // namespace

std::vector<PossibleList> possibleLists(const NeighbourLists& lists, std::span<const float> reaches,
                                        std::span<const Row> elements) {
    const SideRows& side = lists.side;
    if (lists.listed.size() == side.distinct.size()) {
        return {};
    }
    std::vector<Survivor> survivors = firstSurvivors(lists, reaches, elements);
    meetEachOther(side, survivors);

    std::vector<PossibleList> possible;
    for (const Survivor& survivor : survivors) {
        const float reach = std::min(reaches[survivor.row], survivor.crowd.reach());
        possible.push_back({survivor.row, {}, !(reach < farthestOrdinary)});
    }
    forEachBlock(side, rowsOf(survivors), elements, [&](const ProposedBlock& block) {
        for (std::size_t i = 0; i < block.rows.size(); ++i) {
            const Row row = block.rows[i];
            const float reach = std::min(reaches[row], survivors[block.firstRow + i].crowd.reach());
            for (std::size_t j = 0; j < block.columns.size(); ++j) {
                if (!(reach < crowdLimit(side, row, block.of(i)[j]))) {
                    possible[block.firstRow + i].elements.push_back(block.columns[j]);
                }
            }
        }
    });
    return possible;
}

}  // namespace quillon
