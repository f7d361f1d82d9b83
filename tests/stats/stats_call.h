// SPDX-License-Identifier: Apache-2.0
// Calls of vlix_stats with any subset of its sixteen results.
#pragma once

#include <gtest/gtest.h>

#include <cmath>

#include "stats/stats_twin.h"
#include "vlix/meas.h"

namespace vlix::test {

// Group 0 is of monochrome inputs, groups 1 to 3 are the channels; each has mean, deviation, minimum, maximum. A set of
// wanted values has bit 4 * group + value.
inline constexpr unsigned kValues = 16;
inline constexpr unsigned kMonochromeValues = 0xF;
inline constexpr unsigned kColourValues = 0xFFF0;
inline constexpr unsigned kAllValues = 0xFFFF;
inline constexpr float kUntouchedValue = -12345.5f;

struct StatsResults {
  StatsResults() {
    for (auto& group : value) {
      for (float& v : group) v = kUntouchedValue;
    }
  }
  bool untouched() const {
    for (const auto& group : value) {
      for (float v : group) {
        if (v != kUntouchedValue) return false;
      }
    }
    return true;
  }
  float value[4][4];
};

inline VlixImageHandle handle_of(const VlixImage& image) { return {VlixHandle_Image, {}, image}; }
inline VlixVectorHandle handle_of(const VlixVector& vector) { return {VlixHandle_Vector, {}, vector}; }

template <class Handle>
VlixStatus call_stats(const Handle& handle, StatsResults& results, unsigned wanted) {
  float* p[kValues];
  for (unsigned i = 0; i < kValues; ++i) p[i] = wanted & (1u << i) ? &results.value[i / 4][i % 4] : nullptr;
  return vlix_stats(reinterpret_cast<const VlixObj*>(&handle), p[0], p[1], p[2], p[3], p[4], p[5], p[6], p[7], p[8],
                    p[9], p[10], p[11], p[12], p[13], p[14], p[15]);
}

// All not-a-numbers are one.
inline bool same_value(float x, float y) { return x == y || (std::isnan(x) && std::isnan(y)); }

inline void expect_values(const StatsResults& results, int32_t group, const StatsTwin& expected) {
  const float values[4] = {expected.mean, expected.deviation, expected.min, expected.max};
  for (int32_t i = 0; i < 4; ++i) {
    EXPECT_TRUE(same_value(results.value[group][i], values[i]))
        << "value " << i << " of group " << group << ": " << results.value[group][i] << " is not " << values[i];
  }
}

inline void expect_subset(const StatsResults& results, const StatsResults& all, unsigned wanted) {
  for (unsigned i = 0; i < kValues; ++i) {
    const float expected = wanted & (1u << i) ? all.value[i / 4][i % 4] : kUntouchedValue;
    EXPECT_TRUE(same_value(results.value[i / 4][i % 4], expected)) << "value " << i << " of set " << wanted;
  }
}

}  // namespace vlix::test
