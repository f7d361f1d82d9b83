// SPDX-License-Identifier: Apache-2.0
// Least-squares lines in normal form: -x sin(phi) + y cos(phi) = rho.
#pragma once

#include <cmath>
#include <cstdint>
#include <numbers>

#include "vlix/types.h"

namespace vlix {

struct Line {
  double phi;  // radians, in (-pi/2, pi/2]
  double rho;
};

// Sums over points.
struct LineSums {
  double x = 0.0;
  double y = 0.0;
  double xy = 0.0;
  double xx = 0.0;
  double yy = 0.0;
};

// Coordinates are used as floats.
inline float coordinate(float v) { return v; }
inline float coordinate(int32_t v) { return static_cast<float>(v); }
inline PointF32 float_point(PointF32 p) { return p; }
inline PointF32 float_point(PointI32 p) { return {coordinate(p.x), coordinate(p.y)}; }

// Below these the points are practically equal in x and y. That the limits differ is kept on purpose.
inline constexpr double kEqualWhenFlat = 1e-5;
inline constexpr double kEqualWhenSteep = 1e-4;

// Sums in double, over several lanes.
LineSums sum_points(const PointF32* points, int32_t count);
LineSums sum_points(const PointI32* points, int32_t count);

// Brings an angle into (-pi/2, pi/2] by steps of pi; returns whether their number is odd.
inline bool normalise(double& phi) {
  bool odd = false;
  for (; phi <= -std::numbers::pi / 2; odd = !odd) phi += std::numbers::pi;
  for (; phi > std::numbers::pi / 2; odd = !odd) phi -= std::numbers::pi;
  return odd;
}

// The line through `count` points of which these are the sums and the first one.
Line fit_line(const LineSums& sums, int32_t count, PointF32 first);

}  // namespace vlix
