// How far the distance that a matrix product proposes for two rows can be from their one distance.
// What the search concludes from a proposal it concludes by these bounds, so it holds for every
// processor, thread count and BLAS, though the proposals differ on each.
//
// Let r and c be two rows of D elements, d what `squaredDistance` gives for them, and p what
// `propose` gives: |r|^2 + |c|^2 - 2 r.c, each of the three a sum of D products in whatever order,
// with or without fused operations. A sum of n rounded terms in any order is off by at most
// gamma(n) = n u / (1 - n u) times the sum of the terms' magnitudes, u = 2^-24 (Higham, Accuracy
// and Stability of Numerical Algorithms, 2nd ed., sections 3.1 and 4.2). With a few roundings more
// for the products and the last two sums, and |r.c| <= |r| |c|:
//
//     |p - exact| <= gamma(D + 8) (|r| + |c|)^2
//     |d - exact| <= gamma(D + 8) (|r| + |c|)^2
//
// so that p and d differ by at most E(r, c) = e (|r| + |c|)^2 with e = 2 gamma(D + 8). The length
// of c, another row's, may be enormous and shall not loosen what is said of r. But it is no longer
// than |r| + sqrt(exact), hence
//
//     (|r| + |c|)^2 <= (2 |r| + sqrt(exact))^2 <= 8 |r|^2 + 2 exact,
//
// and the difference stays below s + 2 e' d with s = 8 e |r|^2, the slack of r alone. e' is e and a
// hundredth: for `exact` where d stands, and for the rounding of |r|^2 in s. What products below
// the smallest normal number lose, even on a processor that takes them for 0, is added to s.
//
// This fails where a sum overflows. That does not happen while |r|^2 <= `longestOrdinary` and d <
// `farthestOrdinary`: then (|r| + |c|)^2 < (2e18 + 1e19)^2 = 1.44e38, less than half the largest
// float. And a row c with which something overflows is farther away than `farthestOrdinary`, which
// is where its proposal, infinite or not a number, leaves it.
#pragma once

#include <cstddef>

namespace quillon {

struct DistanceBounds {
    double slack;     // s
    double relative;  // 2 e'
};

inline constexpr float longestOrdinary = 1e36F;
inline constexpr float farthestOrdinary = 1e38F;

/// False for NaN too.
inline bool isOrdinary(float squaredLength) {
    return squaredLength <= longestOrdinary;
}

/// For the proposals of a row to any others; `squaredLength` is the row's and ordinary, `width` D.
DistanceBounds boundsOf(float squaredLength, std::size_t width);

/// What the one distance is at most and at least where `proposal` was proposed.
double atMost(double proposal, const DistanceBounds& bounds);
double atLeast(double proposal, const DistanceBounds& bounds);

/// The next two compare two others by their proposals to the same row. An other that is not
/// proposed below this is farther, beyond doubt, than the one with `proposal`.
float surelyFartherFrom(float proposal, const DistanceBounds& bounds);

/// An other that is proposed below this is nearer, beyond doubt, than the one with `proposal`.
float surelyNearerBelow(float proposal, const DistanceBounds& bounds);

}  // namespace quillon
