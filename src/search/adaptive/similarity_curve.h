// Weighs the sides of a row by how clearly its near neighbours stand out on each.
#pragma once

#include <array>
#include <span>

namespace quillon {

/// Area under the squared height of the curve above its minimum, by the trapezoid rule with steps
/// of 1, summed in 64-bit floats. 0 for fewer than two points.
float curveArea(std::span<const float> curve);

/// Each side's share of the total area, a 32-bit quotient; shape side first. NaN if both areas are
/// 0 or one is infinite.
std::array<float, 2> curveAreaWeights(const std::array<float, 2>& areas);

}  // namespace quillon
