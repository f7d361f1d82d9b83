// SPDX-License-Identifier: Apache-2.0
// Coefficients against their twin, bit by bit on the plain route, and the properties of the measure.
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "match/nxcorr_twin.h"
#include "match/scores.h"
#include "support/test_image.h"
#include "vlix/meas.h"

namespace vlix::test {
namespace {

constexpr int32_t kTemplateWidths[] = {1, 2, 5, 8, 19};
constexpr int32_t kScoreWidths[] = {1, 2, 7, 8, 9, 31, 32, 33, 40, 63, 64, 65, 75, 130};
constexpr int32_t kTemplateHeights[] = {1, 3, 6};

template <class Target, class Template>
void expect_twin_bits(TestImage<Target>& target, TestImage<Template>& templ) {
  const LevelScope level(0);
  OutputImage dst;
  ASSERT_EQ(vlix_nxcorr(&target.record, &templ.record, &dst.record), 0);
  ASSERT_EQ(dst.record.roiWidth, target.record.roiWidth - templ.record.roiWidth + 1);
  ASSERT_EQ(dst.record.roiHeight, target.record.roiHeight - templ.record.roiHeight + 1);
  for (int32_t y = 0; y < dst.record.roiHeight; ++y) {
    for (int32_t x = 0; x < dst.record.roiWidth; ++x) {
      const float expected = nxcorr_twin_at(target, templ, x, y);
      ASSERT_EQ(std::bit_cast<uint32_t>(dst.at<float>(x, y)), std::bit_cast<uint32_t>(expected))
          << dst.at<float>(x, y) << " instead of " << expected << " at " << x << " " << y << ", types "
          << target.record.type << " " << templ.record.type << ", template " << templ.record.roiWidth << "x"
          << templ.record.roiHeight << " over " << dst.record.roiWidth << "x" << dst.record.roiHeight;
    }
  }
}

TEST(NxcorrScores, PlainRouteIsTheTwinBitByBitForEveryPairOfTypes) {
  uint64_t seed = 1;
  for_all_pairs([&]<class Target, class Template>() {
    for (int32_t width : kTemplateWidths) {
      for (int32_t columns : kScoreWidths) {
        const int32_t height = kTemplateHeights[seed % std::size(kTemplateHeights)];
        const auto rows = 1 + static_cast<int32_t>(seed % 4);
        const auto at = [&](uint64_t shift) { return static_cast<int32_t>(seed >> shift & 3); };
        FramedImage<Target> target(columns + width - 1, rows + height - 1, {at(0), at(1), seed % 2 == 0 ? 0 : at(2), 0},
                                   kFills[seed % std::size(kFills)], seed);
        FramedImage<Template> templ(width, height, {at(3), at(4), 0, 0}, kFills[seed / 7 % std::size(kFills)],
                                    seed + 1);
        expect_twin_bits(target, templ);
        ++seed;
      }
    }
  });
}

// Float images of integers take the same road as integer images; one pixel that is none must not.
TEST(NxcorrScores, OnePixelThatIsNoIntegerChangesTheRoadAndNotTheResult) {
  for (float strange : {0.5f, -3.25f, 65536.0f, 65535.5f, 1e30f, -0.0f, std::numeric_limits<float>::denorm_min(),
                        std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()}) {
    TestImage<float> target(90, 9, Fill::kRamp, 0);
    TestImage<float> templ(6, 3, Fill::kRamp, 0);
    TestImage<float> strange_target(90, 9, Fill::kRamp, 0);
    TestImage<float> strange_template(6, 3, Fill::kRamp, 0);
    strange_target.at(40, 1) = strange;
    strange_target.at(89, 8) = strange;
    strange_template.at(5, 2) = strange;
    expect_twin_bits(strange_target, templ);
    expect_twin_bits(target, strange_template);
  }
}

TEST(NxcorrScores, ProductsThatFillAFloatAreStillExact) {
  // 255 * 255 * 258 < 2^24 < 255 * 255 * 259.
  for (int32_t width : {257, 258, 259, 516, 517}) {
    TestImage<uint8_t> target(width + 70, 3, Fill::kHighest, 0);
    TestImage<uint8_t> templ(width, 2, Fill::kHighest, 0);
    target.at(40, 1) = 254;
    target.at(100, 2) = 254;
    templ.at(17, 1) = 254;
    expect_twin_bits(target, templ);
  }
}

TEST(NxcorrScores, LargeFloatOffsetsAreRoundedAsDefined) {
  TestImage<float> target(100, 9);
  TestImage<float> templ(7, 5);
  std::mt19937_64 random(5);
  for (float offset : {0.1f, 1e3f, 1e6f, 1e30f}) {
    for (int32_t y = 0; y < 9; ++y) {
      for (int32_t x = 0; x < 100; ++x) target.at(x, y) = offset * (1.0f + 1e-3f * random_value<float>(random));
    }
    for (int32_t v = 0; v < 5; ++v) {
      for (int32_t u = 0; u < 7; ++u) templ.at(u, v) = offset * (1.0f + 1e-6f * random_value<float>(random));
    }
    expect_twin_bits(target, templ);
  }
}

TEST(NxcorrScores, TemplateScoresOneAtItsPlaceAndItsNegativeMinusOne) {
  for (int32_t level : {0, 1, 2}) {
    const LevelScope scope(level);
    TestImage<uint8_t> target(60, 20, Fill::kNoise, 4);
    TestImage<uint8_t> templ(9, 7), negative(9, 7);
    for (int32_t v = 0; v < 7; ++v) {
      for (int32_t u = 0; u < 9; ++u) {
        templ.at(u, v) = target.at(31 + u, 11 + v);
        negative.at(u, v) = static_cast<uint8_t>(255 - templ.at(u, v));
      }
    }
    OutputImage dst;
    ASSERT_EQ(vlix_nxcorr(&target.record, &templ.record, &dst.record), 0);
    EXPECT_NEAR(dst.at<float>(31, 11), 1.0, 2e-6);
    ASSERT_EQ(vlix_nxcorr(&target.record, &negative.record, &dst.record), 0);
    EXPECT_NEAR(dst.at<float>(31, 11), -1.0, 2e-6);
  }
}

TEST(NxcorrScores, FlatPatchesAndFlatTemplatesScoreZero) {
  for (int32_t level : {0, 1, 2}) {
    const LevelScope scope(level);
    for_all_pairs([]<class Target, class Template>() {
      TestImage<Target> noise(50, 8, Fill::kNoise, 4);
      TestImage<Target> flat(50, 8, Fill::kConstant, 0);
      TestImage<Template> noise_template(5, 3, Fill::kNoise, 5);
      TestImage<Template> flat_template(5, 3, Fill::kConstant, 0);
      OutputImage dst;
      // 37 and 37.25 are added and squared without rounding.
      ASSERT_EQ(vlix_nxcorr(&flat.record, &noise_template.record, &dst.record), 0);
      for (float score : region_values<float>(dst)) ASSERT_EQ(score, 0.0f);
      ASSERT_EQ(vlix_nxcorr(&noise.record, &flat_template.record, &dst.record), 0);
      for (float score : region_values<float>(dst)) ASSERT_EQ(score, 0.0f);
    });
  }
}

TEST(NxcorrScores, EmptyTemplateScoresZeroOnThePlainRoute) {
  const LevelScope scope(0);
  for (const auto& [width, height] : {std::pair<int32_t, int32_t>{0, 3}, {3, 0}, {0, 0}}) {
    TestImage<float> target(60, 5, Fill::kNoise, 1);
    TestImage<float> templ(4, 4, Fill::kNoise, 2);
    templ.set_roi(0, 0, width, height);
    OutputImage dst;
    ASSERT_EQ(vlix_nxcorr(&target.record, &templ.record, &dst.record), 0);
    EXPECT_EQ(dst.record.width, 61 - width);
    EXPECT_EQ(dst.record.height, 6 - height);
    for (float score : region_values<float>(dst)) ASSERT_EQ(score, 0.0f);
  }
}

// A ring with a bar on one side, seen from its centre; edges are `blur` pixels wide.
double mark(double x, double y, bool has_bar, double blur) {
  const auto step = [blur](double inside) { return 1 / (1 + std::exp(-inside / blur)); };
  const double ring = step(2.0 - std::fabs(std::hypot(x, y) - 9));
  const double bar = has_bar ? step(2.5 - std::fabs(x - 3)) * step(8 - std::fabs(y + 5)) : 0.0;
  return std::max(ring, bar);
}

// Half as bright a ground, tilted by 4 degrees, three times as blurred, noisy, less contrast, and the ring alone
// nearby.
template <class Pixel>
void expect_mark_is_found(double unit) {
  constexpr int32_t kSide = 33, kLeft = 97, kTop = 58;
  TestImage<Pixel> templ(kSide, kSide);
  for (int32_t y = 0; y < kSide; ++y) {
    for (int32_t x = 0; x < kSide; ++x)
      templ.roi_at(x, y) = static_cast<Pixel>(unit * 120 * mark(x - 16, y - 16, true, 0.4));
  }
  std::mt19937_64 random(14);
  std::normal_distribution<double> noise(0, 6);
  TestImage<Pixel> target(180, 140);
  const double c = std::cos(0.07), s = std::sin(0.07);
  for (int32_t y = 0; y < 140; ++y) {
    for (int32_t x = 0; x < 180; ++x) {
      const double u = x - kLeft - 16, v = y - kTop - 16;
      const double seen = mark(c * u + s * v, c * v - s * u, true, 1.2) + mark(x - 50, y - 60, false, 1.2);
      target.roi_at(x, y) = static_cast<Pixel>(unit * std::clamp(20 + 0.1 * x + 40 * seen + noise(random), 0.0, 127.0));
    }
  }
  OutputImage dst;
  ASSERT_EQ(vlix_nxcorr(&target.record, &templ.record, &dst.record), 0);
  const auto scores = region_values<float>(dst);
  const auto best = std::max_element(scores.begin(), scores.end()) - scores.begin();
  EXPECT_EQ(best % dst.record.roiWidth, kLeft);
  EXPECT_EQ(best / dst.record.roiWidth, kTop);
}

TEST(NxcorrScores, TiltedBlurredNoisyCopyIsFoundAtItsPlace) {
  for (int32_t level : {0, 1, 2}) {
    const LevelScope scope(level);
    expect_mark_is_found<uint8_t>(1);
    expect_mark_is_found<int8_t>(1);
    expect_mark_is_found<uint16_t>(500);
    expect_mark_is_found<int16_t>(200);
    expect_mark_is_found<float>(0.01);
  }
}

// The primitives promise 2e-6 for integers, and for floats whose deviation is no small part of their magnitude.
TEST(NxcorrScores, EveryRouteIsNearTheExactCoefficient) {
  uint64_t seed = 50;
  for (int32_t level : {1, 2}) {
    const LevelScope scope(level);
    for_all_pairs([&]<class Target, class Template>() {
      FramedImage<Target> target(61, 17, {3, 2, 0, 0}, Fill::kNoise, seed++);
      FramedImage<Template> templ(9, 8, {1, 0, 2, 1}, Fill::kNoise, seed++);
      OutputImage dst;
      ASSERT_EQ(vlix_nxcorr(&target.record, &templ.record, &dst.record), 0);
      for (int32_t y = 0; y < dst.record.roiHeight; ++y) {
        for (int32_t x = 0; x < dst.record.roiWidth; ++x) {
          ASSERT_NEAR(dst.at<float>(x, y), nxcorr_exact_at(target, templ, x, y), 2e-6);
        }
      }
    });
  }
}

// ---- Properties ----

template <class Target, class Template>
std::vector<float> scores(TestImage<Target>& target, TestImage<Template>& templ) {
  const LevelScope level(0);
  OutputImage dst;
  RC_ASSERT(vlix_nxcorr(&target.record, &templ.record, &dst.record) == 0);
  return region_values<float>(dst);
}

// Both images hold integers below 2^16: every sum, and the differences of products of at most 60 pixels (below 2^44),
// are exact. What is left are the rounding of the denominator's product, its root and the quotient, far below half a
// unit of a float: scores that are equal in theory differ by one such unit (2^-24) at most.
constexpr double kOneUnit = 1.0 / (1 << 24);

RC_GTEST_PROP(NxcorrScores, GainAndOffsetChangeNothing, ()) {
  const auto width = *rc::gen::inRange(1, 11);
  const auto columns = *rc::gen::inRange(1, 100);
  const auto gain = *rc::gen::inRange(1, 200);
  const auto offset = *rc::gen::inRange(0, 1000);
  const auto seed = *rc::gen::arbitrary<uint64_t>();
  TestImage<uint8_t> target(columns + width - 1, 9, Fill::kNoise, seed);
  TestImage<uint8_t> templ(width, 6, Fill::kNoise, seed + 1);
  TestImage<uint16_t> changed(columns + width - 1, 9);
  for (int32_t y = 0; y < 9; ++y) {
    for (int32_t x = 0; x < changed.record.width; ++x) {
      changed.at(x, y) = static_cast<uint16_t>(target.at(x, y) * gain + offset);
    }
  }
  const auto before = scores(target, templ);
  const auto after = scores(changed, templ);
  for (std::size_t i = 0; i < before.size(); ++i) RC_ASSERT(std::abs(before[i] - after[i]) <= kOneUnit);
}

RC_GTEST_PROP(NxcorrScores, MirroredImagesHaveMirroredScores, ()) {
  const auto width = *rc::gen::inRange(1, 11);
  const auto columns = *rc::gen::inRange(1, 100);
  const auto seed = *rc::gen::arbitrary<uint64_t>();
  TestImage<uint8_t> target(columns + width - 1, 8, Fill::kNoise, seed);
  TestImage<uint8_t> templ(width, 6, Fill::kNoise, seed + 1);
  auto before = scores(target, templ);
  std::reverse(target.data(), target.data() + target.record.width * 8);
  std::reverse(templ.data(), templ.data() + width * 6);
  const auto after = scores(target, templ);
  std::reverse(before.begin(), before.end());
  RC_ASSERT(before == after);
}

RC_GTEST_PROP(NxcorrScores, ShiftedTargetHasShiftedScores, ()) {
  const auto columns = *rc::gen::inRange(2, 100);
  const auto shift = *rc::gen::inRange(1, columns);
  const auto seed = *rc::gen::arbitrary<uint64_t>();
  TestImage<float> target(columns + 6, 9, Fill::kNoise, seed);
  TestImage<float> templ(7, 4, Fill::kNoise, seed + 1);
  const auto all = scores(target, templ);
  target.set_roi(shift, 0, columns + 6 - shift, 9);
  const auto part = scores(target, templ);
  for (int32_t y = 0; y < 6; ++y) {
    for (int32_t x = shift; x < columns; ++x) {
      RC_ASSERT(part[static_cast<std::size_t>(y * (columns - shift) + x - shift)] ==
                all[static_cast<std::size_t>(y * columns + x)]);
    }
  }
}

}  // namespace
}  // namespace vlix::test
