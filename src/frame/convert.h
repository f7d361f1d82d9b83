// SPDX-License-Identifier: Apache-2.0
// Floats become 32-bit integers in one way everywhere.
#pragma once

#include <cstdint>
#include <limits>

namespace vlix {

// Truncation toward zero; not-a-number and values that do not fit give -2147483648.
inline int32_t truncate_to_int32(double value) {
  constexpr double kBelow = -2147483649.0;
  constexpr double kAbove = 2147483648.0;
  return value > kBelow && value < kAbove ? static_cast<int32_t>(value) : std::numeric_limits<int32_t>::min();
}

inline int32_t truncate_to_int32(float value) {
  // -2147483648 is the float next to the lower bound, so that equality covers all of the range.
  constexpr float kLowest = -2147483648.0f;
  constexpr float kAbove = 2147483648.0f;
  return value >= kLowest && value < kAbove ? static_cast<int32_t>(value) : std::numeric_limits<int32_t>::min();
}

}  // namespace vlix
