// SPDX-License-Identifier: Apache-2.0
// 32-bit integer arithmetic that wraps.
#pragma once

#include <cstdint>

namespace vlix {

constexpr int32_t wrap_add(int32_t a, int32_t b) {
  return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}
constexpr int32_t wrap_subtract(int32_t a, int32_t b) {
  return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}
constexpr int32_t wrap_multiply(int32_t a, int32_t b) {
  return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}

}  // namespace vlix
