// The nearest rows of the rows that are asked for, on one side, exactly.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "search/neighbours/side_rows.h"

namespace quillon {

/// Neighbours whose order is compared between rows: the few that are of a kind with a block; and
/// neighbours on a similarity curve: enough to show whether these few stand out from the rest.
/// Fewer in libraries with fewer rows.
inline constexpr std::size_t rankedNeighbours = 5;
inline constexpr std::size_t curveNeighbours = 100;

/// The lists of one side, as far as they have been asked for. Copies share theirs.
///
/// The list of a row: all rows, itself included, in ascending (distance, row number), the first
/// left out unseen, then K of them. Among copies a row may so list itself and miss a copy. Rows
/// whose distance is not below the largest float never enter; `noRow` fills what is left.
struct NeighbourLists {
    SideRows side;
    std::size_t count = 0;  // K = min(N - 1, rankedNeighbours)

    std::vector<Row> listed;     // the first copies whose lists are known
    std::vector<char> isListed;  // N, set for them
    std::vector<Row> labels;     // N × K, filled for them

    /// The first copies that may be on the curve of a listed row: `curveSizes[row]` of
    /// `curveCandidates`, from `curveBegins[row]` on.
    std::vector<std::size_t> curveBegins;   // N
    std::vector<std::uint32_t> curveSizes;  // N
    std::vector<Row> curveCandidates;

    std::vector<float> curveAreas;  // N, negative where not measured
};

/// Knows no lists yet but those of the vectors with a NaN or an infinity, which are near nothing.
NeighbourLists nothingListed(SideRows side);

/// Adds the lists of `rows`. Takes the time of a product of the rows that are new with all rows,
/// and some 30 MB. Runs on all processors.
void buildNeighbourLists(NeighbourLists& lists, std::span<const Row> rows);

/// Adds the curve areas of `rows`, which are listed. Runs on all processors.
void measureCurveAreas(NeighbourLists& lists, std::span<const Row> rows);

/// True when the list of the row, or of one of its copies, is known.
bool isListed(const NeighbourLists& lists, Row row);

/// The list of a listed row: K row numbers, nearest first.
std::span<const Row> listOf(const NeighbourLists& lists, Row row);

/// How far the row's similarity curve rises above its own minimum; negative where not measured.
float curveAreaOf(const NeighbourLists& lists, Row row);

/// Turns ascending squared distances into the falling curve 1 - distance, in place. Nothing is
/// clipped: a distance above 1 gives a negative value.
void neighbourSimilarityCurve(std::span<float> distances);

/// Area under the squared height of the curve above its minimum, by the trapezoid rule with steps
/// of 1, summed in 64-bit floats: 0 below two points.
float curveArea(std::span<const float> curve);

}  // namespace quillon
