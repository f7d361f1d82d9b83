// SPDX-License-Identifier: Apache-2.0
// Point lists for circle fits: arcs with noise and outliers, and shapes that are hard on the numbers.
#pragma once

#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "vlix/types.h"

namespace vlix::test {

struct ArcPoints {
  double cx = 500, cy = 300, radius = 100;
  double arc = 6.283185307179586;  // length in radians, from a random start
  double noise = 0.1;              // standard deviation along the radius
  double outliers = 0.0;           // fraction of points that lie anywhere
  double outlier_reach = 300;      // half the side of the square they lie in
};

inline std::vector<PointF32> arc_points(std::size_t count, const ArcPoints& arc, uint64_t seed) {
  std::mt19937_64 random(seed);
  std::uniform_real_distribution<double> unit(0, 1);
  std::normal_distribution<double> normal(0, 1);
  const double start = 6.283185307179586 * unit(random);
  std::vector<PointF32> points(count);
  for (PointF32& p : points) {
    const double angle = start + arc.arc * unit(random);
    const double r = arc.radius + arc.noise * normal(random);
    double x = arc.cx + r * std::cos(angle);
    double y = arc.cy + r * std::sin(angle);
    if (unit(random) < arc.outliers) {
      x = arc.cx + arc.outlier_reach * (2 * unit(random) - 1);
      y = arc.cy + arc.outlier_reach * (2 * unit(random) - 1);
    }
    p = {static_cast<float>(x), static_cast<float>(y)};
  }
  return points;
}

// Integer coordinates: many equal points, hence many equal errors.
inline std::vector<PointF32> grid_points(std::size_t count, int32_t side, uint64_t seed) {
  std::mt19937_64 random(seed);
  std::vector<PointF32> points(count);
  for (PointF32& p : points) {
    p.x = static_cast<float>(random() % static_cast<uint64_t>(side));
    p.y = static_cast<float>(random() % static_cast<uint64_t>(side));
  }
  return points;
}

}  // namespace vlix::test
