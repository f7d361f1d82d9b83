// SPDX-License-Identifier: Apache-2.0

#include "geometry/circle_sums.h"

#include <algorithm>
#include <cmath>

#include "frame/multiversion.h"
#include "geometry/enclosure.h"
#include "geometry/lanes.h"
#include "geometry/point_moments.h"

namespace vlix {
namespace {

constexpr double kUnitRoundoff = 0x1p-53;
// Covers the higher orders of n roundings, (1 + e)^n - 1 <= 1.000001 n e for n <= 2^31 + 2^13 and e = 2^-53, and the
// few roundings of the bounds themselves.
constexpr double kHigherOrders = 1.000001;

// ---- Forming: four points side by side, x and y of a point in neighbouring lanes ----

constexpr int32_t kPointsPerStep = 4;
using Pairs = Lanes<double, 2 * kPointsPerStep>;

struct PairSums {
  Pairs w = {}, ww = {}, wv = {}, www = {}, wwv = {};
  Pairs largest = {};
};

VLIX_INLINE void add(PairSums& sums, const Pairs& w) {
  const Pairs v = __builtin_shufflevector(w, w, 1, 0, 3, 2, 5, 4, 7, 6);
  const Pairs ww = w * w;
  sums.w += w;
  sums.ww += ww;
  sums.wv += w * v;
  sums.www += ww * w;
  sums.wwv += ww * v;
  sums.largest = ww > sums.largest ? ww : sums.largest;
}

VLIX_INLINE double total(const Pairs& sums, int32_t axis) {
  return (sums[axis] + sums[axis + 2]) + (sums[axis + 4] + sums[axis + 6]);
}

// Eleven roundings at most beside one addition for every four points: see kRoundingsOfForming. Pairs of 256-bit vectors
// with AVX2.
VLIX_MULTIVERSION void sum_powers(const PointF32* points, int32_t count, CircleSums& sums, double& largest_square) {
  const double x = sums.origin_x;
  const double y = sums.origin_y;
  const Pairs origin = {x, y, x, y, x, y, x, y};
  PairSums lanes;
  int32_t i = 0;
  for (; i <= count - kPointsPerStep; i += kPointsPerStep) {
    // One by one: g++ makes this a single widening load, of a vector of floats four instructions.
    const PointF32* const p = points + i;
    const Pairs xy = {p[0].x, p[0].y, p[1].x, p[1].y, p[2].x, p[2].y, p[3].x, p[3].y};
    add(lanes, xy - origin);
  }
  if (i < count) {
    double rest[2 * kPointsPerStep] = {};
    for (int32_t k = 0; i + k < count; ++k) {
      rest[2 * k] = static_cast<double>(points[i + k].x) - x;
      rest[2 * k + 1] = static_cast<double>(points[i + k].y) - y;
    }
    Pairs w;
    load<double, 2 * kPointsPerStep>(w, rest);
    add(lanes, w);
  }
  sums.u = total(lanes.w, 0);
  sums.v = total(lanes.w, 1);
  sums.uu = total(lanes.ww, 0);
  sums.vv = total(lanes.ww, 1);
  sums.uv = total(lanes.wv, 0);
  sums.uuu = total(lanes.www, 0);
  sums.vvv = total(lanes.www, 1);
  sums.vuu = total(lanes.wwv, 0);
  sums.uvv = total(lanes.wwv, 1);
  double squares[2 * kPointsPerStep];
  store<double, 2 * kPointsPerStep>(lanes.largest, squares);
  largest_square = *std::max_element(squares, squares + 2 * kPointsPerStep);
}

void add_points(const PointF32* points, int32_t count, CircleSums& sums) {
  double largest_square;
#if defined(__x86_64__)
  if (has_avx512_moments()) {
    sum_powers_avx512(points, count, sums, largest_square);
    sums.reach = std::sqrt(largest_square) * kHigherOrders;
    return;
  }
#endif
  sum_powers(points, count, sums, largest_square);
  sums.reach = std::sqrt(largest_square) * kHigherOrders;
}

constexpr double kRoundingsOfForming = 16.0;
constexpr double kRoundingsOfARemoval = 8.0;

// Anything near the mean of the points will do; a few samples give it.
PointF32 typical_point(const PointF32* points, int32_t count) {
  constexpr int32_t kSamples = 16;
  double x = 0.0;
  double y = 0.0;
  for (int32_t s = 0; s < kSamples; ++s) {
    const PointF32& p = points[int64_t{count} * s / kSamples];
    x += static_cast<double>(p.x);
    y += static_cast<double>(p.y);
  }
  return {static_cast<float>(x / kSamples), static_cast<float>(y / kSamples)};
}

// ---- Enclosing what the definition computes ----

// Means of sums in which every rounding is at most 2^-53 of the sum of magnitudes. The product with the inverse of the
// count is off by less than 2 * 2^-53, which is within what an enclosure adds.
struct Means {
  explicit Means(const CircleSums& sums)
      : inverse(1.0 / sums.count), off(sums.roundings * kUnitRoundoff * kHigherOrders * inverse) {}
  Enclosure operator()(double sum, double magnitudes) const {
    return Enclosure::around(sum * inverse, off * magnitudes);
  }
  double inverse, off;
};

void widen(Enclosure& number, double by) { number.radius = (number.radius + by) * Enclosure::kInflate; }

// Moments about the means that the definition subtracts, p and q away from the origin of the sums. The definition's
// mean of the coordinates is off by m additions and a division, its other means by m - 1 additions, at most five
// roundings of each term and a division; a rounding is at most 2^-53 of the mean magnitude of the terms. With
// w = max(|u|, |v|), |u^j v^k| <= w^2 <= u^2 + v^2 in the second order and w^3 <= max(w) (u^2 + v^2) in the third.
CircleMoments<Enclosure> enclose_moments(const CircleSums& sums) {
  const double unit = kUnitRoundoff * kHigherOrders * (sums.count + 8.0);
  const double second = sums.spread * kHigherOrders;
  const double third = second * sums.reach;
  const Means mean(sums);
  const Enclosure u = mean(sums.u, sums.first_order);
  const Enclosure v = mean(sums.v, sums.first_order);
  const Enclosure uu = mean(sums.uu, second);
  const Enclosure uv = mean(sums.uv, second);
  const Enclosure vv = mean(sums.vv, second);

  Enclosure p = u;
  Enclosure q = v;
  widen(p, unit * (std::fabs(sums.origin_x) + sums.reach));
  widen(q, unit * (std::fabs(sums.origin_y) + sums.reach));
  const Enclosure two{2.0};
  const Enclosure three{3.0};
  const Enclosure pp = p * p;
  const Enclosure qq = q * q;
  const Enclosure twice_pq = two * p * q;

  CircleMoments<Enclosure> s;
  s.x = Enclosure{sums.origin_x} + p;
  s.y = Enclosure{sums.origin_y} + q;
  s.uu = uu - p * (two * u - p);
  s.vv = vv - q * (two * v - q);
  s.uv = uv - p * v - q * (u - p);
  s.uuu = mean(sums.uuu, third) - three * p * uu + pp * (three * u - p);
  s.vvv = mean(sums.vvv, third) - three * q * vv + qq * (three * v - q);
  s.vuu = mean(sums.vuu, third) - q * uu - two * p * uv + twice_pq * u + pp * (v - q);
  s.uvv = mean(sums.uvv, third) - p * vv - two * q * uv + twice_pq * v + qq * (u - p);

  const double spread = (s.uu + s.vv).high();
  const double reach = sums.reach + std::max(p.magnitude(), q.magnitude());
  for (Enclosure* moment : {&s.uu, &s.uv, &s.vv}) widen(*moment, unit * spread);
  for (Enclosure* moment : {&s.uuu, &s.vvv, &s.uvv, &s.vuu}) widen(*moment, unit * spread * reach);
  return s;
}

// Narrowing keeps the order of numbers: where both ends become one float, so does everything between them.
bool narrow(const Enclosure& number, float& low, float& middle, float& high) {
  low = static_cast<float>(number.low());
  middle = static_cast<float>(number.mid);
  high = static_cast<float>(number.high());
  return low == high && std::signbit(low) == std::signbit(high);
}

constexpr double kLimit = kSmallestSpread;

bool surely_has_circle(const CircleMoments<Enclosure>& s, const Enclosure& det) {
  return s.uu.low() >= kLimit && s.vv.low() >= kLimit && (det.low() >= kLimit || det.high() <= -kLimit);
}

}  // namespace

CircleSums form_circle_sums(const PointF32* points, int32_t count, const CircleSums& earlier) {
  CircleSums sums;
  sums.count = count;
  if (earlier.count > 0) {
    sums.origin_x = earlier.origin_x + earlier.u / earlier.count;
    sums.origin_y = earlier.origin_y + earlier.v / earlier.count;
  } else {
    const PointF32 origin = typical_point(points, count);
    sums.origin_x = static_cast<double>(origin.x);
    sums.origin_y = static_cast<double>(origin.y);
  }
  add_points(points, count, sums);
  sums.spread = sums.uu + sums.vv;
  sums.first_order = sums.reach * count;
  sums.roundings = count / kPointsPerStep + kRoundingsOfForming;
  return sums;
}

// One subtraction, and five roundings of the term, each at most one 2^-53 of what bounds the sum.
void remove_from(CircleSums& sums, PointF32 point) {
  const double u = static_cast<double>(point.x) - sums.origin_x;
  const double v = static_cast<double>(point.y) - sums.origin_y;
  sums.u -= u;
  sums.v -= v;
  sums.uu -= u * u;
  sums.uv -= u * v;
  sums.vv -= v * v;
  sums.uuu -= u * u * u;
  sums.vvv -= v * v * v;
  sums.uvv -= u * v * v;
  sums.vuu -= u * u * v;
  sums.roundings += kRoundingsOfARemoval;
  --sums.count;
}

bool surely_has_circle(const CircleSums& sums) {
  const CircleMoments<Enclosure> s = enclose_moments(sums);
  return surely_has_circle(s, determinant(s));
}

Fitted fit_from_sums(const CircleSums& sums, Circle& circle, NearCircle& near) {
  near.exists = false;
  const CircleMoments<Enclosure> s = enclose_moments(sums);
  const Enclosure det = determinant(s);
  if (s.uu.high() < kLimit || s.vv.high() < kLimit || det.magnitude() < kLimit) return Fitted::kNoCircle;
  if (!surely_has_circle(s, det)) return Fitted::kUndecided;

  const CircleSolution<Enclosure> solution = solve(s, det);
  auto& [exists, middle, low, high] = near;
  exists = true;
  const bool same_x = narrow(solution.x, low.centre.x, middle.centre.x, high.centre.x);
  const bool same_y = narrow(solution.y, low.centre.y, middle.centre.y, high.centre.y);
  const bool same_diameter = narrow(solution.diameter, low.diameter, middle.diameter, high.diameter);
  if (!same_x || !same_y || !same_diameter) return Fitted::kUndecided;
  circle = middle;
  return Fitted::kCircle;
}

}  // namespace vlix
