// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
#include <vector>

#include "stats/formats.h"

namespace vlix::test {

struct StatsTwin {
  float mean;
  float deviation;
  float min;
  float max;
};

// One sample at a time in memory order, straight from the definition.
inline StatsTwin stats_twin(const std::vector<double>& samples) {
  double sum = 0.0;
  double sum_of_squares = 0.0;
  double min = samples.at(0);
  double max = samples.at(0);
  for (const double x : samples) {
    sum = sum + x;
    sum_of_squares = sum_of_squares + x * x;
    if (x > max) {
      max = x;
    } else if (x < min) {
      min = x;
    }
  }
  const auto n = static_cast<double>(samples.size());
  const double mean = sum / n;
  const double deviation = std::sqrt(sum_of_squares / n - mean * mean);
  return {static_cast<float>(mean), static_cast<float>(deviation), static_cast<float>(min), static_cast<float>(max)};
}

inline std::vector<double> samples_of(const Format& format, const RawImage& image, int32_t channel) {
  std::vector<double> samples;
  for (int32_t y = 0; y < image.record.roiHeight; ++y) {
    for (int32_t x = 0; x < image.record.roiWidth; ++x) samples.push_back(format.read(image.pixel(x, y), channel));
  }
  return samples;
}

inline std::vector<double> samples_of(const Format& format, const RawVector& vector, int32_t channel) {
  std::vector<double> samples;
  for (int32_t i = 0; i < vector.record.count; ++i) samples.push_back(format.read(vector.element(i), channel));
  return samples;
}

}  // namespace vlix::test
