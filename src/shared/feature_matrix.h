// The array type that carries encodings through the program, and the widths of the two sides.
#pragma once

#include <cstddef>
#include <xtensor/xtensor.hpp>

#include "shared/growable_floats.h"

namespace quillon {

/// Rows × width, float32, row-major, one contiguous block without padding. Row r of the library's
/// shape matrix, row r of its text matrix and record r speak of one block. The query's have one
/// row. Resizing to another number of rows keeps the rows there are.
using FeatureMatrix = xt::xtensor_container<GrowableFloats, 2, xt::layout_type::row_major>;

/// Widths of the encodings format; they are never taken from the data.
inline constexpr std::size_t shapeWidth = 512;
inline constexpr std::size_t textWidth = 384;

}  // namespace quillon
