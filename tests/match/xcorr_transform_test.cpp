// SPDX-License-Identifier: Apache-2.0
// Correlation with the platform's own transform.
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <bit>
#include <cmath>
#include <vector>

#include "match/scores.h"
#include "match/xcorr_twin.h"
#include "support/test_image.h"
#include "vlix/meas.h"

namespace vlix::test {
namespace {

template <class Image, class Pattern>
double largest_share(TestImage<Image>& image, TestImage<Pattern>& pattern) {
  OutputImage dst;
  EXPECT_EQ(vlix_xCorr(&image.record, &pattern.record, &dst.record), 0);
  EXPECT_EQ(dst.record.type, static_cast<uint32_t>(ObjType_F32));
  EXPECT_EQ(dst.record.roiWidth, image.record.roiWidth);
  EXPECT_EQ(dst.record.roiHeight, image.record.roiHeight);
  const std::vector<double> expected = xcorr_twin(image, pattern);
  const std::vector<float> scores = region_values<float>(dst);
  double largest = 0;
  for (std::size_t i = 0; i < scores.size(); ++i) largest = std::max(largest, std::abs(scores[i] - expected[i]));
  return largest == 0 ? 0 : largest / xcorr_tolerance(image, pattern);
}

TEST(XCorrTransform, EveryPairOfTypesIsItsTwin) {
  uint64_t seed = 1;
  double largest = 0;
  for_all_pairs([&]<class Image, class Pattern>() {
    for (const VlixSize size : {VlixSize{1, 1}, {17, 9}, {31, 14}, {40, 3}}) {
      for (const VlixSize pattern_size : {VlixSize{1, 1}, {3, 3}, {4, 2}, {9, 8}, {50, 20}}) {
        FramedImage<Image> image(size.width, size.height, {1, 2, 0, 0}, kFills[seed % std::size(kFills)], seed);
        FramedImage<Pattern> pattern(pattern_size.width, pattern_size.height, {2, 0, 3, 1},
                                     kFills[seed / 7 % std::size(kFills)], seed + 1);
        const double share = largest_share(image, pattern);
        ASSERT_LE(share, 1.0) << "seed " << seed << " types " << image.record.type << " " << pattern.record.type;
        largest = std::max(largest, share);
        ++seed;
      }
    }
  });
  RecordProperty("largest", std::to_string(largest));
}

TEST(XCorrTransform, OnePixelPatternReproducesTheImageDividedByItsSize) {
  TestImage<uint8_t> image(13, 7, Fill::kNoise, 1);
  TestImage<uint8_t> pattern(1, 1);
  pattern.at(0, 0) = 1;
  OutputImage dst;
  ASSERT_EQ(vlix_xCorr(&image.record, &pattern.record, &dst.record), 0);
  for (int32_t y = 0; y < 7; ++y) {
    for (int32_t x = 0; x < 13; ++x) {
      EXPECT_NEAR(dst.at<float>(x, y), image.at(x, y) / 91.0, xcorr_tolerance(image, pattern));
    }
  }
}

TEST(XCorrTransform, OnePixelOfAPatternShiftsTheImage) {
  for (const auto& [u, v] : {std::pair<int32_t, int32_t>{1, 1}, {0, 0}, {2, 0}, {1, 2}}) {
    TestImage<int16_t> image(12, 9, Fill::kNoise, 2);
    TestImage<uint16_t> pattern(3, 3);
    pattern.at(u, v) = 1;
    OutputImage dst;
    ASSERT_EQ(vlix_xCorr(&image.record, &pattern.record, &dst.record), 0);
    for (int32_t y = 0; y < 9; ++y) {
      for (int32_t x = 0; x < 12; ++x) {
        const int32_t column = x + u - 1;
        const int32_t row = y + v - 1;
        const bool inside = column >= 0 && column < 12 && row >= 0 && row < 9;
        EXPECT_NEAR(dst.at<float>(x, y), inside ? image.at(column, row) / 108.0 : 0.0, xcorr_tolerance(image, pattern));
      }
    }
  }
}

TEST(XCorrTransform, ZerosCorrelateToExactZeros) {
  TestImage<uint8_t> image(20, 10, Fill::kNoise, 1);
  TestImage<float> zeros(6, 5);
  OutputImage dst;
  ASSERT_EQ(vlix_xCorr(&image.record, &zeros.record, &dst.record), 0);
  for (float score : region_values<float>(dst)) EXPECT_EQ(score, 0.0f);
}

TEST(XCorrTransform, LevelDoesNotChangeABit) {
  TestImage<uint8_t> image(61, 33, Fill::kNoise, 1);
  TestImage<uint8_t> pattern(8, 9, Fill::kNoise, 2);
  OutputImage dst[3];
  for (int32_t level : {0, 1, 2}) {
    const LevelScope scope(level);
    ASSERT_EQ(vlix_xCorr(&image.record, &pattern.record, &dst[level].record), 0);
  }
  EXPECT_EQ(region_values<float>(dst[0]), region_values<float>(dst[1]));
  EXPECT_EQ(region_values<float>(dst[0]), region_values<float>(dst[2]));
}

RC_GTEST_PROP(XCorrTransform, CorrelationIsLinearInTheImage, ()) {
  const auto width = *rc::gen::inRange(1, 60);
  const auto height = *rc::gen::inRange(1, 20);
  const auto seed = *rc::gen::arbitrary<uint64_t>();
  TestImage<int16_t> sum(width, height);
  TestImage<int8_t> a(width, height, Fill::kNoise, seed), b(width, height, Fill::kNoise, seed + 1);
  TestImage<uint8_t> pattern(7, 5, Fill::kNoise, seed + 2);
  for (int32_t i = 0; i < width * height; ++i) sum.data()[i] = static_cast<int16_t>(a.data()[i] + b.data()[i]);
  OutputImage of_sum, of_a, of_b;
  RC_ASSERT(vlix_xCorr(&sum.record, &pattern.record, &of_sum.record) == 0);
  RC_ASSERT(vlix_xCorr(&a.record, &pattern.record, &of_a.record) == 0);
  RC_ASSERT(vlix_xCorr(&b.record, &pattern.record, &of_b.record) == 0);
  const double bound = xcorr_tolerance(sum, pattern) + xcorr_tolerance(a, pattern) + xcorr_tolerance(b, pattern);
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      const double parts = double{of_a.at<float>(x, y)} + double{of_b.at<float>(x, y)};
      RC_ASSERT(std::abs(of_sum.at<float>(x, y) - parts) <= bound);
    }
  }
}

}  // namespace
}  // namespace vlix::test
