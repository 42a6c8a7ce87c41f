// The inner loop of packed_distances.h, compiled once for each instruction set. Only pointers cross
// this border: an inline function of the standard library that was compiled here for a new
// processor could be the one that the linker keeps for all.
#pragma once

#include <cstddef>

namespace quillon {

/// 16 vectors fill the widest registers that processors have. Four others beside them use all
/// registers that are left for sums.
inline constexpr std::size_t packSize = 16;
inline constexpr std::size_t tileRows = 4;

/// Writes the squared L2 distances of 16 packed vectors to four `rows`, all of `width` elements, at
/// least one, to `distances` (4 × 16). Element i of the packed vectors is at `pack[16 * i]`.
/// `pack`, `laneLimits` (16) and `distances` are aligned to 64 bytes. No limit is NaN.
///
/// The limit of a pair is the greater one of its lane's and its row's. A distance below its limit
/// is the number that `squaredDistances` gives, to the bit: the sum runs over the elements in their
/// order, and each difference, square and sum is rounded to 32 bits, in every lane alike. A
/// distance that is not below its limit may be any other number that is not below it either, or
/// NaN: a sum of squares never falls, so a tile is left as soon as none of its sums is below its
/// limit.
using MeasureTile = void(const float* pack, std::size_t width, const float* const* rows,
                         const float* laneLimits, const float* rowLimits, float* distances);

MeasureTile measureTileBaseline;
MeasureTile measureTileAvx2;
MeasureTile measureTileAvx512;

}  // namespace quillon
