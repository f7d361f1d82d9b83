// SPDX-License-Identifier: Apache-2.0
#include "geometry/line_fit.h"

#include <type_traits>

#include "frame/multiversion.h"
#include "geometry/lanes.h"
#include "geometry/point_moments.h"

namespace vlix {
namespace {

// Four points as they lie in memory: x, y, x, y, ...
constexpr int kLanes = 8;
using Doubles = Lanes<double, kLanes>;

// Accumulators of 16 points, so that no addition waits for the one before it.
constexpr int kSets = 4;
constexpr int32_t kPointsPerStep = kSets * kLanes / 2;

struct Accumulators {
  Doubles sum[kSets] = {};      // x, y
  Doubles square[kSets] = {};   // x x, y y
  Doubles product[kSets] = {};  // x y, y x
};

template <class Number>
VLIX_INLINE void add_four_points(const Number* numbers, int set, Accumulators& acc) {
  Lanes<Number, kLanes> loaded;
  load<Number, kLanes>(loaded, numbers);
  const auto floats = __builtin_convertvector(loaded, Lanes<float, kLanes>);
  const Doubles v = __builtin_convertvector(floats, Doubles);
  const Doubles swapped = __builtin_shufflevector(v, v, 1, 0, 3, 2, 5, 4, 7, 6);
  acc.sum[set] += v;
  acc.square[set] += v * v;
  acc.product[set] += v * swapped;
}

VLIX_INLINE void gather(const Accumulators& acc, LineSums& total) {
  const Doubles sum = (acc.sum[0] + acc.sum[1]) + (acc.sum[2] + acc.sum[3]);
  const Doubles square = (acc.square[0] + acc.square[1]) + (acc.square[2] + acc.square[3]);
  const Doubles product = (acc.product[0] + acc.product[1]) + (acc.product[2] + acc.product[3]);
  total.x = (sum[0] + sum[2]) + (sum[4] + sum[6]);
  total.y = (sum[1] + sum[3]) + (sum[5] + sum[7]);
  total.xx = (square[0] + square[2]) + (square[4] + square[6]);
  total.yy = (square[1] + square[3]) + (square[5] + square[7]);
  total.xy = (product[0] + product[2]) + (product[4] + product[6]);
}

template <class Point>
VLIX_MULTIVERSION void sum_in_lanes(const Point* points, int32_t count, LineSums& total) {
  using Number = decltype(Point::x);
  Accumulators acc;
  int32_t i = 0;
  for (; count - i >= kPointsPerStep; i += kPointsPerStep) {
    for (int set = 0; set < kSets; ++set) {
      const auto* first = reinterpret_cast<const Number*>(points + i + set * kLanes / 2);
      add_four_points(first, set, acc);
    }
  }
  gather(acc, total);
  for (; i < count; ++i) {
    const double x = coordinate(points[i].x);
    const double y = coordinate(points[i].y);
    total.x += x;
    total.y += y;
    total.xy += x * y;
    total.xx += x * x;
    total.yy += y * y;
  }
}

}  // namespace

LineSums sum_points(const PointF32* points, int32_t count) {
  LineSums total;
#if defined(__x86_64__)
  if (has_avx512_moments()) {
    sum_points_avx512(points, count, total);
    return total;
  }
#endif
  sum_in_lanes(points, count, total);
  return total;
}

LineSums sum_points(const PointI32* points, int32_t count) {
  LineSums total;
  sum_in_lanes(points, count, total);
  return total;
}

Line fit_line(const LineSums& sums, int32_t count, PointF32 first) {
  const double n = count;
  const double cxy = sums.xy - sums.y * sums.x / n;
  const double cyy = sums.yy - sums.y * sums.y / n;
  const double cxx = sums.xx - sums.x * sums.x / n;

  Line line;
  if (cxx >= cyy) {
    if (cxx <= kEqualWhenFlat) {
      line = {0.0, first.y};
    } else {
      const double slope = cxy / cxx;
      const double intercept = (sums.y - slope * sums.x) / n;
      line.phi = std::atan2(cxy, cxx);
      normalise(line.phi);
      line.rho = intercept * std::cos(line.phi);
    }
  } else if (cyy <= kEqualWhenSteep) {
    // Leaves as +pi/2, for which rho should be -x; kept on purpose.
    line = {-std::numbers::pi / 2, first.x};
  } else {
    const double slope = cxy / cyy;
    const double intercept = (sums.x - slope * sums.y) / n;
    line.phi = -std::atan2(cxy, cyy) - std::numbers::pi / 2;
    normalise(line.phi);
    line.rho = -intercept * std::sin(line.phi);
  }
  normalise(line.phi);
  return line;
}

}  // namespace vlix
