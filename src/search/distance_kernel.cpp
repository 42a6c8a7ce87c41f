#include "search/distance_kernel.h"

namespace quillon {
namespace {

#if defined(__AVX512F__)
constexpr std::size_t vectorLanes = 16;
#elif defined(__AVX__)
constexpr std::size_t vectorLanes = 8;
#else
constexpr std::size_t vectorLanes = 4;
#endif
constexpr std::size_t vectorsPerPack = packSize / vectorLanes;
/// As many rows at a time as there are registers for their sums.
constexpr std::size_t groupRows = vectorsPerPack <= 2 ? tileRows : tileRows / 2;

/// Elements between two looks at the limits: a look takes as long as some three elements.
constexpr std::size_t elementsBetweenLooks = 32;

// As narrow as the processor's registers, since compilers keep wider vectors in memory.
using Vector [[gnu::vector_size(vectorLanes * sizeof(float))]] = float;
using Mask [[gnu::vector_size(vectorLanes * sizeof(int))]] = int;

bool isAnySet(const Mask& mask) {
    int any = 0;
    for (std::size_t lane = 0; lane < vectorLanes; ++lane) {
        any |= mask[lane];
    }
    return any != 0;
}

void sumRows(const Vector* pack, std::size_t width, const float* const* rows,
             const Vector* laneLimits, const float* rowLimits, Vector* sums) {
    Vector sum[groupRows][vectorsPerPack] = {};
    for (std::size_t begin = 0; begin < width; begin += elementsBetweenLooks) {
        const std::size_t rest = width - begin;
        const std::size_t end = begin + (rest < elementsBetweenLooks ? rest : elementsBetweenLooks);
        for (std::size_t i = begin; i < end; ++i) {
            for (std::size_t v = 0; v < vectorsPerPack; ++v) {
                const Vector packed = pack[i * vectorsPerPack + v];
                for (std::size_t r = 0; r < groupRows; ++r) {
                    const Vector difference = packed - rows[r][i];
                    sum[r][v] += difference * difference;
                }
            }
        }
        Mask below = {};
        for (std::size_t r = 0; r < groupRows; ++r) {
            for (std::size_t v = 0; v < vectorsPerPack; ++v) {
                below |= (sum[r][v] < laneLimits[v]) | (sum[r][v] < rowLimits[r]);
            }
        }
        if (!isAnySet(below)) {
            break;
        }
    }
    for (std::size_t r = 0; r < groupRows; ++r) {
        for (std::size_t v = 0; v < vectorsPerPack; ++v) {
            sums[r * vectorsPerPack + v] = sum[r][v];
        }
    }
}

}  // namespace

void QUILLON_KERNEL(const float* pack, std::size_t width, const float* const* rows,
                    const float* laneLimits, const float* rowLimits, float* distances) {
    for (std::size_t r = 0; r < tileRows; r += groupRows) {
        sumRows(reinterpret_cast<const Vector*>(pack), width, rows + r,
                reinterpret_cast<const Vector*>(laneLimits), rowLimits + r,
                reinterpret_cast<Vector*>(distances) + r * vectorsPerPack);
    }
}

}  // namespace quillon
