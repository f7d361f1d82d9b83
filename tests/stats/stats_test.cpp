// SPDX-License-Identifier: Apache-2.0
// Checks, reports, platform calls and hazards of the statistics.
#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "stats/formats.h"
#include "stats/stats_call.h"
#include "stats/stats_twin.h"
#include "support/recording_platform.h"
#include "support/test_image.h"
#include "vlix/meas.h"

namespace vlix::test {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

const std::string kColourText = "stats: cannot get color stats on monochrome input\n";
const std::string kMonochromeText = "stats: cannot get monochrome stats on color input\n";
const std::string kEmptyText = "stats: cannot process empty vector\n";
const std::string kLevelCall = "VlixOptimGetLevel()";
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

std::string check(uint32_t type, const char* codes) {
  return "VlixObjCheckEqList(" + std::to_string(type) + ", " + codes + ")";
}
std::string image_check(uint32_t type) { return check(type, "5, 10, 6, 11, 7, 17"); }
std::string vector_check(uint32_t type) { return check(type, "10, 10, 6, 8, 12, 7, 11, 17, 18, 24, 29"); }
std::string colour_check(uint32_t type) { return check(type, "7, 19, 20, 21, 30, 36, 39, 44"); }

Report type_report(uint32_t type) { return {1, "stats", VlixObjGetName(static_cast<int32_t>(type))}; }
Report message(const std::string& text) { return {100, text, text}; }

// A call with a recording platform around it.
struct Recorded {
  template <class Record>
  VlixStatus run(const Record& record, unsigned wanted) {
    return run_handle(handle_of(record), wanted);
  }
  template <class Handle>
  VlixStatus run_handle(const Handle& handle, unsigned wanted) {
    results = {};
    return platform.call([&] { return call_stats(handle, results, wanted); });
  }
  RecordingPlatform platform;
  StatsResults results;
};

// ---- Checks and reports ----

TEST(Stats, OtherKindsOfObjectsAreRefusedBeforeAnything) {
  for (uint32_t kind : {0u, 1u, 4u, 5u, 10u, 53u, 54u, 0x80000003u}) {
    Recorded recorded;
    const VlixVectorHandle handle = {kind, {}, {99, nullptr, 0, 0}};
    for (unsigned wanted : {0u, kMonochromeValues, kAllValues}) {
      recorded.platform.clear();
      EXPECT_EQ(recorded.run_handle(handle, wanted), recorded.platform.report_result) << kind;
      EXPECT_THAT(recorded.platform.reports(), ElementsAre(type_report(kind)));
      EXPECT_THAT(recorded.platform.calls(), IsEmpty());
      EXPECT_TRUE(recorded.results.untouched());
    }
  }
}

TEST(Stats, AnyColourPointerOnMonochromeInputIsRefused) {
  for (const Format& format : kMonochromeImageFormats) {
    for (unsigned value = 4; value < kValues; ++value) {
      Recorded recorded;
      const RawImage image(format, 3, 2);
      EXPECT_EQ(recorded.run(image.record, 1u << value), recorded.platform.report_result);
      EXPECT_THAT(recorded.platform.reports(), ElementsAre(message(kColourText)));
      EXPECT_THAT(recorded.platform.calls(), ElementsAre(image_check(format.code)));
      EXPECT_TRUE(recorded.results.untouched());
    }
  }
  for (const Format& format : kMonochromeVectorFormats) {
    Recorded recorded;
    const RawVector vector(format, 3);
    EXPECT_EQ(recorded.run(vector.record, kAllValues), recorded.platform.report_result);
    EXPECT_THAT(recorded.platform.reports(), ElementsAre(message(kColourText)));
    EXPECT_THAT(recorded.platform.calls(), ElementsAre(vector_check(format.code)));
    EXPECT_TRUE(recorded.results.untouched());
  }
}

TEST(Stats, AnyMonochromePointerOnColourInputIsRefused) {
  for (const Format& format : kColourFormats) {
    for (unsigned value = 0; value < 4; ++value) {
      Recorded recorded;
      const RawImage image(format, 3, 2);
      EXPECT_EQ(recorded.run(image.record, 1u << value), recorded.platform.report_result);
      EXPECT_THAT(recorded.platform.reports(), ElementsAre(message(kMonochromeText)));
      EXPECT_TRUE(recorded.results.untouched());
      recorded.platform.clear();
      const RawVector vector(format, 3);
      EXPECT_EQ(recorded.run(vector.record, kColourValues | 1u << value), recorded.platform.report_result);
      EXPECT_THAT(recorded.platform.reports(), ElementsAre(message(kMonochromeText)));
      EXPECT_TRUE(recorded.results.untouched());
    }
  }
}

TEST(Stats, TypesInNeitherListAreRefusedWhateverIsWanted) {
  for (uint32_t type : {0u, 8u, 9u, 12u, 13u, 14u, 15u, 16u, 18u, 24u, 29u, 53u, 70u}) {
    for (unsigned wanted : {0u, kMonochromeValues, kColourValues, kAllValues}) {
      Recorded recorded;
      RawImage image(kF64, 3, 2);
      image.record.type = type;
      EXPECT_EQ(recorded.run(image.record, wanted), recorded.platform.report_result) << type;
      EXPECT_THAT(recorded.platform.reports(), ElementsAre(type_report(type)));
      EXPECT_THAT(recorded.platform.calls(), ElementsAre(image_check(type), colour_check(type)));
      EXPECT_TRUE(recorded.results.untouched());
    }
  }
  for (uint32_t type : {0u, 9u, 13u, 14u, 15u, 16u, 53u, 70u}) {
    Recorded recorded;
    RawVector vector(kF64, 3);
    vector.record.type = type;
    vector.record.count = 0;
    EXPECT_EQ(recorded.run(vector.record, kAllValues), recorded.platform.report_result) << type;
    EXPECT_THAT(recorded.platform.reports(), ElementsAre(type_report(type)));
    EXPECT_THAT(recorded.platform.calls(), ElementsAre(vector_check(type), colour_check(type)));
  }
}

TEST(Stats, ThePlatformDecidesWhatIsAccepted) {
  Recorded recorded;
  const RawImage image(kU8, 3, 2);
  recorded.platform.fail("VlixObjCheckEqList");
  EXPECT_EQ(recorded.run(image.record, kMonochromeValues), recorded.platform.report_result);
  EXPECT_THAT(recorded.platform.reports(), ElementsAre(type_report(10)));
  EXPECT_THAT(recorded.platform.calls(), ElementsAre(image_check(10), colour_check(10)));
}

TEST(Stats, EmptyVectorsAreRefusedEvenWhenNothingIsWanted) {
  for (const Format& format : kMonochromeVectorFormats) {
    for (unsigned wanted : {0u, kMonochromeValues}) {
      Recorded recorded;
      const RawVector vector(format, 0);
      EXPECT_EQ(recorded.run(vector.record, wanted), recorded.platform.report_result);
      EXPECT_THAT(recorded.platform.reports(), ElementsAre(message(kEmptyText)));
      EXPECT_TRUE(recorded.results.untouched());
    }
  }
  for (const Format& format : kColourFormats) {
    for (unsigned wanted : {0u, kColourValues}) {
      Recorded recorded;
      const RawVector vector(format, 0);
      EXPECT_EQ(recorded.run(vector.record, wanted), recorded.platform.report_result);
      EXPECT_THAT(recorded.platform.reports(), ElementsAre(message(kEmptyText)));
    }
  }
}

TEST(Stats, WrongPointersAreReportedBeforeTheEmptyVector) {
  Recorded recorded;
  EXPECT_EQ(recorded.run(RawVector(kU8, 0).record, kAllValues), recorded.platform.report_result);
  EXPECT_THAT(recorded.platform.reports(), ElementsAre(message(kColourText)));
  recorded.platform.clear();
  EXPECT_EQ(recorded.run(RawVector(kRgba8, 0).record, kAllValues), recorded.platform.report_result);
  EXPECT_THAT(recorded.platform.reports(), ElementsAre(message(kMonochromeText)));
}

TEST(Stats, NothingWantedComputesNothing) {
  for (int32_t level : {0, 1, 2}) {
    Recorded recorded;
    recorded.platform.level = level;
    RawImage image(kF32, 3, 2);
    image.record.data = nullptr;
    EXPECT_EQ(recorded.run(image.record, 0), 0);
    image.record.type = 39;
    EXPECT_EQ(recorded.run(image.record, 0), 0);
    RawVector vector(kU8, 3);
    vector.record.data = nullptr;
    EXPECT_EQ(recorded.run(vector.record, 0), 0);
    EXPECT_THAT(recorded.platform.calls(),
                ElementsAre(image_check(17), image_check(39), colour_check(39), vector_check(10)));
    EXPECT_THAT(recorded.platform.reports(), IsEmpty());
  }
}

// ---- Platform calls ----

constexpr unsigned kMean = 1u, kDeviation = 2u, kMin = 4u, kMax = 8u;

// A region inside of an image: origin (3, 2), 5 x 4 of 11 x 7.
struct Inside {
  explicit Inside(const Format& format) : image(format, 11, 7) {
    image.crop(3, 2, 3, 1);
    arguments =
        "pixels+" + std::to_string((2 * 11 + 3) * format.bytes) + ", " + std::to_string(11 * format.bytes) + ", 5x4)";
  }
  RawImage image;
  std::string arguments;
};

TEST(Stats, PrimitivesAreCalledForWhatIsWantedAtOrdinaryLevels) {
  struct Row {
    Format format;
    std::string sums;
    std::string extremes;
  };
  const Row rows[] = {{kU8, "vlix_ippiMean_StdDev_8u_C1R(", "vlix_ippiMinMax_8u_C1R("},
                      {kS8, "vlix_ippiMean_StdDev_8s_C1R(", ""},
                      {kF32, "vlix_ippiMean_StdDev_32f_C1R(", "vlix_ippiMinMax_32f_C1R("},
                      {kU16, "", ""},
                      {kS16, "", ""}};
  for (const Row& row : rows) {
    for (int32_t level : {1, 3, -1, 77}) {
      for (unsigned wanted = 1; wanted <= kMonochromeValues; ++wanted) {
        Recorded recorded;
        Inside inside(row.format);
        recorded.platform.name(inside.image.record.data, inside.image.bytes(), "pixels");
        recorded.platform.level = level;
        EXPECT_EQ(recorded.run(inside.image.record, wanted), 0);
        std::vector<std::string> expected = {image_check(row.format.code), kLevelCall};
        if (!row.sums.empty() && (wanted & (kMean | kDeviation))) expected.push_back(row.sums + inside.arguments);
        if (!row.extremes.empty() && (wanted & (kMin | kMax))) expected.push_back(row.extremes + inside.arguments);
        EXPECT_THAT(recorded.platform.calls(), ElementsAreArray(expected)) << row.format << " " << wanted;
        EXPECT_THAT(recorded.platform.reports(), IsEmpty());
        EXPECT_THAT(recorded.platform.heap_requests(), IsEmpty());
      }
    }
  }
}

TEST(Stats, NoPrimitivesAtLevelsZeroAndTwo) {
  for (const Format& format : kMonochromeImageFormats) {
    for (int32_t level : {0, 2}) {
      Recorded recorded;
      const Inside inside(format);
      recorded.platform.level = level;
      EXPECT_EQ(recorded.run(inside.image.record, kMonochromeValues), 0);
      EXPECT_THAT(recorded.platform.calls(), ElementsAre(image_check(format.code), kLevelCall));
      EXPECT_THAT(recorded.platform.heap_requests(), IsEmpty());
    }
  }
}

TEST(Stats, ColoursHaveNoPrimitives) {
  for (const Format& format : kColourFormats) {
    Recorded recorded;
    recorded.platform.level = 1;
    EXPECT_EQ(recorded.run(Inside(format).image.record, kColourValues), 0);
    EXPECT_THAT(recorded.platform.calls(), ElementsAre(image_check(format.code), colour_check(format.code)));
    EXPECT_THAT(recorded.platform.heap_requests(), IsEmpty());
    recorded.platform.clear();
    EXPECT_EQ(recorded.run(RawVector(format, 9).record, kColourValues), 0);
    EXPECT_THAT(recorded.platform.calls(), ElementsAre(vector_check(format.code), colour_check(format.code)));
  }
}

TEST(Stats, OnlyByteVectorsAreTakenForImagesOfOneRow) {
  for (const Format& format : kMonochromeVectorFormats) {
    for (int32_t level : {0, 1, 2}) {
      Recorded recorded;
      RawVector vector(format, 70);
      recorded.platform.name(vector.record.data, vector.bytes(), "elements");
      recorded.platform.level = level;
      EXPECT_EQ(recorded.run(vector.record, kMonochromeValues), 0);
      std::vector<std::string> expected = {vector_check(format.code)};
      if (format.code == 10) expected.push_back(kLevelCall);
      if (format.code == 10 && level == 1) {
        expected.push_back("vlix_ippiMean_StdDev_8u_C1R(elements, 70, 70x1)");
        expected.push_back("vlix_ippiMinMax_8u_C1R(elements, 70, 70x1)");
      }
      EXPECT_THAT(recorded.platform.calls(), ElementsAreArray(expected)) << format << " " << level;
      EXPECT_THAT(recorded.platform.heap_requests(), IsEmpty());
    }
  }
}

TEST(Stats, FailingPrimitivesAreReplacedInSilence) {
  for (const Format& format : {kU8, kS8, kF32}) {
    const std::string suffix = format.code == 10 ? "8u" : format.code == 6 ? "8s" : "32f";
    for (const std::string& primitive :
         {"vlix_ippiMean_StdDev_" + suffix + "_C1R", "vlix_ippiMinMax_" + suffix + "_C1R"}) {
      if (primitive == "vlix_ippiMinMax_8s_C1R") continue;
      for (int32_t result : {-8, 1}) {
        Recorded recorded;
        recorded.platform.level = 1;
        recorded.platform.fail(primitive, 1, result);
        const Inside inside(format);
        EXPECT_EQ(recorded.run(inside.image.record, kMonochromeValues), 0);
        EXPECT_THAT(recorded.platform.reports(), IsEmpty());
        EXPECT_EQ(recorded.platform.calls_of(primitive).size(), 1u);
        // All four values are those of the plain path.
        expect_values(recorded.results, 0, stats_twin(samples_of(format, inside.image, 0)));
      }
    }
  }
  Recorded recorded;
  recorded.platform.level = 1;
  recorded.platform.fail("vlix_ippiMean_StdDev_8u_C1R");
  const RawVector vector(kU8, 33);
  EXPECT_EQ(recorded.run(vector.record, kMonochromeValues), 0);
  expect_values(recorded.results, 0, stats_twin(samples_of(kU8, vector, 0)));
  EXPECT_THAT(recorded.platform.reports(), IsEmpty());
}

// The bound is a product of 32-bit floats: 16843010 * 255 is beyond 2^32 by 254 and rounds to 2^32, which passes;
// 16843011 rounds to 16843012, and the product to 2^32 + 512.
TEST(Stats, OverflowBoundIsRoundedToFloats) {
  constexpr int32_t kPasses = 16843010;
  for (int32_t count : {kPasses, kPasses + 1}) {
    Recorded recorded;
    recorded.platform.level = 1;
    RawVector vector(kU8, count, Fill::kHighest);
    EXPECT_EQ(recorded.run(vector.record, kMonochromeValues), 0);
    EXPECT_EQ(recorded.platform.calls_of("vlix_ippiMean_StdDev_8u_C1R").size(), count == kPasses ? 1u : 0u);
    EXPECT_EQ(recorded.platform.calls_of("vlix_ippiMinMax_8u_C1R").size(), count == kPasses ? 1u : 0u);
    expect_values(recorded.results, 0, {255, 0, 255, 255});

    recorded.platform.clear();
    const VlixImage column = {ObjType_S8, vector.record.data, 1, count, 0, 0, 1, count};
    EXPECT_EQ(recorded.run(column, kMonochromeValues), 0);
    EXPECT_EQ(recorded.platform.calls_of("vlix_ippiMean_StdDev_8s_C1R").size(), count == kPasses ? 1u : 0u);
    expect_values(recorded.results, 0, {-1, 0, -1, -1});
  }
}

// ---- Values known beforehand ----

template <class Record>
StatsResults values_of(const Record& record, int32_t level, unsigned wanted) {
  const LevelScope scope(level);
  StatsResults results;
  EXPECT_EQ(call_stats(handle_of(record), results, wanted), 0);
  return results;
}

TEST(Stats, OneElementIsItsOwnMeanAndExtremes) {
  for (int32_t level : {0, 1, 2}) {
    RawVector u8(kU8, 1), s8(kS8, 1), s32(kS32, 1), u32(kU32, 1), f32(kF32, 1), f64(kF64, 1);
    u8.put<uint8_t>(0, 200);
    s8.put<int8_t>(0, -100);
    s32.put<int32_t>(0, -70000);
    u32.put<uint32_t>(0, 4294967295u);
    f32.put(0, 0.5f);
    f64.put(0, -0.25);
    expect_values(values_of(u8.record, level, kMonochromeValues), 0, {200, 0, 200, 200});
    expect_values(values_of(s8.record, level, kMonochromeValues), 0, {-100, 0, -100, -100});
    expect_values(values_of(s32.record, level, kMonochromeValues), 0, {-70000, 0, -70000, -70000});
    expect_values(values_of(u32.record, level, kMonochromeValues), 0, {0x1p32f, 0, 0x1p32f, 0x1p32f});
    expect_values(values_of(f32.record, level, kMonochromeValues), 0, {0.5f, 0, 0.5f, 0.5f});
    expect_values(values_of(f64.record, level, kMonochromeValues), 0, {-0.25f, 0, -0.25f, -0.25f});
  }
}

TEST(Stats, OnlyTheSecondNumberOfPointsCounts) {
  RawVector ints(kPointI32, 2), floats(kPointF32, 2);
  ints.put(0, PointI32{std::numeric_limits<int32_t>::min(), 3});
  ints.put(1, PointI32{std::numeric_limits<int32_t>::max(), 5});
  floats.put(0, PointF32{kNaN, -1.5f});
  floats.put(1, PointF32{1e30f, 2.5f});
  expect_values(values_of(ints.record, 1, kMonochromeValues), 0, {4, 1, 3, 5});
  expect_values(values_of(floats.record, 1, kMonochromeValues), 0, {0.5f, 2, -1.5f, 2.5f});
}

TEST(Stats, Colour30IsSignedInVectorsOnly) {
  RawVector vector(kColour30, 1);
  RawImage image(kColour30, 1, 1);
  vector.put(0, uint32_t{0x77FEFFFD});
  image.put(0, 0, uint32_t{0x77FEFFFD});
  const StatsResults of_vector = values_of(vector.record, 1, kColourValues);
  expect_values(of_vector, 1, {253, 0, 253, 253});
  expect_values(of_vector, 2, {-1, 0, -1, -1});
  expect_values(of_vector, 3, {-2, 0, -2, -2});
  const StatsResults of_image = values_of(image.record, 1, kColourValues);
  expect_values(of_image, 1, {253, 0, 253, 253});
  expect_values(of_image, 2, {255, 0, 255, 255});
  expect_values(of_image, 3, {254, 0, 254, 254});
}

TEST(Stats, UnusedBitsOfColoursDoNotCount) {
  RawImage four(kRgba8, 1, 1), ten(kColour36, 1, 1), sixteen(kColour39, 1, 1);
  four.put(0, 0, uint32_t{0xFF030201});
  ten.put(0, 0, uint32_t{0xC0000000u | 1023u << 20 | 2u << 10 | 1u});
  sixteen.put(0, 0, uint64_t{0xFFFF000300020001});
  for (const auto& [image, third] : {std::pair<const RawImage&, float>{four, 3}, {ten, 1023}, {sixteen, 3}}) {
    const StatsResults results = values_of(image.record, 1, kColourValues);
    expect_values(results, 1, {1, 0, 1, 1});
    expect_values(results, 2, {2, 0, 2, 2});
    expect_values(results, 3, {third, 0, third, third});
  }
}

// The first length of equal values whose rounded radicand is below 0.
TEST(Stats, NegativeRadicandIsNotClamped) {
  int32_t count = 2;
  while (count < 1000 && !std::isnan(stats_twin(std::vector<double>(static_cast<std::size_t>(count), 0.1)).deviation)) {
    ++count;
  }
  ASSERT_LT(count, 1000);
  RawVector vector(kF64, count);
  for (int32_t i = 0; i < count; ++i) vector.put(i, 0.1);
  for (int32_t level : {0, 1, 2}) {
    const StatsResults results = values_of(vector.record, level, kMonochromeValues);
    EXPECT_TRUE(std::isnan(results.value[0][1]));
    EXPECT_EQ(results.value[0][2], 0.1f);
  }

  count = 2;
  while (count < 1000 &&
         !std::isnan(stats_twin(std::vector<double>(static_cast<std::size_t>(count), double{0.1f})).deviation)) {
    ++count;
  }
  // A product of two floats is exact in double, so that rounding needs more of them.
  ASSERT_LT(count, 1000);
  RawImage image(kF32, count, 1);
  for (int32_t x = 0; x < count; ++x) image.put(x, 0, 0.1f);
  EXPECT_TRUE(std::isnan(values_of(image.record, 0, kMonochromeValues).value[0][1]));
  EXPECT_TRUE(std::isnan(values_of(image.record, 2, kMonochromeValues).value[0][1]));
}

TEST(Stats, NotANumberCountsInSumsAndOnlyAsTheFirstExtreme) {
  RawImage later(kF32, 5, 1), first(kF32, 5, 1);
  const float values[] = {1, kNaN, -3, 7, kNaN};
  for (int32_t x = 0; x < 5; ++x) {
    later.put(x, 0, values[x]);
    first.put(x, 0, values[(x + 1) % 5]);
  }
  for (int32_t level : {0, 1, 2}) {
    expect_values(values_of(later.record, level, kMonochromeValues), 0, {kNaN, kNaN, -3, 7});
    expect_values(values_of(first.record, level, kMonochromeValues), 0, {kNaN, kNaN, kNaN, kNaN});
  }
}

TEST(Stats, TheFirstOfEqualZerosKeepsItsSign) {
  RawImage image(kF32, 2, 1);
  for (int32_t level : {0, 1, 2}) {
    for (float zero : {0.0f, -0.0f}) {
      image.put(0, 0, zero);
      image.put(1, 0, -zero);
      const StatsResults results = values_of(image.record, level, kMonochromeValues);
      EXPECT_EQ(std::signbit(results.value[0][2]), std::signbit(zero));
      EXPECT_EQ(std::signbit(results.value[0][3]), std::signbit(zero));
    }
  }
}

// Squares of the largest words: the 32-bit lanes of any kernel are full.
TEST(Stats, SumOfSquaresSurvivesFullScale16Bit) {
  for (int32_t level : {0, 1, 2}) {
    RawImage unsigned_words(kU16, 1031, 517, Fill::kHighest);
    RawImage signed_words(kS16, 1031, 517, Fill::kLowest);
    expect_values(values_of(unsigned_words.record, level, kMonochromeValues), 0, {65535, 0, 65535, 65535});
    expect_values(values_of(signed_words.record, level, kMonochromeValues), 0, {-32768, 0, -32768, -32768});
  }
}

// Above 2^53 a running double loses 1 of each odd square of 65535, always in the same direction: so much that the
// radicand of equal pixels becomes negative. Exact sums would give a deviation of 0.
TEST(Stats, SquaresBeyondTheExactDoublesKeepTheOrder) {
  constexpr int32_t kCount = 1 << 22;
  RawVector vector(kU16, kCount, Fill::kHighest);
  const StatsTwin twin = stats_twin(samples_of(kU16, vector, 0));
  ASSERT_TRUE(std::isnan(twin.deviation));
  expect_values(values_of(vector.record, 1, kMonochromeValues), 0, twin);
  expect_values(values_of(vector.record, 1, kDeviation), 0,
                {kUntouchedValue, twin.deviation, kUntouchedValue, kUntouchedValue});
  const VlixImage image = {ObjType_U16, vector.record.data, 1 << 11, 1 << 11, 0, 0, 1 << 11, 1 << 11};
  for (int32_t level : {0, 1, 2}) expect_values(values_of(image, level, kMonochromeValues), 0, twin);
}

// The last sum of squares that a double holds: 2^53 / 65535^2 pixels.
TEST(Stats, SquaresUpToTheExactDoublesAreExact) {
  constexpr int32_t kCount = 2097216;
  static_assert(uint64_t{65535} * 65535 * kCount <= uint64_t{1} << 53);
  static_assert(uint64_t{65535} * 65535 * (kCount + 1) > uint64_t{1} << 53);
  RawVector vector(kU16, kCount, Fill::kHighest);
  expect_values(values_of(vector.record, 1, kMonochromeValues), 0, {65535, 0, 65535, 65535});
}

// 2^24 + some pixels of -128: their sum is below -2^31.
TEST(Stats, PackedSumsOfSignedBytesAreExactUpToTheBound) {
  RawImage image(kS8, 4100, 4108, Fill::kLowest);
  ASSERT_GT(int64_t{4100} * 4108 * 128, int64_t{1} << 31);
  ASSERT_LE(4100.0f * 4108.0f * 255.0f, 4294967296.0f);
  for (int32_t level : {2, 1, 0}) {
    expect_values(values_of(image.record, level, kMonochromeValues), 0, {-128, 0, -128, -128});
  }
}

// At level 2 the extremes start from those of the type, and nothing replaces them.
TEST(Stats, EmptyRegionsShowWhereTheExtremesStart) {
  RawImage u8(kU8, 4, 4), s8(kS8, 4, 4);
  u8.crop(1, 1, 1, 3);
  s8.crop(2, 0, 2, 0);
  expect_values(values_of(u8.record, 2, kMonochromeValues), 0, {kNaN, kNaN, 255, 0});
  expect_values(values_of(s8.record, 2, kMonochromeValues), 0, {kNaN, kNaN, 127, -128});
}

TEST(Stats, EmptyRegionsReadNothing) {
  for (int32_t level : {0, 1, 2}) {
    for (const Format& format : kMonochromeImageFormats) {
      RawImage image(format, 4, 4);
      image.crop(4, 4, 0, 0);
      const StatsResults results = values_of(image.record, level, kMonochromeValues);
      EXPECT_TRUE(std::isnan(results.value[0][0])) << format;
      EXPECT_TRUE(std::isnan(results.value[0][1])) << format;
    }
    for (const Format& format : kColourFormats) {
      RawImage image(format, 4, 4);
      image.crop(4, 4, 0, 0);
      EXPECT_TRUE(std::isnan(values_of(image.record, level, kColourValues).value[1][0])) << format;
    }
  }
}

TEST(Stats, OnlyWantedValuesAreWritten) {
  for (int32_t level : {0, 1, 2}) {
    for (const Format& format : kMonochromeImageFormats) {
      const Inside inside(format);
      const StatsResults all = values_of(inside.image.record, level, kMonochromeValues);
      for (unsigned wanted = 1; wanted <= kMonochromeValues; ++wanted) {
        expect_subset(values_of(inside.image.record, level, wanted), all, wanted);
      }
    }
    for (const Format& format : kColourFormats) {
      const Inside inside(format);
      const StatsResults all = values_of(inside.image.record, level, kColourValues);
      for (unsigned value = 4; value < kValues; ++value) {
        expect_subset(values_of(inside.image.record, level, 1u << value), all, 1u << value);
      }
    }
  }
}

}  // namespace
}  // namespace vlix::test
