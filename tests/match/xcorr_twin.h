// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
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

template <class Pixel>
double xcorr_norm(TestImage<Pixel>& image, double power) {
  double sum = 0;
  for (int32_t y = 0; y < image.record.roiHeight; ++y) {
    for (int32_t x = 0; x < image.record.roiWidth; ++x) {
      sum += std::pow(std::abs(static_cast<double>(image.roi_at(x, y))), power);
    }
  }
  return std::pow(sum, 1 / power);
}

// A transform in 32-bit floats changes its input by about half a unit (2^-24) per doubling of its length, relative to
// the input's root of the sum of squares. The forward transforms' changes reach a score through the other image, the
// inverse one's through all scores together, whose norm is at most |image| times the pattern's sum of magnitudes.
// The largest share of this bound seen is 0.04 (the bound lets all rounding errors meet with the worst signs).
template <class Image, class Pattern>
double xcorr_tolerance(TestImage<Image>& image, TestImage<Pattern>& pattern) {
  const double points =
      2.0 * (image.record.roiWidth + pattern.record.roiWidth) * (image.record.roiHeight + pattern.record.roiHeight);
  const double relative = std::log2(points) / (1 << 24);
  const double pixels = static_cast<double>(image.record.roiWidth) * image.record.roiHeight;
  return relative * xcorr_norm(image, 2) * (2 * xcorr_norm(pattern, 2) + xcorr_norm(pattern, 1)) / pixels;
}

}  // namespace vlix::test
