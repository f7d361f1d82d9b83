// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace vlix::test {

struct VarianceTwin {
  std::vector<float> mean;
  std::vector<float> variance;
};

// One pixel after the other, straight from the definition. `pixels` are those of the region, row by row.
template <class Pixel>
VarianceTwin variance_twin(const std::vector<Pixel>& pixels, int width, int height, int kernel_width, int kernel_height,
                           bool deviation) {
  const auto size = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  VarianceTwin out = {std::vector<float>(size), std::vector<float>(size)};
  std::vector<float> sum(static_cast<std::size_t>(width), 0.0f);
  std::vector<float> square(static_cast<std::size_t>(width), 0.0f);
  const int above = kernel_height / 2;
  const int below = kernel_height - above;
  const int left = kernel_width / 2;
  const int right = kernel_width - left;
  const auto at = [&](int x, int y) {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x);
  };
  const auto column = [](int x) { return static_cast<std::size_t>(x); };
  const auto add = [&](int y) {
    for (int x = 0; x < width; ++x) {
      const float v = static_cast<float>(pixels[at(x, y)]);
      const float v2 = v * v;
      sum[column(x)] = sum[column(x)] + v;
      square[column(x)] = square[column(x)] + v2;
    }
  };
  const auto subtract = [&](int y) {
    for (int x = 0; x < width; ++x) {
      const float v = static_cast<float>(pixels[at(x, y)]);
      const float v2 = v * v;
      sum[column(x)] = sum[column(x)] - v;
      square[column(x)] = square[column(x)] - v2;
    }
  };

  for (int y = 0; y < below; ++y) add(y);
  int rows = below;
  for (int y = 0; y < height; ++y) {
    float t = 0.0f;
    float u = 0.0f;
    for (int x = 0; x < right; ++x) {
      t = t + sum[column(x)];
      u = u + square[column(x)];
    }
    int c = right * rows;
    for (int x = 0; x < width; ++x) {
      const float mean = t / static_cast<float>(c);
      out.mean[at(x, y)] = mean;
      const float mean_c = mean * static_cast<float>(c);
      const float mean_c_mean = mean_c * mean;
      const float numerator = u - mean_c_mean;
      const double quotient = static_cast<double>(numerator) / static_cast<double>(c - 1);
      out.variance[at(x, y)] = static_cast<float>(deviation ? std::sqrt(quotient) : quotient);
      if (x < left) {
        c += rows;
      } else {
        t = t - sum[column(x - left)];
        u = u - square[column(x - left)];
      }
      if (x > width - right - 1) {
        c -= rows;
      } else {
        t = t + sum[column(x + right)];
        u = u + square[column(x + right)];
      }
    }
    if (y < above) {
      ++rows;
    } else {
      subtract(y - above);
    }
    if (y + below < height) {
      add(y + below);
    } else {
      --rows;
    }
  }
  return out;
}

}  // namespace vlix::test
