// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
#include <cstdint>
#include <vector>

#include "vlix/types.h"

namespace vlix::test {

// Truncation toward zero into 32 bits; what does not fit is the lowest number.
inline int64_t truncated_twin(double value) {
  const double whole = std::trunc(value);
  return whole >= -2147483648.0 && whole <= 2147483647.0 ? static_cast<int64_t>(whole) : -2147483648;
}

// Bins of the given samples, in the order in which they are met.
inline std::vector<PointF32> hist_roi_twin(const std::vector<float>& samples, bool float_image, int32_t bins, float lo,
                                           float hi, bool cumulative) {
  const volatile float distance = hi - lo;
  const int64_t range = truncated_twin(static_cast<double>(distance)) + (float_image ? 0 : 1);
  const double width = static_cast<double>(range) / bins;
  std::vector<PointF32> hist;
  for (int32_t i = 0; i < bins; ++i) {
    const volatile double step = i * width;
    hist.push_back({static_cast<float>(step + static_cast<double>(lo)), 0});
  }
  const float lowest = float_image ? lo : static_cast<float>(truncated_twin(static_cast<double>(lo)));
  const float highest = float_image ? hi : static_cast<float>(truncated_twin(static_cast<double>(hi)));
  for (float v : samples) {
    if (!(v >= lowest) || !(highest >= v)) continue;
    const volatile float above = v - lowest;
    const volatile double scaled = static_cast<double>(above) * (1.0 / width);
    const int64_t index = truncated_twin(scaled);
    if (index >= 0 && index < bins) hist[static_cast<std::size_t>(index)].y += 1.0f;
  }
  for (std::size_t i = 1; cumulative && i < hist.size(); ++i) hist[i].y = hist[i].y + hist[i - 1].y;
  return hist;
}

}  // namespace vlix::test
