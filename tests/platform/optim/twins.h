// SPDX-License-Identifier: Apache-2.0
// The primitives, one pixel at a time, straight from their definitions.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <vector>

namespace vlix::test {

inline std::vector<uint8_t> abs_diff_twin(const std::vector<uint8_t>& a, const std::vector<uint8_t>& b) {
  std::vector<uint8_t> differences;
  for (std::size_t i = 0; i < a.size(); ++i)
    differences.push_back(static_cast<uint8_t>(std::abs(int{a[i]} - int{b[i]})));
  return differences;
}

inline int32_t count_in_range_twin(const std::vector<uint8_t>& pixels, int lower, int upper) {
  int32_t count = 0;
  for (const int v : pixels) {
    if (lower <= v && v <= upper) ++count;
  }
  return count;
}

template <class Pixel>
struct ExtremesTwin {
  Pixel min, max;

  explicit ExtremesTwin(const std::vector<Pixel>& pixels) : min(pixels[0]), max(pixels[0]) {
    for (const Pixel v : pixels) {
      if (v > max) {
        max = v;
      } else if (v < min) {
        min = v;
      }
    }
  }
};

template <class Pixel>
struct MomentsTwin {
  double sum = 0.0, mean, deviation;

  // Exact sums of integers, and the mean of squares less the square of the mean.
  explicit MomentsTwin(const std::vector<Pixel>& pixels) {
    int64_t whole_sum = 0;
    int64_t whole_squares = 0;
    for (const int64_t v : pixels) {
      whole_sum += v;
      whole_squares += v * v;
    }
    const auto count = static_cast<double>(pixels.size());
    sum = static_cast<double>(whole_sum);
    mean = sum / count;
    deviation = std::sqrt(static_cast<double>(whole_squares) / count - mean * mean);
  }
};

// In two passes, wider than the primitive.
template <>
struct MomentsTwin<float> {
  long double mean = 0.0L, deviation = 0.0L;

  explicit MomentsTwin(const std::vector<float>& pixels) {
    const auto count = static_cast<long double>(pixels.size());
    for (const float v : pixels) mean += v;
    mean /= count;
    for (const float v : pixels) deviation += (v - mean) * (v - mean);
    deviation = std::sqrt(deviation / count);
  }
};

// `count` levels, evenly spaced from `lower` to `upper`.
struct Levels {
  int32_t count, lower, upper;
};

struct HistogramTwin {
  std::vector<int32_t> counts;
  std::vector<int32_t> levels;

  template <class Pixel>
  HistogramTwin(const std::vector<Pixel>& pixels, Levels asked) {
    const int64_t lower = asked.lower;
    const int64_t upper = asked.upper;
    for (int64_t i = 0; i < asked.count; ++i) {
      levels.push_back(static_cast<int32_t>(lower + i * (upper - lower) / (asked.count - 1)));
    }
    counts.resize(levels.size() - 1);
    for (const int64_t v : pixels) {
      // Bisection over the levels themselves.
      if (v < lower || v >= upper) continue;
      std::size_t low = 0;
      std::size_t high = counts.size();
      while (high - low > 1) {
        const std::size_t middle = (low + high) / 2;
        (levels[middle] <= v ? low : high) = middle;
      }
      ++counts[low];
    }
  }
};

}  // namespace vlix::test
