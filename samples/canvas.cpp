// SPDX-License-Identifier: Apache-2.0
#include "canvas.h"

#include <algorithm>
#include <cstddef>

namespace samples {
namespace {

// Halves go up.
int64_t rounded_quotient(int64_t dividend, int64_t divisor) {
  const int64_t shifted = 2 * dividend + divisor;
  const int64_t quotient = shifted / (2 * divisor);
  return quotient * 2 * divisor > shifted ? quotient - 1 : quotient;
}

}  // namespace

bool contains(const Circle& circle, Point p) {
  const int64_t dx = p.x - circle.centre.x;
  const int64_t dy = p.y - circle.centre.y;
  return dx * dx + dy * dy < int64_t{circle.radius} * circle.radius;
}

bool contains(const std::vector<Point>& polygon, Point p) {
  for (std::size_t i = 0; i < polygon.size(); ++i) {
    const Point a = polygon[i];
    const Point b = polygon[(i + 1) % polygon.size()];
    const int64_t turn = int64_t{b.x - a.x} * (p.y - a.y) - int64_t{b.y - a.y} * (p.x - a.x);
    if (turn < 0) return false;
  }
  return true;
}

Canvas::Canvas(int32_t w, int32_t h, int64_t level)
    : width(w), height(h), values(static_cast<std::size_t>(w) * static_cast<std::size_t>(h), level * kLevel) {}

int64_t& Canvas::at(int32_t x, int32_t y) {
  const int32_t column = std::clamp(x, 0, width - 1);
  const int32_t row = std::clamp(y, 0, height - 1);
  return values[static_cast<std::size_t>(row) * static_cast<std::size_t>(width) + static_cast<std::size_t>(column)];
}

void blur(Canvas& canvas) {
  const auto blurred = [&](int32_t dx, int32_t dy) {
    Canvas from = canvas;
    for (int32_t y = 0; y < canvas.height; ++y) {
      for (int32_t x = 0; x < canvas.width; ++x) {
        const int64_t sum = from.at(x - dx, y - dy) + 6 * from.at(x, y) + from.at(x + dx, y + dy);
        canvas.at(x, y) = rounded_quotient(sum, 8);
      }
    }
  };
  blurred(1, 0);
  blurred(0, 1);
}

int64_t light_at(const Light& light, const Canvas& canvas, int32_t x, int32_t y) {
  const int64_t dx = x - canvas.width / 2;
  const int64_t dy = y - canvas.height / 2;
  return 65536 + light.slope_x * dx + light.slope_y * dy - (dx * dx + dy * dy) / light.reach;
}

void shine(Canvas& canvas, const Light& light) {
  for (int32_t y = 0; y < canvas.height; ++y) {
    for (int32_t x = 0; x < canvas.width; ++x) {
      canvas.at(x, y) = rounded_quotient(canvas.at(x, y) * light_at(light, canvas, x, y), 65536);
    }
  }
}

uint64_t Random::next() {
  state_ += 0x9e3779b97f4a7c15u;
  uint64_t z = state_;
  z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9u;
  z = (z ^ (z >> 27)) * 0x94d049bb133111ebu;
  return z ^ (z >> 31);
}

void add_noise(Canvas& canvas, int64_t sigma, uint64_t seed) {
  constexpr int64_t kMean = 8 * 255 / 2;
  constexpr int64_t kDeviation = 20902;  // in hundredths
  Random random(seed);
  for (int64_t& value : canvas.values) {
    int64_t sum = 0;
    for (uint64_t bytes = random.next(), i = 0; i < 8; ++i, bytes >>= 8) sum += static_cast<int64_t>(bytes & 255);
    value += rounded_quotient((sum - kMean) * sigma * 100, kDeviation);
  }
}

std::vector<int64_t> levels(const Canvas& canvas, int64_t most) {
  std::vector<int64_t> result(canvas.values.size());
  std::transform(canvas.values.begin(), canvas.values.end(), result.begin(),
                 [most](int64_t value) { return std::clamp(rounded_quotient(value, kLevel), int64_t{0}, most); });
  return result;
}

}  // namespace samples
