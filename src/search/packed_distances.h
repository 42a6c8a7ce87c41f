// Exact distances of many pairs of vectors at once: of 16 packed vectors to four others. Adaptive
// makes nearly all of its distances here; squared_distances.h measures one vector against others.
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <vector>

#include "search/distance_kernel.h"

namespace quillon {

/// One element of all packed vectors.
struct alignas(64) PackedElement {
    std::array<float, packSize> lanes{};
};

/// D elements: vector l of the pack is `pack[0].lanes[l]`, `pack[1].lanes[l]` and so on.
using VectorPack = std::vector<PackedElement>;

/// Packs 1 to 16 `vectors` of `width` elements; the last one also fills the lanes left over.
VectorPack packVectors(std::span<const float* const> vectors, std::size_t width);

/// A kernel for one of the processor's instruction sets. All give the same distances.
struct DistanceKernel {
    const char* name = nullptr;
    MeasureTile* measureTile = nullptr;
};

/// Those that this processor can run, the fastest last; at least one.
std::span<const DistanceKernel> runnableKernels();

}  // namespace quillon
