// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <type_traits>

#include "histogram/hist_roi_twin.h"
#include "histogram/point_values.h"
#include "support/recording_platform.h"
#include "support/test_image.h"
#include "vlix/meas.h"
#include "vlix/util.h"

namespace vlix::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

// A rectangle of the module's own kind, with the handle of a single shape.
struct Rectangle {
  Rectangle(float x0, float y0, float x1, float y1) : corners{x0, y0, x1, y1} {}
  Rectangle(const Rectangle&) = delete;
  Rectangle& operator=(const Rectangle&) = delete;

  float corners[4];
  VlixShape shape = {VlixShape_PixelRect, {7, 7, 7}, corners};
  VlixShapeHandle handle = {VlixHandle_Shape53, {7, 7, 7}, &shape};
};

template <class Handle>
const VlixObj* object(const Handle& handle) {
  return reinterpret_cast<const VlixObj*>(&handle);
}

std::vector<PointF32> hist_of(const VlixImage& image, const VlixObj* roi, bool cumulative, int32_t bins, float lo,
                              float hi) {
  OutputVector out;
  EXPECT_EQ(vlix_histRoi(&image, roi, &out.record, cumulative, bins, lo, hi), 0);
  EXPECT_EQ(out.record.type, ObjType_PointF32);
  return out.values<PointF32>();
}

template <class Pixel>
class HistRoi : public ::testing::Test {};
using Pixels = ::testing::Types<uint8_t, int8_t, uint16_t, int16_t, float>;
TYPED_TEST_SUITE(HistRoi, Pixels);

// ---- Checks and reports ----

TEST(HistRoiChecks, ImageTypeComesFirst) {
  for (uint32_t type : {0u, 8u, 12u, 16u, 18u, 19u, 20u, 21u, 24u, 29u, 30u, 36u, 39u, 44u, 0xFFFFFFF9u}) {
    RecordingPlatform platform;
    TestImage<uint8_t> image(2, 2);
    image.record.type = type;
    VlixObj wrong = {99};
    OutputVector out;
    EXPECT_EQ(platform.call(vlix_histRoi, &image.record, &wrong, &out.record, 0, -1, 0.0f, 1.0f),
              platform.report_result);
    EXPECT_THAT(platform.reports(), ElementsAre(Report{1, "histRoi", VlixObjGetName(static_cast<int32_t>(type))}));
    EXPECT_THAT(platform.calls(), IsEmpty());
  }
}

TEST(HistRoiChecks, UnknownKindsOfRegionsAreRefused) {
  for (uint32_t kind : {0u, 1u, 4u, 10u, 17u, 52u, 55u, 70u}) {
    RecordingPlatform platform;
    TestImage<uint8_t> image(2, 2);
    VlixObj roi = {kind};
    EXPECT_EQ(platform.call(vlix_histRoi, &image.record, &roi, nullptr, 0, 1, 0.0f, 1.0f), platform.report_result);
    EXPECT_THAT(platform.reports(), ElementsAre(Report{1, "histRoi", VlixObjGetName(static_cast<int32_t>(kind))}));
    EXPECT_THAT(platform.calls(), IsEmpty());
  }
}

TEST(HistRoiChecks, VectorsOfOtherElementsAreRefusedByTheElementType) {
  for (uint32_t type : {2u, 3u, 10u, 29u, 52u, 55u}) {
    RecordingPlatform platform;
    TestImage<uint8_t> image(2, 2);
    VlixVectorHandle roi = {VlixHandle_Vector, {}, {type, nullptr, 0, 0}};
    OutputVector out;
    EXPECT_EQ(platform.call(vlix_histRoi, &image.record, object(roi), &out.record, 0, 1, 0.0f, 1.0f),
              platform.report_result);
    EXPECT_THAT(platform.reports(), ElementsAre(Report{1, "histRoi", VlixObjGetName(static_cast<int32_t>(type))}));
    EXPECT_EQ(out.record.data, nullptr);
  }
}

TEST(HistRoiChecks, NullOutputOnlyValidates) {
  const Rectangle rectangle(0, 0, 1, 1);
  const VlixVectorHandle shapes = {VlixHandle_Vector, {}, {ObjType_Shape54, nullptr, 0, 0}};
  const VlixRegionHandle region = {VlixHandle_Region, {}, {}};
  for (uint32_t type : {6u, 7u, 10u, 11u, 17u}) {
    for (const VlixObj* roi : {object(rectangle.handle), object(shapes), object(region)}) {
      RecordingPlatform platform;
      TestImage<float> image(2, 2);
      image.record.type = type;
      EXPECT_EQ(platform.call(vlix_histRoi, &image.record, roi, nullptr, 1, -5, kNaN, kNaN), 0);
      EXPECT_THAT(platform.calls(), IsEmpty());
      EXPECT_THAT(platform.reports(), IsEmpty());
    }
  }
}

TEST(HistRoiChecks, FailedAllocationReportsA32BitProduct) {
  const std::pair<int32_t, const char*> cases[] = {
      {3, "24"}, {-1, "-8"}, {300000000, "-1894967296"}, {536870912, "0"}, {-2147483647 - 1, "0"}};
  for (const auto& [bins, bytes] : cases) {
    RecordingPlatform platform;
    platform.fail("VlixVectorAlloc");
    TestImage<uint8_t> image(2, 2);
    const Rectangle rectangle(0, 0, 1, 1);
    OutputVector out;
    platform.name(out.record, "out");
    EXPECT_EQ(platform.call(vlix_histRoi, &image.record, object(rectangle.handle), &out.record, 0, bins, 0.0f, 1.0f),
              platform.report_result);
    EXPECT_THAT(platform.reports(), ElementsAre(Report{0, "histRoi", bytes}));
    EXPECT_THAT(platform.calls(), ElementsAre("VlixVectorAlloc(out, PointF32, " + std::to_string(bins) + ")"));
  }
}

TEST(HistRoiChecks, NegativeBinsFailInTheAllocation) {
  RecordingPlatform platform;
  TestImage<uint8_t> image(2, 2);
  const Rectangle rectangle(0, 0, 1, 1);
  OutputVector out;
  EXPECT_EQ(platform.call(vlix_histRoi, &image.record, object(rectangle.handle), &out.record, 1, -2, 0.0f, 1.0f),
            platform.report_result);
  EXPECT_THAT(platform.reports(), ElementsAre(Report{0, "histRoi", "-16"}));
}

// ---- Calls of the utility library ----

TEST(HistRoiCalls, RectanglesAreWalkedWithoutTheLibrary) {
  for (uint32_t kind : {VlixHandle_Shape53, VlixHandle_Shape54}) {
    RecordingPlatform platform;
    TestImage<uint8_t> image(3, 3);
    Rectangle rectangle(0, 0, 1, 1);
    rectangle.handle.kind = kind;
    OutputVector out;
    platform.name(out.record, "out");
    EXPECT_EQ(platform.call(vlix_histRoi, &image.record, object(rectangle.handle), &out.record, 0, 2, 0.0f, 1.0f), 0);
    EXPECT_THAT(platform.calls(), ElementsAre("VlixVectorAlloc(out, PointF32, 2)"));
    EXPECT_THAT(platform.heap_requests(), IsEmpty());
    EXPECT_THAT(out.values<PointF32>(), ElementsAre(PointF32{0, 4}, PointF32{1, 0}));
  }
}

TEST(HistRoiCalls, RegionIsHandedWholeToTheScanner) {
  RecordingPlatform platform;
  TestImage<uint8_t> image(4, 3);
  VlixRun runs[] = {{0, 1, 3}, {2, 0, 4}};
  VlixRegionHandle handle = {VlixHandle_Region, {}, {runs, 2, 0}};
  OutputVector out;
  platform.name(out.record, "out");
  platform.name(handle.region, "region");
  EXPECT_EQ(platform.call(vlix_histRoi, &image.record, object(handle), &out.record, 0, 1, 0.0f, 255.0f), 0);
  EXPECT_THAT(platform.calls(),
              ElementsAre("VlixVectorAlloc(out, PointF32, 1)", "VlixUtilScanRoi(?, region, routine)"));
  EXPECT_THAT(out.values<PointF32>(), ElementsAre(PointF32{0, 6}));
}

TEST(HistRoiCalls, FailedScannerIsReported) {
  for (int32_t result : {-8, 1, 2147483647}) {
    RecordingPlatform platform;
    platform.fail("VlixUtilScanRoi", 1, result);
    TestImage<uint8_t> image(4, 3);
    VlixRegionHandle handle = {VlixHandle_Region, {}, {}};
    OutputVector out;
    EXPECT_EQ(platform.call(vlix_histRoi, &image.record, object(handle), &out.record, 1, 1, 0.0f, 255.0f),
              platform.report_result);
    const std::string text = "histRoi: failed scanning ROI\n";
    EXPECT_THAT(platform.reports(), ElementsAre(Report{100, text, text}));
    EXPECT_THAT(platform.live_buffers(), ElementsAre("VlixVectorAlloc"));
  }
}

TEST(HistRoiCalls, OtherShapesGoToTheRasteriser) {
  RecordingPlatform platform;
  TestImage<uint8_t> image(6, 5);
  const VlixRectShape geometry = {1, 1, 4, 3};
  VlixShape shape = {VlixShape_Rect, {}, &geometry};
  const VlixShapeHandle handle = {VlixHandle_Shape54, {}, &shape};
  OutputVector out;
  platform.name(out.record, "out");
  platform.name(shape, "shape");
  EXPECT_EQ(platform.call(vlix_histRoi, &image.record, object(handle), &out.record, 0, 1, 0.0f, 255.0f), 0);
  EXPECT_THAT(platform.calls(),
              ElementsAre("VlixVectorAlloc(out, PointF32, 1)", "VlixUtilRasterizeRoi(?, shape, routine)"));
  EXPECT_THAT(out.values<PointF32>(), ElementsAre(PointF32{0, 6}));
}

// Three shapes in a vector; the second of the two rasterised ones fails.
TEST(HistRoiCalls, FailedRasteriserEndsTheVectorOfShapes) {
  RecordingPlatform platform;
  platform.fail("VlixUtilRasterizeRoi", 2);
  TestImage<uint8_t> image(6, 5);
  const VlixRectShape geometry = {0, 0, 2, 1};
  const Rectangle rectangle(0, 0, 5, 4);
  const VlixShape shape = {VlixShape_Rect, {}, &geometry};
  TestVector<uint8_t> memory(std::vector<uint8_t>(4 * sizeof(VlixShape)));
  const VlixShape shapes[] = {shape, rectangle.shape, shape, rectangle.shape};
  std::memcpy(memory.data(), shapes, sizeof(shapes));
  const VlixVectorHandle handle = {VlixHandle_Vector, {}, {ObjType_Shape53, memory.data(), 4, 0}};
  OutputVector out;
  platform.name(memory.data(), sizeof(shapes), "shapes");
  EXPECT_EQ(platform.call(vlix_histRoi, &image.record, object(handle), &out.record, 1, 2, 0.0f, 255.0f),
            platform.report_result);
  const std::string text = "histRoi: failed rasterizing ROI\n";
  EXPECT_THAT(platform.reports(), ElementsAre(Report{100, text, text}));
  EXPECT_THAT(platform.calls_of("VlixUtilRasterizeRoi"),
              ElementsAre("VlixUtilRasterizeRoi(?, shapes, routine)", "VlixUtilRasterizeRoi(?, shapes+48, routine)"));
  // What was counted stays, and is not accumulated.
  EXPECT_THAT(out.values<PointF32>(), ElementsAre(PointF32{0, 2 + 30}, PointF32{128, 0}));
}

TEST(HistRoiCalls, VectorWithoutShapesCountsNothing) {
  for (int32_t count : {0, -1, -2147483647 - 1}) {
    TestImage<uint8_t> image(6, 5);
    const VlixVectorHandle handle = {VlixHandle_Vector, {}, {ObjType_Shape54, nullptr, count, 0}};
    EXPECT_THAT(hist_of(image.record, object(handle), true, 1, 0, 255), ElementsAre(PointF32{0, 0}));
  }
}

TEST(HistRoiCalls, OverlappingShapesCountTwice) {
  TestImage<uint16_t> image(6, 5, Fill::kConstant, 1);
  const Rectangle a(0, 0, 2, 2), b(1, 1, 3, 3);
  const VlixShape shapes[] = {a.shape, b.shape};
  const VlixVectorHandle handle = {VlixHandle_Vector, {}, {ObjType_Shape54, const_cast<VlixShape*>(shapes), 2, 0}};
  EXPECT_THAT(hist_of(image.record, object(handle), false, 1, 0, 255), ElementsAre(PointF32{0, 18}));
}

TEST(HistRoiCalls, ContextBeginsWithItsStatedFields) {
  RecordingPlatform platform;
  TestImage<uint8_t> image(4, 3);
  image.set_roi(1, 1, 3, 2);
  OutputVector out;
  struct {
    double factor;
    float lo, hi;
    PointF32* points;
    const VlixImage* image;
  } seen = {};
  static_assert(sizeof(seen) == 32);
  platform.scan_roi = [&](void* context, void*, VlixPixelRoutine routine) {
    std::memcpy(&seen, context, sizeof(seen));
    // Only (2, 1) and (0, 0) lie inside the region of interest.
    for (const auto& [x, y] : {std::pair{-1, 0},
                               {0, -1},
                               {3, 0},
                               {0, 2},
                               {2, 1},
                               {2147483647, 0},
                               {0, 2147483647},
                               {-2147483647 - 1, -2147483647 - 1},
                               {0, 0}}) {
      routine(context, x, y);
    }
    return 0;
  };
  VlixRegionHandle handle = {VlixHandle_Region, {}, {}};
  EXPECT_EQ(platform.call(vlix_histRoi, &image.record, object(handle), &out.record, 0, 4, -0.5f, 15.75f), 0);
  EXPECT_EQ(seen.factor, 4.0 / 17.0);
  EXPECT_EQ(seen.lo, -0.5f);
  EXPECT_EQ(seen.hi, 15.75f);
  EXPECT_EQ(seen.points, out.record.data);
  EXPECT_EQ(seen.image, &image.record);
  EXPECT_EQ(out.values<PointF32>()[0].y, 2.0f);
}

// ---- Values known beforehand ----

TEST(HistRoiValues, EveryValueOfAByteHasItsBin) {
  TestImage<uint8_t> image(16, 16);
  for (int i = 0; i < 256; ++i) image.data()[i] = static_cast<uint8_t>(255 - i);
  const Rectangle all(0, 0, 15, 15);
  const auto hist = hist_of(image.record, object(all.handle), false, 256, 0, 255);
  for (std::size_t i = 0; i < 256; ++i) EXPECT_EQ(hist[i], (PointF32{static_cast<float>(i), 1}));
}

// The float range is 255, so that 255 itself would need one more bin.
TEST(HistRoiValues, TopOfAFloatRangeIsDropped) {
  TestImage<float> image(4, 1);
  image.assign({0, 254.9f, 255, 255.1f});
  const Rectangle all(0, 0, 3, 0);
  const auto hist = hist_of(image.record, object(all.handle), true, 256, 0, 255);
  EXPECT_EQ(hist[0].y, 1.0f);
  EXPECT_EQ(hist[255].y, 2.0f);
  EXPECT_EQ(hist[255].x, static_cast<float>(255 * (255.0 / 256.0)));
}

TEST(HistRoiValues, FractionalLimitsOfIntegersAreTruncated) {
  TestImage<uint8_t> image(12, 1);
  for (int i = 0; i < 12; ++i) image.data()[i] = static_cast<uint8_t>(i);
  const Rectangle all(0, 0, 11, 0);
  // Ten bins over 0.5 .. 10.2: 0 to 9 have one each, 10 falls behind the last, 11 is above the limit.
  const auto hist = hist_of(image.record, object(all.handle), false, 10, 0.5f, 10.2f);
  for (std::size_t i = 0; i < 10; ++i) EXPECT_EQ(hist[i], (PointF32{static_cast<float>(i) + 0.5f, 1}));
}

TEST(HistRoiValues, NotANumberIsNeverCounted) {
  TestImage<float> image(5, 1);
  image.assign({kNaN, kInfinity, -kInfinity, 1, 3});
  const Rectangle all(0, 0, 4, 0);
  EXPECT_THAT(hist_of(image.record, object(all.handle), false, 2, 0, 4), ElementsAre(PointF32{0, 1}, PointF32{2, 1}));
}

TEST(HistRoiValues, NoBinsGiveAnEmptyVector) {
  RecordingPlatform platform;
  TestImage<uint16_t> image(5, 4);
  const Rectangle all(0, 0, 4, 3);
  VlixRun runs[] = {{0, 0, 5}};
  VlixRegionHandle region = {VlixHandle_Region, {}, {runs, 1, 0}};
  for (const VlixObj* roi : {object(all.handle), object(region)}) {
    OutputVector out;
    EXPECT_EQ(platform.call(vlix_histRoi, &image.record, roi, &out.record, 1, 0, 0.0f, 255.0f), 0);
    EXPECT_EQ(out.record.count, 0);
  }
  EXPECT_EQ(platform.calls_of("VlixUtilScanRoi").size(), 1u);
  EXPECT_THAT(platform.reports(), IsEmpty());
}

TEST(HistRoiValues, RangesWithoutWidthWriteNothingOutside) {
  TestImage<float> floats(4, 1);
  floats.assign({0, 0.25f, 1, 2});
  TestImage<int16_t> words(4, 1);
  words.assign({0, -1, 1, 2});
  TestImage<uint8_t> bytes(4, 1);
  bytes.assign({0, 1, 2, 255});
  const Rectangle all(0, 0, 3, 0);
  const std::pair<float, float> ranges[] = {{0, 0.5f},      {0, 0},    {5, 1},    {0.9f, -0.9f},
                                            {-3e9f, 3e9f},  {kNaN, 1}, {0, kNaN}, {-kInfinity, 0},
                                            {0, kInfinity}, {0, -1},   {2, 0.5f}, {-2147483648.0f, 2147483520.0f}};
  for (const auto& [lo, hi] : ranges) {
    for (int32_t bins : {1, 3, 1023, 1024, 5000}) {
      const auto twin = [&](const std::vector<float>& samples, bool is_float) {
        return hist_roi_twin(samples, is_float, bins, lo, hi, false);
      };
      EXPECT_EQ(first_difference(hist_of(floats.record, object(all.handle), false, bins, lo, hi),
                                 twin({0, 0.25f, 1, 2}, true)),
                -1)
          << lo << " " << hi << " " << bins;
      EXPECT_EQ(
          first_difference(hist_of(words.record, object(all.handle), false, bins, lo, hi), twin({0, -1, 1, 2}, false)),
          -1)
          << lo << " " << hi << " " << bins;
      EXPECT_EQ(
          first_difference(hist_of(bytes.record, object(all.handle), false, bins, lo, hi), twin({0, 1, 2, 255}, false)),
          -1)
          << lo << " " << hi << " " << bins;
    }
  }
}

// Adding 1 to 2^24 leaves a float as it is.
TEST(HistRoiValues, CountsStopAt2To24) {
  const int32_t side = 4100;
  TestImage<uint8_t> bytes(side, side);
  const Rectangle all(0, 0, side - 1, side - 1);
  const VlixShape shapes[] = {all.shape, all.shape};
  const VlixVectorHandle twice = {VlixHandle_Vector, {}, {ObjType_Shape54, const_cast<VlixShape*>(shapes), 2, 0}};
  EXPECT_THAT(hist_of(bytes.record, object(all.handle), false, 1, 0, 255), ElementsAre(PointF32{0, 16777216}));
  EXPECT_THAT(hist_of(bytes.record, object(twice), false, 1, 0, 255), ElementsAre(PointF32{0, 16777216}));
  TestImage<int16_t> words(side, side);
  EXPECT_THAT(hist_of(words.record, object(all.handle), false, 1, 0, 255), ElementsAre(PointF32{0, 16777216}));
  const Rectangle half(0, 0, side - 1, 2099);
  EXPECT_THAT(hist_of(words.record, object(half.handle), false, 1, 0, 255), ElementsAre(PointF32{0, 4100 * 2100}));
  EXPECT_EQ(hist_of(words.record, object(half.handle), false, 4096, 0, 4095)[0].y, 4100.0f * 2100.0f);
}

// ---- Rectangles ----

// Samples of the whole image inside the rectangle, found pixel by pixel.
template <class Pixel>
std::vector<float> samples_in(TestImage<Pixel>& image, const float* corners) {
  const auto rounded = [](float c) { return truncated_twin(std::floor(static_cast<double>(c) + 0.5)); };
  const auto inside = [&](int64_t v, float a, float b) {
    const int64_t ra = rounded(a), rb = rounded(b);
    return (ra <= v && v <= rb) || (rb <= v && v <= ra);
  };
  std::vector<float> samples;
  for (int32_t y = 0; y < image.record.height; ++y) {
    for (int32_t x = 0; x < image.record.width; ++x) {
      if (inside(x, corners[0], corners[2]) && inside(y, corners[1], corners[3])) {
        samples.push_back(static_cast<float>(image.at(x, y)));
      }
    }
  }
  return samples;
}

TYPED_TEST(HistRoi, RectanglesInAnyOrderAndPartlyOutsideEqualTheTwin) {
  const std::array<float, 4> rectangles[] = {{0, 0, 36, 22},
                                             {36, 22, 0, 0},
                                             {3, 2, 17, 9},
                                             {17, 2, 3, 9},
                                             {3, 9, 17, 2},
                                             {5, 5, 5, 5},
                                             {-10, -10, 4, 4},
                                             {30, 18, 100, 100},
                                             {-50, -50, 90, 90},
                                             {-9, 0, -1, 22},
                                             {37, 0, 50, 22},
                                             {0, 23, 36, 40},
                                             {2.4f, 3.5f, 7.6f, 9},
                                             {2.5f, -0.5f, 7, -0.51f},
                                             {-0.5f, 0, 3, 3},
                                             {36.49f, 0, 36.5f, 22},
                                             {-3e9f, 0, 5, 5},
                                             {0, 0, 3e9f, 3e9f},
                                             {kNaN, 0, 5, 5},
                                             {0, 0, 5, kInfinity},
                                             {-kInfinity, 0, 5, kNaN},
                                             {0.49999997f, 0, 0.49999997f, 3}};
  TestImage<TypeParam> image(37, 23, Fill::kNoise, 11);
  image.set_roi(5, 7, 11, 3);  // of no influence
  const bool is_float = std::is_same_v<TypeParam, float>;
  for (const auto& r : rectangles) {
    const Rectangle rectangle(r[0], r[1], r[2], r[3]);
    for (bool cumulative : {false, true}) {
      const auto expected = hist_roi_twin(samples_in(image, rectangle.corners), is_float, 16, -100, 99, cumulative);
      ASSERT_EQ(first_difference(hist_of(image.record, object(rectangle.handle), cumulative, 16, -100, 99), expected),
                -1)
          << r[0] << " " << r[1] << " " << r[2] << " " << r[3];
    }
  }
}

TYPED_TEST(HistRoi, LastRunningSumIsTheNumberOfCountedPixels) {
  TestImage<TypeParam> image(37, 23, Fill::kNoise, 12);
  const Rectangle all(0, 0, 36, 22);
  const auto samples = samples_in(image, all.corners);
  const auto inside = std::count_if(samples.begin(), samples.end(), [](float v) { return v >= -100 && v <= 99; });
  ASSERT_GT(inside, 0);
  for (int32_t bins : {1, 50, 200}) {
    EXPECT_EQ(hist_of(image.record, object(all.handle), true, bins, -100, 99).back().y, static_cast<float>(inside));
  }
}

TYPED_TEST(HistRoi, AllWidthsEqualTheTwin) {
  const bool is_float = std::is_same_v<TypeParam, float>;
  for (int32_t width = 1; width <= 67; ++width) {
    TestImage<TypeParam> image(width + 2, 4, Fill::kNoise, static_cast<uint64_t>(width));
    const Rectangle rectangle(1, 1, static_cast<float>(width), 3);
    const auto expected = hist_roi_twin(samples_in(image, rectangle.corners), is_float, 7, -500, 500, false);
    ASSERT_EQ(first_difference(hist_of(image.record, object(rectangle.handle), false, 7, -500, 500), expected), -1)
        << width;
  }
}

TYPED_TEST(HistRoi, AllFillsAndRangesEqualTheTwin) {
  const bool is_float = std::is_same_v<TypeParam, float>;
  struct Range {
    int32_t bins;
    float lo, hi;
  };
  const Range ranges[] = {
      {256, 0, 255},          {1, -1e6f, 1e6f},         {1022, -700, 900},    {1023, -700, 900}, {1024, -700, 900},
      {65536, -32768, 32767}, {65536, 0, 65535},        {3, 36.5f, 38.25f},   {10, 0.5f, 10.2f}, {7, 37, 37},
      {100, -1e9f, 1e9f},     {5, -2147483648.0f, 100}, {5, 0, 4294967040.0f}};
  for (Fill fill : kFills) {
    TestImage<TypeParam> image(601, 9, fill, 77);
    const Rectangle all(0, 0, 600, 8);
    const auto samples = samples_in(image, all.corners);
    for (const Range& r : ranges) {
      const auto expected = hist_roi_twin(samples, is_float, r.bins, r.lo, r.hi, false);
      ASSERT_EQ(first_difference(hist_of(image.record, object(all.handle), false, r.bins, r.lo, r.hi), expected), -1)
          << name_of(fill) << " " << r.bins << " " << r.lo << " " << r.hi;
    }
  }
}

// ---- Pixel by pixel ----

// Samples at coordinates relative to the region of interest, those outside left out.
template <class Pixel>
struct Collector {
  TestImage<Pixel>* image;
  std::vector<float> samples;
  static void collect(void* user, int32_t x, int32_t y) {
    auto* self = static_cast<Collector*>(user);
    const VlixImage& record = self->image->record;
    if (x < 0 || x >= record.roiWidth || y < 0 || y >= record.roiHeight) return;
    self->samples.push_back(static_cast<float>(self->image->roi_at(x, y)));
  }
};

TYPED_TEST(HistRoi, RegionsEqualTheTwin) {
  const bool is_float = std::is_same_v<TypeParam, float>;
  TestImage<TypeParam> image(29, 19, Fill::kNoise, 3);
  image.set_roi(3, 2, 21, 15);
  VlixRun runs[] = {{-2, 0, 5}, {0, -3, 4}, {0, 6, 9}, {3, 0, 21}, {7, 20, 30}, {14, 0, 1}, {15, 0, 3}};
  VlixRegionHandle handle = {VlixHandle_Region, {}, {runs, 7, 0}};
  Collector<TypeParam> collector{&image, {}};
  ASSERT_EQ(VlixUtilScanRoi(&collector, &handle.region, collector.collect), 0);
  ASSERT_EQ(collector.samples.size(), 4u + 3 + 21 + 1 + 1);
  for (int32_t bins : {1, 16, 3000}) {
    const auto expected = hist_roi_twin(collector.samples, is_float, bins, -128, 99.5f, true);
    EXPECT_EQ(first_difference(hist_of(image.record, object(handle), true, bins, -128, 99.5f), expected), -1);
  }
}

TYPED_TEST(HistRoi, ShapesInAVectorEqualTheTwin) {
  const bool is_float = std::is_same_v<TypeParam, float>;
  TestImage<TypeParam> image(40, 30, Fill::kNoise, 4);
  image.set_roi(7, 1, 30, 27);
  const VlixEllipseShape ellipse = {12, 11, 9.5f, 5.25f, 30};
  const PointF32 corners[] = {{-4, -3}, {25, 4}, {11, 40}};
  const VlixPolygonShape polygon = {corners, 3};
  const Rectangle rectangle(2, 2, 9, 7);
  VlixShape shapes[] = {{VlixShape_Ellipse, {}, &ellipse}, rectangle.shape, {VlixShape_Polygon, {}, &polygon}};
  const VlixVectorHandle handle = {VlixHandle_Vector, {}, {ObjType_Shape53, shapes, 3, 0}};

  Collector<TypeParam> collector{&image, samples_in(image, rectangle.corners)};
  ASSERT_EQ(VlixUtilRasterizeRoi(&collector, &shapes[0], collector.collect), 0);
  ASSERT_EQ(VlixUtilRasterizeRoi(&collector, &shapes[2], collector.collect), 0);
  const auto expected = hist_roi_twin(collector.samples, is_float, 50, -1000, 1000, false);
  EXPECT_EQ(first_difference(hist_of(image.record, object(handle), false, 50, -1000, 1000), expected), -1);
}

// The rectangle and the same pixels one by one are counted alike.
RC_GTEST_PROP(HistRoiLaws, RectangleAndRunsCountAlike, ()) {
  TestImage<uint16_t> image(33, 21, Fill::kNoise, *rc::gen::arbitrary<uint64_t>());
  const int32_t x0 = *rc::gen::inRange(0, 33), x1 = *rc::gen::inRange(x0, 33);
  const int32_t y0 = *rc::gen::inRange(0, 21), y1 = *rc::gen::inRange(y0, 21);
  const int32_t bins = *rc::gen::inRange(1, 2000);
  const auto lo = static_cast<float>(*rc::gen::inRange(0, 30000)) / 4.0f;
  const auto hi = lo + static_cast<float>(*rc::gen::inRange(0, 200000)) / 4.0f;
  const Rectangle rectangle(static_cast<float>(x0), static_cast<float>(y0), static_cast<float>(x1),
                            static_cast<float>(y1));
  std::vector<VlixRun> runs;
  for (int32_t y = y0; y <= y1; ++y) runs.push_back({y, x0, x1 + 1});
  const VlixRegionHandle region = {VlixHandle_Region, {}, {runs.data(), static_cast<int64_t>(runs.size()), 0}};
  const auto a = hist_of(image.record, object(rectangle.handle), true, bins, lo, hi);
  RC_ASSERT(first_difference(a, hist_of(image.record, object(region), true, bins, lo, hi)) == -1);
}

}  // namespace
}  // namespace vlix::test
