// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "vlix/util.h"

namespace vlix::test {

// Whether the centre of a pixel lies in a shape; unknown where rounding might decide.
enum class Place { kOutside, kInside, kUnknown };

inline Place place(bool inside) { return inside ? Place::kInside : Place::kOutside; }

// `margin` is positive inside; numbers below the error of long double arithmetic on these shapes decide nothing.
inline Place place_by_margin(long double margin) {
  if (std::fabs(margin) < 1e-7L) return Place::kUnknown;
  return place(margin > 0);
}

inline Place place_in(const VlixRectShape& s, int32_t x, int32_t y) {
  const auto between = [](float p, float q, int32_t v) {
    return (p <= static_cast<float>(v)) != (q <= static_cast<float>(v));
  };
  return place(between(s.x0, s.x1, x) && between(s.y0, s.y1, y));
}

// Vertices are whole multiples of 1/256, which makes the arithmetic exact up to 2^20 pixels.
inline Place place_in(const VlixPolygonShape& s, int32_t x, int32_t y) {
  const int64_t px = int64_t{x} * 256;
  const int64_t py = int64_t{y} * 256;
  bool inside = false;
  for (int32_t i = 0; i < s.count; ++i) {
    const PointF32 a = s.vertices[i];
    const PointF32 b = s.vertices[i == 0 ? s.count - 1 : i - 1];
    const auto ax = static_cast<int64_t>(a.x * 256.0f), ay = static_cast<int64_t>(a.y * 256.0f);
    const auto bx = static_cast<int64_t>(b.x * 256.0f), by = static_cast<int64_t>(b.y * 256.0f);
    if ((ay <= py) == (by <= py)) continue;
    // The pixel is at or right of the crossing.
    const int64_t side = (px - ax) * (by - ay) - (py - ay) * (bx - ax);
    if (by > ay ? side >= 0 : side <= 0) inside = !inside;
  }
  return place(inside);
}

struct Turned {
  long double along;
  long double across;
};

inline Turned turned(float centre_x, float centre_y, float degrees, int32_t x, int32_t y) {
  const long double angle = degrees * std::acos(-1.0L) / 180;
  const long double dx = x - static_cast<long double>(centre_x);
  const long double dy = y - static_cast<long double>(centre_y);
  return {dx * std::cos(angle) + dy * std::sin(angle), dy * std::cos(angle) - dx * std::sin(angle)};
}

inline Place place_in(const VlixRotatedRectShape& s, int32_t x, int32_t y) {
  const Turned p = turned(s.centreX, s.centreY, s.angleDegrees, x, y);
  return place_by_margin(std::min(s.width / 2.0L - std::fabs(p.along), s.height / 2.0L - std::fabs(p.across)));
}

// Without a turn the arithmetic is exact for multiples of 1/256 up to some thousand pixels.
inline Place place_in(const VlixEllipseShape& s, int32_t x, int32_t y) {
  const long double a = s.radiusX;
  const long double b = s.radiusY;
  if (s.angleDegrees == 0.0f) {
    const long double dx = x - static_cast<long double>(s.centreX);
    const long double dy = y - static_cast<long double>(s.centreY);
    return place(dx * dx * b * b + dy * dy * a * a < a * a * b * b);
  }
  const Turned p = turned(s.centreX, s.centreY, s.angleDegrees, x, y);
  return place_by_margin(1 - (p.along / a) * (p.along / a) - (p.across / b) * (p.across / b));
}

// Directions within [0, 360), exact on axes and diagonals.
inline long double degrees_of(long double dx, long double dy) {
  if (dx == 0 && dy == 0) return 0;
  if (dy == 0) return dx > 0 ? 0 : 180;
  if (dx == 0) return dy > 0 ? 90 : 270;
  if (dx == dy) return dx > 0 ? 45 : 225;
  if (dx == -dy) return dy > 0 ? 135 : 315;
  const long double degrees = std::atan2(dy, dx) * 180 / std::acos(-1.0L);
  return degrees < 0 ? degrees + 360 : degrees;
}

inline Place place_in(const VlixRingSectorShape& s, int32_t x, int32_t y) {
  const long double dx = x - static_cast<long double>(s.centreX);
  const long double dy = y - static_cast<long double>(s.centreY);
  const long double square = dx * dx + dy * dy;
  const long double inner = s.innerRadius;
  const long double outer = s.outerRadius;
  if (square < inner * inner || square >= outer * outer) return Place::kOutside;
  const long double degrees = degrees_of(dx, dy);
  for (int turns = -4; turns <= 4; ++turns) {
    const long double d = degrees + 360 * turns;
    const bool near_start = d != s.startDegrees && std::fabs(d - s.startDegrees) < 1e-9L;
    const bool near_end = d != s.endDegrees && std::fabs(d - s.endDegrees) < 1e-9L;
    if (near_start || near_end) return Place::kUnknown;
    if (s.startDegrees <= d && d < s.endDegrees) return Place::kInside;
  }
  return Place::kOutside;
}

}  // namespace vlix::test
