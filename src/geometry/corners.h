// SPDX-License-Identifier: Apache-2.0
// The four pixels around a position.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>

#include "frame/region.h"
#include "vlix/types.h"

namespace vlix {

// Columns x0 and x1, rows y0 and y1, which coincide where the coordinate is a whole number, and the position between
// them.
struct Corners {
  Corners(float x, float y)
      : x0(static_cast<int32_t>(std::floor(double{x}))),
        x1(static_cast<int32_t>(std::ceil(double{x}))),
        y0(static_cast<int32_t>(std::floor(double{y}))),
        y1(static_cast<int32_t>(std::ceil(double{y}))),
        fx(x - static_cast<float>(x0)),
        fy(y - static_cast<float>(y0)) {}

  int32_t x0, x1, y0, y1;
  float fx, fy;
};

template <class Pixel>
const Pixel& pixel_at(const VlixImage& image, int32_t x, int32_t y) {
  return *pixel_address<const Pixel>(image, x, y);
}

// Horizontal first.
inline float bilinear(float a, float b, float c, float d, float fx, float fy) {
  return ((1.0f - fx) * a + fx * b) * (1.0f - fy) + ((1.0f - fx) * c + fx * d) * fy;
}

// Exactly one half goes up.
inline int32_t nearest_index(float coordinate) {
  const double v = coordinate;
  const double floor = std::floor(v);
  return static_cast<int32_t>(v - floor < 0.5 ? floor : std::ceil(v));
}

}  // namespace vlix
