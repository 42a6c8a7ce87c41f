#include "search/adaptive/reverse_neighbours.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "search/adaptive/listed_rows.h"
#include "search/adaptive/row_comparison.h"

namespace quillon {
namespace {

/// If so many rows, itself included, are nearer to a row than x, then x is not in its list: the
/// first of them is left out, and the others fill the list.
constexpr std::size_t boundingRows = rankedNeighbours + 1;

/// A row and the lowest of its distances to the rows compared with it so far, ascending.
struct BoundedRow {
    Row row = 0;
    float nearestElement = unreached;  // distance to the nearest given element
    float bound = unreached;           // the row's neighbour bound
    std::array<float, boundingRows> lowest = filledWith<boundingRows>(unreached);

    float neighbourBound() const { return std::min(bound, lowest.back()); }
};

/// Returns every `step`-th of `rows`, from `first` on.
Rows sampleOf(std::span<const Row> rows, std::size_t first, std::size_t step) {
    Rows sample;
    for (std::size_t i = first; i < rows.size(); i += step) {
        sample.push_back(rows[i]);
    }
    return sample;
}

Rows rowsOf(std::span<const BoundedRow> bounded) {
    Rows rows(bounded.size());
    std::transform(bounded.begin(), bounded.end(), rows.begin(),
                   [](const BoundedRow& row) { return row.row; });
    return rows;
}

/// Lowers the bounds by the rows of `sample`, each of which may be used only once.
void compareWithSample(const StackedSide& side, const Rows& sample, std::span<BoundedRow> bounded) {
    const Rows rows = rowsOf(bounded);
    compareRows(
        side, rows, sample, [&](std::size_t i) { return bounded[i].neighbourBound(); },
        [&](std::size_t i, std::size_t j, float distance) {
            auto& [row, nearestElement, bound, lowest] = bounded[i];
            // Identical rows are as near to the row as the row itself.
            std::size_t times = row == sample[j] ? side.identicalRows[row] : 1;
            for (; times > 0 && distance < lowest.back(); --times) {
                lowest.back() = distance;
                std::rotate(std::upper_bound(lowest.begin(), lowest.end() - 1, distance),
                            lowest.end() - 1, lowest.end());
            }
        });
}

/// The limit that lets a row at the distance `bound` pass.
float justAbove(float bound) {
    return std::nextafter(bound, unreached);
}

/// The rows that their bounds do not rule out. A gap counts as farther away than every row.
std::vector<BoundedRow> firstCandidates(const StackedSide& side, std::span<const float> bounds,
                                        std::span<const Row> elements, bool asksForGaps) {
    std::vector<float> nearest(side.distinct.size(), unreached);
    compareRows(
        side, side.distinct, elements,
        [&](std::size_t i) { return std::min(nearest[i], justAbove(bounds[side.distinct[i]])); },
        [&](std::size_t i, std::size_t, float distance) {
            nearest[i] = std::min(nearest[i], distance);
        });
    std::vector<BoundedRow> candidates;
    for (std::size_t i = 0; i < nearest.size(); ++i) {
        const Row row = side.distinct[i];
        if (nearest[i] < unreached || (asksForGaps && bounds[row] == unreached)) {
            candidates.push_back({row, nearest[i], bounds[row]});
        }
    }
    return candidates;
}

void compareWithEachOther(const StackedSide& side, std::vector<BoundedRow>& candidates) {
    constexpr std::size_t firstSample = 128;
    // Larger samples take longer than making the lists that they save. Measured on 20,000 and
    // 100,000 clustered and unclustered rows: half and twice this size take 10 % longer.
    const std::size_t largestSample = std::max<std::size_t>(512, side.rowCount / 64);
    const auto narrowBy = [&](const Rows& sample) {
        compareWithSample(side, sample, candidates);
        std::erase_if(candidates, [](const BoundedRow& candidate) {
            return candidate.neighbourBound() < candidate.nearestElement;
        });
    };
    const Rows all = rowsOf(candidates);
    std::size_t step = 1;
    while (all.size() / step > firstSample) {
        step *= 2;
    }
    narrowBy(sampleOf(all, 0, step));
    for (; step > 1 && all.size() / step <= largestSample; step /= 2) {
        // The rows halfway between those of earlier samples: samples double and have no common row.
        narrowBy(sampleOf(all, step / 2, step));
    }
}

/// The candidates with the elements within their bounds.
std::vector<ReverseNeighbour> withElements(const StackedSide& side,
                                           std::span<const BoundedRow> candidates,
                                           std::span<const Row> elements, bool asksForGaps) {
    const Rows rows = rowsOf(candidates);
    std::vector<ReverseNeighbour> neighbours;
    for (const Row row : rows) {
        neighbours.push_back({row, {}});
    }
    compareRows(
        side, rows, elements,
        [&](std::size_t i) { return justAbove(candidates[i].neighbourBound()); },
        [&](std::size_t i, std::size_t j, float) {
            neighbours[i].elements.push_back(elements[j]);
        });
    for (std::size_t i = 0; asksForGaps && i < neighbours.size(); ++i) {
        if (candidates[i].neighbourBound() == unreached) {
            neighbours[i].elements.push_back(noRow);
        }
    }
    return neighbours;
}

/// By row: its distances to some rows spread over the side.
using PivotDistances = std::vector<std::array<float, packSize>>;

PivotDistances pivotDistances(const StackedSide& side) {
    PivotDistances distances(side.rowCount, filledWith<packSize>(unreached));
    const Rows pivots = sampleOf(side.distinct, 0, side.distinct.size() / packSize + 1);
    compareRows(
        side, side.distinct, pivots, [](std::size_t) { return unreached; },
        [&](std::size_t i, std::size_t pivot, float distance) {
            distances[side.distinct[i]][pivot] = distance;
        });
    return distances;
}

/// Appends groups of rows that are near each other: halves by the distance to one pivot, halves of
/// these by the distance to the next one, and so on.
void splitIntoGroups(std::span<BoundedRow> rows, const PivotDistances& distances, std::size_t pivot,
                     std::vector<std::span<BoundedRow>>& groups) {
    constexpr std::size_t largestGroup = 128;
    if (rows.size() <= largestGroup) {
        groups.push_back(rows);
        return;
    }
    const auto middle = rows.begin() + static_cast<std::ptrdiff_t>(rows.size() / 2);
    std::nth_element(rows.begin(), middle, rows.end(),
                     [&](const BoundedRow& a, const BoundedRow& b) {
                         return distances[a.row][pivot] < distances[b.row][pivot];
                     });
    for (const std::span half : {std::span(rows.begin(), middle), std::span(middle, rows.end())}) {
        splitIntoGroups(half, distances, (pivot + 1) % packSize, groups);
    }
}

}  // namespace

std::vector<float> neighbourBounds(const StackedSide& side) {
    std::vector<BoundedRow> bounded;
    for (const Row row : side.distinct) {
        bounded.push_back({row});
    }
    std::vector<std::span<BoundedRow>> groups;
    splitIntoGroups(bounded, pivotDistances(side), 0, groups);
    forEachChunk(side.workers, groups.size(), 1, [&](std::size_t, std::size_t i, std::size_t) {
        compareWithSample(side, rowsOf(groups[i]), groups[i]);
    });
    std::vector<float> bounds(side.rowCount, unreached);
    for (const BoundedRow& row : bounded) {
        bounds[row.row] = row.neighbourBound();
    }
    return bounds;
}

std::vector<ReverseNeighbour> reverseNeighbourCandidates(const StackedSide& side,
                                                         std::span<const float> bounds,
                                                         std::span<const Row> elements) {
    const bool asksForGaps = !elements.empty() && elements.back() == noRow;
    const std::span<const Row> rows = elements.first(elements.size() - (asksForGaps ? 1 : 0));
    std::vector<BoundedRow> candidates = firstCandidates(side, bounds, rows, asksForGaps);
    compareWithEachOther(side, candidates);
    return withElements(side, candidates, rows, asksForGaps);
}

}  // namespace quillon
