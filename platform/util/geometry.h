// SPDX-License-Identifier: Apache-2.0
// Boxes and directions of shapes.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace vlix::util {

struct Point {
  double x;
  double y;
};

// The smallest rectangle around points.
struct Box {
  Point low = {std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity()};
  Point high = {-std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()};

  void include(Point p) {
    low = {std::min(low.x, p.x), std::min(low.y, p.y)};
    high = {std::max(high.x, p.x), std::max(high.y, p.y)};
  }
};

// Pixels first .. end - 1 of a row or column; empty when end is not above first.
struct Span {
  int32_t first;
  int32_t end;
};

// Whole numbers n with low <= n < high; both fit 31 bits.
inline Span whole_numbers(double low, double high) {
  return {static_cast<int32_t>(std::ceil(low)), static_cast<int32_t>(std::ceil(high))};
}

// Unit vector of an angle; exact for multiples of 90 degrees, with equal components at odd multiples of 45.
inline Point direction(double degrees) {
  constexpr double kRadians = 0.017453292519943295;  // per degree
  constexpr double kRootOfHalf = 0.70710678118654752;
  const double turn = std::fmod(degrees, 360.0) < 0.0 ? std::fmod(degrees, 360.0) + 360.0 : std::fmod(degrees, 360.0);
  const double quarters = std::floor(turn / 90.0);
  const double rest = turn - 90.0 * quarters;
  Point p = rest < 45.0 ? Point{std::cos(rest * kRadians), std::sin(rest * kRadians)}
                        : Point{std::sin((90.0 - rest) * kRadians), std::cos((90.0 - rest) * kRadians)};
  if (rest == 45.0) p = {kRootOfHalf, kRootOfHalf};
  switch (static_cast<int>(quarters) % 4) {
    case 1: return {-p.y, p.x};
    case 2: return {-p.x, -p.y};
    case 3: return {p.y, -p.x};
    default: return p;
  }
}

}  // namespace vlix::util
