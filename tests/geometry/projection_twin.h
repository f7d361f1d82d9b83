// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <type_traits>
#include <vector>

#include "support/test_image.h"

namespace vlix::test {

template <class Sum>
struct ProjectionTwin {
  std::vector<Sum> rows;
  std::vector<Sum> columns;
};

// What one pixel adds to a running float sum.
template <class Pixel>
float projected_value(Pixel pixel) {
  if constexpr (std::is_floating_point_v<Pixel>) {
    const bool fits = pixel > -2147483648.0f && pixel < 2147483648.0f;
    return static_cast<float>(fits ? static_cast<int32_t>(pixel) : INT32_MIN);
  } else {
    return static_cast<float>(pixel);
  }
}

// One pixel after the other, into running float sums.
template <class Pixel>
ProjectionTwin<float> projection_twin(TestImage<Pixel>& image) {
  const auto width = static_cast<std::size_t>(image.record.roiWidth);
  const auto height = static_cast<std::size_t>(image.record.roiHeight);
  ProjectionTwin<float> sums{std::vector<float>(height), std::vector<float>(width)};
  for (std::size_t y = 0; y < height; ++y) {
    for (std::size_t x = 0; x < width; ++x) {
      const float value = projected_value(image.roi_at(static_cast<int32_t>(x), static_cast<int32_t>(y)));
      sums.rows[y] += value;
      sums.columns[x] += value;
    }
  }
  return sums;
}

// The true sums, in 64 bits.
template <class Pixel>
ProjectionTwin<int64_t> exact_projection_twin(TestImage<Pixel>& image) {
  const auto width = static_cast<std::size_t>(image.record.roiWidth);
  const auto height = static_cast<std::size_t>(image.record.roiHeight);
  ProjectionTwin<int64_t> sums{std::vector<int64_t>(height), std::vector<int64_t>(width)};
  for (std::size_t y = 0; y < height; ++y) {
    for (std::size_t x = 0; x < width; ++x) {
      const int64_t value = image.roi_at(static_cast<int32_t>(x), static_cast<int32_t>(y));
      sums.rows[y] += value;
      sums.columns[x] += value;
    }
  }
  return sums;
}

template <class To, class From>
std::vector<To> converted(const std::vector<From>& from) {
  std::vector<To> to;
  for (const From& value : from) to.push_back(static_cast<To>(value));
  return to;
}

}  // namespace vlix::test
