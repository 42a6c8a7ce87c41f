#include "search/adaptive/reverse_neighbours.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "search/adaptive/listed_rows.h"
#include "search/adaptive/row_comparison.h"

namespace quillon {
namespace {

/// If so many rows, the row itself included, are nearer to a row than x, then x is not in its list:
/// the first of them is left out, the others fill the list.
constexpr std::size_t boundingRows = rankedNeighbours + 1;

/// A row and the lowest of its distances to the rows that it has been compared with, ascending.
struct BoundedRow {
    Row row = 0;
    float nearestElement = unreached;  // of those asked about
    float bound = unreached;           // known before
    std::array<float, boundingRows> lowest = filledWith<boundingRows>(unreached);

    float neighbourBound() const { return std::min(bound, lowest.back()); }
};

/// Every `step`-th of `rows`, from `first` on.
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

/// Lowers the bounds by the rows of `sample`, which have not been compared with any.
void compareWithSample(const StackedSide& side, const Rows& sample,
                       std::vector<BoundedRow>& bounded) {
    compareRows(
        side, rowsOf(bounded), sample, [&](std::size_t i) { return bounded[i].neighbourBound(); },
        [&](std::size_t i, std::size_t j, float distance) {
            auto& [row, nearestElement, bound, lowest] = bounded[i];
            // Identical rows are as near to the row as itself.
            std::size_t times = row == sample[j] ? countIdentical(side, row, boundingRows) : 1;
            for (; times > 0 && distance < lowest.back(); --times) {
                lowest.back() = distance;
                std::rotate(std::upper_bound(lowest.begin(), lowest.end() - 1, distance),
                            lowest.end() - 1, lowest.end());
            }
        });
}

/// The distance below which a row at `bound` is still of interest.
float justAbove(float bound) {
    return std::nextafter(bound, unreached);
}

/// The rows that their bounds leave in. Gaps are as far as a row can be.
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
    // To compare with more rows takes longer than to make the lists that it would save: measured on
    // 20,000 and 100,000 clustered and unclustered rows, half and twice as many cost 10 % more.
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
        // Those halfway between the ones compared so far: samples double and share no row.
        narrowBy(sampleOf(all, step / 2, step));
    }
}

/// The elements within the candidates' bounds.
std::vector<ReverseNeighbour> withElements(const StackedSide& side,
                                           std::span<const BoundedRow> candidates,
                                           std::span<const Row> elements, bool asksForGaps) {
    std::vector<ReverseNeighbour> neighbours;
    for (const BoundedRow& candidate : candidates) {
        neighbours.push_back({candidate.row, {}});
    }
    compareRows(
        side, rowsOf(candidates), elements,
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

}  // namespace

std::vector<float> neighbourBounds(const StackedSide& side) {
    constexpr std::size_t sampleRows = 64;
    std::vector<BoundedRow> bounded;
    for (const Row row : side.distinct) {
        bounded.push_back({row});
    }
    compareWithSample(side, sampleOf(side.distinct, 0, bounded.size() / sampleRows + 1), bounded);
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
