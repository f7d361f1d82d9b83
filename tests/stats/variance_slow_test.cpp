// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "stats/variance_twin.h"
#include "support/test_image.h"
#include "vlix/meas.h"

namespace vlix::test {
namespace {

template <class Pixel>
void expect_like_twin(int32_t width, int32_t height, int32_t kernel_width, int32_t kernel_height, bool deviation) {
  TestImage<Pixel> image(width, height, Fill::kNoise, 1);
  OutputImage mean;
  OutputImage variance;
  ASSERT_EQ(vlix_variance(&image.record, &mean.record, &variance.record, deviation, kernel_width, kernel_height), 0);
  const auto size = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  const VarianceTwin twin = variance_twin(std::vector<Pixel>(image.data(), image.data() + size), width, height,
                                          kernel_width, kernel_height, deviation);
  const auto* means = static_cast<const float*>(mean.record.data);
  const auto* variances = static_cast<const float*>(variance.record.data);
  std::size_t different = 0;
  for (std::size_t i = 0; i < size; ++i) {
    const bool both_nan = std::isnan(variances[i]) && std::isnan(twin.variance[i]);
    different += std::memcmp(&means[i], &twin.mean[i], sizeof(float)) != 0 ||
                 (!both_nan && std::memcmp(&variances[i], &twin.variance[i], sizeof(float)) != 0);
  }
  EXPECT_EQ(different, 0u);
}

// Beyond 2^24 the count itself is rounded where a float divides, and is not where a double does.
TEST(VarianceSlow, WindowsOfMoreSamplesThanFloatsCount) {
  expect_like_twin<uint8_t>(9000000, 2, 17999998, 2, false);
  expect_like_twin<uint8_t>(4200, 4100, 8001, 8001, false);
}

TEST(VarianceSlow, LargeImagesOfAllTypes) {
  expect_like_twin<uint8_t>(2048, 1031, 7, 7, false);
  expect_like_twin<int8_t>(2048, 1031, 255, 31, true);
  expect_like_twin<uint16_t>(2048, 1031, 31, 31, false);
  expect_like_twin<int16_t>(2048, 1031, 64, 600, true);
  expect_like_twin<float>(2048, 1031, 31, 31, true);
}

}  // namespace
}  // namespace vlix::test
