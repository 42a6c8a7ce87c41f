// The self-join of Adaptive: for the query and every library row, on one side, the nearest other
// rows. Rows are counted with the query as row 0 and library row r as row r + 1.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "shared/feature_matrix.h"

namespace quillon {

/// Neighbours whose order is compared between rows, and neighbours on a similarity curve; fewer in
/// libraries with fewer rows.
inline constexpr std::size_t rankedNeighbours = 5;
inline constexpr std::size_t curveNeighbours = 100;

struct NeighbourLists {
    std::size_t rows = 0;   // N, the query included
    std::size_t count = 0;  // K = min(N - 1, rankedNeighbours)
    /// N × K row numbers, nearest first, equal distances in ascending row order; -1 where a NaN or
    /// an overflow left a position unfilled. The nearest row of all is taken to be the row itself
    /// and left out, unseen: among exact twins a row may list itself and miss a twin.
    std::vector<std::int32_t> labels;
    /// N: how far each row's similarity curve rises above its own minimum, see `curveArea`.
    std::vector<float> curveAreas;

    const std::int32_t* list(std::size_t row) const { return labels.data() + row * count; }
};

/// Joins row 0 of `query` (1 × D) and all rows of `matrix` (R × D) with themselves, N = R + 1 below
/// 2^31. Peak memory: one index copy of the rows and the answers to one batch of query rows. Runs
/// on the calling thread and the index's own. Throws the index's and the allocator's exceptions.
NeighbourLists buildNeighbourLists(const FeatureMatrix& query, const FeatureMatrix& matrix);

/// Turns ascending squared distances into the falling curve 1 - distance, in place. Nothing is
/// clipped: a distance above 1 gives a negative value.
void neighbourSimilarityCurve(float* distances, std::size_t count);

/// Area under the squared height of the curve above its minimum, by the trapezoid rule with steps
/// of 1, summed in 64-bit floats: 0 below two points.
float curveArea(const float* curve, std::size_t count);

}  // namespace quillon
