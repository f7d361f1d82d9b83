// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
#include <cstdint>
#include <vector>

#include "vlix/types.h"

namespace vlix::test {

// The lower 32 bits, signed.
inline int64_t wrapped(int64_t value) {
  value &= 0xffffffff;
  return value > 0x7fffffff ? value - 0x100000000 : value;
}

// How a value finds its bin.
enum class Rule {
  kFloatFactor,  // a product in 32-bit floats, which can fall short of a bin's lower edge
  kExact
};

// -1 for values that are not counted.
inline int64_t bin_twin(int64_t v, int64_t bins, int64_t lo, int64_t hi, Rule rule) {
  if (v < lo || v > hi) return -1;
  const int64_t width = wrapped(hi - lo + 1) / bins;
  if (rule == Rule::kExact) return (v - lo) / width;
  const volatile float factor = static_cast<float>(1.0 / static_cast<double>(width));
  const volatile float offset = static_cast<float>(wrapped(v - lo));
  const volatile float scaled = offset * factor;
  const double index = std::trunc(static_cast<double>(scaled));
  if (index == static_cast<double>(bins)) return bins - 1;
  return index >= 0 && index < static_cast<double>(bins) ? static_cast<int64_t>(index) : -1;
}

inline std::vector<PointI32> histogram_int_twin(const std::vector<int32_t>& values, int32_t bins, int32_t lo,
                                                int32_t hi, bool cumulative, Rule rule) {
  const int64_t width = wrapped(int64_t{hi} - lo + 1) / bins;
  std::vector<PointI32> hist;
  for (int64_t i = 0; i < bins; ++i) hist.push_back({static_cast<int32_t>(wrapped(lo + i * width)), 0});
  for (int32_t v : values) {
    const int64_t bin = bin_twin(v, bins, lo, hi, rule);
    if (bin >= 0) hist[static_cast<std::size_t>(bin)].y += 1;
  }
  for (std::size_t i = 1; cumulative && i < hist.size(); ++i) hist[i].y += hist[i - 1].y;
  return hist;
}

}  // namespace vlix::test
