// SPDX-License-Identifier: Apache-2.0
#include "output/overlay.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "commands/moments.h"
#include "errors.h"

namespace {

using Colour = std::array<uint8_t, 3>;

constexpr Colour kCircleColour = {230, 40, 40};
constexpr Colour kPointColour = {40, 200, 60};
constexpr double kLineWidth = 1.5;
constexpr int32_t kCrossArm = 4;

double value_at(const Image& image, int32_t x, int32_t y) {
  switch (image.type()) {
    case ObjType_S8: return image.row<int8_t>(y)[x];
    case ObjType_U16: return image.row<uint16_t>(y)[x];
    case ObjType_S16: return image.row<int16_t>(y)[x];
    case ObjType_F32: return double{image.row<float>(y)[x]};
    default: return image.row<uint8_t>(y)[x];
  }
}

uint8_t* pixel_of(Image& picture, int32_t x, int32_t y) {
  return static_cast<uint8_t*>(picture.record()->data) +
         4 * (static_cast<std::ptrdiff_t>(picture.record()->width) * y + x);
}

void blend(Image& picture, int32_t x, int32_t y, const Colour& colour, double share) {
  if (x < 0 || y < 0 || x >= picture.width() || y >= picture.height() || share <= 0) return;
  uint8_t* const pixel = pixel_of(picture, x, y);
  for (std::size_t c = 0; c < 3; ++c) {
    pixel[c] = static_cast<uint8_t>(std::lround(pixel[c] + std::min(share, 1.0) * (colour[c] - pixel[c])));
  }
}

}  // namespace

Image as_picture(const Image& image) {
  Image picture;
  if (VlixImageAlloc(picture.record(), ObjType_Rgba8, image.width(), image.height()) != 0)
    throw FileError("not enough memory");
  const bool stretched = image.type() != ObjType_U8;
  Moments range = {0, 0, 0, 255};
  if (stretched) range = grey_moments(image);
  const double scale = range.max > range.min ? 255 / (double{range.max} - double{range.min}) : 0;
  for (int32_t y = 0; y < image.height(); ++y) {
    for (int32_t x = 0; x < image.width(); ++x) {
      const double shown = (value_at(image, x, y) - double{range.min}) * scale;
      uint8_t* const pixel = pixel_of(picture, x, y);
      // Not-a-number is black.
      std::fill(pixel, pixel + 3, static_cast<uint8_t>(shown > 0 ? std::lround(std::min(shown, 255.0)) : 0));
      pixel[3] = 255;
    }
  }
  return picture;
}

void draw_circle(Image& picture, const GaugedCircle& gauged) {
  const Circle& circle = gauged.circle;
  const double reach = circle.radius + kLineWidth;
  const auto clip = [](double v, int32_t size) { return static_cast<int32_t>(std::clamp(v, 0.0, size - 1.0)); };
  for (int32_t y = clip(circle.y - reach, picture.height()); y <= clip(circle.y + reach + 1, picture.height()); ++y) {
    for (int32_t x = clip(circle.x - reach, picture.width()); x <= clip(circle.x + reach + 1, picture.width()); ++x) {
      const double off = std::fabs(std::hypot(x - circle.x, y - circle.y) - circle.radius);
      blend(picture, x, y, kCircleColour, kLineWidth / 2 + 0.5 - off);
    }
  }
  const auto centre_x = static_cast<int32_t>(std::lround(circle.x)),
             centre_y = static_cast<int32_t>(std::lround(circle.y));
  for (int32_t i = -kCrossArm; i <= kCrossArm; ++i) {
    blend(picture, centre_x + i, centre_y, kCircleColour, 1);
    blend(picture, centre_x, centre_y + i, kCircleColour, 1);
  }
  for (std::size_t i = 0; i < gauged.edge.size(); i += 6) {
    blend(picture, static_cast<int32_t>(std::lround(gauged.edge[i].x)),
          static_cast<int32_t>(std::lround(gauged.edge[i].y)), kPointColour, 1);
  }
}
