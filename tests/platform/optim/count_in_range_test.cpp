// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "platform/optim/region.h"
#include "platform/optim/twins.h"
#include "support/simd_targets.h"
#include "vlix/optim.h"

namespace vlix::test {
namespace {

int32_t count(const Region<uint8_t>& region, int lower, int upper) {
  int32_t counted = -1;
  EXPECT_EQ(vlix_ippiCountInRange_8u_C1R(region.data(), region.step, region.size, &counted, static_cast<uint8_t>(lower),
                                         static_cast<uint8_t>(upper)),
            0);
  return counted;
}

TEST(CountInRange8uArguments, WhatIsNoRegionIsRefused) {
  const Region<uint8_t> region(5, 2);
  int32_t counted = -1;
  EXPECT_NE(vlix_ippiCountInRange_8u_C1R(nullptr, 5, {5, 2}, &counted, 0, 255), 0);
  EXPECT_NE(vlix_ippiCountInRange_8u_C1R(region.data(), 4, {5, 2}, &counted, 0, 255), 0);
  EXPECT_NE(vlix_ippiCountInRange_8u_C1R(region.data(), 5, {0, 2}, &counted, 0, 255), 0);
  EXPECT_NE(vlix_ippiCountInRange_8u_C1R(region.data(), 5, {5, -2}, &counted, 0, 255), 0);
  EXPECT_NE(vlix_ippiCountInRange_8u_C1R(region.data(), 5, {5, 2}, nullptr, 0, 255), 0);
  EXPECT_EQ(counted, -1);
}

TEST(CountInRange8uArguments, ReversedRangeIsEmpty) {
  EXPECT_EQ(count(Region<uint8_t>(5, 2, 0, Fill::kConstant, 0), 38, 37), 0);
  EXPECT_EQ(count(Region<uint8_t>(5, 2, 0, Fill::kConstant, 0), 255, 0), 0);
}

using CountInRange8u = SimdTargetTest;
VLIX_AT_ALL_TARGETS(CountInRange8u);

TEST_P(CountInRange8u, EqualsTheTwinForEveryShape) {
  for_each_shape<uint8_t>([](int32_t width, int32_t height, int32_t gap) {
    SCOPED_TRACE(testing::Message() << width << " x " << height << ", gap " << gap);
    for (const Fill fill : kFills) {
      const Region<uint8_t> region(width, height, gap, fill, 7);
      ASSERT_EQ(count(region, 1, 255), count_in_range_twin(region.values(), 1, 255)) << name_of(fill);
      ASSERT_EQ(count(region, 20, 200), count_in_range_twin(region.values(), 20, 200)) << name_of(fill);
    }
  });
}

TEST_P(CountInRange8u, EveryPairOfBounds) {
  const Region<uint8_t> region(67, 3, 1, Fill::kNoise, 8);
  const auto pixels = region.values();
  for (int lower = 0; lower < 256; ++lower) {
    int32_t expected = 0;
    for (int upper = lower; upper < 256; ++upper) {
      expected += count_in_range_twin(pixels, upper, upper);
      ASSERT_EQ(count(region, lower, upper), expected) << lower << " .. " << upper;
    }
  }
}

// Byte counters hold 255.
TEST_P(CountInRange8u, LongRowsDoNotOverflowByteCounters) {
  for (const int32_t gap : {0, 1}) {
    const Region<uint8_t> region(70001, 5, gap, Fill::kHighest, 0);
    EXPECT_EQ(count(region, 0, 254), 0);
    EXPECT_EQ(count(region, 255, 255), 350005);
    EXPECT_EQ(count(region, 0, 255), 350005);
  }
}

}  // namespace
}  // namespace vlix::test
