// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <random>

#include "geometry/interpolation_twin.h"
#include "geometry/samplepath_twin.h"
#include "support/recording_platform.h"
#include "support/test_image.h"
#include "vlix/meas.h"

namespace vlix::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string kSpacingText = "samplepath_lines: sampleSpacing must be positive\n";
const std::string kLinesModeText = "samplepath_lines: interpolation mode not suppported\n";
const std::string kPointModeText = "samplepath_point: interpolation mode not suppported\n";
const std::string kColourText = "samplepath_lines: invalid value is not implemented for color images\n";
const std::string kTypeText = "samplepath_lines: the provided invalid value type must match the image type\n";
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

Report message(const std::string& text) { return {100, text, text}; }
Report outside(const std::string& where) {
  return {100, "samplepath: point(%f,%f) out of image ROI\n", "samplepath: point(" + where + ") out of image ROI\n"};
}

// A ramp: the value at (x, y) is x + 10 y, also between pixels.
std::vector<float> ramp_values(int32_t width, int32_t height) {
  std::vector<float> values;
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) values.push_back(static_cast<float>(x + 10 * y));
  }
  return values;
}

class Ramp : public TestImage<float> {
 public:
  Ramp(int32_t width, int32_t height) : TestImage<float>(width, height) { assign(ramp_values(width, height)); }
};

struct Sampled {
  VlixStatus status;
  int32_t count = -99;
  std::vector<float> values;
  std::vector<PointF32> positions;
};

// Into vectors that are long enough on entry, unless told otherwise.
Sampled sample(const VlixImage& image, const std::vector<PointF32>& vertices, float spacing, int32_t mode = 1,
               int32_t count_on_entry = 4000, const VlixObj* invalid = nullptr) {
  TestVector<PointF32> path(vertices);
  OutputVector values;
  OutputVector positions;
  VlixVectorAlloc(&values.record, ObjType_F32, count_on_entry);
  Sampled result = {};
  result.status = vlix_samplepath_lines(&image, &path.record, &values.record, &positions.record, &result.count, spacing,
                                        mode, invalid);
  if (result.status == 0) {
    result.values = values.values<float>();
    result.positions = positions.values<PointF32>();
  }
  return result;
}

TEST(SamplePath, HorizontalLineWithUnitSpacing) {
  Ramp image(11, 2);
  const Sampled s = sample(image.record, {{0, 0}, {10, 0}}, 1);
  EXPECT_EQ(s.count, 11);
  EXPECT_EQ(s.values, (std::vector<float>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
}

TEST(SamplePath, FractionBelowHalfAddsNoEnd) {
  Ramp image(11, 1);
  const Sampled s = sample(image.record, {{0, 0}, {10, 0}}, 3);
  EXPECT_EQ(s.values, (std::vector<float>{0, 3, 6, 9}));
}

TEST(SamplePath, FractionOfHalfAddsTheLastVertex) {
  Ramp image(11, 1);
  const Sampled s = sample(image.record, {{0, 0}, {10, 0}}, 4);
  EXPECT_EQ(s.count, 4);
  EXPECT_EQ(s.values, (std::vector<float>{0, 4, 8, 10}));
  EXPECT_EQ(s.positions[3].x, 10.0f);
}

TEST(SamplePath, EightDirectionsOnARamp) {
  Ramp image(41, 41);
  for (int dy = -1; dy <= 1; ++dy) {
    for (int dx = -1; dx <= 1; ++dx) {
      if (dx == 0 && dy == 0) continue;
      const PointF32 end = {20.0f + 20.0f * static_cast<float>(dx), 20.0f + 20.0f * static_cast<float>(dy)};
      const Sampled s = sample(image.record, {{20, 20}, end}, 0.5f);
      ASSERT_GT(s.values.size(), 40u);
      for (std::size_t i = 0; i < s.values.size(); ++i) {
        const PointF32 p = s.positions[i];
        // Three products and sums of values below 512: each rounds by at most 2^-15.
        EXPECT_NEAR(s.values[i], p.x + 10.0f * p.y, 16 * std::ldexp(1.0f, -15)) << dx << " " << dy << " " << i;
        const float along = 0.5f * static_cast<float>(i);
        EXPECT_NEAR(std::hypot(p.x - 20.0f, p.y - 20.0f), std::min(along, std::hypot(end.x - 20.0f, end.y - 20.0f)),
                    1e-3f);
      }
    }
  }
}

TEST(SamplePath, LastRowAndColumnAreReachedAndNothingBehindThem) {
  TestImage<uint8_t> image(9, 7, Fill::kNoise, 3);  // ends at a protected page
  const Sampled s = sample(image.record, {{0, 6}, {8, 6}, {8, 0}}, 0.25f);
  EXPECT_EQ(s.status, 0);
  EXPECT_EQ(s.positions.back().x, 8.0f);
}

template <class Pixel>
void expect_twin(int32_t width, int32_t height, const std::vector<PointF32>& path, float spacing, int32_t entry,
                 int32_t mode, const VlixInvalidValue* invalid) {
  TestImage<Pixel> image(width, height, Fill::kNoise, 21);
  const PixelSource pixel = [&](int x, int y) { return static_cast<float>(image.at(x, y)); };
  const PathTwin twin = samplepath_twin(width, height, path, spacing, entry, 1, [&](float x, float y) {
    if (invalid == nullptr) return std::vector{mode == 1 ? bilinear_twin(pixel, x, y) : nearest_twin(pixel, x, y)};
    const float bad = static_cast<float>(image.at(0, 0));
    return std::vector{mode == 1 ? aware_bilinear_twin(pixel, x, y, bad) : aware_nearest_twin(pixel, x, y, bad)};
  });
  VlixInvalidValue own = {};
  if (invalid != nullptr) {
    own.type = code_of<Pixel>();
    std::memcpy(&own.value, image.data(), sizeof(Pixel));
  }
  const Sampled s = sample(image.record, path, spacing, mode, entry,
                           invalid == nullptr ? nullptr : reinterpret_cast<const VlixObj*>(&own));
  ASSERT_EQ(s.status, 0);
  EXPECT_EQ(s.count, twin.count);
  EXPECT_EQ(s.values, twin.values);
  ASSERT_EQ(s.positions.size(), twin.positions.size());
  for (std::size_t i = 0; i < s.positions.size(); ++i) {
    EXPECT_EQ(s.positions[i].x, twin.positions[i].x) << i;
    EXPECT_EQ(s.positions[i].y, twin.positions[i].y) << i;
  }
}

template <class Pixel>
class SamplePathTypes : public ::testing::Test {};
using PixelTypes = ::testing::Types<uint8_t, int8_t, uint16_t, int16_t, float>;
TYPED_TEST_SUITE(SamplePathTypes, PixelTypes);

TYPED_TEST(SamplePathTypes, RandomPathsMatchTheTwinForAnyCountOnEntry) {
  std::mt19937 random(31);
  for (int i = 0; i < 120; ++i) {
    SCOPED_TRACE(i);
    const int32_t width = 1 + static_cast<int32_t>(random() % 60);
    const int32_t height = 1 + static_cast<int32_t>(random() % 40);
    std::uniform_real_distribution<float> x(0.0f, static_cast<float>(width - 1));
    std::uniform_real_distribution<float> y(0.0f, static_cast<float>(height - 1));
    std::vector<PointF32> path(2 + random() % 5);
    for (PointF32& p : path) {
      p = {x(random), y(random)};
      if (random() % 3 == 0) p = {std::floor(p.x), std::floor(p.y)};
    }
    if (random() % 4 == 0) path[1] = path[0];                        // zero length
    if (random() % 4 == 0) path.back().y = path[path.size() - 2].y;  // horizontal
    const float spacing = 0.05f + static_cast<float>(random() % 100) / 40.0f;
    const int32_t entry = random() % 2 == 0 ? 10000 : static_cast<int32_t>(random() % 40);
    const VlixInvalidValue some = {};
    expect_twin<TypeParam>(width, height, path, spacing, entry, static_cast<int32_t>(random() % 2),
                           random() % 3 == 0 ? &some : nullptr);
  }
}

// Steps along the path are added up in floats: each power of two makes them a little longer or shorter, and a spacing
// halfway between two floats of a binade (1 + 2^-13 from 2048 on) goes to the even one.
TEST(SamplePath, LongSegmentsTakeTheStepsOfTheTwin) {
  const std::vector<PointF32> path = {{0.5f, 0.5f}, {5990.0f, 3.25f}, {1.0f, 1.5f}, {4500.25f, 2.0f}, {4500.25f, 1.0f}};
  for (const float spacing :
       {0.1f, 1.0f / 3.0f, 0.37f, 0.5f, 1.7f, 1.0f + 0x1p-13f, 3.0f + 0x3p-13f, 0.25f + 0x1p-20f}) {
    for (const int32_t entry : {7, 1000, 30000, 1000000}) {
      SCOPED_TRACE(std::to_string(spacing) + " into " + std::to_string(entry));
      expect_twin<uint8_t>(6000, 5, path, spacing, entry, 1, nullptr);
    }
  }
}

TEST(SamplePath, ColourSamplesMatchTheTwin) {
  TestImage<Rgba> image(30, 20);
  std::mt19937 random(2);
  for (int i = 0; i < 600; ++i) {
    for (uint8_t& c : image.data()[i].channel) c = static_cast<uint8_t>(random());
  }
  const std::vector<PointF32> path = {{1, 1}, {28.5f, 3.25f}, {28.5f, 19}, {0, 0}};
  for (int32_t mode : {0, 1}) {
    for (int32_t entry : {5, 40, 5000}) {
      const PathTwin twin = samplepath_twin(30, 20, path, 0.7f, entry, 3, [&](float x, float y) {
        std::vector<float> channels;
        for (std::size_t c : {2u, 1u, 0u}) {
          const PixelSource pixel = [&](int i, int j) { return static_cast<float>(image.at(i, j).channel[c]); };
          channels.push_back(mode == 1 ? bilinear_twin(pixel, x, y) : nearest_twin(pixel, x, y));
        }
        return channels;
      });
      const Sampled s = sample(image.record, path, 0.7f, mode, entry);
      EXPECT_EQ(s.count, twin.count);
      EXPECT_EQ(s.values, twin.values);
    }
  }
}

TEST(SamplePath, LineIsThePathOfTwoVertices) {
  TestImage<uint16_t> image(30, 20, Fill::kNoise, 4);
  OutputVector values;
  OutputVector positions;
  int32_t count = 0;
  ASSERT_EQ(vlix_samplepath_line(&image.record, {2, 3}, {25.5f, 17}, &values.record, &positions.record, &count, 0.3f, 1,
                                 nullptr),
            0);
  const Sampled path = sample(image.record, {{2, 3}, {25.5f, 17}}, 0.3f);
  EXPECT_EQ(count, path.count);
  EXPECT_EQ(values.values<float>(), path.values);
}

TEST(SamplePath, PointChecksRegionThenModeThenType) {
  RecordingPlatform platform;
  TestImage<uint8_t> image(10, 10);
  image.set_roi(2, 2, 5, 5);
  float result = 7;
  const auto call = [&](PointF32 p, int32_t mode) {
    platform.clear();
    return platform.call(vlix_samplepath_point, &image.record, p, &result, mode);
  };
  for (const PointF32 p : {PointF32{1.5f, 3}, PointF32{6.5f, 3}, PointF32{3, 1.5f}, PointF32{3, 6.5f}}) {
    EXPECT_EQ(call(p, 9), platform.report_result);
    EXPECT_EQ(platform.reports().size(), 1u);
    EXPECT_EQ(platform.reports()[0].text, outside("").text);
  }
  EXPECT_EQ(call({1.5f, 3}, 0), platform.report_result);
  EXPECT_THAT(platform.reports(), ElementsAre(outside("1.500000,3.000000")));
  EXPECT_EQ(call({6, 6}, 0), 0) << "the last pixel of the region";
  for (int32_t mode : {-1, 2}) {
    EXPECT_EQ(call({3, 3}, mode), platform.report_result);
    EXPECT_THAT(platform.reports(), ElementsAre(message(kPointModeText)));
  }
  image.record.type = ObjType_S32;
  EXPECT_EQ(call({3, 3}, 2), platform.report_result);
  EXPECT_THAT(platform.reports(), ElementsAre(message(kPointModeText))) << "mode before type";
  EXPECT_EQ(call({3, 3}, 1), platform.report_result);
  EXPECT_THAT(platform.reports(), ElementsAre(message("samplepath_point: image format not suppported\n")));
}

TEST(SamplePath, PointValidationOnlyWritesNothing) {
  TestImage<uint8_t> image(10, 10);
  EXPECT_EQ(vlix_samplepath_point(&image.record, {3, 3}, nullptr, 1), 0);
}

TEST(SamplePath, ReportsOfValueZeroLetThePointBeRead) {
  RecordingPlatform platform;
  platform.report_result = 0;
  TestImage<uint8_t> image(4, 4, Fill::kRamp, 0);
  image.set_roi(1, 1, 2, 2);
  float result = -1;
  EXPECT_EQ(platform.call(vlix_samplepath_point, &image.record, PointF32{3, 0}, &result, 7), 0);
  EXPECT_THAT(platform.reports(), ElementsAre(outside("3.000000,0.000000"), message(kPointModeText)));
  EXPECT_EQ(result, 3.0f) << "outside of the region, inside of the image; modes but 1 mean nearest";
  EXPECT_EQ(platform.call(vlix_samplepath_point, &image.record, PointF32{100, 0}, &result, 1), 0);
  EXPECT_TRUE(std::isnan(result)) << "no pixel there";
}

TEST(SamplePath, PointWithoutANumberHasNoValue) {
  TestImage<uint8_t> image(4, 4);
  float result = -1;
  EXPECT_EQ(vlix_samplepath_point(&image.record, {kNan, 1}, &result, 1), 0);
  EXPECT_TRUE(std::isnan(result));
}

class LineChecks : public ::testing::Test {
 protected:
  VlixStatus call(const std::vector<PointF32>& vertices, float spacing, int32_t mode,
                  const VlixInvalidValue* invalid = nullptr, VlixVector* output = nullptr) {
    TestVector<PointF32> path(vertices);
    platform.clear();
    return platform.call(vlix_samplepath_lines, &image.record, &path.record,
                         output == nullptr ? &values.record : output, nullptr, nullptr, spacing, mode,
                         reinterpret_cast<const VlixObj*>(invalid));
  }
  RecordingPlatform platform;
  TestImage<uint8_t> image{20, 20};
  OutputVector values;
};

TEST_F(LineChecks, FirstVertexOutsideIsReportedAlone) {
  image.set_roi(1, 1, 10, 10);
  EXPECT_EQ(call({{2, 2}, {11, 2}, {50, 50}}, -1, 9), platform.report_result);
  EXPECT_THAT(platform.reports(), ElementsAre(outside("11.000000,2.000000")));
  EXPECT_THAT(platform.calls(), IsEmpty());
}

TEST_F(LineChecks, SpacingComesBeforeMode) {
  for (float spacing : {0.0f, -0.0f, -2.0f}) {
    EXPECT_EQ(call({{2, 2}, {3, 2}}, spacing, 9), platform.report_result);
    EXPECT_THAT(platform.reports(), ElementsAre(message(kSpacingText)));
  }
  EXPECT_EQ(call({{2, 2}, {3, 2}}, 1, 2), platform.report_result);
  EXPECT_THAT(platform.reports(), ElementsAre(message(kLinesModeText)));
}

TEST_F(LineChecks, InvalidValueIsCheckedAfterAnythingElse) {
  VlixInvalidValue invalid = {};
  invalid.type = ObjType_S8;
  EXPECT_EQ(call({{2, 2}, {3, 2}}, 1, 2, &invalid), platform.report_result);
  EXPECT_THAT(platform.reports(), ElementsAre(message(kLinesModeText), message(kTypeText)));
  image.record.type = ObjType_Rgba8;
  image.record.width = image.record.roiWidth = 5;
  invalid.type = ObjType_Rgba8;
  EXPECT_EQ(call({{2, 2}, {3, 2}}, 1, 1, &invalid), platform.report_result);
  EXPECT_THAT(platform.reports(), ElementsAre(message(kColourText)));
}

TEST_F(LineChecks, UnsupportedTypesAreReportedAfterShaping) {
  image.record.type = ObjType_S32;
  image.record.width = image.record.roiWidth = 5;
  platform.name(values.record, "values");
  EXPECT_EQ(call({{2, 2}, {3, 2}}, 1, 1), platform.report_result);
  EXPECT_THAT(platform.calls(), ElementsAre("VlixVectorTryUseReservedMem(values, F32, 2, \"samplePath\")"));
  EXPECT_THAT(platform.reports(), ElementsAre(message("samplepath_lines: image format not suppported\n")));
  EXPECT_EQ(platform.heap_live(), 0);
}

TEST_F(LineChecks, ShapingFailuresReturnTheirOwnValue) {
  TestVector<PointF32> path({{2, 2}, {9, 2}});
  OutputVector positions;
  int32_t count = 0;
  for (int nth : {1, 2}) {
    platform.clear();
    platform.fail("VlixVectorTryUseReservedMem", nth, 31);
    EXPECT_EQ(platform.call(vlix_samplepath_lines, &image.record, &path.record, &values.record, &positions.record,
                            &count, 1.0f, 1, nullptr),
              31);
    EXPECT_EQ(count, 8) << "told before the outputs are shaped";
    EXPECT_THAT(platform.reports(), IsEmpty());
    EXPECT_EQ(platform.heap_live(), 0);
  }
}

TEST_F(LineChecks, BothAllocationsMayFail) {
  if (!RecordingPlatform::heap_is_watched()) GTEST_SKIP();
  TestVector<PointF32> path({{2, 2}, {9, 2}, {9, 9}});
  for (int nth : {1, 2}) {
    platform.clear();
    platform.fail_heap(nth);
    EXPECT_EQ(platform.call(vlix_samplepath_lines, &image.record, &path.record, &values.record, nullptr, nullptr, 1.0f,
                            1, nullptr),
              platform.report_result);
    EXPECT_THAT(platform.reports(), ElementsAre(message("samplepath_lines: not enough memory\n")));
    EXPECT_EQ(platform.heap_live(), 0);
    EXPECT_THAT(platform.heap_requests(), ::testing::Each(8u)) << "four bytes per segment";
  }
}

TEST_F(LineChecks, NullOutputValidatesOnly) {
  TestVector<PointF32> path({{2, 2}, {9, 2}});
  EXPECT_EQ(
      platform.call(vlix_samplepath_lines, &image.record, &path.record, nullptr, nullptr, nullptr, 1.0f, 1, nullptr),
      0);
  EXPECT_THAT(platform.calls(), IsEmpty());
  EXPECT_EQ(
      platform.call(vlix_samplepath_lines, &image.record, &path.record, nullptr, nullptr, nullptr, 0.0f, 1, nullptr),
      platform.report_result);
}

TEST_F(LineChecks, NoVertexIsRefusedAndOneGivesASingleZero) {
  EXPECT_EQ(call({}, 1, 1), platform.report_result);
  EXPECT_THAT(platform.reports(), ElementsAre(message("samplepath_lines: not enough memory\n")));
  EXPECT_EQ(call({{3, 3}}, 1, 1), 0);
  EXPECT_EQ(values.values<float>(), std::vector<float>{0.0f});
}

// A handler may let processing go on: nothing is written outside of the vectors, and every call ends.
TEST_F(LineChecks, ReportsOfValueZeroEndAndStayInside) {
  platform.report_result = 0;
  for (float spacing : {0.0f, -0.5f, -30.0f, kNan, 1e-30f, std::numeric_limits<float>::infinity(), 0.25f}) {
    for (const auto& path : std::vector<std::vector<PointF32>>{{{-50, -50}, {50, 50}, {5, 5}},
                                                               {{5, 5}, {9, 9}, {-9, 3}},
                                                               {{kNan, 1}, {3, 3}},
                                                               {{3, 3}, {3, 3}, {4, 4}},
                                                               {{1e30f, 0}, {-1e30f, 1}}}) {
      for (int32_t entry : {0, 3, 500}) {
        VlixVectorRelease(&values.record, 0);
        VlixVectorAlloc(&values.record, ObjType_F32, entry);
        call(path, spacing, 3);
      }
    }
  }
}

TEST_F(LineChecks, NotANumberAsSpacingFailsToShape) { EXPECT_NE(call({{3, 3}, {8, 3}}, kNan, 1), 0); }

// Three values per sample make a product that wraps: the vector is much shorter than the samples are many.
TEST(SamplePathMemory, ColoursStopAtTheEndOfAVectorWhoseLengthHasWrapped) {
  TestImage<Rgba> image(9, 1);
  TestVector<float> memory(std::vector<float>(4000));
  VlixVector values = {};
  ASSERT_EQ(VlixVectorWrap(&values, ObjType_F32, memory.data(), 4000), 0);
  int32_t samples = 0;
  ASSERT_EQ(
      vlix_samplepath_line(&image.record, {0, 0}, {8, 0}, &values, nullptr, &samples, 8.0f / 1431655936.0f, 1, nullptr),
      0);
  ASSERT_GT(samples, 1431655765);
  EXPECT_EQ(static_cast<uint32_t>(values.count), static_cast<uint32_t>(samples) * 3u);
  VlixVectorRelease(&values, 0);
}

TEST(SamplePathMemory, NegativeNumbersOfVerticesAreNoPath) {
  TestImage<float> image(9, 9);
  OutputVector values;
  for (const int32_t count : {0, -1, std::numeric_limits<int32_t>::min()}) {
    const VlixVector path = {ObjType_PointF32, nullptr, count, 0};
    EXPECT_NE(vlix_samplepath_lines(&image.record, &path, &values.record, nullptr, nullptr, 1.0f, 1, nullptr), 0);
  }
}

}  // namespace
}  // namespace vlix::test
