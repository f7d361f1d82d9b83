// SPDX-License-Identifier: Apache-2.0
// Interpolation straight from the definition, one position at a time, pixels through a function.
#pragma once

#include <cmath>
#include <functional>
#include <vector>

namespace vlix::test {

// The value of the pixel in column i, row j.
using PixelSource = std::function<float(int, int)>;

inline int nearest_index_twin(float v) {
  const double d = v;
  return static_cast<int>(d - std::floor(d) < 0.5 ? std::floor(d) : std::ceil(d));
}

inline float nearest_twin(const PixelSource& pixel, float x, float y) {
  return pixel(nearest_index_twin(x), nearest_index_twin(y));
}

struct CellTwin {
  CellTwin(const PixelSource& pixel, float x, float y) {
    const int x0 = static_cast<int>(std::floor(static_cast<double>(x)));
    const int x1 = static_cast<int>(std::ceil(static_cast<double>(x)));
    const int y0 = static_cast<int>(std::floor(static_cast<double>(y)));
    const int y1 = static_cast<int>(std::ceil(static_cast<double>(y)));
    a = pixel(x0, y0);
    b = pixel(x1, y0);
    c = pixel(x0, y1);
    d = pixel(x1, y1);
    fx = x - static_cast<float>(x0);
    fy = y - static_cast<float>(y0);
  }
  float a, b, c, d, fx, fy;
};

inline float bilinear_twin(const PixelSource& pixel, float x, float y) {
  const CellTwin k(pixel, x, y);
  const float upper = (1.0f - k.fx) * k.a + k.fx * k.b;
  const float lower = (1.0f - k.fx) * k.c + k.fx * k.d;
  return upper * (1.0f - k.fy) + lower * k.fy;
}

inline float best_corner_twin(const CellTwin& k, float invalid) {
  const float value[4] = {k.a, k.b, k.c, k.d};
  std::vector<float> score = {k.fx + k.fy, (1.0f - k.fx) + k.fy, k.fx + (1.0f - k.fy), (2.0f - k.fx - k.fy)};
  std::size_t best = 0;
  for (std::size_t i = 0; i < 4; ++i) {
    if (value[i] == invalid) score[i] = score[i] + 3.0f;
  }
  for (std::size_t i = 1; i < 4; ++i) {
    if (score[i] < score[best]) best = i;
  }
  return value[best];
}

inline float aware_nearest_twin(const PixelSource& pixel, float x, float y, float invalid) {
  return best_corner_twin(CellTwin(pixel, x, y), invalid);
}

inline float aware_bilinear_twin(const PixelSource& pixel, float x, float y, float invalid) {
  const CellTwin k(pixel, x, y);
  const int bad =
      (k.a == invalid ? 1 : 0) + (k.b == invalid ? 1 : 0) + (k.c == invalid ? 1 : 0) + (k.d == invalid ? 1 : 0);
  if (bad == 0) {
    const float left = (1.0f - k.fy) * k.a + k.fy * k.c;
    const float right = (1.0f - k.fy) * k.b + k.fy * k.d;
    return left * (1.0f - k.fx) + right * k.fx;
  }
  if (bad == 1) {
    if (k.a == invalid && k.fx + k.fy >= 1.0f) {
      return (1.0f - k.fx) * k.c + (1.0f - k.fy) * k.b + (k.fx + k.fy - 1.0f) * k.d;
    }
    if (k.b == invalid && k.fy >= k.fx) return (k.fy - k.fx) * k.c + (1.0f - k.fy) * k.a + k.fx * k.d;
    if (k.c == invalid && k.fx >= k.fy) return (k.fx - k.fy) * k.b + (1.0f - k.fx) * k.a + k.fy * k.d;
    if (k.d == invalid && k.fx + k.fy <= 1.0f) return (1.0f - k.fx - k.fy) * k.a + k.fx * k.b + k.fy * k.c;
  }
  return best_corner_twin(k, invalid);
}

}  // namespace vlix::test
