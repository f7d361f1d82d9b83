// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <limits>
#include <string>

#include "histogram/point_values.h"
#include "support/recording_platform.h"
#include "support/test_image.h"
#include "vlix/meas.h"

namespace vlix::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string kColourText = "histogram: not supported for color images\n";
const std::string kBinsText = "histogram: invalid number of bins, must be greater than 0\n";
const std::string kRangeFormat = "histogram: invalid value range %g..%g\n";
const std::string kFailedText = "histogram: failed, possibly caused by insufficient memory\n";

// A call that must end with one report and without any platform call.
void expect_refused(uint32_t type, int32_t bins, float lo, float hi, const Report& report) {
  for (bool validate_only : {false, true}) {
    RecordingPlatform platform;
    TestImage<float> image(4, 2);
    image.record.type = type;
    OutputVector out;
    EXPECT_EQ(platform.call(vlix_histogram, &image.record, validate_only ? nullptr : &out.record, 0, bins, lo, hi),
              platform.report_result);
    EXPECT_THAT(platform.reports(), ElementsAre(report)) << type;
    EXPECT_THAT(platform.calls(), IsEmpty());
    EXPECT_EQ(out.record.data, nullptr);
  }
}

TEST(Histogram, ColourImagesAreRefusedBeforeAnythingElse) {
  for (uint32_t type : {19u, 20u, 21u, 30u}) expect_refused(type, 0, 2, 1, {100, kColourText, kColourText});
}

TEST(Histogram, OtherTypesAreRefusedByName) {
  for (uint32_t type : {0u, 8u, 9u, 12u, 13u, 16u, 18u, 24u, 29u, 36u, 39u, 44u, 0xFFFFFFFFu}) {
    expect_refused(type, 0, 2, 1, {1, "histogram", VlixObjGetName(static_cast<int32_t>(type))});
  }
}

TEST(Histogram, BinsAreCheckedBeforeTheRange) {
  for (int32_t bins : {0, -1, std::numeric_limits<int32_t>::min()}) {
    expect_refused(ObjType_U8, bins, 2, 1, {100, kBinsText, kBinsText});
  }
}

TEST(Histogram, ReversedRangeIsReportedWithItsBounds) {
  expect_refused(ObjType_F32, 4, 2.5f, -1, {100, kRangeFormat, "histogram: invalid value range 2.5..-1\n"});
  expect_refused(ObjType_S16, 4, 1e9f, 0.1f, {100, kRangeFormat, "histogram: invalid value range 1e+09..0.1\n"});
}

TEST(Histogram, NullOutputOnlyValidates) {
  RecordingPlatform platform;
  TestImage<uint8_t> image(4, 2);
  EXPECT_EQ(platform.call(vlix_histogram, &image.record, nullptr, 0, 4, 0.0f, 1.0f), 0);
  EXPECT_THAT(platform.calls(), IsEmpty());
  EXPECT_THAT(platform.reports(), IsEmpty());
}

TEST(Histogram, ArgumentsGoToTheUtilityLibraryAsTheyAre) {
  for (uint32_t type : {6u, 7u, 10u, 11u, 17u}) {
    RecordingPlatform platform;
    TestImage<float> image(4, 2);
    image.record.type = type;
    OutputVector out;
    platform.name(image.record, "image");
    platform.name(out.record, "out");
    EXPECT_EQ(platform.call(vlix_histogram, &image.record, &out.record, -77, 3, -1.5f, 2.25f), 0);
    EXPECT_THAT(platform.calls(), ElementsAre("VlixUtilComputeHistogram(image, out, -77, 3, -1.5, 2.25)"));
    EXPECT_THAT(platform.heap_requests(), IsEmpty());
  }
}

TEST(Histogram, FailedCountingIsReported) {
  RecordingPlatform platform;
  platform.fail("VlixUtilComputeHistogram");
  TestImage<uint8_t> image(4, 2);
  OutputVector out;
  EXPECT_EQ(platform.call(vlix_histogram, &image.record, &out.record, 0, 4, 0.0f, 1.0f), platform.report_result);
  EXPECT_THAT(platform.reports(), ElementsAre(Report{100, kFailedText, kFailedText}));
}

TEST(Histogram, AnyOtherAnswerIsSuccess) {
  for (int32_t answer : {1, -1, 2147483647}) {
    RecordingPlatform platform;
    platform.fail("VlixUtilComputeHistogram", 1, answer);
    TestImage<uint8_t> image(4, 2);
    OutputVector out;
    EXPECT_EQ(platform.call(vlix_histogram, &image.record, &out.record, 0, 4, 0.0f, 1.0f), 0);
  }
}

TEST(Histogram, EqualBoundsAndNaNPassTheCheck) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const std::pair<float, float> ranges[] = {{1, 1}, {nan, 1}, {1, nan}, {nan, nan}};
  for (const auto& [lo, hi] : ranges) {
    RecordingPlatform platform;
    platform.fail("VlixUtilComputeHistogram", 1, 1);
    TestImage<uint8_t> image(4, 2);
    OutputVector out;
    EXPECT_EQ(platform.call(vlix_histogram, &image.record, &out.record, 0, 4, lo, hi), 0);
    EXPECT_EQ(platform.calls().size(), 1u);
  }
}

TEST(Histogram, CountsTheRegionOfInterest) {
  TestImage<float> image(4, 3);
  image.assign({9, 9, 9, 9, 9, 0, 0.5f, 9, 9, 1, 2, 9});
  image.set_roi(1, 1, 2, 2);
  OutputVector out;
  EXPECT_EQ(vlix_histogram(&image.record, &out.record, 0, 2, 0, 2), 0);
  EXPECT_THAT(out.values<PointF32>(), ElementsAre(PointF32{0, 2}, PointF32{1, 2}));
  EXPECT_EQ(vlix_histogram(&image.record, &out.record, 1, 2, 0, 2), 0);
  EXPECT_THAT(out.values<PointF32>(), ElementsAre(PointF32{0, 2}, PointF32{1, 4}));
}

}  // namespace
}  // namespace vlix::test
