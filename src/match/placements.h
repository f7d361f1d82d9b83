// SPDX-License-Identifier: Apache-2.0
// Where a template lies wholly inside a target.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

#include "vlix/types.h"

namespace vlix {

// How many placements `part` has along `whole`; below 1 when it is larger. Limited to 32 bits.
inline int32_t placements_along(int32_t whole, int32_t part) {
  constexpr int64_t kMost = std::numeric_limits<int32_t>::max();
  return static_cast<int32_t>(std::clamp(int64_t{whole} - part + 1, -kMost, kMost));
}

// The same across and down.
inline VlixSize placements_of(const VlixImage& target, const VlixImage& templ) {
  return {placements_along(target.roiWidth, templ.roiWidth), placements_along(target.roiHeight, templ.roiHeight)};
}

// A template's size after the output was shaped. When both are one record the template is whatever the shaping has
// left, and no more of it than there is.
inline VlixSize remaining_template(const VlixImage& templ, VlixSize before) {
  return {std::min(before.width, templ.roiWidth), std::min(before.height, templ.roiHeight)};
}

// 32-bit product that wraps.
inline int32_t wrapped_product(int32_t a, int32_t b) {
  return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}

}  // namespace vlix
