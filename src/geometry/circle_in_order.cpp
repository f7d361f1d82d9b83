// SPDX-License-Identifier: Apache-2.0
// The definition of a circle fit: sums of doubles over the points, one after the other.

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
  const double det = s.uu * s.vv - s.uv * s.uv;
  if (s.uu < kSmallestSpread || s.vv < kSmallestSpread || std::fabs(det) < kSmallestSpread) return false;
  const double a = (s.uuu + s.uvv) / 2.0;
  const double b = (s.vvv + s.vuu) / 2.0;
  const double uc = (a * s.vv - b * s.uv) / det;
  const double vc = (b * s.uu - a * s.uv) / det;
  const double radius = std::sqrt(uc * uc + vc * vc + s.uu + s.vv);
  circle.centre = {static_cast<float>(uc + s.x), static_cast<float>(vc + s.y)};
  circle.diameter = static_cast<float>(2.0 * radius);
  return true;
}

}  // namespace vlix
