// One side of Adaptive's search: the query's vector as row 0 over the library's rows, which of the
// rows are copies of each other, and the one distance of two rows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "shared/feature_matrix.h"

namespace quillon {

/// A row number: 0 for the query, r + 1 for library row r; below 2^31.
using Row = std::uint32_t;

/// Stands where there is no row; equal to itself alone.
inline constexpr Row noRow = std::numeric_limits<Row>::max();

/// Refers to the two matrices, which must outlive it.
struct SideRows {
    const FeatureMatrix* query = nullptr;    // 1 × D
    const FeatureMatrix* library = nullptr;  // R × D
    std::size_t count = 0;                   // N = R + 1
    std::size_t width = 0;                   // D

    /// Rows of equal bits are copies of each other. They have the same distances to all rows, so
    /// what is found out for the first of them holds for all.
    std::vector<Row> firstCopy;  // N: the lowest of the row's copies, itself where it has none
    std::vector<Row> nextCopy;   // N: the next higher one, noRow behind the last
    std::vector<Row> distinct;   // the rows that are first copies, ascending

    /// N: rounded as a sum of D products. Infinite or not a number where the vector is too long.
    std::vector<float> squaredLengths;
};

/// `query` 1 × D, `library` R × D, R + 1 below 2^31. Reads both twice, on all processors.
SideRows stackRows(const FeatureMatrix& query, const FeatureMatrix& library);

/// D floats.
const float* vectorOf(const SideRows& side, Row row);

/// The one distance of two rows, squared_distances.h has it.
float squaredDistance(const SideRows& side, Row a, Row b);

/// How many copies the row has, itself included, counted up to `limit`.
std::size_t countCopies(const SideRows& side, Row row, std::size_t limit);

}  // namespace quillon
