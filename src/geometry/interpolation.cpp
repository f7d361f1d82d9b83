// SPDX-License-Identifier: Apache-2.0
#include "geometry/interpolation.h"

#include "frame/visit.h"
#include "geometry/corners.h"

namespace vlix {
namespace {

template <class Pixel>
float grey_nearest(const VlixImage& image, float x, float y) {
  return static_cast<float>(pixel_at<Pixel>(image, nearest_index(x), nearest_index(y)));
}

template <class Pixel>
float grey_bilinear(const VlixImage& image, float x, float y) {
  const Corners k(x, y);
  return bilinear(static_cast<float>(pixel_at<Pixel>(image, k.x0, k.y0)),
                  static_cast<float>(pixel_at<Pixel>(image, k.x1, k.y0)),
                  static_cast<float>(pixel_at<Pixel>(image, k.x0, k.y1)),
                  static_cast<float>(pixel_at<Pixel>(image, k.x1, k.y1)), k.fx, k.fy);
}

struct ColourPixel {
  uint8_t channel[4];
};

void colour_nearest(float (&result)[3], const VlixImage& image, float x, float y) {
  const ColourPixel& pixel = pixel_at<ColourPixel>(image, nearest_index(x), nearest_index(y));
  for (int c = 0; c < 3; ++c) result[c] = pixel.channel[c];
}

void colour_bilinear(float (&result)[3], const VlixImage& image, float x, float y) {
  const Corners k(x, y);
  const ColourPixel& a = pixel_at<ColourPixel>(image, k.x0, k.y0);
  const ColourPixel& b = pixel_at<ColourPixel>(image, k.x1, k.y0);
  const ColourPixel& c = pixel_at<ColourPixel>(image, k.x0, k.y1);
  const ColourPixel& d = pixel_at<ColourPixel>(image, k.x1, k.y1);
  for (int i = 0; i < 3; ++i) result[i] = bilinear(a.channel[i], b.channel[i], c.channel[i], d.channel[i], k.fx, k.fy);
}

template <class Pixel>
Pixel invalid_pixel(const VlixInvalidValue& invalid);
template <>
uint8_t invalid_pixel(const VlixInvalidValue& invalid) {
  return invalid.value.u8;
}
template <>
int8_t invalid_pixel(const VlixInvalidValue& invalid) {
  return invalid.value.s8;
}
template <>
uint16_t invalid_pixel(const VlixInvalidValue& invalid) {
  return invalid.value.u16;
}
template <>
int16_t invalid_pixel(const VlixInvalidValue& invalid) {
  return invalid.value.s16;
}
template <>
float invalid_pixel(const VlixInvalidValue& invalid) {
  return invalid.value.f32;
}

// The corners a, b, c, d in the order that breaks ties, and which of them are invalid.
struct Cell {
  float value[4];
  bool invalid[4];

  int invalid_count() const { return invalid[0] + invalid[1] + invalid[2] + invalid[3]; }
};

template <class Pixel>
Cell cell_at(const VlixImage& image, const Corners& k, Pixel invalid) {
  const Pixel pixels[4] = {pixel_at<Pixel>(image, k.x0, k.y0), pixel_at<Pixel>(image, k.x1, k.y0),
                           pixel_at<Pixel>(image, k.x0, k.y1), pixel_at<Pixel>(image, k.x1, k.y1)};
  Cell cell;
  for (int i = 0; i < 4; ++i) {
    cell.value[i] = static_cast<float>(pixels[i]);
    cell.invalid[i] = pixels[i] == invalid;
  }
  return cell;
}

// The corner with the smallest L1 distance; any valid corner beats any invalid one, since no distance exceeds 2.
float nearest_valid(const Cell& cell, float fx, float fy) {
  constexpr float kInvalidPenalty = 3.0f;
  float score[4] = {fx + fy, (1.0f - fx) + fy, fx + (1.0f - fy), 2.0f - fx - fy};
  int best = 0;
  for (int i = 0; i < 4; ++i) {
    if (cell.invalid[i]) score[i] += kInvalidPenalty;
    if (score[i] < score[best]) best = i;
  }
  return cell.value[best];
}

// Linear on the triangle of the three valid corners; false where the point lies outside of it.
bool interpolate_triangle(const Cell& cell, float fx, float fy, float& result) {
  const float a = cell.value[0];
  const float b = cell.value[1];
  const float c = cell.value[2];
  const float d = cell.value[3];
  if (cell.invalid[0] && fx + fy >= 1.0f) {
    result = (1.0f - fx) * c + (1.0f - fy) * b + (fx + fy - 1.0f) * d;
  } else if (cell.invalid[1] && fy >= fx) {
    result = (fy - fx) * c + (1.0f - fy) * a + fx * d;
  } else if (cell.invalid[2] && fx >= fy) {
    result = (fx - fy) * b + (1.0f - fx) * a + fy * d;
  } else if (cell.invalid[3] && fx + fy <= 1.0f) {
    result = (1.0f - fx - fy) * a + fx * b + fy * c;
  } else {
    return false;
  }
  return true;
}

template <class Pixel>
float invalid_aware_nearest(const VlixImage& image, float x, float y, const VlixInvalidValue& invalid) {
  const Corners k(x, y);
  return nearest_valid(cell_at<Pixel>(image, k, invalid_pixel<Pixel>(invalid)), k.fx, k.fy);
}

template <class Pixel>
float invalid_aware_bilinear(const VlixImage& image, float x, float y, const VlixInvalidValue& invalid) {
  const Corners k(x, y);
  const Cell cell = cell_at<Pixel>(image, k, invalid_pixel<Pixel>(invalid));
  const int invalid_count = cell.invalid_count();
  if (invalid_count == 0) {
    // Vertical first, unlike the plain kernel: kept on purpose.
    return ((1.0f - k.fy) * cell.value[0] + k.fy * cell.value[2]) * (1.0f - k.fx) +
           ((1.0f - k.fy) * cell.value[1] + k.fy * cell.value[3]) * k.fx;
  }
  float result;
  if (invalid_count == 1 && interpolate_triangle(cell, k.fx, k.fy, result)) return result;
  return nearest_valid(cell, k.fx, k.fy);
}

}  // namespace

GreyKernel grey_kernel(uint32_t type, int32_t mode) {
  GreyKernel kernel = nullptr;
  with_pixel_type(type,
                  [&]<class Pixel>() { kernel = mode == kBilinear ? grey_bilinear<Pixel> : grey_nearest<Pixel>; });
  return kernel;
}

InvalidAwareKernel invalid_aware_kernel(uint32_t type, int32_t mode) {
  InvalidAwareKernel kernel = nullptr;
  with_pixel_type(type, [&]<class Pixel>() {
    kernel = mode == kBilinear ? invalid_aware_bilinear<Pixel> : invalid_aware_nearest<Pixel>;
  });
  return kernel;
}

ColourKernel colour_kernel(int32_t mode) { return mode == kBilinear ? colour_bilinear : colour_nearest; }

}  // namespace vlix
