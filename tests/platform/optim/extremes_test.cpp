// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <bit>
#include <limits>
#include <random>

#include "platform/optim/region.h"
#include "platform/optim/twins.h"
#include "support/simd_targets.h"
#include "vlix/optim.h"

namespace vlix::test {
namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

int32_t min_max(const uint8_t* first, int32_t step, VlixSize size, uint8_t* min, uint8_t* max) {
  return vlix_ippiMinMax_8u_C1R(first, step, size, min, max);
}
int32_t min_max(const float* first, int32_t step, VlixSize size, float* min, float* max) {
  return vlix_ippiMinMax_32f_C1R(first, step, size, min, max);
}

template <class Pixel>
struct Extremes {
  Pixel min{}, max{};
  explicit Extremes(const Region<Pixel>& region) {
    EXPECT_EQ(min_max(region.data(), region.step, region.size, &min, &max), 0);
  }
};

// Bits are compared: 0 is not -0, and a not-a-number is itself.
template <class Pixel>
void expect_twin(const Region<Pixel>& region) {
  const Extremes<Pixel> found(region);
  const ExtremesTwin<Pixel> expected(region.values());
  EXPECT_EQ(std::memcmp(&found.min, &expected.min, sizeof(Pixel)), 0) << +found.min << ", not " << +expected.min;
  EXPECT_EQ(std::memcmp(&found.max, &expected.max, sizeof(Pixel)), 0) << +found.max << ", not " << +expected.max;
}

template <class Pixel>
void expect_refusals() {
  const Region<Pixel> region(5, 2);
  constexpr int32_t kRow = 5 * sizeof(Pixel);
  Pixel min = 7;
  Pixel max = 8;
  EXPECT_NE(min_max(static_cast<const Pixel*>(nullptr), kRow, {5, 2}, &min, &max), 0);
  EXPECT_NE(min_max(region.data(), kRow - 1, {5, 2}, &min, &max), 0);
  EXPECT_NE(min_max(region.data(), -kRow, {5, 2}, &min, &max), 0);
  EXPECT_NE(min_max(region.data(), kRow, {0, 2}, &min, &max), 0);
  EXPECT_NE(min_max(region.data(), kRow, {5, 0}, &min, &max), 0);
  EXPECT_NE(min_max(region.data(), kRow, {5, -2}, nullptr, nullptr), 0);
  EXPECT_EQ(min, 7);
  EXPECT_EQ(max, 8);
}

TEST(MinMaxArguments, WhatIsNoRegionIsRefused) {
  expect_refusals<uint8_t>();
  expect_refusals<float>();
  // Half a pixel between the rows.
  const Region<float> region(5, 2, 1);
  float min = 0;
  EXPECT_NE(min_max(region.data(), 22, {5, 2}, &min, &min), 0);
  // The step must fit 64-bit arithmetic, not the size.
  EXPECT_NE(min_max(region.data(), 24, {0x40000001, 1}, &min, &min), 0);
}

template <class Pixel>
void expect_optional_outputs() {
  const Region<Pixel> region(100, 3, 1, Fill::kRamp, 0);
  Pixel value = 77;
  EXPECT_EQ(min_max(region.data(), region.step, region.size, &value, nullptr), 0);
  EXPECT_EQ(value, 0);
  EXPECT_EQ(min_max(region.data(), region.step, region.size, nullptr, &value), 0);
  EXPECT_EQ(value, Pixel(250));
  EXPECT_EQ(min_max(region.data(), region.step, region.size, nullptr, nullptr), 0);
}

TEST(MinMaxArguments, EitherOutputMayBeNull) {
  expect_optional_outputs<uint8_t>();
  expect_optional_outputs<float>();
}

using MinMax = SimdTargetTest;
VLIX_AT_ALL_TARGETS(MinMax);

template <class Pixel>
void expect_twin_for_all_shapes() {
  for_each_shape<Pixel>([](int32_t width, int32_t height, int32_t gap) {
    for (const Fill fill : kFills) {
      SCOPED_TRACE(testing::Message() << width << " x " << height << ", gap " << gap << ", " << name_of(fill));
      expect_twin(Region<Pixel>(width, height, gap, fill, 11));
    }
  });
}

TEST_P(MinMax, EqualsTheTwinForEveryShape) {
  expect_twin_for_all_shapes<uint8_t>();
  expect_twin_for_all_shapes<float>();
}

template <class Pixel>
void expect_no_position_is_missed(int32_t width, int32_t height, int32_t gap) {
  const Region<Pixel> region(width, height, gap, Fill::kConstant, 0);
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      const Pixel usual = region.at(x, y);
      region.at(x, y) = 1;
      expect_twin(region);
      region.at(x, y) = 200;
      expect_twin(region);
      region.at(x, y) = usual;
    }
  }
}

TEST_P(MinMax, NoPositionIsMissed) {
  expect_no_position_is_missed<uint8_t>(67, 2, 3);
  expect_no_position_is_missed<uint8_t>(300, 1, 0);
  expect_no_position_is_missed<float>(19, 3, 1);
  expect_no_position_is_missed<float>(83, 1, 0);
}

// Blocks end early once 0 and 255 are both there, and not when just one of them is.
TEST_P(MinMax, FullSpanEndsTheSearchOnlyWhenItIsComplete) {
  constexpr int32_t kWidth = 100000;
  for (const int32_t first : {0, 20000, 60000, 99999}) {
    for (const int32_t second : {1, 40000, 99998}) {
      const Region<uint8_t> region(kWidth, 1, 0, Fill::kConstant, 0);
      region.at(first, 0) = 0;
      expect_twin(region);
      region.at(second, 0) = 254;
      expect_twin(region);
      region.at(second, 0) = 255;
      expect_twin(region);
      region.at(first, 0) = 1;
      expect_twin(region);
    }
  }
}

TEST_P(MinMax, NotANumberCountsOnlyAsFirstPixel) {
  for (const int32_t width : {1, 2, 15, 16, 17, 40, 70}) {
    Region<float> region(width, 3, 2, Fill::kNoise, 12);
    region.at(0, 0) = kNan;
    EXPECT_TRUE(std::isnan(Extremes<float>(region).min));
    EXPECT_TRUE(std::isnan(Extremes<float>(region).max));
    region.assign(std::vector<float>(region.count(), kNan));
    region.at(0, 0) = -4.5f;
    EXPECT_EQ(Extremes<float>(region).min, -4.5f);
    EXPECT_EQ(Extremes<float>(region).max, -4.5f);
    for (int32_t x = 0; x < width; ++x) {
      region.at(x, 2) = 5.5f;
      expect_twin(region);
      region.at(x, 2) = -5.5f;
      expect_twin(region);
      region.at(x, 2) = kNan;
    }
  }
}

// Bit for bit what a walk from the first pixel on finds, whatever the mixture.
TEST_P(MinMax, SpecialValuesInAnyOrderEqualTheTwin) {
  constexpr float kTiny = std::numeric_limits<float>::denorm_min();
  const std::vector<std::vector<float>> mixtures = {{0.0f, -0.0f},
                                                    {0.0f, -0.0f, 1.0f},
                                                    {0.0f, -0.0f, -1.0f, kNan},
                                                    {0.0f, -0.0f, kTiny, -kTiny},
                                                    {kInfinity, -kInfinity, kNan, 3.0f},
                                                    {-0.0f, kInfinity, kNan}};
  std::mt19937_64 random(13);
  for (int round = 0; round < 300; ++round) {
    for (const std::vector<float>& mixture : mixtures) {
      Region<float> region(1 + static_cast<int32_t>(random() % 50), 1 + round % 3, round % 2);
      std::vector<float> values(region.count());
      for (float& value : values) value = mixture[random() % mixture.size()];
      region.assign(values);
      SCOPED_TRACE(testing::Message() << "round " << round << ", width " << region.size.width);
      expect_twin(region);
    }
  }
}

TEST_P(MinMax, LateZeroOfEitherSignIsFound) {
  for (const float zero : {0.0f, -0.0f}) {
    for (const int32_t x : {0, 1, 16, 30, 63, 64, 98, 99}) {
      Region<float> region(100, 2, 1, std::vector<float>(200, 2.5f));
      region.at(x, 1) = zero;
      expect_twin(region);
      region.assign(std::vector<float>(200, -2.5f));
      region.at(x, 1) = zero;
      expect_twin(region);
    }
  }
}

}  // namespace
}  // namespace vlix::test
