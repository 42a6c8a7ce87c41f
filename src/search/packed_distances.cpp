#include "search/packed_distances.h"

#include <algorithm>

namespace quillon {

VectorPack packVectors(std::span<const float* const> vectors, std::size_t width) {
    std::array<const float*, packSize> lanes{};
    for (std::size_t lane = 0; lane < packSize; ++lane) {
        lanes[lane] = vectors[std::min(lane, vectors.size() - 1)];
    }
    VectorPack pack(width);
    for (std::size_t i = 0; i < width; ++i) {
        for (std::size_t lane = 0; lane < packSize; ++lane) {
            pack[i].lanes[lane] = lanes[lane][i];
        }
    }
    return pack;
}

std::span<const DistanceKernel> runnableKernels() {
    // Each needs all that the kernels before it need.
    static constexpr std::array kernels{
        DistanceKernel{"baseline", measureTileBaseline},
#ifdef QUILLON_X86_KERNELS
        DistanceKernel{"AVX2", measureTileAvx2},
        DistanceKernel{"AVX-512", measureTileAvx512},
#endif
    };
    std::size_t runnable = 1;
#ifdef QUILLON_X86_KERNELS
    if (__builtin_cpu_supports("avx2") != 0) {
        runnable = __builtin_cpu_supports("avx512f") != 0 ? 3 : 2;
    }
#endif
    return std::span(kernels).first(runnable);
}

}  // namespace quillon
