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

inline double half_diameter(const Circle& circle) { return static_cast<double>(circle.diameter / 2.0f); }

// Points and centre are floats and so are their differences; the distance and what follows are doubles.
inline double radial_error(PointF32 point, const Circle& circle) {
  const float dx = point.x - circle.centre.x;
  const float dy = point.y - circle.centre.y;
  return std::fabs(std::hypot(static_cast<double>(dx), static_cast<double>(dy)) - half_diameter(circle));
}

// Means over the points of a fit: of the coordinates, then of products of the distances u, v from these means.
template <class Number>
struct CircleMoments {
  Number x, y;
  Number uu, uv, vv;
  Number uuu, vvv, uvv, vuu;
};

// Below this a moment or the determinant says that the points are collinear or all in one place.
inline constexpr double kSmallestSpread = 1e-12;

template <class Number>
Number determinant(const CircleMoments<Number>& s) {
  return s.uu * s.vv - s.uv * s.uv;
}

template <class Number>
struct CircleSolution {
  Number x, y, diameter;
};

// The algebraic least-squares circle (I. Kasa, 1976): the sum of (distance^2 - radius^2)^2 is smallest.
template <class Number>
CircleSolution<Number> solve(const CircleMoments<Number>& s, const Number& det) {
  using std::sqrt;
  const Number a = (s.uuu + s.uvv) * Number{0.5};
  const Number b = (s.vvv + s.vuu) * Number{0.5};
  const Number uc = (a * s.vv - b * s.uv) / det;
  const Number vc = (b * s.uu - a * s.uv) / det;
  const Number radius = sqrt(uc * uc + vc * vc + s.uu + s.vv);
  return {uc + s.x, vc + s.y, Number{2.0} * radius};
}

// False for points without a circle, which is then untouched.
bool circle_from(const CircleMoments<double>& moments, Circle& circle);

// Sums of the coordinates in point order, which are formed again from the first change on.
class OrderedCoordinates {
 public:
  explicit OrderedCoordinates(int32_t count) : step_(count / kSteps + 256) { x_[0] = y_[0] = 0.0; }

  // The points from this one on are others than before.
  void have_changed(int32_t from) { known_ = from / step_ < known_ ? from / step_ : known_; }
  void form(const PointF32* points, int32_t count, double& x, double& y);

 private:
  static constexpr int32_t kSteps = 256;

  int32_t step_;
  int32_t known_ = 0;  // steps in front of which the sums are known
  double x_[kSteps + 1];
  double y_[kSteps + 1];
};

// The definition: circle_from of sums of doubles, one point after the other.
bool fit_in_order(const PointF32* points, int32_t count, OrderedCoordinates& coordinates, Circle& circle);

}  // namespace vlix
