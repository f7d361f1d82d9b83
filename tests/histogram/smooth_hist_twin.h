// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
#include <cstdint>
#include <vector>

#include "vlix/types.h"

namespace vlix::test {

// Elements in the window, for ratios of width to increment that are far from the limits of 32 bits.
inline int32_t window_twin(float ratio) {
  const double nearest = std::floor(static_cast<double>(ratio) + 0.5);
  if (std::fmod(nearest, 2.0) != 0.0) return static_cast<int32_t>(nearest);
  return static_cast<int32_t>(static_cast<double>(ratio) > nearest ? nearest + 1 : nearest - 1);
}

// The running sum in 32-bit floats, one element after the other.
inline std::vector<PointF32> moving_average_twin(const std::vector<PointF32>& hist, int32_t length) {
  std::vector<PointF32> out = hist;
  const auto n = static_cast<int64_t>(hist.size());
  const int64_t half = (length - 1) / 2;
  volatile float sum = hist[0].y;
  for (int64_t i = 1; i <= half; ++i) sum = sum + hist[static_cast<std::size_t>(i)].y;
  for (int64_t i = 0; i < n; ++i) {
    out[static_cast<std::size_t>(i)].y = sum / static_cast<float>(length);
    if (i - half >= 0) sum = sum - hist[static_cast<std::size_t>(i - half)].y;
    if (i + half + 1 < n) sum = sum + hist[static_cast<std::size_t>(i + half + 1)].y;
  }
  return out;
}

// Every window summed anew; 64-bit sums reduced to 32 bits.
inline std::vector<PointI32> moving_average_twin(const std::vector<PointI32>& hist, int32_t length) {
  std::vector<PointI32> out = hist;
  const auto n = static_cast<int64_t>(hist.size());
  const int64_t half = (length - 1) / 2;
  for (int64_t i = 0; i < n; ++i) {
    int64_t sum = 0;
    for (int64_t j = i - half; j <= i + half; ++j) {
      if (j >= 0 && j < n) sum += hist[static_cast<std::size_t>(j)].y;
    }
    sum &= 0xffffffff;
    if (sum > 0x7fffffff) sum -= 0x100000000;
    out[static_cast<std::size_t>(i)].y = static_cast<int32_t>(sum / length);
  }
  return out;
}

}  // namespace vlix::test
