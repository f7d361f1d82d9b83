// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <string>

#include "match/scores.h"
#include "match/sod_twin.h"
#include "support/recording_platform.h"
#include "support/test_image.h"
#include "vlix/meas.h"

namespace vlix::test {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

const std::string kSameText = "sod: destination image should be different than source image\n";
const std::string kLargerText = "sod: templateIm is larger than target\n";
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

std::string check_of(int32_t type) { return "VlixObjCheckEqList(" + std::to_string(type) + ", 5, 10, 6, 11, 7, 17)"; }

// The only score of a template as large as the target.
template <class Target, class Template>
int score_of(const std::vector<Target>& target, const std::vector<Template>& templ) {
  TestImage<Target> t(static_cast<int32_t>(target.size()), 1);
  TestImage<Template> p(static_cast<int32_t>(templ.size()), 1);
  t.assign(target);
  p.assign(templ);
  const LevelScope level(0);
  OutputImage dst;
  EXPECT_EQ(vlix_sod(&t.record, &p.record, &dst.record), 0);
  return dst.at<uint16_t>(0, 0);
}

// ---- Checks and reports ----

TEST(Sod, TargetAsDestinationIsRefusedBeforeItsType) {
  RecordingPlatform platform;
  TestImage<PointF32> target(2, 2);
  TestImage<uint8_t> templ(3, 3);
  EXPECT_EQ(platform.call(vlix_sod, &target.record, &templ.record, &target.record), platform.report_result);
  EXPECT_THAT(platform.reports(), ElementsAre(Report{100, kSameText, kSameText}));
  EXPECT_THAT(platform.calls(), IsEmpty());
}

TEST(Sod, TargetTypeIsTestedBeforeTheTemplates) {
  RecordingPlatform platform;
  TestImage<PointF32> target(2, 2);
  TestImage<PointI32> templ(3, 3);
  EXPECT_EQ(platform.call(vlix_sod, &target.record, &templ.record, nullptr), platform.report_result);
  EXPECT_THAT(platform.reports(), ElementsAre(Report{1, "sod", "PointF32"}));
  EXPECT_THAT(platform.calls(), ElementsAre(check_of(29)));
}

TEST(Sod, TemplateTypeIsTestedBeforeTheSizes) {
  RecordingPlatform platform;
  TestImage<uint16_t> target(2, 2);
  TestImage<PointI32> templ(3, 3);
  OutputImage dst;
  EXPECT_EQ(platform.call(vlix_sod, &target.record, &templ.record, &dst.record), platform.report_result);
  EXPECT_THAT(platform.reports(), ElementsAre(Report{1, "sod", "PointI32"}));
  EXPECT_THAT(platform.calls(), ElementsAre(check_of(11), check_of(24)));
}

TEST(Sod, ThePlatformDecidesWhatIsAccepted) {
  for (int nth : {1, 2}) {
    RecordingPlatform platform;
    platform.fail("VlixObjCheckEqList", nth);
    TestImage<uint8_t> target(2, 2);
    TestImage<float> templ(1, 1);
    OutputImage dst;
    EXPECT_EQ(platform.call(vlix_sod, &target.record, &templ.record, &dst.record), platform.report_result);
    EXPECT_THAT(platform.reports(), ElementsAre(Report{1, "sod", nth == 1 ? "U8" : "F32"}));
  }
}

TEST(Sod, TypesOutsideTheSetAreRefused) {
  for (uint32_t type : {0u, 8u, 9u, 12u, 13u, 16u, 18u, 19u, 20u, 21u, 24u, 29u, 30u, 36u, 39u, 44u, 70u}) {
    RecordingPlatform platform;
    TestImage<uint8_t> good(4, 4);
    TestImage<double> bad(2, 2);
    bad.record.type = type;
    const Report expected{1, "sod", VlixObjGetName(static_cast<int32_t>(type))};
    OutputImage dst;
    EXPECT_EQ(platform.call(vlix_sod, &good.record, &bad.record, &dst.record), platform.report_result);
    EXPECT_EQ(platform.call(vlix_sod, &bad.record, &good.record, &dst.record), platform.report_result);
    EXPECT_THAT(platform.reports(), ElementsAre(expected, expected));
    EXPECT_EQ(dst.record.data, nullptr);
  }
}

TEST(Sod, OnePixelTooMuchIsReportedWhateverTheLevelAndTheDestination) {
  struct Case {
    int32_t width, height;
  };
  for (int32_t level : {0, 1, 2}) {
    for (const Case size : {Case{4, 6}, Case{5, 5}, Case{5, 6}, Case{100, 1}, Case{1, 100}}) {
      for (bool with_destination : {false, true}) {
        RecordingPlatform platform;
        platform.level = level;
        TestImage<uint8_t> target(4, 5);
        TestImage<uint8_t> templ(size.width, size.height);
        OutputImage dst;
        EXPECT_EQ(platform.call(vlix_sod, &target.record, &templ.record, with_destination ? &dst.record : nullptr),
                  platform.report_result);
        EXPECT_THAT(platform.reports(), ElementsAre(Report{100, kLargerText, kLargerText}));
        EXPECT_THAT(platform.calls(), ElementsAre(check_of(10), check_of(10)));
      }
    }
  }
}

TEST(Sod, SizesThatOverflowAreTooLarge) {
  RecordingPlatform platform;
  TestImage<uint8_t> target(4, 4);
  TestImage<uint8_t> templ(4, 4);
  templ.record.roiHeight = std::numeric_limits<int32_t>::max();
  target.record.roiHeight = -3;
  OutputImage dst;
  EXPECT_EQ(platform.call(vlix_sod, &target.record, &templ.record, &dst.record), platform.report_result);
  EXPECT_THAT(platform.reports(), ElementsAre(Report{100, kLargerText, kLargerText}));
}

TEST(Sod, NullDestinationOnlyValidates) {
  RecordingPlatform platform;
  platform.level = 1;
  TestImage<uint8_t> target(4, 4, Fill::kNoise, 1);
  TestImage<uint8_t> templ(2, 2, Fill::kNoise, 2);
  EXPECT_EQ(platform.call(vlix_sod, &target.record, &templ.record, nullptr), 0);
  EXPECT_THAT(platform.reports(), IsEmpty());
  EXPECT_THAT(platform.calls(), ElementsAre(check_of(10), check_of(10)));
}

TEST(Sod, FailedShapingIsReturnedWithoutAReport) {
  RecordingPlatform platform;
  platform.level = 1;
  TestImage<uint8_t> target(4, 5);
  TestImage<uint8_t> templ(2, 2);
  OutputImage dst;
  platform.name(dst.record, "dst");
  platform.fail("VlixImageTryUseReservedMem", 1, 77);
  EXPECT_EQ(platform.call(vlix_sod, &target.record, &templ.record, &dst.record), 77);
  EXPECT_THAT(platform.reports(), IsEmpty());
  EXPECT_THAT(platform.calls(),
              ElementsAre(check_of(10), check_of(10), "VlixImageTryUseReservedMem(dst, U16, 3, 4, \"sod\")"));
}

// ---- Routes ----

TEST(Sod, PlainRouteAsksForTheLevelAfterShaping) {
  RecordingPlatform platform;
  platform.level = 0;
  TestImage<uint8_t> target(4, 5, Fill::kNoise, 1);
  TestImage<uint8_t> templ(2, 2, Fill::kNoise, 2);
  OutputImage dst;
  platform.name(dst.record, "dst");
  EXPECT_EQ(platform.call(vlix_sod, &target.record, &templ.record, &dst.record), 0);
  EXPECT_THAT(platform.calls(),
              ElementsAre(check_of(10), check_of(10), "VlixImageTryUseReservedMem(dst, U16, 3, 4, \"sod\")",
                          "VlixOptimGetLevel()"));
  EXPECT_THAT(platform.heap_requests(), IsEmpty());
  EXPECT_EQ(region_values<uint16_t>(dst), sod_twin(target, templ));
}

TEST(Sod, PrimitivesAreCalledForEachPlacementInOrder) {
  for (int32_t level : {1, 2, -1, 5}) {
    RecordingPlatform platform;
    platform.level = level;
    FramedImage<uint8_t> target(4, 3, {3, 1, 2, 1}, Fill::kNoise, 1);
    FramedImage<uint8_t> templ(3, 2, {1, 2, 3, 0}, Fill::kNoise, 2);
    OutputImage dst;
    platform.name(dst.record, "dst");
    platform.name(target.data(), 9 * 5, "T");
    platform.name(templ.data(), 7 * 4, "P");
    EXPECT_EQ(platform.call(vlix_sod, &target.record, &templ.record, &dst.record), 0);
    // The first pixels: row 1 column 3 of rows of 9; row 2 column 1 of rows of 7.
    const auto difference = [](int offset) {
      return "vlix_ippiAbsDiff_8u_C1R(T+" + std::to_string(offset) + ", 9, P+15, 7, ?, 3, 3x2)";
    };
    const std::string sum = "vlix_ippiSum_8u_C1R(?, 3, 3x2)";
    EXPECT_THAT(platform.calls(),
                ElementsAre(check_of(10), check_of(10), "VlixImageTryUseReservedMem(dst, U16, 2, 2, \"sod\")",
                            "VlixOptimGetLevel()", "vlix_ippsMalloc_8u(6)", difference(12), sum, difference(13), sum,
                            difference(21), sum, difference(22), sum, "vlix_ippsFree(?)"));
    EXPECT_THAT(platform.reports(), IsEmpty());
    EXPECT_THAT(platform.live_buffers(), ElementsAre("VlixImageTryUseReservedMem"));
    EXPECT_THAT(platform.heap_requests(), IsEmpty());
    EXPECT_EQ(region_values<uint16_t>(dst), sod_twin(target, templ));
  }
}

TEST(Sod, OnlyBytesHavePrimitives) {
  for_all_pairs([]<class Target, class Template>() {
    if (std::is_same_v<Target, uint8_t> && std::is_same_v<Template, uint8_t>) return;
    RecordingPlatform platform;
    platform.level = 2;
    TestImage<Target> target(7, 5, Fill::kNoise, 1);
    TestImage<Template> templ(3, 2, Fill::kNoise, 2);
    OutputImage dst;
    EXPECT_EQ(platform.call(vlix_sod, &target.record, &templ.record, &dst.record), 0);
    EXPECT_THAT(platform.calls(), SizeIs(4));
    EXPECT_EQ(platform.calls().back(), "VlixOptimGetLevel()");
    EXPECT_EQ(region_values<uint16_t>(dst), sod_twin(target, templ));
  });
}

TEST(Sod, MissingBufferIsLeftToThePrimitiveToRefuse) {
  RecordingPlatform platform;
  platform.level = 1;
  TestImage<uint8_t> target(4, 3, Fill::kNoise, 1);
  TestImage<uint8_t> templ(3, 2, Fill::kNoise, 2);
  platform.name(target.data(), 12, "T");
  platform.name(templ.data(), 6, "P");
  platform.fail("vlix_ippsMalloc_8u");
  OutputImage dst;
  EXPECT_EQ(platform.call(vlix_sod, &target.record, &templ.record, &dst.record), 0);
  EXPECT_THAT(platform.reports(), IsEmpty());
  ASSERT_THAT(platform.calls(), SizeIs(7));
  EXPECT_EQ(platform.calls()[5], "vlix_ippiAbsDiff_8u_C1R(T, 4, P, 3, null, 3, 3x2)");
  EXPECT_EQ(platform.calls()[6], "vlix_ippsFree(null)");
  EXPECT_EQ(region_values<uint16_t>(dst), sod_twin(target, templ));
}

TEST(Sod, FailingPrimitiveFreesTheBufferAndEveryScoreIsComputedAgain) {
  for (const char* primitive : {"vlix_ippiAbsDiff_8u_C1R", "vlix_ippiSum_8u_C1R"}) {
    for (int nth : {1, 2, 6}) {
      for (int32_t result : {-8, 1}) {
        RecordingPlatform platform;
        platform.level = 1;
        TestImage<uint8_t> target(5, 3, Fill::kNoise, 1);
        TestImage<uint8_t> templ(3, 2, Fill::kNoise, 2);
        OutputImage dst;
        platform.fail(primitive, nth, result);
        EXPECT_EQ(platform.call(vlix_sod, &target.record, &templ.record, &dst.record), 0);
        EXPECT_THAT(platform.calls_of(primitive), SizeIs(nth));
        EXPECT_EQ(platform.calls().back(), "vlix_ippsFree(?)");
        EXPECT_THAT(platform.reports(), IsEmpty());
        EXPECT_THAT(platform.live_buffers(), ElementsAre("VlixImageTryUseReservedMem"));
        EXPECT_EQ(region_values<uint16_t>(dst), sod_twin(target, templ));
      }
    }
  }
}

TEST(Sod, TemplateAsDestinationIsNotCaughtAndStaysInsideItsMemory) {
  for (int32_t level : {0, 1}) {
    for (int32_t width : {1, 3, 5, 9, 10}) {
      for (int32_t height : {1, 4, 7, 8}) {
        RecordingPlatform platform;
        platform.level = level;
        TestImage<uint8_t> target(10, 8, Fill::kNoise, 1);
        OutputImage templ;
        ASSERT_EQ(VlixImageAlloc(&templ.record, ObjType_U8, width, height), 0);
        EXPECT_EQ(platform.call(vlix_sod, &target.record, &templ.record, &templ.record), 0);
        EXPECT_THAT(platform.reports(), IsEmpty());
        EXPECT_EQ(templ.record.type, ObjType_U16);
        EXPECT_EQ(templ.record.roiWidth, 11 - width);
        EXPECT_EQ(templ.record.roiHeight, 9 - height);
      }
    }
  }
}

TEST(Sod, ScoresGoToTheRegionOfAWiderOutput) {
  for (int32_t level : {0, 1}) {
    for (int32_t columns : {1, 9, 40, 100}) {
      RecordingPlatform platform;
      platform.level = level;
      platform.output_margins = {3, 2, 5, 1};
      TestImage<uint8_t> target(columns + 4, 7, Fill::kNoise, 1);
      TestImage<uint8_t> templ(5, 3, Fill::kNoise, 2);
      const int32_t width = columns + 8;
      OutputImage dst;
      ASSERT_EQ(VlixImageAlloc(&dst.record, ObjType_U16, width, 8), 0);
      auto* pixels = static_cast<uint16_t*>(dst.record.data);
      std::fill(pixels, pixels + 8 * width, uint16_t{0xABCD});
      EXPECT_EQ(platform.call(vlix_sod, &target.record, &templ.record, &dst.record), 0);
      ASSERT_EQ(dst.record.data, pixels);
      EXPECT_EQ(region_values<uint16_t>(dst), sod_twin(target, templ));
      for (int32_t y = 0; y < 8; ++y) {
        for (int32_t x = 0; x < width; ++x) {
          if (x >= 3 && x < 3 + columns && y >= 2 && y < 7) continue;
          EXPECT_EQ(pixels[y * width + x], 0xABCD) << x << " " << y;
        }
      }
    }
  }
}

// ---- Values known beforehand ----

TEST(Sod, TemplateAsLargeAsTheTargetHasOneScore) {
  for (int32_t level : {0, 1}) {
    const LevelScope scope(level);
    TestImage<uint8_t> target(9, 4, Fill::kConstant, 0);
    TestImage<uint8_t> templ(9, 4);
    OutputImage dst;
    ASSERT_EQ(vlix_sod(&target.record, &templ.record, &dst.record), 0);
    EXPECT_EQ(dst.record.width, 1);
    EXPECT_EQ(dst.record.height, 1);
    EXPECT_EQ(dst.at<uint16_t>(0, 0), 9 * 4 * 37);
  }
}

TEST(Sod, IdenticalPatchScoresZero) {
  for_all_pairs([]<class Target, class Template>() {
    if constexpr (std::is_same_v<Target, Template>) {
      TestImage<Target> target(50, 9, Fill::kNoise, 3);
      TestImage<Target> templ(11, 4);
      for (int32_t v = 0; v < 4; ++v) {
        for (int32_t u = 0; u < 11; ++u) templ.at(u, v) = target.at(17 + u, 2 + v);
      }
      OutputImage dst;
      ASSERT_EQ(vlix_sod(&target.record, &templ.record, &dst.record), 0);
      EXPECT_EQ(dst.template at<uint16_t>(17, 2), 0);
      EXPECT_GT(dst.template at<uint16_t>(18, 2), 0);
    }
  });
}

TEST(Sod, SumsSaturateOnceAbove65535) {
  for (int32_t level : {0, 1}) {
    const LevelScope scope(level);
    TestImage<uint8_t> target(116, 40);
    for (const auto& [width, expected] : {std::pair<int32_t, int>{16, 65280}, {17, 65535}, {116, 65535}}) {
      TestImage<uint8_t> templ(width, 16, Fill::kHighest, 0);
      OutputImage dst;
      ASSERT_EQ(vlix_sod(&target.record, &templ.record, &dst.record), 0);
      EXPECT_THAT(region_values<uint16_t>(dst), Each(expected));
    }
  }
}

TEST(Sod, ScoreOf65535IsReachedExactly) {
  for (int32_t level : {0, 1}) {
    const LevelScope scope(level);
    TestImage<uint8_t> target(1 + 257 - 1, 1);
    TestImage<uint8_t> templ(257, 1, Fill::kHighest, 0);  // 257 * 255 = 65535
    OutputImage dst;
    ASSERT_EQ(vlix_sod(&target.record, &templ.record, &dst.record), 0);
    EXPECT_EQ(dst.at<uint16_t>(0, 0), 65535);
    templ.at(200, 0) = 254;
    ASSERT_EQ(vlix_sod(&target.record, &templ.record, &dst.record), 0);
    EXPECT_EQ(dst.at<uint16_t>(0, 0), 65534);
  }
}

TEST(Sod, SumsWrapBeforeTheySaturate) {
  // 65538 * 65535 = 2^32 + 65534.
  for (const auto& [width, height] : {std::pair<int32_t, int32_t>{6, 10923}, {10923, 6}}) {
    TestImage<uint16_t> target(width, height);
    TestImage<uint16_t> templ(width, height, Fill::kHighest, 0);
    OutputImage dst;
    ASSERT_EQ(vlix_sod(&target.record, &templ.record, &dst.record), 0);
    EXPECT_EQ(dst.at<uint16_t>(0, 0), 65534);
  }
}

TEST(Sod, MixedSignsAreWidenedBeforeTheDifference) {
  EXPECT_EQ((score_of<int8_t, uint8_t>({-128}, {255})), 383);
  EXPECT_EQ((score_of<uint8_t, int8_t>({255}, {-128})), 383);
  EXPECT_EQ((score_of<int8_t, int8_t>({-128}, {127})), 255);
  EXPECT_EQ((score_of<int16_t, uint16_t>({-1}, {65534})), 65535);
  EXPECT_EQ((score_of<int16_t, uint16_t>({-32768}, {65535})), 65535);  // 98303, saturated
  EXPECT_EQ((score_of<int16_t, int16_t>({-32768}, {32767})), 65535);
  EXPECT_EQ((score_of<uint16_t, int8_t>({65407}, {-128})), 65535);
}

TEST(Sod, FloatDifferencesAreTruncatedOneByOne) {
  const std::vector<float> zeros(100, 0.0f);
  EXPECT_EQ(score_of(zeros, std::vector<float>(100, 0.9f)), 0);
  EXPECT_EQ(score_of(zeros, std::vector<float>(100, -0.9f)), 0);
  EXPECT_EQ(score_of(zeros, std::vector<float>(100, 1.9f)), 100);
  EXPECT_EQ(score_of(zeros, std::vector<float>(100, -1.9f)), 100);
  EXPECT_EQ(score_of(std::vector<uint8_t>(100, 3), std::vector<float>(100, 5.75f)), 200);
  EXPECT_EQ(score_of(std::vector<float>(100, 5.75f), std::vector<int16_t>(100, 3)), 200);
}

TEST(Sod, FloatDifferenceIsRoundedToAFloatBeforeTheTruncation) {
  // 16777216 - 0.5 is 16777216 in 32 bits; with the second pixel the sum wraps to 0.
  EXPECT_EQ((score_of<float, float>({0.5f, 0.0f, 0.0f}, {16777216.0f, 2147483648.0f, 2130706432.0f})), 0);
}

TEST(Sod, WhatDoesNotFitCountsAsTwoToThe31) {
  // The second pixel is 2147483520, the third 128: with 2147483648 in front the sum wraps to 0.
  for (float strange : {kNaN, kInfinity, -kInfinity, 3e9f, -3e9f, 1e38f, 2147483648.0f, -2147483648.0f}) {
    EXPECT_EQ((score_of<float, float>({0, 0, 0, 0}, {strange, 2147483520.0f, 128.0f, 5.0f})), 5) << strange;
    EXPECT_EQ((score_of<float, float>({strange, 0, 0, 0}, {0, 2147483520.0f, 128.0f, 5.0f})), 5) << strange;
    EXPECT_EQ((score_of<float, uint8_t>({strange, -2147483520.0f, -128.0f, 0}, {0, 0, 0, 5})), 5) << strange;
    EXPECT_EQ((score_of<float, float>({strange}, {0})), 65535) << strange;
  }
  EXPECT_EQ((score_of<float, float>({kInfinity, kNaN}, {kInfinity, 1})), 0);
  EXPECT_EQ((score_of<float, float>({kInfinity, kNaN, 7}, {kInfinity, 1, 0})), 7);
}

TEST(Sod, StrangeFloatsCountAlikeInEveryLane) {
  TestImage<float> target(70, 1);
  TestImage<float> templ(2, 1);
  for (int32_t x = 0; x < 70; ++x) target.at(x, 0) = x % 2 == 0 ? kNaN : 3e9f;
  OutputImage dst;
  ASSERT_EQ(vlix_sod(&target.record, &templ.record, &dst.record), 0);
  EXPECT_THAT(region_values<uint16_t>(dst), Each(0));
}

TEST(Sod, EmptyTemplateScoresZeroEverywhere) {
  for (int32_t level : {0}) {
    const LevelScope scope(level);
    for (const auto& [width, height] : {std::pair<int32_t, int32_t>{0, 3}, {3, 0}, {0, 0}}) {
      TestImage<uint8_t> target(60, 5, Fill::kNoise, 1);
      TestImage<uint8_t> templ(4, 4, Fill::kNoise, 2);
      templ.set_roi(0, 0, width, height);
      OutputImage dst;
      ASSERT_EQ(vlix_sod(&target.record, &templ.record, &dst.record), 0);
      EXPECT_EQ(dst.record.width, 61 - width);
      EXPECT_EQ(dst.record.height, 6 - height);
      EXPECT_THAT(region_values<uint16_t>(dst), Each(0));
    }
  }
}

}  // namespace
}  // namespace vlix::test
