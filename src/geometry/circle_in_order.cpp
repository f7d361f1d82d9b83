// SPDX-License-Identifier: Apache-2.0

#include <cmath>
#include <initializer_list>

#include "geometry/circle.h"

namespace vlix {
namespace {

CircleMoments<double> moments_in_order(const PointF32* points, int32_t count) {
  const auto m = static_cast<double>(count);
  CircleMoments<double> sum = {};
  for (int32_t i = 0; i < count; ++i) {
    sum.x += static_cast<double>(points[i].x);
    sum.y += static_cast<double>(points[i].y);
  }
  sum.x /= m;
  sum.y /= m;
  for (int32_t i = 0; i < count; ++i) {
    const double u = static_cast<double>(points[i].x) - sum.x;
    const double v = static_cast<double>(points[i].y) - sum.y;
    const double uu = u * u;
    const double vv = v * v;
    sum.uu += uu;
    sum.uv += u * v;
    sum.vv += vv;
    sum.uuu += uu * u;
    sum.vvv += vv * v;
    sum.uvv += u * vv;
    sum.vuu += uu * v;
  }
  for (double* s : {&sum.uu, &sum.uv, &sum.vv, &sum.uuu, &sum.vvv, &sum.uvv, &sum.vuu}) *s /= m;
  return sum;
}

}  // namespace

bool fit_in_order(const PointF32* points, int32_t count, Circle& circle) {
  const CircleMoments<double> s = moments_in_order(points, count);
  const double det = determinant(s);
  if (s.uu < kSmallestSpread || s.vv < kSmallestSpread || std::fabs(det) < kSmallestSpread) return false;
  const CircleSolution<double> solution = solve(s, det);
  circle = {{static_cast<float>(solution.x), static_cast<float>(solution.y)}, static_cast<float>(solution.diameter)};
  return true;
}

}  // namespace vlix
