// SPDX-License-Identifier: Apache-2.0
// Additions that wait for one another take three to four cycles each; all else fits in between as long as nothing but
// one addition of all sums is done for a point.

#include <cmath>
#include <cstdint>
#include <initializer_list>

#include "frame/multiversion.h"
#include "geometry/circle.h"
#include "geometry/lanes.h"

namespace vlix {
namespace {

// Four points: x and y of a point in neighbouring lanes.
constexpr int32_t kPointsPerStep = 4;
using Pairs = Lanes<double, 2 * kPointsPerStep>;

VLIX_MULTIVERSION void add_coordinates(const PointF32* points, int32_t count, double& sum_x, double& sum_y) {
  double x = sum_x;
  double y = sum_y;
  for (int32_t i = 0; i < count; ++i) {
    x += static_cast<double>(points[i].x);
    y += static_cast<double>(points[i].y);
  }
  sum_x = x;
  sum_y = y;
}

// The sums of one point in the lanes of one vector: uu, vv, uv, vu, uuu, vvv, uuv, vvu.
VLIX_INLINE void add_products(const Pairs& w, Pairs& sums) {
  const Pairs v = __builtin_shufflevector(w, w, 1, 0, 3, 2, 5, 4, 7, 6);
  const Pairs ww = w * w;
  const Pairs wv = w * v;
  const Pairs www = ww * w;
  const Pairs wwv = ww * v;
  const Pairs second01 = __builtin_shufflevector(ww, wv, 0, 1, 8, 9, 2, 3, 10, 11);
  const Pairs second23 = __builtin_shufflevector(ww, wv, 4, 5, 12, 13, 6, 7, 14, 15);
  const Pairs third01 = __builtin_shufflevector(www, wwv, 0, 1, 8, 9, 2, 3, 10, 11);
  const Pairs third23 = __builtin_shufflevector(www, wwv, 4, 5, 12, 13, 6, 7, 14, 15);
  sums += __builtin_shufflevector(second01, third01, 0, 1, 2, 3, 8, 9, 10, 11);
  sums += __builtin_shufflevector(second01, third01, 4, 5, 6, 7, 12, 13, 14, 15);
  sums += __builtin_shufflevector(second23, third23, 0, 1, 2, 3, 8, 9, 10, 11);
  sums += __builtin_shufflevector(second23, third23, 4, 5, 6, 7, 12, 13, 14, 15);
}

VLIX_MULTIVERSION void add_powers(const PointF32* points, int32_t count, CircleMoments<double>& s) {
  const Pairs mean = {s.x, s.y, s.x, s.y, s.x, s.y, s.x, s.y};
  Pairs sums = {};
  int32_t i = 0;
  for (; i <= count - kPointsPerStep; i += kPointsPerStep) {
    const PointF32* const p = points + i;
    const Pairs xy = {p[0].x, p[0].y, p[1].x, p[1].y, p[2].x, p[2].y, p[3].x, p[3].y};
    add_products(xy - mean, sums);
  }
  s.uu = sums[0];
  s.vv = sums[1];
  s.uv = sums[2];
  s.uuu = sums[4];
  s.vvv = sums[5];
  s.vuu = sums[6];
  s.uvv = sums[7];
  for (; i < count; ++i) {
    const double u = static_cast<double>(points[i].x) - s.x;
    const double v = static_cast<double>(points[i].y) - s.y;
    const double uu = u * u;
    const double vv = v * v;
    s.uu += uu;
    s.uv += u * v;
    s.vv += vv;
    s.uuu += uu * u;
    s.vvv += vv * v;
    s.uvv += u * vv;
    s.vuu += uu * v;
  }
}

CircleMoments<double> moments_in_order(const PointF32* points, int32_t count, OrderedCoordinates& coordinates) {
  const auto m = static_cast<double>(count);
  CircleMoments<double> sum = {};
  coordinates.form(points, count, sum.x, sum.y);
  sum.x /= m;
  sum.y /= m;
  add_powers(points, count, sum);
  for (double* s : {&sum.uu, &sum.uv, &sum.vv, &sum.uuu, &sum.vvv, &sum.uvv, &sum.vuu}) *s /= m;
  return sum;
}

}  // namespace

void OrderedCoordinates::form(const PointF32* points, int32_t count, double& x, double& y) {
  for (; known_ < count / step_; ++known_) {
    x_[known_ + 1] = x_[known_];
    y_[known_ + 1] = y_[known_];
    add_coordinates(points + known_ * step_, step_, x_[known_ + 1], y_[known_ + 1]);
  }
  x = x_[known_];
  y = y_[known_];
  add_coordinates(points + known_ * step_, count - known_ * step_, x, y);
}

bool circle_from(const CircleMoments<double>& s, Circle& circle) {
  const double det = determinant(s);
  if (s.uu < kSmallestSpread || s.vv < kSmallestSpread || std::fabs(det) < kSmallestSpread) return false;
  const CircleSolution<double> solution = solve(s, det);
  circle = {{static_cast<float>(solution.x), static_cast<float>(solution.y)}, static_cast<float>(solution.diameter)};
  return true;
}

bool fit_in_order(const PointF32* points, int32_t count, OrderedCoordinates& coordinates, Circle& circle) {
  return circle_from(moments_in_order(points, count, coordinates), circle);
}

}  // namespace vlix
