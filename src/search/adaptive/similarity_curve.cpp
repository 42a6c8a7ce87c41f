#include "search/adaptive/similarity_curve.h"

#include <algorithm>
#include <cstddef>
#include <limits>

namespace quillon {

void neighbourSimilarityCurve(std::span<float> distances) {
    for (float& distance : distances) {
        distance = 1.0F - distance;
    }
}

float curveArea(std::span<const float> curve) {
    float minimum = std::numeric_limits<float>::max();
    for (const float similarity : curve) {
        minimum = std::min(minimum, similarity);
    }
    const auto squaredHeight = [&](std::size_t i) {
        const float height = curve[i] - minimum;
        return height * height;
    };
    double area = 0.0;
    for (std::size_t i = 1; i < curve.size(); ++i) {
        const float pair = squaredHeight(i) + squaredHeight(i - 1);
        area += double{pair} * 0.5;
    }
    return static_cast<float>(area);
}

std::array<float, 2> curveAreaWeights(const std::array<float, 2>& areas) {
    const float total = areas[0] + areas[1];
    return {areas[0] / total, areas[1] / total};
}

}  // namespace quillon
