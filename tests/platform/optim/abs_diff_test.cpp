// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "platform/optim/region.h"
#include "platform/optim/twins.h"
#include "support/simd_targets.h"
#include "vlix/optim.h"

namespace vlix::test {
namespace {

int32_t abs_diff(const Region<uint8_t>& a, const Region<uint8_t>& b, const Region<uint8_t>& dst) {
  return vlix_ippiAbsDiff_8u_C1R(a.data(), a.step, b.data(), b.step, dst.data(), dst.step, dst.size);
}

TEST(AbsDiff8uArguments, WhatIsNoRegionIsRefused) {
  const Region<uint8_t> a(5, 2), b(5, 2), dst(5, 2);
  const auto before = dst.values();
  const auto call = [&](const uint8_t* first, int32_t first_step, const uint8_t* second, int32_t second_step,
                        uint8_t* to, int32_t to_step, VlixSize size) {
    return vlix_ippiAbsDiff_8u_C1R(first, first_step, second, second_step, to, to_step, size);
  };
  EXPECT_NE(call(nullptr, 5, b.data(), 5, dst.data(), 5, {5, 2}), 0);
  EXPECT_NE(call(a.data(), 5, nullptr, 5, dst.data(), 5, {5, 2}), 0);
  EXPECT_NE(call(a.data(), 5, b.data(), 5, nullptr, 5, {5, 2}), 0);
  EXPECT_NE(call(a.data(), 4, b.data(), 5, dst.data(), 5, {5, 2}), 0);
  EXPECT_NE(call(a.data(), 5, b.data(), -5, dst.data(), 5, {5, 2}), 0);
  EXPECT_NE(call(a.data(), 5, b.data(), 5, dst.data(), 0, {5, 2}), 0);
  EXPECT_NE(call(a.data(), 5, b.data(), 5, dst.data(), 5, {0, 2}), 0);
  EXPECT_NE(call(a.data(), 5, b.data(), 5, dst.data(), 5, {5, 0}), 0);
  EXPECT_NE(call(a.data(), 5, b.data(), 5, dst.data(), 5, {-1, -1}), 0);
  EXPECT_EQ(dst.values(), before);
}

using AbsDiff8u = SimdTargetTest;
VLIX_AT_ALL_TARGETS(AbsDiff8u);

TEST_P(AbsDiff8u, EqualsTheTwinAndStaysInsideItsRegion) {
  for_each_shape<uint8_t>([](int32_t width, int32_t height, int32_t gap) {
    SCOPED_TRACE(testing::Message() << width << " x " << height << ", gap " << gap);
    const Region<uint8_t> a(width, height, gap, Fill::kNoise, 1);
    const Region<uint8_t> b(width, height, gap == 0 ? 0 : gap + 1, Fill::kNoise, 2);
    const Region<uint8_t> dst(width, height, gap == 0 ? 0 : gap + 2);
    ASSERT_EQ(abs_diff(a, b, dst), 0);
    ASSERT_EQ(dst.values(), abs_diff_twin(a.values(), b.values()));
    ASSERT_TRUE(dst.gaps_are_untouched());
  });
}

TEST_P(AbsDiff8u, OneGapAmongThreeRegionsKeepsTheRowsApart) {
  for (int which = 0; which < 3; ++which) {
    const Region<uint8_t> a(70, 4, which == 0, Fill::kNoise, 3);
    const Region<uint8_t> b(70, 4, which == 1, Fill::kNoise, 4);
    const Region<uint8_t> dst(70, 4, which == 2);
    ASSERT_EQ(abs_diff(a, b, dst), 0);
    EXPECT_EQ(dst.values(), abs_diff_twin(a.values(), b.values()));
    EXPECT_TRUE(dst.gaps_are_untouched());
  }
}

TEST_P(AbsDiff8u, EveryPairOfValues) {
  const Region<uint8_t> a(256, 256), b(256, 256), dst(256, 256);
  for (int32_t y = 0; y < 256; ++y) {
    for (int32_t x = 0; x < 256; ++x) {
      a.at(x, y) = static_cast<uint8_t>(x);
      b.at(x, y) = static_cast<uint8_t>(y);
    }
  }
  ASSERT_EQ(abs_diff(a, b, dst), 0);
  EXPECT_EQ(dst.values(), abs_diff_twin(a.values(), b.values()));
}

TEST_P(AbsDiff8u, ResultMayReplaceEitherInput) {
  for (const int32_t width : {1, 15, 64, 130}) {
    const Region<uint8_t> a(width, 3, 2, Fill::kNoise, 5);
    const Region<uint8_t> b(width, 3, 2, Fill::kNoise, 6);
    const auto first = abs_diff_twin(a.values(), b.values());
    const auto second = abs_diff_twin(a.values(), first);
    ASSERT_EQ(abs_diff(a, b, b), 0);
    EXPECT_EQ(b.values(), first);
    ASSERT_EQ(abs_diff(a, b, a), 0);
    EXPECT_EQ(a.values(), second);
  }
}

}  // namespace
}  // namespace vlix::test
