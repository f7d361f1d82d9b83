// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

#include "match/nxcorr_twin.h"
#include "match/scores.h"
#include "support/recording_platform.h"
#include "support/test_image.h"
#include "vlix/meas.h"

namespace vlix::test {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::SizeIs;

const std::string kSameText = "nxcorr: destination image should be different than source image\n";
const std::string kTargetCastText = "nxcorr: failed casting target to float image\n";
const std::string kTemplateCastText = "nxcorr: failed casting template to float image\n";
const std::string kLargerText = "nxcorr: template is larger than target\n";
const std::string kLevel = "VlixOptimGetLevel()";
const std::string kCastTarget = "VlixUtilCastImage(target, ?, 4, 0)";
const std::string kCastTemplate = "VlixUtilCastImage(templ, ?, 4, 0)";
const std::string kRelease = "VlixImageRelease(?, 1)";
const std::string kCast = "VlixUtilCastImage";
const std::string kShape = "VlixImageTryUseReservedMem";

std::string check_of(uint32_t type) { return "VlixObjCheckEqList(" + std::to_string(type) + ", 5, 10, 6, 11, 7, 17)"; }

std::string shape_of(int32_t width, int32_t height) {
  return kShape + "(dst, F32, " + std::to_string(width) + ", " + std::to_string(height) + ", \"nxcorr\")";
}

// A target, a template and a destination with names.
template <class Target, class Template>
struct Inputs {
  Inputs(int32_t width, int32_t height, int32_t template_width, int32_t template_height)
      : target(width, height), templ(template_width, template_height) {
    fill(target, 1);
    fill(templ, 2);
    platform.name(target.record, "target");
    platform.name(templ.record, "templ");
    platform.name(dst.record, "dst");
    platform.name(target.data(), sizeof(Target) * static_cast<std::size_t>(width * height), "T");
    platform.name(templ.data(), sizeof(Template) * static_cast<std::size_t>(template_width * template_height), "P");
  }
  template <class Pixel>
  static void fill(TestImage<Pixel>& image, uint64_t seed) {
    if constexpr (std::is_arithmetic_v<Pixel>) {
      std::vector<Pixel> values(static_cast<std::size_t>(image.record.width * image.record.height));
      fill_with(values, Fill::kNoise, seed);
      image.assign(values);
    }
  }
  VlixStatus run() { return platform.call(vlix_nxcorr, &target.record, &templ.record, &dst.record); }
  VlixStatus run_without_destination() { return platform.call(vlix_nxcorr, &target.record, &templ.record, nullptr); }

  RecordingPlatform platform;
  TestImage<Target> target;
  TestImage<Template> templ;
  OutputImage dst;
};

template <class Target, class Template>
constexpr bool takes_direct_route() {
  return std::is_same_v<Target, Template> && !std::is_same_v<Target, int16_t>;
}

template <class Pixel>
constexpr const char* primitive_of() {
  if (std::is_same_v<Pixel, uint8_t>) return "vlix_ippiCrossCorrValid_NormLevel_8u32f_C1R";
  if (std::is_same_v<Pixel, int8_t>) return "vlix_ippiCrossCorrValid_NormLevel_8s32f_C1R";
  if (std::is_same_v<Pixel, uint16_t>) return "vlix_ippiCrossCorrValid_NormLevel_16u32f_C1R";
  return "vlix_ippiCrossCorrValid_NormLevel_32f_C1R";
}

std::vector<std::string> casts_of(uint32_t target, uint32_t templ) {
  std::vector<std::string> calls;
  if (target != ObjType_F32) calls.push_back(kCastTarget);
  calls.push_back(check_of(templ));
  if (templ != ObjType_F32) calls.push_back(kCastTemplate);
  return calls;
}

int copies_of(uint32_t target, uint32_t templ) { return (target != ObjType_F32) + (templ != ObjType_F32); }

// ---- Checks ----

TEST(Nxcorr, TargetAsDestinationIsRefusedBeforeItsType) {
  RecordingPlatform platform;
  platform.level = 1;
  TestImage<PointF32> target(2, 2);
  TestImage<uint8_t> templ(3, 3);
  EXPECT_EQ(platform.call(vlix_nxcorr, &target.record, &templ.record, &target.record), platform.report_result);
  EXPECT_THAT(platform.reports(), ElementsAre(Report{100, kSameText, kSameText}));
  EXPECT_THAT(platform.calls(), IsEmpty());
}

TEST(Nxcorr, TargetTypeIsTestedBeforeEverythingElse) {
  for (uint32_t type : {0u, 8u, 9u, 12u, 13u, 16u, 18u, 19u, 20u, 21u, 24u, 29u, 30u, 36u, 39u, 44u, 70u}) {
    RecordingPlatform platform;
    TestImage<double> target(2, 2);
    target.record.type = type;
    TestImage<PointI32> templ(3, 3);
    EXPECT_EQ(platform.call(vlix_nxcorr, &target.record, &templ.record, nullptr), platform.report_result);
    EXPECT_THAT(platform.reports(), ElementsAre(Report{1, "nxcorr", VlixObjGetName(static_cast<int32_t>(type))}));
    EXPECT_THAT(platform.calls(), ElementsAre(check_of(type)));
  }
}

TEST(Nxcorr, TemplateTypeIsTestedAfterTheTargetsCopyWhichStaysBehind) {
  for (int32_t level : {0, 1}) {
    Inputs<uint8_t, PointI32> in(2, 2, 3, 3);
    in.platform.level = level;
    EXPECT_EQ(in.run(), in.platform.report_result);
    EXPECT_THAT(in.platform.reports(), ElementsAre(Report{1, "nxcorr", "PointI32"}));
    EXPECT_THAT(in.platform.calls(), ElementsAre(check_of(10), kLevel, kCastTarget, check_of(24)));
    EXPECT_THAT(in.platform.live_buffers(), ElementsAre(kCast));
  }
}

TEST(Nxcorr, FloatTargetLeavesNothingBehindWhenTheTemplateTypeIsWrong) {
  Inputs<float, PointI32> in(2, 2, 3, 3);
  in.platform.level = 0;
  EXPECT_EQ(in.run(), in.platform.report_result);
  EXPECT_THAT(in.platform.calls(), ElementsAre(check_of(17), kLevel, check_of(24)));
  EXPECT_THAT(in.platform.live_buffers(), IsEmpty());
}

TEST(Nxcorr, FailedCastOfTheTargetIsReportedBeforeTheTemplateIsLookedAt) {
  Inputs<uint16_t, PointI32> in(4, 4, 2, 2);
  in.platform.level = 0;
  in.platform.fail(kCast, 1, 3);
  EXPECT_EQ(in.run(), in.platform.report_result);
  EXPECT_THAT(in.platform.reports(), ElementsAre(Report{100, kTargetCastText, kTargetCastText}));
  EXPECT_THAT(in.platform.calls(), ElementsAre(check_of(11), kLevel, kCastTarget));
}

TEST(Nxcorr, FailedCastOfTheTemplateGivesTheTargetsCopyBackBeforeTheReport) {
  for (int32_t level : {0, 1}) {
    Inputs<int8_t, int16_t> in(4, 4, 2, 2);
    in.platform.level = level;
    in.platform.fail(kCast, 2);
    EXPECT_EQ(in.run(), in.platform.report_result);
    EXPECT_THAT(in.platform.reports(), ElementsAre(Report{100, kTemplateCastText, kTemplateCastText}));
    EXPECT_THAT(in.platform.calls(),
                ElementsAre(check_of(6), kLevel, kCastTarget, check_of(7), kCastTemplate, kRelease));
    EXPECT_THAT(in.platform.calls_before_reports(), ElementsAre(6u));
    EXPECT_THAT(in.platform.live_buffers(), IsEmpty());
  }
}

TEST(Nxcorr, FailedCastOfTheTemplateOfAFloatTargetReleasesNothing) {
  Inputs<float, uint8_t> in(4, 4, 2, 2);
  in.platform.level = 0;
  in.platform.fail(kCast);
  EXPECT_EQ(in.run(), in.platform.report_result);
  EXPECT_THAT(in.platform.reports(), ElementsAre(Report{100, kTemplateCastText, kTemplateCastText}));
  EXPECT_THAT(in.platform.calls(), ElementsAre(check_of(17), kLevel, check_of(10), kCastTemplate));
}

// ---- Direct route ----

template <class Pixel>
void expect_direct_call(int32_t level) {
  RecordingPlatform platform;
  platform.level = level;
  FramedImage<Pixel> target(6, 5, {3, 1, 2, 1}, Fill::kNoise, 1);
  FramedImage<Pixel> templ(3, 2, {1, 2, 3, 0}, Fill::kNoise, 2);
  OutputImage dst;
  ASSERT_EQ(VlixImageAlloc(&dst.record, ObjType_F32, 4, 4), 0);
  platform.name(dst.record, "dst");
  platform.name(dst.record.data, 64, "D");
  platform.name(target.data(), sizeof(Pixel) * 11 * 7, "T");
  platform.name(templ.data(), sizeof(Pixel) * 7 * 4, "P");
  EXPECT_EQ(platform.call(vlix_nxcorr, &target.record, &templ.record, &dst.record), 0);
  const auto bytes = [](std::size_t pixels) { return std::to_string(pixels * sizeof(Pixel)); };
  EXPECT_THAT(platform.calls(), ElementsAre(check_of(code_of<Pixel>()), kLevel, shape_of(4, 4),
                                            primitive_of<Pixel>() + std::string("(T+") + bytes(14) + ", " + bytes(11) +
                                                ", 6x5, P+" + bytes(15) + ", " + bytes(7) + ", 3x2, D, 16)"));
  EXPECT_THAT(platform.reports(), IsEmpty());
}

TEST(Nxcorr, EqualTypesGoStraightToTheirPrimitive) {
  for (int32_t level : {1, 2, -1, 7}) {
    expect_direct_call<uint8_t>(level);
    expect_direct_call<int8_t>(level);
    expect_direct_call<uint16_t>(level);
    expect_direct_call<float>(level);
  }
}

TEST(Nxcorr, DirectRouteReturnsTheShapingsResult) {
  Inputs<uint8_t, uint8_t> in(4, 4, 2, 2);
  in.platform.level = 1;
  in.platform.fail(kShape, 1, 55);
  EXPECT_EQ(in.run(), 55);
  EXPECT_THAT(in.platform.reports(), IsEmpty());
  EXPECT_THAT(in.platform.calls(), ElementsAre(check_of(10), kLevel, shape_of(3, 3)));
}

TEST(Nxcorr, DirectRouteReturnsOneWhenThePrimitiveFails) {
  for (int32_t result : {-8, 3, 1}) {
    Inputs<int8_t, int8_t> in(4, 4, 2, 2);
    in.platform.level = 1;
    in.platform.fail(primitive_of<int8_t>(), 1, result);
    EXPECT_EQ(in.run(), 1);
    EXPECT_THAT(in.platform.reports(), IsEmpty());
    EXPECT_THAT(in.platform.live_buffers(), ElementsAre(kShape));
  }
}

TEST(Nxcorr, DirectRouteHandsANullDestinationToTheShaping) {
  Inputs<uint16_t, uint16_t> in(4, 4, 2, 2);
  in.platform.level = 1;
  in.platform.fail(kShape, 1, -5);
  EXPECT_EQ(in.run_without_destination(), -5);
  EXPECT_THAT(in.platform.calls(), ElementsAre(check_of(11), kLevel, kShape + "(null, F32, 3, 3, \"nxcorr\")"));
}

TEST(Nxcorr, DirectRouteLeavesTooLargeTemplatesToTheShaping) {
  for (const auto& [width, height] : {std::pair<int32_t, int32_t>{5, 2}, {2, 5}, {9, 9}}) {
    Inputs<float, float> in(4, 4, width, height);
    in.platform.level = 1;
    in.platform.fail(kShape, 1, 21);
    EXPECT_EQ(in.run(), 21);
    EXPECT_THAT(in.platform.reports(), IsEmpty());
    EXPECT_THAT(in.platform.calls(), ElementsAre(check_of(17), kLevel, shape_of(5 - width, 5 - height)));
  }
}

TEST(Nxcorr, DirectRouteNeverLetsThePrimitiveWriteWhereThereIsNoRoom) {
  Inputs<uint8_t, uint8_t> in(4, 4, 6, 2);
  in.platform.level = 1;
  in.platform.fail(kShape, 1, 0);  // claims success
  EXPECT_EQ(in.run(), 1);
  EXPECT_THAT(in.platform.calls_of(primitive_of<uint8_t>()),
              ElementsAre("vlix_ippiCrossCorrValid_NormLevel_8u32f_C1R(T, 4, 4x4, P, 6, 6x2, null, 0)"));
}

// ---- Route of the float copies ----

TEST(Nxcorr, MixedTypesAndSigned16BitGoThroughCopiesThatStayBehind) {
  for_all_pairs([]<class Target, class Template>() {
    if (takes_direct_route<Target, Template>()) return;
    for (const char* failing : {"", primitive_of<float>()}) {
      Inputs<Target, Template> in(6, 5, 3, 2);
      in.platform.level = 2;
      in.platform.fail(failing);
      EXPECT_EQ(in.run(), *failing == '\0' ? 0 : 1);
      const uint32_t target = code_of<Target>();
      const uint32_t templ = code_of<Template>();
      std::vector<std::string> expected = {check_of(target), kLevel};
      for (const std::string& call : casts_of(target, templ)) expected.push_back(call);
      expected.push_back(kLevel);
      expected.push_back(shape_of(4, 4));
      expected.push_back(std::string(primitive_of<float>()) + "(" + (target == ObjType_F32 ? "T" : "?") +
                         ", 24, 6x5, " + (templ == ObjType_F32 ? "P" : "?") + ", 12, 3x2, ?, 16)");
      EXPECT_THAT(in.platform.calls(), ElementsAreArray(expected));
      EXPECT_THAT(in.platform.reports(), IsEmpty());
      std::vector<std::string> live = {kShape};
      for (int i = 0; i < copies_of(target, templ); ++i) live.push_back(kCast);
      EXPECT_THAT(in.platform.live_buffers(), ElementsAreArray(live));
    }
  });
}

TEST(Nxcorr, CopyRouteIgnoresTheShapingAndHandsOverNullWhenThereIsNoRoom) {
  enum { kNull, kEmpty, kOtherType, kTooNarrow, kTooLow, kNoData };
  for (int destination : {kNull, kEmpty, kOtherType, kTooNarrow, kTooLow, kNoData}) {
    Inputs<uint8_t, float> in(6, 5, 3, 2);
    in.platform.level = 1;
    in.platform.fail(kShape);
    VlixImage* dst = &in.dst.record;
    if (destination == kNull) dst = nullptr;
    if (destination == kOtherType) {
      ASSERT_EQ(VlixImageAlloc(dst, ObjType_S32, 40, 40), 0);
    }
    if (destination == kTooNarrow) {
      ASSERT_EQ(VlixImageAlloc(dst, ObjType_F32, 3, 40), 0);
    }
    if (destination == kTooLow) {
      ASSERT_EQ(VlixImageAlloc(dst, ObjType_F32, 40, 40), 0);
      dst->roiHeight = 3;
    }
    if (destination == kNoData) {
      in.dst.record = {ObjType_F32, nullptr, 40, 40, 0, 0, 40, 40};
    }
    EXPECT_EQ(in.platform.call(vlix_nxcorr, &in.target.record, &in.templ.record, dst), 1) << destination;
    EXPECT_THAT(in.platform.calls_of(primitive_of<float>()),
                ElementsAre("vlix_ippiCrossCorrValid_NormLevel_32f_C1R(?, 24, 6x5, P, 12, 3x2, null, 0)"));
    EXPECT_THAT(in.platform.reports(), IsEmpty());
    EXPECT_THAT(in.platform.live_buffers(), ElementsAre(kCast));
  }
}

TEST(Nxcorr, CopyRouteUsesWhatTheDestinationHoldsWhenShapingFailed) {
  Inputs<uint8_t, float> in(6, 5, 3, 2);
  in.platform.level = 1;
  in.platform.fail(kShape);
  ASSERT_EQ(VlixImageAlloc(&in.dst.record, ObjType_F32, 10, 9), 0);
  ASSERT_EQ(VlixImageSetRoi(&in.dst.record, 2, 3, 4, 4), 0);
  in.platform.name(in.dst.record.data, 360, "D");
  EXPECT_EQ(in.run(), 0);
  EXPECT_THAT(in.platform.calls_of(primitive_of<float>()),
              ElementsAre("vlix_ippiCrossCorrValid_NormLevel_32f_C1R(?, 24, 6x5, P, 12, 3x2, D+128, 40)"));
}

TEST(Nxcorr, CopyRouteHandsOverNullForTooLargeTemplates) {
  Inputs<int16_t, int16_t> in(4, 4, 5, 2);
  in.platform.level = 1;
  in.platform.fail(kShape, 1, 0);
  EXPECT_EQ(in.run(), 1);
  EXPECT_THAT(in.platform.calls_of(primitive_of<float>()),
              ElementsAre("vlix_ippiCrossCorrValid_NormLevel_32f_C1R(?, 16, 4x4, ?, 20, 5x2, null, 0)"));
}

// ---- Plain route ----

TEST(Nxcorr, PlainRouteGivesItsCopiesBack) {
  for_all_pairs([]<class Target, class Template>() {
    Inputs<Target, Template> in(6, 5, 3, 2);
    in.platform.level = 0;
    EXPECT_EQ(in.run(), 0);
    const uint32_t target = code_of<Target>();
    const uint32_t templ = code_of<Template>();
    std::vector<std::string> expected = {check_of(target), kLevel};
    for (const std::string& call : casts_of(target, templ)) expected.push_back(call);
    expected.push_back(kLevel);
    expected.push_back(shape_of(4, 4));
    for (int i = 0; i < copies_of(target, templ); ++i) expected.push_back(kRelease);
    EXPECT_THAT(in.platform.calls(), ElementsAreArray(expected));
    EXPECT_THAT(in.platform.live_buffers(), ElementsAre(kShape));
    EXPECT_THAT(in.platform.heap_requests(), IsEmpty());
  });
}

TEST(Nxcorr, PlainRouteReportsTooLargeTemplatesAfterTheReleases) {
  for (const auto& [width, height] : {std::pair<int32_t, int32_t>{4, 6}, {5, 5}, {5, 6}, {1, 99}, {99, 1}}) {
    for (bool with_destination : {true, false}) {
      Inputs<uint8_t, uint8_t> in(4, 5, width, height);
      in.platform.level = 0;
      EXPECT_EQ(with_destination ? in.run() : in.run_without_destination(), in.platform.report_result);
      EXPECT_THAT(in.platform.reports(), ElementsAre(Report{100, kLargerText, kLargerText}));
      EXPECT_THAT(in.platform.calls(), ElementsAre(check_of(10), kLevel, kCastTarget, check_of(10), kCastTemplate,
                                                   kLevel, kRelease, kRelease));
      EXPECT_THAT(in.platform.calls_before_reports(), ElementsAre(8u));
      EXPECT_THAT(in.platform.live_buffers(), IsEmpty());
    }
  }
}

TEST(Nxcorr, PlainRouteOnlyValidatesWithoutADestination) {
  Inputs<uint8_t, float> in(4, 5, 2, 2);
  in.platform.level = 0;
  EXPECT_EQ(in.run_without_destination(), 0);
  EXPECT_THAT(in.platform.reports(), IsEmpty());
  EXPECT_THAT(in.platform.calls(), ElementsAre(check_of(10), kLevel, kCastTarget, check_of(17), kLevel, kRelease));
  EXPECT_THAT(in.platform.live_buffers(), IsEmpty());
}

TEST(Nxcorr, PlainRouteReturnsTheShapingsResultAndGivesItsCopiesBack) {
  Inputs<uint8_t, int16_t> in(4, 5, 2, 2);
  in.platform.level = 0;
  in.platform.fail(kShape, 1, -3);
  EXPECT_EQ(in.run(), -3);
  EXPECT_THAT(in.platform.reports(), IsEmpty());
  EXPECT_THAT(in.platform.live_buffers(), IsEmpty());
}

TEST(Nxcorr, TemplateAsDestinationIsNotCaughtAndStaysInsideItsMemory) {
  for (int32_t level : {0, 1}) {
    for (ObjType type : {ObjType_U8, ObjType_F32}) {
      for (int32_t width : {1, 3, 5, 9, 10}) {
        for (int32_t height : {1, 4, 7, 8}) {
          RecordingPlatform platform;
          platform.level = level;
          TestImage<uint8_t> bytes(10, 8, Fill::kNoise, 1);
          TestImage<float> floats(10, 8, Fill::kNoise, 1);
          for (const VlixImage* target : {&bytes.record, &floats.record}) {
            OutputImage templ;
            ASSERT_EQ(VlixImageAlloc(&templ.record, type, width, height), 0);
            const VlixStatus status = platform.call(vlix_nxcorr, target, &templ.record, &templ.record);
            EXPECT_TRUE(status == 0 || status == 1);
            EXPECT_THAT(platform.reports(), IsEmpty());
            EXPECT_EQ(templ.record.type, ObjType_F32);
          }
        }
      }
    }
  }
}

TEST(Nxcorr, ScoresGoToTheRegionOfAWiderOutput) {
  constexpr float kUntouched = -77.0f;
  for (int32_t level : {0, 1}) {
    for (int32_t columns : {1, 9, 40, 100}) {
      RecordingPlatform platform;
      platform.level = level;
      platform.output_margins = {3, 2, 5, 1};
      TestImage<uint8_t> target(columns + 4, 7, Fill::kNoise, 1);
      TestImage<uint8_t> templ(5, 3, Fill::kNoise, 2);
      const int32_t width = columns + 8;
      OutputImage dst;
      ASSERT_EQ(VlixImageAlloc(&dst.record, ObjType_F32, width, 8), 0);
      auto* pixels = static_cast<float*>(dst.record.data);
      std::fill(pixels, pixels + 8 * width, kUntouched);
      EXPECT_EQ(platform.call(vlix_nxcorr, &target.record, &templ.record, &dst.record), 0);
      ASSERT_EQ(dst.record.data, pixels);
      for (int32_t y = 0; y < 8; ++y) {
        for (int32_t x = 0; x < width; ++x) {
          if (x >= 3 && x < 3 + columns && y >= 2 && y < 7) {
            EXPECT_NEAR(pixels[y * width + x], nxcorr_exact_at(target, templ, x - 3, y - 2), 2e-6);
          } else {
            EXPECT_EQ(pixels[y * width + x], kUntouched) << x << " " << y;
          }
        }
      }
    }
  }
}

}  // namespace
}  // namespace vlix::test
