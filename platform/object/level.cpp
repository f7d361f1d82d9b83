// SPDX-License-Identifier: Apache-2.0
// The optimisation level of the process.

#include <atomic>
#include <cstdlib>
#include <string_view>

#include "vlix/object.h"

namespace {

constexpr int32_t kDefaultLevel = 1;

int32_t level_of_environment() {
  const char* text = std::getenv("VLIX_OPTIM_LEVEL");
  const std::string_view value = text == nullptr ? std::string_view() : std::string_view(text);
  return value == "0" || value == "1" || value == "2" ? value[0] - '0' : kDefaultLevel;
}

std::atomic<int32_t>& level() {
  static std::atomic<int32_t> value = level_of_environment();
  return value;
}

}  // namespace

int32_t VlixOptimGetLevel() { return level().load(std::memory_order_relaxed); }

int32_t VlixOptimSetLevel(int32_t value) {
  if (value < 0 || value > 2) return -1;
  level().store(value, std::memory_order_relaxed);
  return 0;
}
