// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <type_traits>
#include <vector>

#include "support/test_image.h"

namespace vlix::test {

// What one pair of pixels adds to a score.
template <class Target, class Template>
uint32_t sod_term_twin(Target pixel, Template templ) {
  if constexpr (std::is_integral_v<Target> && std::is_integral_v<Template>) {
    return static_cast<uint32_t>(std::llabs(static_cast<long long>(templ) - static_cast<long long>(pixel)));
  } else {
    const float difference = static_cast<float>(templ) - static_cast<float>(pixel);
    const double whole = std::trunc(static_cast<double>(difference));
    const bool fits = whole >= -2147483648.0 && whole <= 2147483647.0;
    return fits ? static_cast<uint32_t>(std::llabs(static_cast<long long>(whole))) : 2147483648u;
  }
}

// The scores of all placements, row by row, one pixel at a time.
template <class Target, class Template>
std::vector<uint16_t> sod_twin(TestImage<Target>& target, TestImage<Template>& templ) {
  const int32_t columns = target.record.roiWidth - templ.record.roiWidth + 1;
  const int32_t rows = target.record.roiHeight - templ.record.roiHeight + 1;
  std::vector<uint16_t> scores;
  for (int32_t y = 0; y < rows; ++y) {
    for (int32_t x = 0; x < columns; ++x) {
      uint64_t sum = 0;
      for (int32_t v = 0; v < templ.record.roiHeight; ++v) {
        for (int32_t u = 0; u < templ.record.roiWidth; ++u) {
          sum = (sum + sod_term_twin(target.roi_at(x + u, y + v), templ.roi_at(u, v))) % 4294967296u;
        }
      }
      scores.push_back(static_cast<uint16_t>(sum > 65535 ? 65535 : sum));
    }
  }
  return scores;
}

}  // namespace vlix::test
