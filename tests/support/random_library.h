// Small random libraries of many kinds for differential tests of the search methods.
#pragma once

#include <cstdint>
#include <string>

#include "shared/feature_matrix.h"

namespace quillon::test {

enum class LibraryKind {
    uniform,    // independent values
    clustered,  // unit vectors around few centres, some of them twins
    lattice,    // few small whole numbers in the first columns: many equal distances
    oneHot,     // one element set: all distances equal but for twins
    allTwins,   // one vector throughout
    notFinite,  // clustered, with NaN, infinities and values that overflow sprinkled in
    nearTwins,  // few vectors, but for single elements that are one unit in the last place off
    oneCommon,  // clustered, but one row in three is one and the same vector
    lengths,    // clustered, among the unit vectors some of length 1e-20, 1e-3, 1e10 and 1e20
};

inline constexpr LibraryKind allLibraryKinds[] = {
    LibraryKind::uniform,   LibraryKind::clustered, LibraryKind::lattice,
    LibraryKind::oneHot,    LibraryKind::allTwins,  LibraryKind::notFinite,
    LibraryKind::nearTwins, LibraryKind::oneCommon, LibraryKind::lengths};

struct RandomLibrary {
    FeatureMatrix queryShape;   // 1 × 512
    FeatureMatrix queryText;    // 1 × 384
    FeatureMatrix shapeMatrix;  // rows × 512
    FeatureMatrix textMatrix;   // rows × 384
};

std::string nameOf(LibraryKind kind);

/// The same seed makes the same library everywhere.
RandomLibrary makeRandomLibrary(LibraryKind shapeKind, LibraryKind textKind, std::size_t rowCount,
                                std::uint32_t seed);

}  // namespace quillon::test
