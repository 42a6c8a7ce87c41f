#include "search/neighbours/distance_bounds.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace quillon {
namespace {

constexpr float infinity = std::numeric_limits<float>::infinity();

/// The nearest float, the largest ones for what lies beyond them.
float narrowed(double value) {
    constexpr double largest = std::numeric_limits<float>::max();
    return static_cast<float>(std::clamp(value, -largest, largest));
}

}  // namespace

DistanceBounds boundsOf(float squaredLength, std::size_t width) {
    constexpr double unit = 0x1p-24;
    const double terms = static_cast<double>(width) + 8.0;
    const double gamma = terms * unit / (1.0 - terms * unit);
    const double e = 2.0 * gamma * 1.01;
    // Three sums of products, each of which may lose as much as the smallest normal number.
    const double underflow = 8.0 * terms * double{std::numeric_limits<float>::min()};
    return {8.0 * e * double{squaredLength} + underflow, 2.0 * e};
}

double atMost(double proposal, const DistanceBounds& bounds) {
    return (proposal + bounds.slack) / (1.0 - bounds.relative);
}

double atLeast(double proposal, const DistanceBounds& bounds) {
    return (proposal - bounds.slack) / (1.0 + bounds.relative);
}

float surelyFartherFrom(float proposal, const DistanceBounds& bounds) {
    const double farthest = atMost(proposal, bounds) * (1.0 + bounds.relative) + bounds.slack;
    // Two steps up: one for rounding to a float, one to lie beyond.
    return std::nextafter(std::nextafter(narrowed(farthest), infinity), infinity);
}

float surelyNearerBelow(float proposal, const DistanceBounds& bounds) {
    const double nearest = atLeast(proposal, bounds) * (1.0 - bounds.relative) - bounds.slack;
    return std::nextafter(narrowed(nearest), -infinity);
}

}  // namespace quillon
