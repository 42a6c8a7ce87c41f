// How clearly the near neighbours of a row stand out on a side, and what the sides count for that.
#pragma once

#include <array>
#include <span>

namespace quillon {

/// Turns ascending squared distances into the falling curve 1 - distance, in place. Nothing is
/// clipped: a distance above 1 gives a negative value.
void neighbourSimilarityCurve(std::span<float> distances);

/// Area under the squared height of the curve above its minimum, by the trapezoid rule with steps
/// of 1, summed in 64-bit floats: 0 below two points.
float curveArea(std::span<const float> curve);

/// Each side's share of the total area, a 32-bit quotient; shape side first. NaN where both areas
/// are 0 or one is infinite.
std::array<float, 2> curveAreaWeights(const std::array<float, 2>& areas);

}  // namespace quillon
