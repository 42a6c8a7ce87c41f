// What the search for neighbours is compared with: small sides, and scans of all their rows.
#pragma once

#include <algorithm>
#include <utility>
#include <vector>

#include "search/adaptive/nearest_rows.h"
#include "search/adaptive/row_comparison.h"
#include "search/adaptive/stacked_side.h"
#include "search/squared_distances.h"

namespace quillon::test {

/// The matrices of a side of three columns that holds `values[r]` in the first column of row r, row
/// 0 being the query's, and 0 elsewhere.
struct NarrowSide {
    explicit NarrowSide(const std::vector<float>& values)
        : query(FeatureMatrix::from_shape({1, 3})),
          library(FeatureMatrix::from_shape({values.size() - 1, 3})) {
        query.fill(0.0F);
        library.fill(0.0F);
        query(0, 0) = values[0];
        for (std::size_t row = 1; row < values.size(); ++row) {
            library(row - 1, 0) = values[row];
        }
    }

    FeatureMatrix query;
    FeatureMatrix library;
};

/// Measured by the fastest kernel.
inline StackedSide sideOf(const FeatureMatrix& query, const FeatureMatrix& library,
                          std::size_t workers = 1) {
    return stackSide(query, library, workers, runnableKernels().back());
}

inline StackedSide sideOf(const NarrowSide& narrow) {
    return sideOf(narrow.query, narrow.library);
}

/// To every row of the side.
inline std::vector<float> exactDistances(const StackedSide& side, Row from) {
    std::vector<float> distances(side.rowCount);
    forEachDistance(
        vectorOf(side, from), side.width, side.rowCount,
        [&](std::size_t row) { return vectorOf(side, static_cast<Row>(row)); },
        [&](std::size_t row, float distance) { distances[row] = distance; });
    return distances;
}

/// All rows whose distance is below the largest float, in ascending (distance, row).
inline std::vector<Near> nearestByScan(const StackedSide& side, Row from) {
    std::vector<Near> near;
    const std::vector<float> distances = exactDistances(side, from);
    for (std::size_t row = 0; row < distances.size(); ++row) {
        if (distances[row] < unreached) {
            near.emplace_back(distances[row], static_cast<Row>(row));
        }
    }
    std::sort(near.begin(), near.end());
    return near;
}

}  // namespace quillon::test
