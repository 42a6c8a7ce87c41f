// One side of Adaptive's search: the query's vector as row 0 over the library's rows, and which of
// the rows are identical.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "search/packed_distances.h"
#include "shared/feature_matrix.h"

namespace quillon {

/// A row number: 0 for the query, r + 1 for library row r; below 2^31.
using Row = std::uint32_t;
using Rows = std::vector<Row>;

/// Fills places where there is no row; equal to itself alone.
inline constexpr Row noRow = std::numeric_limits<Row>::max();

/// Refers to the two matrices, which must outlive it. Only read once it is made.
struct StackedSide {
    const FeatureMatrix* query = nullptr;    // 1 × D
    const FeatureMatrix* library = nullptr;  // R × D
    std::size_t rowCount = 0;                // N = R + 1
    std::size_t width = 0;                   // D

    /// Identical rows have equal bits, so they have equal distances to all rows, and equal lists.
    /// Only the first of them is compared with other rows.
    std::vector<Row> firstIdentical;  // N: the lowest of the row's identical rows, or itself
    std::vector<Row> nextIdentical;   // N: the next higher one, noRow behind the last
    Rows distinct;                    // the rows that are the first of theirs, ascending

    /// What changes the time of a search and never its results: how many threads work on the side,
    /// the calling one among them, and how they measure distances.
    std::size_t workers = 1;
    DistanceKernel kernel;
};

/// `query` 1 × D, `library` R × D, R + 1 below 2^31. Reads both once.
StackedSide stackSide(const FeatureMatrix& query, const FeatureMatrix& library, std::size_t workers,
                      const DistanceKernel& kernel);

/// D floats.
const float* vectorOf(const StackedSide& side, Row row);

/// How many rows are identical with `row`, itself included, counted up to `limit`.
std::size_t countIdentical(const StackedSide& side, Row row, std::size_t limit);

}  // namespace quillon
