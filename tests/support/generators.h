// SPDX-License-Identifier: Apache-2.0
// Test data: every seed is fixed and printed by the tests that fail.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

namespace vlix::test {

enum class Fill { kNoise, kLowest, kHighest, kConstant, kNearConstant, kOneHot, kRamp };

inline constexpr Fill kFills[] = {Fill::kNoise,        Fill::kLowest, Fill::kHighest, Fill::kConstant,
                                  Fill::kNearConstant, Fill::kOneHot, Fill::kRamp};

inline std::string name_of(Fill fill) {
  switch (fill) {
    case Fill::kNoise: return "Noise";
    case Fill::kLowest: return "Lowest";
    case Fill::kHighest: return "Highest";
    case Fill::kConstant: return "Constant";
    case Fill::kNearConstant: return "NearConstant";
    case Fill::kOneHot: return "OneHot";
    case Fill::kRamp: return "Ramp";
  }
  return "?";
}

// Extremes of a type as test data: floats stay where squares of many of them are finite.
template <class T>
constexpr T lowest_value() {
  if constexpr (std::is_floating_point_v<T>) return T(-1.0e6);
  return std::numeric_limits<T>::lowest();
}
template <class T>
constexpr T highest_value() {
  if constexpr (std::is_floating_point_v<T>) return T(1.0e6);
  return std::numeric_limits<T>::max();
}

template <class T>
T random_value(std::mt19937_64& random) {
  if constexpr (std::is_floating_point_v<T>) {
    return std::uniform_real_distribution<T>(T(-1000), T(1000))(random);
  } else {
    return static_cast<T>(random());
  }
}

template <class T>
void fill_with(std::vector<T>& values, Fill fill, uint64_t seed) {
  std::mt19937_64 random(seed);
  const T constant = std::is_floating_point_v<T> ? T(37.25) : T(37);
  switch (fill) {
    case Fill::kNoise:
      for (T& value : values) value = random_value<T>(random);
      break;
    case Fill::kLowest: std::fill(values.begin(), values.end(), lowest_value<T>()); break;
    case Fill::kHighest: std::fill(values.begin(), values.end(), highest_value<T>()); break;
    case Fill::kConstant: std::fill(values.begin(), values.end(), constant); break;
    case Fill::kNearConstant:
      for (T& value : values) value = static_cast<T>(constant + static_cast<T>(random() % 2));
      break;
    case Fill::kOneHot:
      std::fill(values.begin(), values.end(), T(0));
      if (!values.empty()) values[random() % values.size()] = highest_value<T>();
      break;
    case Fill::kRamp:
      for (std::size_t i = 0; i < values.size(); ++i) values[i] = static_cast<T>(i % 251);
      break;
  }
}

}  // namespace vlix::test
