// One side of Adaptive's search: the query's vector as row 0, the library's rows after it, and
// which rows are identical.
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

/// Fills places without a row.
inline constexpr Row noRow = std::numeric_limits<Row>::max();

/// Refers to the two matrices, which must outlive it. Not changed after it is made.
struct StackedSide {
    std::size_t rowCount = 0;           // N = R + 1
    std::size_t width = 0;              // D
    std::vector<const float*> vectors;  // N: the D elements of each row

    /// Identical rows have equal bits, so they have equal distances to all rows, and equal lists.
    /// Only the first of them is compared with other rows.
    std::vector<Row> firstIdentical;  // N: the lowest of the row's identical rows, or itself
    std::vector<Row> nextIdentical;   // N: the next higher identical row, or noRow
    Rows distinct;                    // the lowest of identical rows, and all others; ascending
    /// N: for a distinct row the number of rows that are identical with it, itself included.
    std::vector<std::uint32_t> identicalRows;

    /// These change the time of a search, but not its results: the number of threads, the calling
    /// one included, and how they compute distances.
    std::size_t workers = 1;
    DistanceKernel kernel;
};

/// `query` is 1 × D, `library` R × D, R + 1 below 2^31. Uses `workers` threads.
StackedSide stackSide(const FeatureMatrix& query, const FeatureMatrix& library, std::size_t workers,
                      const DistanceKernel& kernel);

}  // namespace quillon
