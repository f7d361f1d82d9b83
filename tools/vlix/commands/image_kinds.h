// SPDX-License-Identifier: Apache-2.0
// Questions about an image's pixels.
#ifndef VLIX_TOOL_COMMANDS_IMAGE_KINDS_H
#define VLIX_TOOL_COMMANDS_IMAGE_KINDS_H

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <string>

#include "records.h"

inline constexpr std::array<const char*, 3> kChannelNames = {"red", "green", "blue"};

inline std::string type_name(const Image& image) { return VlixObjGetName(static_cast<int32_t>(image.type())); }

inline bool is_colour(const Image& image) { return image.type() == ObjType_Rgba8 || image.type() == ObjType_Colour39; }

inline bool is_float(const Image& image) { return image.type() == ObjType_F32; }

// How many pixels of a float image the condition holds for.
template <class Condition>
int64_t count_floats(const Image& image, Condition condition) {
  int64_t count = 0;
  for (int32_t y = 0; y < image.height(); ++y) {
    const float* const row = image.row<float>(y);
    count += std::count_if(row, row + image.width(), condition);
  }
  return count;
}

// Whether some pixel is another number once it is truncated to a 32-bit integer.
inline bool loses_by_truncation(const Image& image) {
  constexpr float kTooLarge = 2147483648.0F;
  return is_float(image) &&
         count_floats(image, [](float v) { return v != std::trunc(v) || std::fabs(v) >= kTooLarge; }) != 0;
}

struct IntegerRange {
  int32_t low, high;
};

// The values that pixels of an integer type can have.
inline IntegerRange range_of_type(uint32_t type) {
  switch (type) {
    case ObjType_S8: return {-128, 127};
    case ObjType_S16: return {-32768, 32767};
    case ObjType_U16: return {0, 65535};
    default: return {0, 255};
  }
}

#endif
