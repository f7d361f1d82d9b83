// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <vector>

#include "support/test_image.h"

namespace vlix::test {

// The correlation by its sum: the pattern's pixel (w / 2, h / 2) on each pixel of the image, zeros outside of it.
template <class Image, class Pattern>
std::vector<double> xcorr_twin(TestImage<Image>& image, TestImage<Pattern>& pattern) {
  const int32_t width = image.record.roiWidth;
  const int32_t height = image.record.roiHeight;
  const int32_t w = pattern.record.roiWidth;
  const int32_t h = pattern.record.roiHeight;
  std::vector<double> scores;
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      double sum = 0;
      for (int32_t v = 0; v < h; ++v) {
        for (int32_t u = 0; u < w; ++u) {
          const int32_t column = x + u - w / 2;
          const int32_t row = y + v - h / 2;
          if (column < 0 || column >= width || row < 0 || row >= height) continue;
          sum += static_cast<double>(pattern.roi_at(u, v)) * static_cast<double>(image.roi_at(column, row));
        }
      }
      scores.push_back(sum / (width * height));
    }
  }
  return scores;
}

}  // namespace vlix::test
