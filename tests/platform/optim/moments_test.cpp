// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "platform/optim/region.h"
#include "platform/optim/twins.h"
#include "support/simd_targets.h"
#include "vlix/optim.h"

namespace vlix::test {
namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

int32_t mean_deviation(const uint8_t* first, int32_t step, VlixSize size, double* mean, double* deviation) {
  return vlix_ippiMean_StdDev_8u_C1R(first, step, size, mean, deviation);
}
int32_t mean_deviation(const int8_t* first, int32_t step, VlixSize size, double* mean, double* deviation) {
  return vlix_ippiMean_StdDev_8s_C1R(first, step, size, mean, deviation);
}
int32_t mean_deviation(const float* first, int32_t step, VlixSize size, double* mean, double* deviation) {
  return vlix_ippiMean_StdDev_32f_C1R(first, step, size, mean, deviation);
}

struct Moments {
  double mean = -1.0, deviation = -1.0;
  template <class Pixel>
  explicit Moments(const Region<Pixel>& region) {
    EXPECT_EQ(mean_deviation(region.data(), region.step, region.size, &mean, &deviation), 0);
  }
};

double sum_of(const Region<uint8_t>& region) {
  double sum = -1.0;
  EXPECT_EQ(vlix_ippiSum_8u_C1R(region.data(), region.step, region.size, &sum), 0);
  return sum;
}

template <class Pixel>
void expect_refusals() {
  const Region<Pixel> region(5, 2);
  constexpr int32_t kRow = 5 * sizeof(Pixel);
  double mean = 7.0;
  double deviation = 8.0;
  EXPECT_NE(mean_deviation(static_cast<const Pixel*>(nullptr), kRow, {5, 2}, &mean, &deviation), 0);
  EXPECT_NE(mean_deviation(region.data(), kRow - 1, {5, 2}, &mean, &deviation), 0);
  EXPECT_NE(mean_deviation(region.data(), -kRow, {5, 2}, &mean, &deviation), 0);
  EXPECT_NE(mean_deviation(region.data(), kRow, {0, 2}, &mean, &deviation), 0);
  EXPECT_NE(mean_deviation(region.data(), kRow, {5, 0}, &mean, &deviation), 0);
  EXPECT_NE(mean_deviation(region.data(), kRow, {-5, 2}, nullptr, nullptr), 0);
  EXPECT_EQ(mean, 7.0);
  EXPECT_EQ(deviation, 8.0);
}

TEST(MeanStdDevArguments, WhatIsNoRegionIsRefused) {
  expect_refusals<uint8_t>();
  expect_refusals<int8_t>();
  expect_refusals<float>();
}

template <class Pixel>
void expect_optional_outputs() {
  const Region<Pixel> region(31, 3, 1, Fill::kNoise, 20);
  const Moments both(region);
  double value = 0.0;
  EXPECT_EQ(mean_deviation(region.data(), region.step, region.size, &value, nullptr), 0);
  EXPECT_EQ(value, both.mean);
  EXPECT_EQ(mean_deviation(region.data(), region.step, region.size, nullptr, &value), 0);
  EXPECT_EQ(value, both.deviation);
  EXPECT_EQ(mean_deviation(region.data(), region.step, region.size, nullptr, nullptr), 0);
}

TEST(MeanStdDevArguments, EitherOutputMayBeNull) {
  expect_optional_outputs<uint8_t>();
  expect_optional_outputs<int8_t>();
  expect_optional_outputs<float>();
}

TEST(Sum8uArguments, WhatIsNoRegionIsRefused) {
  const Region<uint8_t> region(5, 2);
  double sum = 7.0;
  EXPECT_NE(vlix_ippiSum_8u_C1R(nullptr, 5, {5, 2}, &sum), 0);
  EXPECT_NE(vlix_ippiSum_8u_C1R(region.data(), 4, {5, 2}, &sum), 0);
  EXPECT_NE(vlix_ippiSum_8u_C1R(region.data(), 5, {0, 2}, &sum), 0);
  EXPECT_NE(vlix_ippiSum_8u_C1R(region.data(), 5, {5, 0}, &sum), 0);
  EXPECT_NE(vlix_ippiSum_8u_C1R(region.data(), 5, {5, 2}, nullptr), 0);
  EXPECT_EQ(sum, 7.0);
}

using MomentsAt = SimdTargetTest;
VLIX_AT_ALL_TARGETS(MomentsAt);

// Sums of integers are exact, so that the rest is the twin's own arithmetic: no tolerance.
template <class Pixel>
void expect_twin(const Region<Pixel>& region) {
  const MomentsTwin<Pixel> expected(region.values());
  const Moments found(region);
  ASSERT_EQ(found.mean, expected.mean);
  ASSERT_EQ(found.deviation, expected.deviation);
}

TEST_P(MomentsAt, BytesEqualTheTwinForEveryShape) {
  for_each_shape<uint8_t>([](int32_t width, int32_t height, int32_t gap) {
    for (const Fill fill : kFills) {
      SCOPED_TRACE(testing::Message() << width << " x " << height << ", gap " << gap << ", " << name_of(fill));
      const Region<uint8_t> region(width, height, gap, fill, 21);
      expect_twin(region);
      ASSERT_EQ(sum_of(region), MomentsTwin<uint8_t>(region.values()).sum);
      expect_twin(Region<int8_t>(width, height, gap, fill, 22));
    }
  });
}

// Half of the pixels at each end of the type, neighbours apart: what overflows would be missing in the deviation. The
// row is long enough for 2^32 in one of 16 32-bit lanes, twice.
TEST_P(MomentsAt, LongRowsOfExtremesDoNotOverflow) {
  constexpr int32_t kWidth = 8600000;
  static_assert(int64_t{kWidth} / 64 * 255 * 255 > int64_t{2} << 32);
  std::vector<uint8_t> values(kWidth);
  for (std::size_t i = 0; i < values.size(); i += 2) values[i] = 255;
  const Region<uint8_t> region(kWidth, 1, 0, values);
  EXPECT_EQ(Moments(region).mean, 127.5);
  EXPECT_EQ(Moments(region).deviation, 127.5);
  EXPECT_EQ(sum_of(region), 127.5 * kWidth);
  double mean = 0.0;
  double deviation = 0.0;
  const auto* low = reinterpret_cast<const int8_t*>(region.data());
  for (std::size_t i = 0; i < values.size(); i += 2) {
    region.data()[i] = 0x80;
    region.data()[i + 1] = 0x7F;
  }
  EXPECT_EQ(mean_deviation(low, region.step, region.size, &mean, &deviation), 0);
  EXPECT_EQ(mean, -0.5);
  EXPECT_EQ(deviation, 127.5);
}

// The same with the pixels spread over rows that end in parts of a vector.
TEST_P(MomentsAt, ManyRowsOfTheLargestPixelDoNotOverflow) {
  constexpr int32_t kRows = 36000;
  for (const int32_t width : {65, 257}) {
    const Region<uint8_t> region(width, kRows, 3, Fill::kHighest, 0);
    region.at(0, 0) = 254;
    const double n = static_cast<double>(width) * kRows;
    const Moments moments(region);
    EXPECT_EQ(moments.mean, 255.0 - 1.0 / n);
    EXPECT_NEAR(moments.deviation, std::sqrt(1.0 / n - 1.0 / n / n), 1e-5);
  }
}

TEST_P(MomentsAt, SumPasses32Bits) {
  const Region<uint8_t> region(4200, 4100, 0, Fill::kHighest, 0);
  EXPECT_EQ(sum_of(region), 255.0 * 4200 * 4100);
}

// Halves of -128 and 127: mean -1/2, deviation 255/2.
TEST_P(MomentsAt, SignedExtremesCancel) {
  Region<int8_t> region(100, 6, 3);
  std::vector<int8_t> values;
  for (int i = 0; i < 600; ++i) values.push_back(i % 2 == 0 ? int8_t{-128} : int8_t{127});
  region.assign(values);
  EXPECT_EQ(Moments(region).mean, -0.5);
  EXPECT_EQ(Moments(region).deviation, 127.5);
}

// The sums are of deviations d from a pixel, |d| <= 2^21 here, each rounded to 53 bits, and every partial sum is
// rounded once for each of its n / 16 terms: the mean is off by at most (n / 16 + 4) * 2^-53 of the mean |d|, the
// variance by (n / 16 + 8) * 2^-52 of the mean d^2; dividing by the deviation gives its own error.
void expect_close_to_twin(const Region<float>& region) {
  const std::vector<float> pixels = region.values();
  const MomentsTwin<float> expected(pixels);
  const Moments found(region);
  double absolute = 0.0;
  double squares = 0.0;
  for (const float v : pixels) {
    const double d = static_cast<double>(v) - static_cast<double>(pixels[0]);
    absolute += std::fabs(d);
    squares += d * d;
  }
  const auto count = static_cast<double>(pixels.size());
  const double steps = count / 16.0 + 8.0;
  const double mean = static_cast<double>(expected.mean);
  const double deviation = static_cast<double>(expected.deviation);
  ASSERT_NEAR(found.mean, mean, steps * std::ldexp(absolute / count, -53) + std::ldexp(std::fabs(mean), -52));
  const double variance_error = 2.0 * steps * std::ldexp(squares / count, -52);
  ASSERT_NEAR(found.deviation, deviation,
              deviation > 0.0 ? variance_error / deviation + std::ldexp(deviation, -52) : std::sqrt(variance_error));
}

TEST_P(MomentsAt, FloatsAreCloseToTheTwinForEveryShape) {
  for_each_shape<float>([](int32_t width, int32_t height, int32_t gap) {
    for (const Fill fill : kFills) {
      SCOPED_TRACE(testing::Message() << width << " x " << height << ", gap " << gap << ", " << name_of(fill));
      expect_close_to_twin(Region<float>(width, height, gap, fill, 23));
    }
  });
}

// Every processor adds up in the same order.
TEST(MeanStdDev32f, EveryInstructionSetGivesTheSameBits) {
  for (const int32_t width : {1, 15, 16, 17, 31, 33, 100, 1001}) {
    const Region<float> region(width, 7, 1, Fill::kNoise, 24);
    const Moments expected(region);
    for (const int64_t target : simd_targets()) {
      const SimdTargetScope scope(target);
      const Moments found(region);
      EXPECT_EQ(found.mean, expected.mean) << width << ", " << hwy::TargetName(target);
      EXPECT_EQ(found.deviation, expected.deviation) << width << ", " << hwy::TargetName(target);
    }
  }
}

TEST_P(MomentsAt, ConstantFloatsDeviateByNothing) {
  for (const float value : {0.1f, -1.0e30f, 1.0e-40f, std::numeric_limits<float>::max()}) {
    const Region<float> region(1000, 37, 1, std::vector<float>(37000, value));
    EXPECT_EQ(Moments(region).mean, static_cast<double>(value));
    EXPECT_EQ(Moments(region).deviation, 0.0);
  }
}

// One unit of contrast on an offset of 2^23: the squares alone would cancel.
TEST_P(MomentsAt, SmallContrastOnALargeOffsetIsExact) {
  std::vector<float> values;
  for (int i = 0; i < 40000; ++i) values.push_back(8388608.0f + static_cast<float>(i % 2));
  const Region<float> region(200, 200, 3, values);
  EXPECT_EQ(Moments(region).mean, 8388608.5);
  EXPECT_EQ(Moments(region).deviation, 0.5);
}

TEST_P(MomentsAt, InfinitiesAndNotANumberBehaveAsInSums) {
  for (const int32_t x : {0, 1, 16, 20}) {
    Region<float> region(21, 2, 1, Fill::kNoise, 25);
    region.at(x, 0) = kInfinity;
    EXPECT_EQ(Moments(region).mean, kInfinity);
    EXPECT_TRUE(std::isnan(Moments(region).deviation));
    region.at(20, 1) = -kInfinity;
    EXPECT_TRUE(std::isnan(Moments(region).mean));
    EXPECT_TRUE(std::isnan(Moments(region).deviation));
    region.at(x, 0) = -kInfinity;
    EXPECT_EQ(Moments(region).mean, -kInfinity);
    region.at(x, 0) = kNan;
    EXPECT_TRUE(std::isnan(Moments(region).mean));
    EXPECT_TRUE(std::isnan(Moments(region).deviation));
  }
}

// The outlier is the value that deviations are taken from.
TEST_P(MomentsAt, FirstPixelFarFromTheOthersCostsNoNan) {
  std::vector<float> values(250000, 0.1f);
  values[0] = 3.0e38f;
  const Region<float> region(500, 500, 0, values);
  const double n = 250000.0;
  const double outlier = static_cast<double>(values[0]);
  // One outlier a among n: mean a / n, variance a^2 (n - 1) / n^2; the relative error is at most n * (n / 16) * 2^-52.
  EXPECT_NEAR(Moments(region).mean / (outlier / n), 1.0, 1e-6);
  EXPECT_NEAR(Moments(region).deviation / (outlier * std::sqrt(n - 1.0) / n), 1.0, 1e-6);
}

}  // namespace
}  // namespace vlix::test
