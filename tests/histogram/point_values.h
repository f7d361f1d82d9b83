// SPDX-License-Identifier: Apache-2.0
// Points as test values: comparison and printing. In the global namespace, where the points are.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <ostream>
#include <vector>

#include "vlix/types.h"

inline bool operator==(const PointF32& a, const PointF32& b) { return a.x == b.x && a.y == b.y; }
inline bool operator==(const PointI32& a, const PointI32& b) { return a.x == b.x && a.y == b.y; }
inline std::ostream& operator<<(std::ostream& out, const PointF32& p) {
  return out << "(" << p.x << ", " << p.y << ")";
}
inline std::ostream& operator<<(std::ostream& out, const PointI32& p) {
  return out << "(" << p.x << ", " << p.y << ")";
}

namespace vlix::test {

// Equal bit by bit, where all NaN are one.
inline bool same(float a, float b) {
  return (std::isnan(a) && std::isnan(b)) || std::bit_cast<uint32_t>(a) == std::bit_cast<uint32_t>(b);
}
inline bool same(const PointF32& a, const PointF32& b) { return same(a.x, b.x) && same(a.y, b.y); }
inline bool same(const PointI32& a, const PointI32& b) { return a == b; }

// Index of the first difference, -1 if there is none, -2 for different lengths.
template <class Point>
int64_t first_difference(const std::vector<Point>& a, const std::vector<Point>& b) {
  if (a.size() != b.size()) return -2;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (!same(a[i], b[i])) return static_cast<int64_t>(i);
  }
  return -1;
}

// Bins with x = 0, 1, 2 ... and these counts.
template <class Point, class Count>
std::vector<Point> bins(const std::vector<Count>& y) {
  std::vector<Point> points;
  for (std::size_t i = 0; i < y.size(); ++i) {
    points.push_back({static_cast<decltype(Point::x)>(i), static_cast<decltype(Point::y)>(y[i])});
  }
  return points;
}

}  // namespace vlix::test
