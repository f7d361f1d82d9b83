// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "geometry/interpolation_twin.h"
#include "support/test_image.h"
#include "vlix/meas.h"

namespace vlix::test {
namespace {

template <class Pixel>
class Interpolation : public ::testing::Test {};
using PixelTypes = ::testing::Types<uint8_t, int8_t, uint16_t, int16_t, float>;
TYPED_TEST_SUITE(Interpolation, PixelTypes);

template <class Pixel>
PixelSource pixels_of(TestImage<Pixel>& image) {
  return [&image](int x, int y) { return static_cast<float>(image.at(x, y)); };
}

float point(const VlixImage& image, float x, float y, int32_t mode) {
  float value = -1;
  EXPECT_EQ(vlix_samplepath_point(&image, {x, y}, &value, mode), 0);
  return value;
}

// One sample: a path of one vertex twice has length 0 and is skipped, so the sample is the start of a short line.
float aware(const VlixImage& image, float x, float y, int32_t mode, const VlixInvalidValue& invalid) {
  OutputVector values;
  const float towards = x >= 0.5f ? x - 0.5f : x + 0.5f;
  EXPECT_EQ(vlix_samplepath_line(&image, {x, y}, {towards, y}, &values.record, nullptr, nullptr, 5.0f, mode,
                                 reinterpret_cast<const VlixObj*>(&invalid)),
            0);
  return values.values<float>().at(0);
}

template <class Pixel>
VlixInvalidValue invalid_value(Pixel value) {
  VlixInvalidValue invalid = {};
  invalid.type = code_of<Pixel>();
  std::memcpy(&invalid.value, &value, sizeof(value));
  return invalid;
}

TYPED_TEST(Interpolation, RandomPositionsMatchTheTwin) {
  TestImage<TypeParam> image(23, 17, Fill::kNoise, 5);
  const PixelSource pixel = pixels_of(image);
  std::mt19937 random(6);
  std::uniform_real_distribution<float> x(0.0f, 22.0f);
  std::uniform_real_distribution<float> y(0.0f, 16.0f);
  for (int i = 0; i < 500; ++i) {
    const float px = i % 5 == 0 ? std::floor(x(random)) : i % 7 == 0 ? std::floor(x(random)) + 0.5f : x(random);
    const float py = i % 3 == 0 ? std::floor(y(random)) : y(random);
    if (px > 22.0f) continue;
    EXPECT_EQ(point(image.record, px, py, 0), nearest_twin(pixel, px, py)) << px << " " << py;
    EXPECT_EQ(point(image.record, px, py, 1), bilinear_twin(pixel, px, py)) << px << " " << py;
  }
}

TYPED_TEST(Interpolation, WholePositionsReadThePixelInEveryMode) {
  TestImage<TypeParam> image(5, 4, Fill::kNoise, 7);
  const VlixInvalidValue invalid = invalid_value<TypeParam>(TypeParam(1));
  for (int y = 0; y < 4; ++y) {
    for (int x = 0; x < 5; ++x) {
      const float expected = static_cast<float>(image.at(x, y));
      const float px = static_cast<float>(x);
      const float py = static_cast<float>(y);
      for (int32_t mode : {0, 1}) {
        EXPECT_EQ(point(image.record, px, py, mode), expected);
        EXPECT_EQ(aware(image.record, px, py, mode, invalid), expected);
      }
    }
  }
}

TYPED_TEST(Interpolation, InvalidCornersInEveryCombination) {
  std::mt19937 random(8);
  for (int mask = 0; mask < 16; ++mask) {
    TestImage<TypeParam> image(2, 2);
    for (int i = 0; i < 4; ++i) image.data()[i] = static_cast<TypeParam>((mask >> i) % 2 == 1 ? 99 : 10 * i + 3);
    const VlixInvalidValue invalid = invalid_value<TypeParam>(TypeParam(99));
    const PixelSource pixel = pixels_of(image);
    for (int i = 0; i < 80; ++i) {
      const float x = static_cast<float>(random() % 17) / 16.0f;
      const float y = static_cast<float>(random() % 17) / 16.0f;
      EXPECT_EQ(aware(image.record, x, y, 0, invalid), aware_nearest_twin(pixel, x, y, 99))
          << mask << " " << x << " " << y;
      EXPECT_EQ(aware(image.record, x, y, 1, invalid), aware_bilinear_twin(pixel, x, y, 99))
          << mask << " " << x << " " << y;
    }
  }
}

TYPED_TEST(Interpolation, LinesReadWhatPointsRead) {
  for (int32_t width : {1, 2, 3, 40, 131}) {
    for (int32_t height : {1, 2, 33}) {
      TestImage<TypeParam> image(width, height, Fill::kNoise, 9);
      for (int32_t mode : {0, 1}) {
        OutputVector values;
        OutputVector positions;
        int32_t count = 0;
        ASSERT_EQ(
            vlix_samplepath_line(&image.record, {0, 0}, {static_cast<float>(width - 1), static_cast<float>(height - 1)},
                                 &values.record, &positions.record, &count, 0.0625f, mode, nullptr),
            0);
        const auto value = values.values<float>();
        const auto position = positions.values<PointF32>();
        ASSERT_EQ(value.size(), position.size());
        if (width == 1 && height == 1) continue;  // no direction, no samples
        for (std::size_t i = 0; i < value.size(); ++i) {
          EXPECT_EQ(value[i], point(image.record, position[i].x, position[i].y, mode))
              << width << "x" << height << " " << i;
        }
      }
    }
  }
}

TEST(InterpolationCases, BilinearMiddleOfFour) {
  TestImage<uint8_t> image(2, 2);
  image.assign({0, 10, 20, 30});
  EXPECT_EQ(point(image.record, 0.5f, 0.5f, 1), 15.0f);
}

TEST(InterpolationCases, OnlyTheLastCornerInvalid) {
  TestImage<uint8_t> image(2, 2);
  image.assign({0, 10, 20, 255});
  const VlixInvalidValue invalid = invalid_value<uint8_t>(255);
  EXPECT_EQ(aware(image.record, 0.25f, 0.25f, 1, invalid), 0.5f * 0 + 0.25f * 10 + 0.25f * 20);
  EXPECT_EQ(aware(image.record, 0.75f, 0.75f, 1, invalid), 10.0f) << "b and c have equal scores: the earlier one";
}

TEST(InterpolationCases, AllCornersInvalidGiveTheInvalidValue) {
  TestImage<int16_t> image(2, 2);
  image.assign({-7, -7, -7, -7});
  const VlixInvalidValue invalid = invalid_value<int16_t>(-7);
  EXPECT_EQ(aware(image.record, 0.3f, 0.6f, 1, invalid), -7.0f);
  EXPECT_EQ(aware(image.record, 0.3f, 0.6f, 0, invalid), -7.0f);
}

TEST(InterpolationCases, NotANumberIsNeverInvalid) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  TestImage<float> image(2, 2);
  image.assign({1, 2, nan, 4});
  const VlixInvalidValue invalid = invalid_value<float>(nan);
  EXPECT_EQ(aware(image.record, 0.9f, 0.1f, 0, invalid), 2.0f);
  EXPECT_TRUE(std::isnan(aware(image.record, 0.25f, 0.5f, 1, invalid)));
}

TEST(InterpolationCases, HalfGoesUpPlainAndStaysLeftInvalidAware) {
  TestImage<uint8_t> image(4, 1);
  image.assign({1, 2, 3, 4});
  EXPECT_EQ(point(image.record, 2.5f, 0.0f, 0), 4.0f);
  EXPECT_EQ(aware(image.record, 2.5f, 0.0f, 0, invalid_value<uint8_t>(99)), 3.0f);
}

TEST(InterpolationCases, InfinityBesideAWholePositionStaysOut) {
  const float inf = std::numeric_limits<float>::infinity();
  TestImage<float> image(3, 1);
  image.assign({5, 6, inf});
  EXPECT_EQ(point(image.record, 1.0f, 0.0f, 1), 6.0f);
  OutputVector values;
  ASSERT_EQ(vlix_samplepath_line(&image.record, {0, 0}, {1, 0}, &values.record, nullptr, nullptr, 0.5f, 1, nullptr), 0);
  EXPECT_EQ(values.values<float>(), (std::vector<float>{5.0f, 5.5f, 6.0f}));
}

TEST(InterpolationCases, ColourChannelsComeReversed) {
  TestImage<Rgba> image(2, 1);
  image.data()[0] = {{10, 20, 30, 77}};
  image.data()[1] = {{20, 40, 60, 99}};
  for (ObjType type : {ObjType_Rgba8, ObjType_Colour20, ObjType_Colour21, ObjType_Colour30}) {
    image.record.type = type;
    float result[3];
    ASSERT_EQ(vlix_samplepath_point(&image.record, {0, 0}, result, 1), 0);
    EXPECT_EQ(result[0], 30.0f);
    EXPECT_EQ(result[1], 20.0f);
    EXPECT_EQ(result[2], 10.0f);
    ASSERT_EQ(vlix_samplepath_point(&image.record, {0.25f, 0}, result, 1), 0);
    EXPECT_EQ(result[0], 37.5f);
    EXPECT_EQ(result[2], 12.5f);
    ASSERT_EQ(vlix_samplepath_point(&image.record, {0.5f, 0}, result, 0), 0);
    EXPECT_EQ(result[1], 40.0f);
  }
}

}  // namespace
}  // namespace vlix::test
