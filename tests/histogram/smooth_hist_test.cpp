// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <random>
#include <string>
#include <type_traits>

#include "histogram/point_values.h"
#include "histogram/smooth_hist_twin.h"
#include "support/recording_platform.h"
#include "support/test_image.h"
#include "vlix/meas.h"

namespace vlix::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr int32_t kLowest = std::numeric_limits<int32_t>::min();
constexpr int32_t kHighest = std::numeric_limits<int32_t>::max();

template <class Point>
constexpr bool kFloat = std::is_same_v<Point, PointF32>;

template <class Point>
VlixStatus smooth(const VlixVector* hist, VlixVector* out, float width) {
  return kFloat<Point> ? vlix_smoothHist(hist, out, width) : vlix_smoothHistInt(hist, out, width);
}
template <class Point>
VlixStatus consume(VlixVector* hist, float width) {
  return kFloat<Point> ? vlix_smoothHist_consume(hist, width) : vlix_smoothHistInt_consume(hist, width);
}

template <class Point>
std::vector<Point> values(TestVector<Point>& vector) {
  return {vector.data(), vector.data() + vector.record.count};
}

// Both forms, which have to agree.
template <class Point>
std::vector<Point> smoothed(const std::vector<Point>& hist, float width) {
  TestVector<Point> in(hist);
  OutputVector out;
  EXPECT_EQ(smooth<Point>(&in.record, &out.record, width), 0);
  EXPECT_EQ(out.record.type, code_of<Point>());
  EXPECT_EQ(first_difference(values(in), hist), -1) << "the input has changed";
  const auto result = out.values<Point>();
  EXPECT_EQ(consume<Point>(&in.record, width), 0);
  EXPECT_EQ(first_difference(values(in), result), -1) << "the forms differ";
  return result;
}

template <class Point>
std::vector<decltype(Point::y)> smoothed_counts(const std::vector<decltype(Point::y)>& y, float width) {
  std::vector<decltype(Point::y)> counts;
  for (const Point& p : smoothed(bins<Point>(y), width)) counts.push_back(p.y);
  return counts;
}

// How many elements a window of this width covers, seen from one bin in the middle of many.
template <class Point>
int32_t window_of(float width, std::size_t n = 41) {
  std::vector<decltype(Point::y)> y(n);
  y[n / 2] = 1000000;
  int32_t covered = 0;
  for (auto v : smoothed_counts<Point>(y, width)) covered += v != 0 ? 1 : 0;
  return covered;
}

template <class Point>
class SmoothHist : public ::testing::Test {};
using Points = ::testing::Types<PointF32, PointI32>;
TYPED_TEST_SUITE(SmoothHist, Points);

// ---- Checks and reports ----

// Runs a refused histogram through both forms; nothing but the one report may come of it.
template <class Point>
void expect_refused(const std::vector<Point>& hist, float width, const std::string& format, const std::string& text) {
  RecordingPlatform platform;
  TestVector<Point> in(hist);
  OutputVector out;
  EXPECT_EQ(platform.call(smooth<Point>, &in.record, &out.record, width), platform.report_result);
  EXPECT_EQ(platform.call(smooth<Point>, &in.record, nullptr, width), platform.report_result);
  EXPECT_EQ(platform.call(consume<Point>, &in.record, width), platform.report_result);
  const Report report{100, format, text};
  EXPECT_THAT(platform.reports(), ElementsAre(report, report, report));
  EXPECT_THAT(platform.calls(), IsEmpty());
  EXPECT_EQ(out.record.data, nullptr);
  EXPECT_EQ(first_difference(values(in), hist), -1);
}

const std::string kSizeFormat = "smoothHist: vector size %d, must be > 2\n";

TYPED_TEST(SmoothHist, FewerThanTwoElementsAreRefusedBeforeAnythingElse) {
  expect_refused<TypeParam>({}, 1e9f, kSizeFormat, "smoothHist: vector size 0, must be > 2\n");
  expect_refused<TypeParam>({{5, 1}}, 1e9f, kSizeFormat, "smoothHist: vector size 1, must be > 2\n");
}

TYPED_TEST(SmoothHist, NegativeCountIsRefused) {
  RecordingPlatform platform;
  TestVector<TypeParam> in({{0, 1}, {1, 1}});
  in.record.count = -3;
  EXPECT_EQ(platform.call(consume<TypeParam>, &in.record, 1.0f), platform.report_result);
  EXPECT_THAT(platform.reports(), ElementsAre(Report{100, kSizeFormat, "smoothHist: vector size -3, must be > 2\n"}));
}

TYPED_TEST(SmoothHist, TwoElementsAreAcceptedInSpiteOfTheText) {
  EXPECT_THAT(smoothed_counts<TypeParam>({3, 5}, 1.0f), ElementsAre(3, 5));
}

TYPED_TEST(SmoothHist, IncrementIsTestedBeforeTheWidth) {
  const std::string format =
      std::string("smoothHist: histogram increment error (dx = ") + (kFloat<TypeParam> ? "%f" : "%d") + ")\n";
  const auto text = [](const char* dx) {
    return std::string("smoothHist: histogram increment error (dx = ") + dx + ")\n";
  };
  expect_refused<TypeParam>({{4, 1}, {4, 1}, {5, 1}}, 1e9f, format, text(kFloat<TypeParam> ? "0.000000" : "0"));
  expect_refused<TypeParam>({{4, 1}, {1, 1}, {5, 1}}, 1e9f, format, text(kFloat<TypeParam> ? "-3.000000" : "-3"));
}

TYPED_TEST(SmoothHist, WindowLongerThanTheHistogramIsRefused) {
  const auto hist = bins<TypeParam, int>({1, 2, 3, 4});
  const std::string format = std::string("smoothHist: width %f, must be less than histogram range, ") +
                             (kFloat<TypeParam> ? "%f" : "%d") + "\n";
  expect_refused<TypeParam>(hist, 5.0f, format,
                            std::string("smoothHist: width 5.000000, must be less than histogram range, ") +
                                (kFloat<TypeParam> ? "4.000000" : "4") + "\n");
  expect_refused<TypeParam>(hist, kNaN, format,
                            std::string("smoothHist: width nan, must be less than histogram range, ") +
                                (kFloat<TypeParam> ? "4.000000" : "4") + "\n");
}

TYPED_TEST(SmoothHist, WindowAsLongAsTheHistogramIsAccepted) {
  EXPECT_THAT(smoothed_counts<TypeParam>({3, 6, 9}, 3.0f), ElementsAre(3, 6, 5));
  EXPECT_THAT(smoothed_counts<TypeParam>({5, 5, 5, 5, 5}, 5.0f), ElementsAre(3, 4, 5, 4, 3));
}

TEST(SmoothHistInt, IncrementAndRangeWrapIn32Bits) {
  expect_refused<PointI32>({{kLowest, 1}, {kHighest, 1}}, 1.0f, "smoothHist: histogram increment error (dx = %d)\n",
                           "smoothHist: histogram increment error (dx = -1)\n");
  EXPECT_THAT(smoothed<PointI32>({{kHighest, 4}, {kLowest, 8}, {0, 12}}, 3.0f),
              ElementsAre(PointI32{kHighest, 4}, PointI32{kLowest, 8}, PointI32{0, 6}));
  expect_refused<PointI32>({{0, 1}, {1 << 30, 1}, {5, 1}}, 5.0f * (1 << 30),
                           "smoothHist: width %f, must be less than histogram range, %d\n",
                           "smoothHist: width 5368709120.000000, must be less than histogram range, -1073741824\n");
}

TEST(SmoothHistFloat, IncrementThatIsNoNumberEndsAtTheWidth) {
  expect_refused<PointF32>({{0, 1}, {kNaN, 1}, {5, 1}}, 1.0f,
                           "smoothHist: width %f, must be less than histogram range, %f\n",
                           "smoothHist: width 1.000000, must be less than histogram range, nan\n");
}

TEST(SmoothHistFloat, RangeIsAProductOf32BitFloats) {
  // The increment is 3333333.25; three of them are 9999999.75, which is no 32-bit float.
  expect_refused<PointF32>({{0, 1}, {1e7f / 3, 1}, {5, 1}}, 2e7f,
                           "smoothHist: width %f, must be less than histogram range, %f\n",
                           "smoothHist: width 20000000.000000, must be less than histogram range, 10000000.000000\n");
}

// ---- Platform calls, leaks, failures ----

TYPED_TEST(SmoothHist, NullOutputOnlyValidates) {
  RecordingPlatform platform;
  TestVector<TypeParam> in(bins<TypeParam, int>({1, 2, 3}));
  EXPECT_EQ(platform.call(smooth<TypeParam>, &in.record, nullptr, 3.0f), 0);
  EXPECT_THAT(platform.calls(), IsEmpty());
  EXPECT_THAT(platform.reports(), IsEmpty());
}

TYPED_TEST(SmoothHist, OutputIsShapedOnce) {
  for (float width : {3.0f, 0.0f}) {
    RecordingPlatform platform;
    TestVector<TypeParam> in(bins<TypeParam, int>({1, 2, 3}));
    OutputVector out;
    platform.name(out.record, "out");
    EXPECT_EQ(platform.call(smooth<TypeParam>, &in.record, &out.record, width), 0);
    EXPECT_THAT(platform.calls(), ElementsAre(std::string("VlixVectorTryUseReservedMem(out, ") +
                                              (kFloat<TypeParam> ? "PointF32" : "PointI32") + ", 3, \"smoothHist\")"));
    EXPECT_THAT(platform.heap_requests(), IsEmpty());
  }
}

TYPED_TEST(SmoothHist, OutputThatCannotBeShapedGivesOneAndNoReport) {
  RecordingPlatform platform;
  platform.fail("VlixVectorTryUseReservedMem");
  TestVector<TypeParam> in(bins<TypeParam, int>({1, 2, 3}));
  OutputVector out;
  EXPECT_EQ(platform.call(smooth<TypeParam>, &in.record, &out.record, 3.0f), 1);
  EXPECT_THAT(platform.reports(), IsEmpty());
}

TYPED_TEST(SmoothHist, ConsumeCopiesAndReleases) {
  RecordingPlatform platform;
  TestVector<TypeParam> in(bins<TypeParam, int>({1, 2, 3}));
  platform.name(in.record, "hist");
  EXPECT_EQ(platform.call(consume<TypeParam>, &in.record, 3.0f), 0);
  EXPECT_THAT(platform.calls(), ElementsAre("VlixVectorCopy(hist, ?)", "VlixVectorRelease(?, 1)"));
  EXPECT_THAT(platform.live_buffers(), IsEmpty());
  EXPECT_THAT(platform.heap_requests(), IsEmpty());
}

TYPED_TEST(SmoothHist, ConsumeThatChangesNothingLeaksItsCopy) {
  for (float width : {0.0f, -2.0f, kInfinity}) {
    RecordingPlatform platform;
    const auto hist = bins<TypeParam, int>({1, 2, 3});
    TestVector<TypeParam> in(hist);
    platform.name(in.record, "hist");
    EXPECT_EQ(platform.call(consume<TypeParam>, &in.record, width), 0);
    EXPECT_THAT(platform.calls(), ElementsAre("VlixVectorCopy(hist, ?)"));
    EXPECT_THAT(platform.live_buffers(), ElementsAre("VlixVectorCopy"));
    EXPECT_EQ(first_difference(values(in), hist), -1);
  }
}

TYPED_TEST(SmoothHist, ConsumeReportsAFailedCopy) {
  RecordingPlatform platform;
  platform.fail("VlixVectorCopy");
  const auto hist = bins<TypeParam, int>({1, 2, 3});
  TestVector<TypeParam> in(hist);
  EXPECT_EQ(platform.call(consume<TypeParam>, &in.record, 3.0f), platform.report_result);
  const std::string text = "smoothHist: cannot copy vector\n";
  EXPECT_THAT(platform.reports(), ElementsAre(Report{100, text, text}));
  EXPECT_THAT(platform.calls_of("VlixVectorRelease"), IsEmpty());
  EXPECT_EQ(first_difference(values(in), hist), -1);
}

TYPED_TEST(SmoothHist, TypeOfTheInputIsNotLookedAt) {
  RecordingPlatform platform;
  TestVector<TypeParam> in(bins<TypeParam, int>({3, 3, 3}));
  in.record.type = ObjType_F64;
  OutputVector out;
  EXPECT_EQ(platform.call(smooth<TypeParam>, &in.record, &out.record, 3.0f), 0);
  EXPECT_THAT(out.values<TypeParam>(), ElementsAre(TypeParam{0, 2}, TypeParam{1, 3}, TypeParam{2, 2}));
  EXPECT_THAT(platform.calls_of("VlixObjCheckEqList"), IsEmpty());
}

// ---- The window ----

TYPED_TEST(SmoothHist, WidthRoundsToAnOddNumberOfElements) {
  const std::pair<float, int32_t> cases[] = {{1.0f, 1}, {0.4f, 1},  {0.5f, 1},  {1.4f, 1}, {1.5f, 1},  {1.9f, 1},
                                             {2.0f, 1}, {2.1f, 3},  {2.5f, 3},  {3.2f, 3}, {3.49f, 3}, {3.5f, 3},
                                             {4.0f, 3}, {4.01f, 5}, {4.3f, 5},  {5.0f, 5}, {5.49f, 5}, {5.51f, 5},
                                             {6.0f, 5}, {6.01f, 7}, {12.5f, 13}};
  for (const auto& [width, length] : cases) EXPECT_EQ(window_of<TypeParam>(width), length) << width;
}

TYPED_TEST(SmoothHist, WindowsWithoutElementsLeaveTheCounts) {
  for (float width : {0.0f, -0.0f, -1.0f, -2.0f, -7.5f, -1e9f}) {
    EXPECT_THAT(smoothed_counts<TypeParam>({4, 0, 8, 2}, width), ElementsAre(4, 0, 8, 2)) << width;
  }
}

// A number of elements beyond 32 bits reads as the lowest number: no window at all.
TYPED_TEST(SmoothHist, WidthBeyond32BitsLeavesTheCounts) {
  for (float width : {kInfinity, 1e30f, 2147483648.0f}) {
    EXPECT_THAT(smoothed_counts<TypeParam>({4, 0, 8, 2}, width), ElementsAre(4, 0, 8, 2)) << width;
  }
}

// One below the lowest number wraps to the highest.
TYPED_TEST(SmoothHist, WidthBelow32BitsAndNoNumberAreTooLong) {
  for (float width : {-kInfinity, -1e30f, kNaN}) {
    RecordingPlatform platform;
    TestVector<TypeParam> in(bins<TypeParam, int>({4, 0, 8, 2}));
    EXPECT_EQ(platform.call(consume<TypeParam>, &in.record, width), platform.report_result);
    ASSERT_EQ(platform.reports().size(), 1u);
    EXPECT_THAT(platform.reports()[0].text, ::testing::StartsWith("smoothHist: width %f, must be less"));
  }
}

TEST(SmoothHistFloat, WidthIsInUnitsOfX) {
  EXPECT_THAT(smoothed<PointF32>({{10, 3}, {10.5f, 3}, {11, 3}}, 1.5f),
              ElementsAre(PointF32{10, 2}, PointF32{10.5f, 3}, PointF32{11, 2}));
}

TEST(SmoothHistInt, WidthIsInUnitsOfX) {
  EXPECT_THAT(smoothed<PointI32>({{-8, 3}, {-4, 3}, {0, 3}}, 12.0f),
              ElementsAre(PointI32{-8, 2}, PointI32{-4, 3}, PointI32{0, 2}));
}

TYPED_TEST(SmoothHist, IncrementIsTakenFromTheFirstTwoElementsOnly) {
  EXPECT_THAT(smoothed<TypeParam>({{0, 3}, {1, 3}, {-100, 3}, {-100, 3}}, 3.0f),
              ElementsAre(TypeParam{0, 2}, TypeParam{1, 3}, TypeParam{-100, 3}, TypeParam{-100, 2}));
}

// ---- Values known beforehand ----

TYPED_TEST(SmoothHist, OneBinSpreadsOverTheWindow) {
  EXPECT_THAT(smoothed_counts<TypeParam>({0, 0, 9, 0, 0}, 3.0f), ElementsAre(0, 3, 3, 3, 0));
}

TYPED_TEST(SmoothHist, EndsAreDividedByTheFullWindow) {
  EXPECT_THAT(smoothed_counts<TypeParam>({3, 3, 3}, 3.0f), ElementsAre(2, 3, 2));
}

TEST(SmoothHistInt, DivisionTruncatesTowardZero) {
  EXPECT_THAT(smoothed_counts<PointI32>({5, 0, 0, -5, 0}, 3.0f), ElementsAre(1, 1, -1, -1, -1));
}

TEST(SmoothHistInt, SumsWrapIn32Bits) {
  EXPECT_THAT(smoothed_counts<PointI32>({kHighest, kHighest, kHighest}, 3.0f), ElementsAre(0, (kHighest - 2) / 3, 0));
  EXPECT_THAT(smoothed_counts<PointI32>({kLowest, kHighest, 0, kLowest}, 1.0f),
              ElementsAre(kLowest, kHighest, 0, kLowest));
}

// Quotients next to whole numbers, for all kinds of divisors.
TEST(SmoothHistInt, EveryQuotientIsExact) {
  for (int32_t length = 1; length < 400; length += 2) {
    for (int64_t quotient : {0LL, 1LL, 2LL, 1000LL, 2147483647LL / length - 1}) {
      for (int64_t rest : {0, 1, length - 1}) {
        for (int sign : {1, -1}) {
          const auto sum = static_cast<int32_t>(sign * (quotient * length + rest));
          std::vector<int32_t> y(static_cast<std::size_t>(length));
          y[0] = sum;
          if (y.size() < 2) y.push_back(0);
          ASSERT_EQ(smoothed_counts<PointI32>(y, static_cast<float>(length))[0], sum / length) << sum << " " << length;
        }
      }
    }
  }
}

// 2^24 + 1 is lost at each step of a running float sum; sums of integers would keep it.
TEST(SmoothHistFloat, SumsBeyondTheExactFloatsKeepTheOrder) {
  const std::vector<PointF32> hist = bins<PointF32, float>({16777216, 1, 1, 1, 1, 1, 1});
  EXPECT_EQ(first_difference(smoothed(hist, 3.0f), moving_average_twin(hist, 3)), -1);
  EXPECT_EQ(smoothed(hist, 3.0f)[2].y, (16777216.0f - 16777216.0f + 1.0f) / 3.0f);
}

TEST(SmoothHistFloat, NegativeZeroKeepsItsSign) {
  const auto hist = bins<PointF32, float>({-0.0f, -0.0f, -0.0f, -0.0f, 1.0f, -0.0f});
  EXPECT_EQ(first_difference(smoothed(hist, 3.0f), moving_average_twin(hist, 3)), -1);
  EXPECT_TRUE(std::signbit(smoothed(hist, 3.0f)[0].y));
}

TEST(SmoothHistFloat, NotANumberStaysInTheRunningSum) {
  const auto hist = bins<PointF32, float>({1, 2, kNaN, 4, 5, 6});
  const auto out = smoothed(hist, 3.0f);
  EXPECT_EQ(out[0].y, 1.0f);
  for (std::size_t i = 1; i < 6; ++i) EXPECT_TRUE(std::isnan(out[i].y));
}

TEST(SmoothHistFloat, ValuesOfXAreCopiedBitByBit) {
  auto hist = bins<PointF32, float>({1, 2, 3, 4});
  hist[2].x = -0.0f;
  hist[3].x = kNaN;
  EXPECT_EQ(first_difference(smoothed(hist, 3.0f), moving_average_twin(hist, 3)), -1);
}

// ---- The twin ----

enum class Counts { kSmallWhole, kLargeWhole, kMixedSigns, kFractions, kHuge };

template <class Point>
std::vector<Point> make_hist(std::size_t n, Counts counts, uint64_t seed) {
  std::mt19937_64 random(seed);
  std::vector<Point> hist(n);
  for (std::size_t i = 0; i < n; ++i) {
    double y = 0;
    switch (counts) {
      case Counts::kSmallWhole: y = static_cast<double>(random() % 200); break;
      case Counts::kLargeWhole: y = static_cast<double>(random() % 3000000); break;
      case Counts::kMixedSigns: y = static_cast<double>(random() % 2001) - 1000.0; break;
      case Counts::kFractions: y = static_cast<double>(random() % 4000) / 16.0; break;
      case Counts::kHuge: y = static_cast<double>(random() % 4000000000u) - 2e9; break;
    }
    hist[i] = {static_cast<decltype(Point::x)>(i), static_cast<decltype(Point::y)>(y)};
  }
  return hist;
}

constexpr Counts kAllCounts[] = {Counts::kSmallWhole, Counts::kLargeWhole, Counts::kMixedSigns, Counts::kFractions,
                                 Counts::kHuge};

TYPED_TEST(SmoothHist, EverySmallSizeAndWindowEqualsTheTwin) {
  uint64_t seed = 1;
  for (std::size_t n = 2; n < 40; ++n) {
    for (int32_t length = 1; length <= static_cast<int32_t>(n); length += 2) {
      for (Counts counts : kAllCounts) {
        const auto hist = make_hist<TypeParam>(n, counts, ++seed);
        ASSERT_EQ(first_difference(smoothed(hist, static_cast<float>(length)), moving_average_twin(hist, length)), -1)
            << "n " << n << " length " << length << " seed " << seed;
      }
    }
  }
}

TYPED_TEST(SmoothHist, LongHistogramsEqualTheTwin) {
  uint64_t seed = 5000;
  for (int32_t n : {131, 255, 256, 257, 511, 515, 1027, 5000}) {
    for (int32_t length : {1, 3, 33, 127, 255, 257, n - 1, n}) {
      length -= length % 2 == 0 ? 1 : 0;
      if (length > n) continue;
      for (Counts counts : kAllCounts) {
        const auto hist = make_hist<TypeParam>(static_cast<std::size_t>(n), counts, ++seed);
        ASSERT_EQ(first_difference(smoothed(hist, static_cast<float>(length)), moving_average_twin(hist, length)), -1)
            << "n " << n << " length " << length << " seed " << seed;
      }
    }
  }
}

// Around the bound below which float sums may be taken in any order.
TEST(SmoothHistFloat, SumsAroundTheBoundOfExactFloatsEqualTheTwin) {
  uint64_t seed = 9000;
  for (int32_t length : {3, 5, 127}) {
    const int64_t edge = (int64_t{1} << 24) / length;
    for (int64_t top : {edge - 1, edge, edge + 1, edge + 3, 2 * edge, int64_t{1} << 24, (int64_t{1} << 24) + 2}) {
      for (int32_t n : {130, 700}) {
        std::mt19937_64 random(++seed);
        std::vector<float> y(static_cast<std::size_t>(n));
        for (float& v : y) v = static_cast<float>(top - static_cast<int64_t>(random() % 2));
        const auto hist = bins<PointF32>(y);
        ASSERT_EQ(first_difference(smoothed(hist, static_cast<float>(length)), moving_average_twin(hist, length)), -1)
            << "n " << n << " length " << length << " top " << top;
      }
    }
  }
}

TEST(SmoothHistFloat, OneOddElementAnywhereKeepsTheOrder) {
  for (float odd : {0.5f, -0.0f, kInfinity, kNaN, 1e-45f, 16777218.0f, 3e9f}) {
    for (std::size_t at : {0u, 1u, 255u, 256u, 698u, 699u}) {
      auto hist = make_hist<PointF32>(700, Counts::kSmallWhole, at);
      hist[at].y = odd;
      ASSERT_EQ(first_difference(smoothed(hist, 33.0f), moving_average_twin(hist, 33)), -1) << odd << " at " << at;
    }
  }
}

// ---- Laws ----

RC_GTEST_PROP(SmoothHistLaws, WindowFollowsItsDefinition, ()) {
  const auto width = static_cast<float>(*rc::gen::inRange(1, 4000)) / 100.0f;
  RC_ASSERT(window_of<PointI32>(width, 101) == window_twin(width));
  RC_ASSERT(window_of<PointF32>(width, 101) == window_twin(width));
}

RC_GTEST_PROP(SmoothHistLaws, ReversingTheCountsReversesTheResult, ()) {
  auto y = *rc::gen::container<std::vector<int32_t>>(rc::gen::inRange(0, 1000));
  RC_PRE(y.size() >= 5u);
  const auto forward = smoothed_counts<PointI32>(y, 5.0f);
  std::reverse(y.begin(), y.end());
  auto backward = smoothed_counts<PointI32>(y, 5.0f);
  std::reverse(backward.begin(), backward.end());
  RC_ASSERT(forward == backward);
}

RC_GTEST_PROP(SmoothHistLaws, CountsInsideTheEndsAreConserved, ()) {
  auto y = *rc::gen::container<std::vector<int32_t>>(rc::gen::inRange(0, 1000));
  for (int32_t& v : y) v *= 7;
  y.insert(y.begin(), 3, 0);
  y.insert(y.end(), 4, 0);
  for (int32_t& v : y) v *= 7;  // every window sum is a multiple of 7
  const auto out = smoothed_counts<PointI32>(y, 7.0f);
  RC_ASSERT(std::accumulate(out.begin(), out.end(), int64_t{0}) == std::accumulate(y.begin(), y.end(), int64_t{0}));
}

}  // namespace
}  // namespace vlix::test
