// SPDX-License-Identifier: Apache-2.0
// Sums over points as integers, so that a point can be taken out again without a trace.
#pragma once

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

#include "geometry/line_fit.h"
#include "vlix/types.h"

namespace vlix {

class ExactLineSums {
 public:
  // False when the coordinates span too many binary digits for 128-bit sums (or are no finite numbers).
  bool set(const PointF32* points, int32_t count) {
    if (!find_grid(points, count)) return false;
    to_grid_ = std::ldexp(1.0, -grid_);
    from_grid_ = std::ldexp(1.0, grid_);
    for (int32_t i = 0; i < count; ++i) add(points[i], 1);
    return true;
  }

  void remove(PointF32 p) { add(p, -1); }

  // Each sum rounded once.
  LineSums rounded() const {
    const double square = from_grid_ * from_grid_;
    return {static_cast<double>(x_) * from_grid_, static_cast<double>(y_) * from_grid_,
            static_cast<double>(xy_) * square, static_cast<double>(xx_) * square, static_cast<double>(yy_) * square};
  }

 private:
  using Integer = __int128;

  // The exponent of the lowest binary digit of any coordinate, when all sums fit.
  bool find_grid(const PointF32* points, int32_t count) {
    constexpr int kSmallest = -149;
    int lowest = 128;
    int highest = kSmallest;
    for (int32_t i = 0; i < count; ++i) {
      for (const float v : {points[i].x, points[i].y}) {
        const uint32_t bits = std::bit_cast<uint32_t>(v) & 0x7FFFFFFFu;
        if (bits == 0) continue;
        if (bits >= 0x7F800000u) return false;
        const auto exponent = static_cast<int>(bits >> 23);
        const uint32_t digits = (bits & 0x7FFFFFu) | (exponent > 0 ? 0x800000u : 0u);
        const int unit = std::max(exponent, 1) - 150;
        lowest = std::min(lowest, unit + std::countr_zero(digits));
        highest = std::max(highest, unit + static_cast<int>(std::bit_width(digits)));
      }
    }
    grid_ = std::min(lowest, highest);
    // |x| < 2^width on the grid: |sum of products| < count 2^(2 width) < 2^127.
    const int width = highest - grid_;
    return 2 * width + static_cast<int>(std::bit_width(static_cast<uint32_t>(count))) <= 126;
  }

  void add(PointF32 p, int64_t sign) {
    const auto x = static_cast<int64_t>(static_cast<double>(p.x) * to_grid_);
    const auto y = static_cast<int64_t>(static_cast<double>(p.y) * to_grid_);
    x_ += sign * x;
    y_ += sign * y;
    xy_ += Integer{sign * x} * y;
    xx_ += Integer{sign * x} * x;
    yy_ += Integer{sign * y} * y;
  }

  int grid_ = 0;
  double to_grid_ = 1.0;
  double from_grid_ = 1.0;
  Integer x_ = 0, y_ = 0, xy_ = 0, xx_ = 0, yy_ = 0;
};

}  // namespace vlix
