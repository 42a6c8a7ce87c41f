// The dense form of Adaptive, as plain and slow as it reads: every array of N × N values held at
// once, with the array library's own operations. The oracle for the factored form in src/search, of
// which it uses nothing but the hit record.
#pragma once

#include <cstdint>
#include <vector>
#include <xtensor/xtensor.hpp>

#include "search/search_result.h"
#include "shared/feature_matrix.h"

namespace quillon::reference {

using Floats = xt::xtensor<float, 2>;
using Labels = xt::xtensor<std::int64_t, 2>;

struct DenseLists {
    Labels labels;     // N × K
    Floats distances;  // N × K, squared L2
};

/// N × N: the direct sum of squared differences of every pair of rows.
Floats squaredDistances(const Floats& matrix);

/// Each row's nearest columns by (distance, column): the first left out, then as many as asked for.
/// Distances that are not below the largest float are left out too; -1 and the largest float fill
/// up.
DenseLists buildNeighbourLists(const Floats& distances, std::int32_t neighbourCount);

Floats neighbourSimilarityCurves(const Floats& distances);
float rankListDistance(const Labels& labels, std::int32_t a, std::int32_t b);
Floats rankSimilarityMatrix(const Floats& distances);
std::vector<Floats> curveAreaWeights(const std::vector<Floats>& curves);
Floats fuseSimilarities(const std::vector<Floats>& sides, std::vector<Floats>& weights,
                        float minWeight);

/// All rows of the refined array, or only row 0 with the others left 0.
Floats refineByNeighbours(const Floats& fused, std::int32_t k, bool allRows);

/// Column numbers by ascending value, sorted by insertion, which keeps equal values in order: each
/// value goes to the front if it is less than the first, otherwise behind the last that it is not
/// less than. Of more than 32 values NaN is the least; of fewer, nothing is less than a NaN or the
/// other way.
std::vector<std::int64_t> insertionSorted(const Floats& values, std::size_t row);

/// What all searches of a library for one query share.
struct FusedLibrary {
    Floats stackedShape;          // N × 512, the query first
    std::vector<Floats> weights;  // by side, 1 × N
    Floats fused;                 // N × N
};

FusedLibrary fuseLibrary(const FeatureMatrix& queryShape, const FeatureMatrix& queryText,
                         const FeatureMatrix& shapeMatrix, const FeatureMatrix& textMatrix);

std::vector<SearchResult> searchFused(const FusedLibrary& library, std::uint32_t k,
                                      float minThreshold);

/// Both in one.
std::vector<SearchResult> searchAdaptive(std::uint32_t k, const FeatureMatrix& queryShape,
                                         const FeatureMatrix& queryText,
                                         const FeatureMatrix& shapeMatrix,
                                         const FeatureMatrix& textMatrix, float minThreshold);

}  // namespace quillon::reference
