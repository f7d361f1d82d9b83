// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <rapidcheck/gtest.h>

#include <limits>
#include <string>
#include <type_traits>

#include "histogram/histogram_int_twin.h"
#include "histogram/point_values.h"
#include "support/recording_platform.h"
#include "support/test_image.h"
#include "vlix/meas.h"

namespace vlix::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr int32_t kLowest = std::numeric_limits<int32_t>::min();
constexpr int32_t kHighest = std::numeric_limits<int32_t>::max();
const std::string kColourText = "histogram: not supported for color images\n";
const std::string kBinsText = "histogram: invalid number of bins, must be greater than 0\n";
const std::string kRangeFormat = "histogram: invalid value range %g..%g\n";
const std::string kDivisorFormat = "histogram: invalid number of bins, must be a divisor of %d\n";
const std::string kErrorText = "histogram: error computing histogram";

struct Bins {
  int32_t count, lo, hi;
};

std::string divisor_text(int32_t range) {
  return "histogram: invalid number of bins, must be a divisor of " + std::to_string(range) + "\n";
}

template <class Pixel>
std::vector<PointI32> hist_of(TestImage<Pixel>& image, const Bins& bins, bool cumulative = false) {
  OutputVector out;
  EXPECT_EQ(vlix_histogramInt(&image.record, &out.record, cumulative, bins.count, bins.lo, bins.hi), 0);
  EXPECT_EQ(out.record.type, ObjType_PointI32);
  return out.values<PointI32>();
}

template <class Pixel>
std::vector<int32_t> roi_values(TestImage<Pixel>& image) {
  std::vector<int32_t> values;
  for (int32_t y = 0; y < image.record.roiHeight; ++y) {
    for (int32_t x = 0; x < image.record.roiWidth; ++x) values.push_back(image.roi_at(x, y));
  }
  return values;
}

template <class Pixel>
constexpr bool kHasPrimitive = !std::is_same_v<Pixel, int8_t>;

template <class Pixel>
std::string primitive_name() {
  return std::string("vlix_ippiHistogramEven_") +
         (sizeof(Pixel) == 1        ? "8u"
          : std::is_signed_v<Pixel> ? "16s"
                                    : "16u") +
         "_C1R";
}

// ---- Checks and reports ----

void expect_refused(uint32_t type, const Bins& bins, const Report& report) {
  for (bool validate_only : {false, true}) {
    RecordingPlatform platform;
    platform.integer_ranges = true;
    TestImage<float> image(4, 2);
    image.record.type = type;
    OutputVector out;
    EXPECT_EQ(platform.call(vlix_histogramInt, &image.record, validate_only ? nullptr : &out.record, 0, bins.count,
                            bins.lo, bins.hi),
              platform.report_result);
    EXPECT_THAT(platform.reports(), ElementsAre(report)) << type;
    EXPECT_THAT(platform.calls(), IsEmpty());
    EXPECT_EQ(out.record.data, nullptr);
  }
}

TEST(HistogramIntChecks, ColourImagesAreRefusedBeforeAnythingElse) {
  for (uint32_t type : {19u, 20u, 21u, 30u}) expect_refused(type, {0, 2, 1}, {100, kColourText, kColourText});
}

TEST(HistogramIntChecks, OtherTypesAreRefusedUnderTheSharedName) {
  for (uint32_t type : {0u, 8u, 9u, 12u, 13u, 16u, 17u, 18u, 24u, 29u, 36u, 39u, 44u, 0xFFFFFFFFu}) {
    expect_refused(type, {0, 2, 1}, {1, "histogram", VlixObjGetName(static_cast<int32_t>(type))});
  }
}

TEST(HistogramIntChecks, RangeIsCheckedBeforeTheBinsAndReportedAsIntegers) {
  for (uint32_t type : {6u, 7u, 10u, 11u}) {
    expect_refused(type, {0, 2, 1}, {100, kRangeFormat, "2..1"});
    expect_refused(type, {3, kHighest, kLowest}, {100, kRangeFormat, "2147483647..-2147483648"});
  }
}

TEST(HistogramIntChecks, BinsAreCheckedBeforeTheDivisor) {
  for (int32_t bins : {0, -1, kLowest}) expect_refused(ObjType_U8, {bins, 0, 9}, {100, kBinsText, kBinsText});
}

TEST(HistogramIntChecks, BinsHaveToDivideTheRange) {
  expect_refused(ObjType_U8, {3, 0, 9}, {100, kDivisorFormat, divisor_text(10)});
  expect_refused(ObjType_U16, {2, 5, 5}, {100, kDivisorFormat, divisor_text(1)});
  expect_refused(ObjType_S16, {20, 0, 9}, {100, kDivisorFormat, divisor_text(10)});
}

TEST(HistogramIntChecks, RangeWrapsIn32Bits) {
  expect_refused(ObjType_S16, {3, -2000000000, 2000000000}, {100, kDivisorFormat, divisor_text(-294967295)});
  expect_refused(ObjType_S16, {3, kLowest, -1}, {100, kDivisorFormat, divisor_text(kLowest)});
  expect_refused(ObjType_S16, {3, 0, kHighest}, {100, kDivisorFormat, divisor_text(kLowest)});
}

TEST(HistogramIntChecks, NullOutputOnlyValidates) {
  for (const Bins& bins : {Bins{5, 0, 9}, Bins{1, 7, 7}, Bins{12345, kLowest, kHighest}, Bins{2, kLowest, -1}}) {
    RecordingPlatform platform;
    TestImage<int16_t> image(4, 2);
    EXPECT_EQ(platform.call(vlix_histogramInt, &image.record, nullptr, 1, bins.count, bins.lo, bins.hi), 0);
    EXPECT_THAT(platform.calls(), IsEmpty());
    EXPECT_THAT(platform.reports(), IsEmpty());
  }
}

TEST(HistogramIntChecks, OutputThatCannotBeShapedGivesOneAndNoReport) {
  RecordingPlatform platform;
  platform.fail("VlixVectorTryUseReservedMem");
  TestImage<uint8_t> image(4, 2);
  OutputVector out;
  platform.name(out.record, "out");
  EXPECT_EQ(platform.call(vlix_histogramInt, &image.record, &out.record, 0, 4, 0, 3), 1);
  EXPECT_THAT(platform.reports(), IsEmpty());
  EXPECT_THAT(platform.calls(), ElementsAre("VlixVectorTryUseReservedMem(out, PointI32, 4, \"histogramInt\")"));
}

// ---- The two paths ----

template <class Pixel>
class HistogramInt : public ::testing::Test {};
using Pixels = ::testing::Types<uint8_t, int8_t, uint16_t, int16_t>;
TYPED_TEST_SUITE(HistogramInt, Pixels);

template <class Pixel>
class HistogramIntPrimitive : public ::testing::Test {};
using PixelsWithPrimitive = ::testing::Types<uint8_t, uint16_t, int16_t>;
TYPED_TEST_SUITE(HistogramIntPrimitive, PixelsWithPrimitive);

TYPED_TEST(HistogramInt, LevelZeroCountsWithoutPrimitiveAndHeap) {
  RecordingPlatform platform;
  platform.level = 0;
  TestImage<TypeParam> image(9, 7, Fill::kNoise, 1);
  OutputVector out;
  platform.name(out.record, "out");
  EXPECT_EQ(platform.call(vlix_histogramInt, &image.record, &out.record, 0, 5, 0, 99), 0);
  EXPECT_THAT(platform.calls(),
              ElementsAre("VlixVectorTryUseReservedMem(out, PointI32, 5, \"histogramInt\")", "VlixOptimGetLevel()"));
  EXPECT_THAT(platform.heap_requests(), IsEmpty());
}

TYPED_TEST(HistogramInt, PrimitiveReceivesTheRegionAndOneLevelMoreThanBins) {
  for (int32_t level : {1, 2, -1}) {
    RecordingPlatform platform;
    platform.level = level;
    TestImage<TypeParam> image(9, 7, Fill::kNoise, 1);
    image.set_roi(2, 3, 5, 4);
    OutputVector out;
    platform.name(out.record, "out");
    platform.name(image.data(), 9 * 7 * sizeof(TypeParam), "pixels");
    EXPECT_EQ(platform.call(vlix_histogramInt, &image.record, &out.record, 0, 5, 10, 19), 0);
    const std::size_t size = sizeof(TypeParam);
    const std::string call = primitive_name<TypeParam>() + "(pixels+" + std::to_string(29 * size) + ", " +
                             std::to_string(9 * size) + ", 5x4, ?, ?, 6, 10, 20)";
    if (kHasPrimitive<TypeParam>) {
      EXPECT_THAT(platform.calls(), ElementsAre("VlixVectorTryUseReservedMem(out, PointI32, 5, \"histogramInt\")",
                                                "VlixOptimGetLevel()", call));
      if (platform.heap_is_watched()) {
        EXPECT_THAT(platform.heap_requests(), ElementsAre(20u, 24u));
      }
    } else {
      EXPECT_EQ(platform.calls().size(), 2u);
      EXPECT_THAT(platform.heap_requests(), IsEmpty());
    }
    EXPECT_EQ(platform.heap_live(), 0);
    EXPECT_THAT(platform.reports(), IsEmpty());
  }
}

// A report, and the counts all the same.
TYPED_TEST(HistogramIntPrimitive, FailureIsReportedAndMadeUpFor) {
  for (int32_t result : {-8, 1}) {
    RecordingPlatform platform;
    platform.level = 1;
    platform.fail(primitive_name<TypeParam>(), 1, result);
    TestImage<TypeParam> image(9, 7, Fill::kNoise, 1);
    OutputVector out;
    EXPECT_EQ(platform.call(vlix_histogramInt, &image.record, &out.record, 1, 5, 0, 204), 0);
    EXPECT_THAT(platform.reports(), ElementsAre(Report{100, kErrorText, kErrorText}));
    const auto expected = histogram_int_twin(roi_values(image), 5, 0, 204, true, Rule::kFloatFactor);
    EXPECT_EQ(first_difference(out.values<PointI32>(), expected), -1);
    EXPECT_EQ(platform.heap_live(), 0);
  }
}

TYPED_TEST(HistogramIntPrimitive, MissingScratchIsReportedAndMadeUpFor) {
  if (!RecordingPlatform::heap_is_watched()) GTEST_SKIP();
  for (int nth : {1, 2}) {
    RecordingPlatform platform;
    platform.level = 1;
    platform.fail_heap(nth);
    TestImage<TypeParam> image(9, 7, Fill::kNoise, 1);
    OutputVector out;
    EXPECT_EQ(platform.call(vlix_histogramInt, &image.record, &out.record, 0, 100, 0, 99), 0);
    EXPECT_THAT(platform.reports(), ElementsAre(Report{0, "histogram", nth == 1 ? "400" : "404"}));
    EXPECT_EQ(platform.calls_of(primitive_name<TypeParam>()).size(), 0u);
    const auto expected = histogram_int_twin(roi_values(image), 100, 0, 99, false, Rule::kFloatFactor);
    EXPECT_EQ(first_difference(out.values<PointI32>(), expected), -1);
    EXPECT_EQ(platform.heap_live(), 0);
  }
}

TYPED_TEST(HistogramInt, UpperLevelWrapsBehindTheHighestInteger) {
  RecordingPlatform platform;
  platform.level = 1;
  TestImage<TypeParam> image(9, 7, Fill::kNoise, 1);
  OutputVector out;
  EXPECT_EQ(platform.call(vlix_histogramInt, &image.record, &out.record, 0, 2, kHighest - 9, kHighest), 0);
  if (kHasPrimitive<TypeParam>) {
    ASSERT_EQ(platform.calls_of(primitive_name<TypeParam>()).size(), 1u);
    EXPECT_THAT(platform.calls_of(primitive_name<TypeParam>())[0], ::testing::HasSubstr("3, 2147483638, -2147483648)"));
    EXPECT_THAT(platform.reports(), ElementsAre(Report{100, kErrorText, kErrorText}));
  }
  EXPECT_THAT(out.values<PointI32>(), ElementsAre(PointI32{kHighest - 9, 0}, PointI32{kHighest - 4, 0}));
}

TYPED_TEST(HistogramInt, EmptyRegionCountsNothing) {
  for (int32_t level : {0, 1}) {
    const LevelScope scope(level);
    TestImage<TypeParam> image(4, 4, Fill::kConstant, 1);
    image.set_roi(2, 2, 0, 2);
    EXPECT_THAT(hist_of(image, {1, 0, 99}), ElementsAre(PointI32{0, 0}));
  }
}

// ---- Values known beforehand ----

TEST(HistogramIntValues, EveryValueOfAByteHasItsBin) {
  for (int32_t level : {0, 1, 2}) {
    const LevelScope scope(level);
    TestImage<uint8_t> image(16, 17);
    for (int i = 0; i < 272; ++i) image.data()[i] = static_cast<uint8_t>(i);
    const auto hist = hist_of(image, {256, 0, 255});
    for (int32_t i = 0; i < 256; ++i) {
      EXPECT_EQ(hist[static_cast<std::size_t>(i)], (PointI32{i, i < 16 ? 2 : 1})) << level;
    }
  }
}

TYPED_TEST(HistogramInt, ValuesNextToTheRangeAreNotCounted) {
  for (int32_t level : {0, 1, 2}) {
    const LevelScope scope(level);
    TestImage<TypeParam> image(14, 1);
    for (int i = 0; i < 14; ++i) image.data()[i] = static_cast<TypeParam>(i + 8);
    EXPECT_THAT(hist_of(image, {5, 10, 19}),
                ElementsAre(PointI32{10, 2}, PointI32{12, 2}, PointI32{14, 2}, PointI32{16, 2}, PointI32{18, 2}));
    EXPECT_THAT(hist_of(image, {1, 21, 21}), ElementsAre(PointI32{21, 1}));
    EXPECT_THAT(hist_of(image, {2, 10, 19}, true), ElementsAre(PointI32{10, 5}, PointI32{15, 10}));
  }
}

TEST(HistogramIntValues, NegativeValuesHaveTheirBins) {
  for (int32_t level : {0, 1, 2}) {
    const LevelScope scope(level);
    TestImage<int8_t> bytes(4, 1);
    bytes.assign({-128, -1, 0, 127});
    EXPECT_THAT(hist_of(bytes, {2, -128, 127}), ElementsAre(PointI32{-128, 2}, PointI32{0, 2}));
    TestImage<int16_t> words(4, 1);
    words.assign({-32768, -1, 0, 32767});
    EXPECT_THAT(hist_of(words, {2, -32768, 32767}), ElementsAre(PointI32{-32768, 2}, PointI32{0, 2}));
  }
}

// The offset 2^25 - 1 becomes the float 2^25, which times 1 / 1024 is the number of bins.
TEST(HistogramIntValues, IndexThatRoundsUpToTheNumberOfBinsCountsInTheLast) {
  const LevelScope scope(0);
  const int32_t range = 1 << 25;
  TestImage<uint16_t> words(3, 1);
  words.assign({65535, 65534, 0});
  auto hist = hist_of(words, {range / 1024, 65535 - range + 1, 65535});
  EXPECT_EQ(hist.back().y, 2);
  TestImage<uint8_t> bytes(3, 1);
  bytes.assign({255, 254, 0});
  hist = hist_of(bytes, {range / 1024, 255 - range + 1, 255});
  EXPECT_EQ(hist.back().y, 3);
}

// The factor 1 / 41 as a float is a little too small: 41 itself stays in the bin below.
TEST(HistogramIntValues, FloatFactorFallsShortOfALowerEdge) {
  TestImage<uint8_t> image(3, 1);
  image.assign({40, 41, 42});
  {
    const LevelScope scope(0);
    EXPECT_THAT(hist_of(image, {2, 0, 81}), ElementsAre(PointI32{0, 2}, PointI32{41, 1}));
  }
  const LevelScope scope(1);
  EXPECT_THAT(hist_of(image, {2, 0, 81}), ElementsAre(PointI32{0, 1}, PointI32{41, 2}));
}

TYPED_TEST(HistogramInt, RangesThatWrapWriteNothingOutside) {
  for (int32_t level : {0, 1}) {
    RecordingPlatform platform;
    platform.level = level;
    TestImage<TypeParam> image(33, 3, Fill::kNoise, 9);
    const Bins cases[] = {
        {4, kLowest, kHighest}, {1, -2000000000, 2000000000}, {1, kLowest, kHighest - 1}, {1024, kLowest, -1},
        {2, 0, kHighest},       {5, -2000000000, 2000000000}, {3, kLowest, kHighest},     {1, kLowest, 0}};
    for (const Bins& bins : cases) {
      OutputVector out;
      platform.fail(primitive_name<TypeParam>());
      EXPECT_EQ(platform.call(vlix_histogramInt, &image.record, &out.record, 0, bins.count, bins.lo, bins.hi), 0);
      const auto expected =
          histogram_int_twin(roi_values(image), bins.count, bins.lo, bins.hi, false, Rule::kFloatFactor);
      EXPECT_EQ(first_difference(out.values<PointI32>(), expected), -1) << bins.count << " " << bins.lo;
    }
  }
}

TYPED_TEST(HistogramInt, OldContentsOfTheOutputDoNotShow) {
  for (int32_t level : {0, 1}) {
    const LevelScope scope(level);
    TestImage<TypeParam> image(5, 5, Fill::kConstant, 1);
    OutputVector out;
    for (int repeat = 0; repeat < 2; ++repeat) {
      EXPECT_EQ(vlix_histogramInt(&image.record, &out.record, 1, 2, 0, 99), 0);
      EXPECT_THAT(out.values<PointI32>(), ElementsAre(PointI32{0, 25}, PointI32{50, 25}));
    }
  }
}

// ---- The twin ----

const Bins kAllBins[] = {{256, 0, 255},         {1, 0, 0},          {16, 0, 255},
                         {5, 10, 19},           {1, -40000, 70000}, {128, -128, 127},
                         {65536, 0, 65535},     {256, 0, 65535},    {65536, -32768, 32767},
                         {1023, 0, 1022},       {1024, 0, 1023},    {1022, -1000, 21},
                         {7, 36, 42},           {3, 0, 122},        {10, 0, 409},
                         {4096, -32768, 32767}, {2, -30, 91},       {33, -100000, 99989}};

// Widths whose factor is exact, so that both rules agree.
bool has_exact_factor(const Bins& bins) {
  const int32_t width = (bins.hi - bins.lo + 1) / bins.count;
  return (width & (width - 1)) == 0;
}

template <class Pixel>
void expect_twin(TestImage<Pixel>& image) {
  const auto values = roi_values(image);
  for (const Bins& bins : kAllBins) {
    if ((bins.hi - bins.lo + 1) % bins.count != 0) continue;
    for (bool cumulative : {false, true}) {
      for (int32_t level : {0, 1, 2}) {
        const LevelScope scope(level);
        const Rule rule = level != 0 && kHasPrimitive<Pixel> ? Rule::kExact : Rule::kFloatFactor;
        const auto expected = histogram_int_twin(values, bins.count, bins.lo, bins.hi, cumulative, rule);
        ASSERT_EQ(first_difference(hist_of(image, bins, cumulative), expected), -1)
            << "level " << level << ", " << bins.count << " bins " << bins.lo << " .. " << bins.hi;
        if (has_exact_factor(bins)) {
          ASSERT_EQ(first_difference(expected, histogram_int_twin(values, bins.count, bins.lo, bins.hi, cumulative,
                                                                  Rule::kFloatFactor)),
                    -1);
        }
      }
    }
  }
}

TYPED_TEST(HistogramInt, AllFillsAndRangesEqualTheTwin) {
  for (Fill fill : kFills) {
    TestImage<TypeParam> image(61, 5, fill, 5);
    image.set_roi(3, 1, 57, 4);
    expect_twin(image);
    if (this->HasFatalFailure()) FAIL() << name_of(fill);
  }
}

TYPED_TEST(HistogramInt, EveryWidthEqualsTheTwin) {
  const Bins cases[] = {{256, 0, 255}, {6, -30, 95}, {2048, -1024, 1023}};
  for (int32_t width = 1; width <= 131; ++width) {
    for (int32_t origin : {0, 1, 3}) {
      TestImage<TypeParam> image(width + origin, 3, Fill::kNoise, static_cast<uint64_t>(width));
      image.set_roi(origin, 1, width, 2);
      for (const Bins& bins : cases) {
        const auto values = roi_values(image);
        for (int32_t level : {0, 1}) {
          const LevelScope scope(level);
          const Rule rule = level != 0 && kHasPrimitive<TypeParam> ? Rule::kExact : Rule::kFloatFactor;
          ASSERT_EQ(first_difference(hist_of(image, bins),
                                     histogram_int_twin(values, bins.count, bins.lo, bins.hi, false, rule)),
                    -1)
              << width << " level " << level;
        }
      }
    }
  }
}

TYPED_TEST(HistogramInt, LargeImageEqualsTheTwin) {
  TestImage<TypeParam> image(1031, 517, Fill::kNoise, 8);
  const Bins bins = {50, -1000, 999};
  const LevelScope scope(0);
  const auto values = roi_values(image);
  EXPECT_EQ(
      first_difference(hist_of(image, bins), histogram_int_twin(values, 50, -1000, 999, false, Rule::kFloatFactor)),
      -1);
}

// ---- Laws ----

RC_GTEST_PROP(HistogramIntLaws, SplitRegionsAddUp, ()) {
  const LevelScope scope(*rc::gen::inRange(0, 3));
  TestImage<int16_t> image(23, 17, Fill::kNoise, *rc::gen::arbitrary<uint64_t>());
  const int32_t cut = *rc::gen::inRange(1, 23);
  const Bins bins = {64, -32768, 32767};
  const auto whole = hist_of(image, bins);
  image.set_roi(0, 0, cut, 17);
  const auto left = hist_of(image, bins);
  image.set_roi(cut, 0, 23 - cut, 17);
  const auto right = hist_of(image, bins);
  for (std::size_t i = 0; i < 64; ++i) RC_ASSERT(whole[i].y == left[i].y + right[i].y);
}

RC_GTEST_PROP(HistogramIntLaws, RunningSumsEndWithThePixelsInsideTheRange, ()) {
  const LevelScope scope(*rc::gen::inRange(0, 3));
  TestImage<uint8_t> image(31, 9, Fill::kNoise, *rc::gen::arbitrary<uint64_t>());
  const int32_t width = *rc::gen::inRange(1, 20), count = *rc::gen::inRange(1, 30);
  const int32_t lo = *rc::gen::inRange(-50, 200);
  const int32_t hi = lo + width * count - 1;
  int32_t inside = 0;
  for (int32_t v : roi_values(image)) inside += v >= lo && v <= hi ? 1 : 0;
  RC_ASSERT(hist_of(image, {count, lo, hi}, true).back().y == inside);
}

}  // namespace
}  // namespace vlix::test
