// SPDX-License-Identifier: Apache-2.0
// Background level of an image from the corners of its region, and the conversion of a level into a pixel.

#include <algorithm>
#include <cstring>
#include <limits>
#include <type_traits>

#include "frame/convert.h"
#include "frame/region.h"
#include "frame/report.h"
#include "frame/type_sets.h"
#include "frame/visit.h"
#include "vlix/meas.h"

namespace vlix {
namespace {

constexpr uint32_t kColourBits = 0x00FFFFFF;

template <class Pixel>
struct Corners {
  Pixel top_left;
  Pixel top_right;
  Pixel bottom_left;
  Pixel bottom_right;
};

template <class Pixel>
Corners<Pixel> corners_of(const VlixImage& image) {
  const auto region = region_of<const Pixel>(image);
  const Pixel* top = region.origin;
  const Pixel* bottom = region.row(region.height - 1);
  const std::ptrdiff_t right = region.width - 1;
  return {top[0], top[right], bottom[0], bottom[right]};
}

// True when three corners agree; level is theirs.
template <class Level>
bool majority(const Corners<Level>& c, Level& level) {
  if (c.top_left == c.top_right && (c.top_right == c.bottom_left || c.top_right == c.bottom_right)) {
    level = c.top_left;
  } else if (c.top_left == c.bottom_left && c.bottom_left == c.bottom_right) {
    level = c.top_left;
  } else if (c.top_right == c.bottom_left && c.bottom_left == c.bottom_right) {
    level = c.top_right;
  } else {
    return false;
  }
  return true;
}

float mean(float top_left, float top_right, float bottom_left, float bottom_right) {
  return (top_right + top_left + bottom_left + bottom_right) * 0.25f;
}

// Half away from zero for signed pixels; a level of integer corners is never out of range.
template <class Pixel>
Pixel rounded(float level) {
  if constexpr (std::is_floating_point_v<Pixel>) {
    return level;
  } else {
    const float half = std::is_signed_v<Pixel> && level <= 0.0f ? -0.5f : 0.5f;
    return static_cast<Pixel>(truncate_to_int32(level + half));
  }
}

template <class Pixel>
Pixel monochrome_background(const VlixImage& image) {
  const Corners<Pixel> pixels = corners_of<Pixel>(image);
  const Corners<float> c = {static_cast<float>(pixels.top_left), static_cast<float>(pixels.top_right),
                            static_cast<float>(pixels.bottom_left), static_cast<float>(pixels.bottom_right)};
  float level = 0.0f;
  if (!majority(c, level)) level = mean(c.top_left, c.top_right, c.bottom_left, c.bottom_right);
  return rounded<Pixel>(level);
}

// Whole colours are compared; the mean is taken channel by channel.
uint32_t colour_background(const VlixImage& image) {
  Corners<uint32_t> c = corners_of<uint32_t>(image);
  c = {c.top_left & kColourBits, c.top_right & kColourBits, c.bottom_left & kColourBits, c.bottom_right & kColourBits};
  uint32_t colour = 0;
  if (majority(c, colour)) return colour;
  for (int shift = 0; shift < 24; shift += 8) {
    const auto channel = [shift](uint32_t pixel) { return static_cast<float>((pixel >> shift) & 0xFF); };
    const float level =
        mean(channel(c.top_left), channel(c.top_right), channel(c.bottom_left), channel(c.bottom_right));
    colour |= uint32_t{rounded<uint8_t>(level)} << shift;
  }
  return colour;
}

template <class Pixel>
void put(void* to, Pixel pixel) {
  std::memcpy(to, &pixel, sizeof(pixel));
}

// Truncated; not-a-number gives 0.
template <class Pixel>
Pixel saturated(float value) {
  if constexpr (std::is_floating_point_v<Pixel>) {
    return value;
  } else {
    constexpr float kLowest = std::numeric_limits<Pixel>::lowest();
    constexpr float kHighest = std::numeric_limits<Pixel>::max();
    return static_cast<Pixel>(truncate_to_int32(std::min(std::max(value, kLowest), kHighest)));
  }
}

}  // namespace
}  // namespace vlix

extern "C" VlixStatus vlix_background(const VlixImage* image, void* pValue) {
  using namespace vlix;
  const bool is_colour = is_four_byte_colour(image->type);
  if (!is_colour && !is_monochrome_image(image->type)) return report_type(op::background, image->type);
  if (pValue == nullptr) return kSuccess;

  if (is_colour) {
    put(pValue, colour_background(*image));
  } else {
    with_pixel_type(image->type, [&]<class Pixel>() { put(pValue, monochrome_background<Pixel>(*image)); });
  }
  return kSuccess;
}

extern "C" VlixStatus vlix_background_assignF32(const VlixImage* image, void* pValue, float value) {
  using namespace vlix;
  if (is_four_byte_colour(image->type)) {
    put(pValue, 0x010101u * saturated<uint8_t>(value));
  } else {
    with_pixel_type(image->type, [&]<class Pixel>() { put(pValue, saturated<Pixel>(value)); });
  }
  return kSuccess;
}
