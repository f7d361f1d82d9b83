// SPDX-License-Identifier: Apache-2.0
// A circle as the fits return it, and what is measured against it.
#pragma once

#include <cmath>
#include <cstdint>

#include "vlix/types.h"

namespace vlix {

struct Circle {
  PointF32 centre = {};
  float diameter = 0.0f;
};

// Points and centre are floats and so are their differences; the distance and what follows are doubles.
inline double radial_error(PointF32 point, const Circle& circle) {
  const float dx = point.x - circle.centre.x;
  const float dy = point.y - circle.centre.y;
  return std::fabs(std::hypot(static_cast<double>(dx), static_cast<double>(dy)) -
                   static_cast<double>(circle.diameter / 2.0f));
}

// Means over the points of a fit: of the coordinates, then of products of the distances u, v from them.
template <class Number>
struct CircleMoments {
  Number x, y;
  Number uu, uv, vv;
  Number uuu, vvv, uvv, vuu;
};

// The least-squares circle of I. Kasa (1976) in centred coordinates: minimises the sum of (r^2 - R^2)^2.
inline constexpr double kSmallestSpread = 1e-12;

// False for points that are collinear or all in one place; the circle is then untouched.
bool fit_in_order(const PointF32* points, int32_t count, Circle& circle);

}  // namespace vlix
