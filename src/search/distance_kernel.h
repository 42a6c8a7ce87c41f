// The inner loop of packed_distances.h, compiled once for each instruction set. Its arguments are
// plain pointers: of an inline function that is compiled here for a new processor, the linker could
// keep this version for the whole program.
#pragma once

#include <cstddef>

namespace quillon {

/// 16 floats fill the widest registers of today's processors. The sums of four other rows fill the
/// registers that are left.
inline constexpr std::size_t packSize = 16;
inline constexpr std::size_t tileRows = 4;

/// Writes the squared L2 distances of 16 packed vectors to four `rows`, all of `width` elements, at
/// least one, to `distances` (4 × 16). Element i of the packed vectors is at `pack[16 * i]`.
/// `pack`, `laneLimits` (16) and `distances` are aligned to 64 bytes. No limit is NaN.
///
/// The limit of a pair is the greater one of its lane's and its row's. A distance below its limit
/// equals that of `forEachDistance`, to the bit: each lane sums over the elements in their order,
/// and rounds each difference, square and sum to 32 bits. Instead of a distance that is not below
/// its limit, the kernel may write any number that is not below the limit, or NaN. Sums of squares
/// never fall, so the kernel stops when no sum of the tile is below its limit.
using MeasureTile = void(const float* pack, std::size_t width, const float* const* rows,
                         const float* laneLimits, const float* rowLimits, float* distances);

MeasureTile measureTileBaseline;
MeasureTile measureTileAvx2;
MeasureTile measureTileAvx512;

}  // namespace quillon
