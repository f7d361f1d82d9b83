// SPDX-License-Identifier: Apache-2.0
// Pictures drawn in integer arithmetic alone, so that every machine draws the same pixels.
#pragma once

#include <cstdint>
#include <vector>

namespace samples {

// Places and lengths are counted in 64ths of a pixel; the centre of pixel (x, y) is the point (64 x, 64 y).
inline constexpr int32_t kPixel = 64;

struct Point {
  int32_t x;
  int32_t y;
};

struct Circle {
  Point centre;
  int32_t radius;
};

bool contains(const Circle& circle, Point p);
// Convex, corners in the order that has the inside on the right of each side where rows run down.
bool contains(const std::vector<Point>& polygon, Point p);

// Values are counted in 65536ths of a grey level.
inline constexpr int64_t kLevel = 65536;

struct Canvas {
  int32_t width;
  int32_t height;
  std::vector<int64_t> values;

  Canvas(int32_t w, int32_t h, int64_t level);
  int64_t& at(int32_t x, int32_t y);
};

// How much of a pixel a figure covers, in 1024ths: 32 x 32 points inside the pixel are asked. The figure has no detail
// and no curve finer than some pixels, so that a pixel whose surroundings agree is not looked at closely.
inline constexpr int32_t kWhole = 1024;
template <class Inside>
int32_t coverage(Inside inside, int32_t x, int32_t y) {
  constexpr int32_t kAround = kPixel * 3 / 2;
  const Point centre = {x * kPixel, y * kPixel};
  const bool here = inside(centre);
  bool uniform = true;
  for (int32_t dy = -kAround; dy <= kAround && uniform; dy += kAround) {
    for (int32_t dx = -kAround; dx <= kAround; dx += kAround) {
      uniform = uniform && inside(Point{centre.x + dx, centre.y + dy}) == here;
    }
  }
  if (uniform) return here ? kWhole : 0;
  int32_t covered = 0;
  for (int32_t dy = 1 - kPixel / 2; dy < kPixel / 2; dy += 2) {
    for (int32_t dx = 1 - kPixel / 2; dx < kPixel / 2; dx += 2) {
      covered += inside(Point{centre.x + dx, centre.y + dy}) ? 1 : 0;
    }
  }
  return covered;
}

// Puts a level over what is there, as far as the figure covers a pixel.
template <class Inside>
void paint(Canvas& canvas, Inside inside, int64_t level) {
  for (int32_t y = 0; y < canvas.height; ++y) {
    for (int32_t x = 0; x < canvas.width; ++x) {
      int64_t& value = canvas.at(x, y);
      value += (level * kLevel - value) * coverage(inside, x, y) / kWhole;
    }
  }
}

// A lens: (1 6 1) / 8 along rows and columns, a variance of a quarter of a square pixel. Border pixels go on outside.
void blur(Canvas& canvas);

// Uneven light in 65536ths: 1 in the middle, a slope per pixel in each direction, and a fall with the square of the
// distance, in 65536ths per `reach` square pixels.
struct Light {
  int32_t slope_x;
  int32_t slope_y;
  int32_t reach;
};
int64_t light_at(const Light& light, const Canvas& canvas, int32_t x, int32_t y);
void shine(Canvas& canvas, const Light& light);

// Numbers from a counter (SplitMix64).
class Random {
 public:
  explicit Random(uint64_t seed) : state_(seed) {}
  uint64_t next();

 private:
  uint64_t state_;
};

// Bell-shaped noise: the sum of eight random bytes, which has a variance of 8 x 65535 / 12. `sigma` in 65536ths.
void add_noise(Canvas& canvas, int64_t sigma, uint64_t seed);

// Rounded to whole levels within [0, most].
std::vector<int64_t> levels(const Canvas& canvas, int64_t most);

}  // namespace samples
