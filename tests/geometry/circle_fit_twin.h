// SPDX-License-Identifier: Apache-2.0
// The circle fit straight from its definition: every pass from scratch, every removal moves the later points.
#pragma once

#include <cmath>
#include <cstdint>
#include <vector>

#include "vlix/types.h"

namespace vlix::test {

struct CircleTwin {
  bool wrong_count = false;
  bool calculation_error = false;
  int32_t passes = 0;  // that found a circle
  PointF32 centre = {};
  float diameter = 0;
  float mean = 0;
  int32_t kept = 0;
  std::vector<PointF32> points;  // the whole vector afterwards
  std::vector<int32_t> removed;  // indices on entry, in the order of removal
};

inline double circle_error_twin(PointF32 p, PointF32 centre, float diameter) {
  const float dx = p.x - centre.x;
  const float dy = p.y - centre.y;
  const float half = diameter / 2;
  return std::abs(std::hypot(double(dx), double(dy)) - double(half));
}

// Number = double is the contract; long double shows what the contract's rounding costs.
template <class Number = double>
bool circle_pass_twin(const std::vector<PointF32>& p, std::size_t m, Number& cx, Number& cy, Number& diameter) {
  Number sx = 0, sy = 0;
  for (std::size_t i = 0; i < m; ++i) {
    sx += p[i].x;
    sy += p[i].y;
  }
  const Number mean_x = sx / Number(m), mean_y = sy / Number(m);
  Number suu = 0, suv = 0, svv = 0, suuu = 0, svvv = 0, suvv = 0, svuu = 0;
  for (std::size_t i = 0; i < m; ++i) {
    const Number u = Number(p[i].x) - mean_x, v = Number(p[i].y) - mean_y;
    suu += u * u;
    suv += u * v;
    svv += v * v;
    suuu += u * u * u;
    svvv += v * v * v;
    suvv += u * (v * v);
    svuu += u * u * v;
  }
  suu /= Number(m), suv /= Number(m), svv /= Number(m);
  suuu /= Number(m), svvv /= Number(m), suvv /= Number(m), svuu /= Number(m);
  const Number det = suu * svv - suv * suv;
  if (suu < Number(1e-12) || svv < Number(1e-12) || std::abs(det) < Number(1e-12)) return false;
  const Number a = (suuu + suvv) / 2, b = (svvv + svuu) / 2;
  const Number uc = (a * svv - b * suv) / det, vc = (b * suu - a * suv) / det;
  cx = uc + mean_x;
  cy = vc + mean_y;
  diameter = 2 * std::sqrt(uc * uc + vc * vc + suu + svv);
  return true;
}

inline int32_t circle_discard_twin(int32_t count, uint32_t percent) {
  // 32 bits that wrap, division toward zero.
  int64_t value = static_cast<int64_t>((uint64_t(uint32_t(count)) * percent + 50) & 0xffffffffu);
  if (value >= int64_t(1) << 31) value -= int64_t(1) << 32;
  int64_t r = value / 100;
  while (r > 0 && count - r < 3) --r;
  return r < 0 ? 0 : static_cast<int32_t>(r);
}

inline CircleTwin circle_fit_twin(std::vector<PointF32> points, uint32_t percent) {
  CircleTwin twin;
  twin.points = points;
  if (points.size() < 3) {
    twin.wrong_count = true;
    return twin;
  }
  std::vector<int32_t> index(points.size());
  for (std::size_t i = 0; i < index.size(); ++i) index[i] = static_cast<int32_t>(i);
  const int32_t discard = circle_discard_twin(static_cast<int32_t>(points.size()), percent);
  std::size_t n = points.size();
  for (int32_t left = discard;; --left) {
    double cx, cy, diameter;
    if (!circle_pass_twin<double>(twin.points, n, cx, cy, diameter)) {
      twin.calculation_error = true;
      return twin;
    }
    ++twin.passes;
    twin.centre = {static_cast<float>(cx), static_cast<float>(cy)};
    twin.diameter = static_cast<float>(diameter);
    if (left == 0) break;
    double largest = 0;
    std::size_t worst = 0;
    for (std::size_t i = 0; i < n; ++i) {
      const double error = circle_error_twin(twin.points[i], twin.centre, twin.diameter);
      if (error > largest) {
        largest = error;
        worst = i;
      }
    }
    twin.removed.push_back(index[worst]);
    for (std::size_t i = worst; i + 1 < n; ++i) {
      twin.points[i] = twin.points[i + 1];
      index[i] = index[i + 1];
    }
    --n;
  }
  twin.kept = static_cast<int32_t>(n);
  float sum = 0;
  for (std::size_t i = 0; i < n; ++i) {
    sum = static_cast<float>(double(sum) + circle_error_twin(twin.points[i], twin.centre, twin.diameter));
  }
  twin.mean = std::trunc(sum * 1000 / static_cast<float>(n)) / 1000;
  return twin;
}

}  // namespace vlix::test
