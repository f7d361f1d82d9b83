// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <rapidcheck/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>

#include "histogram/hist_peaks_twin.h"
#include "histogram/point_values.h"
#include "support/recording_platform.h"
#include "support/test_image.h"
#include "vlix/meas.h"

namespace vlix::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr int32_t kMaxima = 1;
constexpr int32_t kMinima = 0;

VlixStatus find(const VlixVector* hist, VlixVector* peaks, int32_t maxima, float distance) {
  return hist->type == ObjType_PointF32 ? vlix_histPeaks(hist, peaks, maxima, distance)
                                        : vlix_histPeaksInt(hist, peaks, maxima, distance);
}

template <class Point>
std::vector<Point> peaks_of(const std::vector<Point>& hist, int32_t maxima, float distance) {
  TestVector<Point> in(hist);
  OutputVector out;
  EXPECT_EQ(find(&in.record, &out.record, maxima, distance), 0);
  EXPECT_EQ(out.record.type, code_of<Point>());
  return out.values<Point>();
}

template <class Point>
class HistPeaks : public ::testing::Test {};
using Points = ::testing::Types<PointF32, PointI32>;
TYPED_TEST_SUITE(HistPeaks, Points);

// ---- Checks, reports, platform calls ----

TYPED_TEST(HistPeaks, OtherTypesAreRefusedUnderTheOneName) {
  constexpr bool kFloat = std::is_same_v<TypeParam, PointF32>;
  const std::string code = kFloat ? "29" : "24";
  for (uint32_t type : {8u, 17u, 18u, kFloat ? 24u : 29u, 999u}) {
    RecordingPlatform platform;
    TestVector<TypeParam> in({{0, 1}, {1, 2}, {2, 1}});
    in.record.type = type;
    OutputVector out;
    auto* function = kFloat ? &vlix_histPeaks : &vlix_histPeaksInt;
    EXPECT_EQ(platform.call(function, &in.record, &out.record, 1, 0.0f), platform.report_result);
    EXPECT_EQ(platform.call(function, &in.record, nullptr, 1, 0.0f), platform.report_result);
    const Report refused{1, "histPeaks", VlixObjGetName(static_cast<int32_t>(type))};
    EXPECT_THAT(platform.reports(), ElementsAre(refused, refused));
    const std::string check = "VlixObjCheckEqList(" + std::to_string(type) + ", 1, " + code + ")";
    EXPECT_THAT(platform.calls(), ElementsAre(check, check));
    EXPECT_EQ(out.record.data, nullptr);
  }
}

TYPED_TEST(HistPeaks, ThePlatformDecidesWhatIsAccepted) {
  RecordingPlatform platform;
  platform.fail("VlixObjCheckEqList");
  TestVector<TypeParam> in({{0, 1}});
  EXPECT_EQ(platform.call(find, &in.record, nullptr, 1, 0.0f), platform.report_result);
  EXPECT_THAT(platform.reports(),
              ElementsAre(Report{1, "histPeaks", VlixObjGetName(static_cast<int32_t>(code_of<TypeParam>()))}));
}

TYPED_TEST(HistPeaks, NullOutputOnlyValidates) {
  RecordingPlatform platform;
  TestVector<TypeParam> in({{0, 1}, {1, 2}, {2, 1}});
  EXPECT_EQ(platform.call(find, &in.record, nullptr, 1, 0.0f), 0);
  EXPECT_THAT(platform.reports(), IsEmpty());
  EXPECT_EQ(platform.calls().size(), 1u);
}

TYPED_TEST(HistPeaks, OutputIsAllocatedAtFullLengthThenCut) {
  RecordingPlatform platform;
  const std::string name = VlixObjGetName(static_cast<int32_t>(code_of<TypeParam>()));
  TestVector<TypeParam> in({{0, 1}, {1, 2}, {2, 1}, {3, 3}, {4, 3}});
  OutputVector out;
  platform.name(out.record, "out");
  EXPECT_EQ(platform.call(find, &in.record, &out.record, 1, 0.0f), 0);
  const std::string code = std::to_string(code_of<TypeParam>());
  EXPECT_THAT(platform.calls(), ElementsAre("VlixObjCheckEqList(" + code + ", 1, " + code + ")",
                                            "VlixVectorAlloc(out, " + name + ", 5)", "VlixVectorResize(out, 1)"));
  EXPECT_THAT(out.values<TypeParam>(), ElementsAre(TypeParam{1, 2}));
  EXPECT_THAT(platform.live_buffers(), ElementsAre("VlixVectorAlloc"));
  EXPECT_THAT(platform.heap_requests(), IsEmpty());
}

TYPED_TEST(HistPeaks, FailedAllocationIsReportedWithItsBytes) {
  for (std::optional<int32_t> result : {std::optional<int32_t>{}, std::optional<int32_t>{-1}}) {
    RecordingPlatform platform;
    platform.fail("VlixVectorAlloc", 1, result);
    TestVector<TypeParam> in({{0, 1}, {1, 2}, {2, 1}});
    OutputVector out;
    EXPECT_EQ(platform.call(find, &in.record, &out.record, 1, 0.0f), platform.report_result);
    EXPECT_THAT(platform.reports(), ElementsAre(Report{0, "histPeaks", "24"}));
    EXPECT_THAT(platform.calls_of("VlixVectorResize"), IsEmpty());
  }
}

TYPED_TEST(HistPeaks, ByteCountsDoNotWrap) {
  RecordingPlatform platform;
  platform.fail("VlixVectorAlloc");
  TestVector<TypeParam> in({{0, 1}});
  in.record.count = 2147483647;
  OutputVector out;
  EXPECT_EQ(platform.call(find, &in.record, &out.record, 1, 0.0f), platform.report_result);
  EXPECT_THAT(platform.reports(), ElementsAre(Report{0, "histPeaks", "17179869176"}));
}

TYPED_TEST(HistPeaks, FailedResizeIsOverlooked) {
  RecordingPlatform platform;
  platform.fail("VlixVectorResize");
  TestVector<TypeParam> in({{0, 1}, {1, 2}, {2, 1}});
  OutputVector out;
  EXPECT_EQ(platform.call(find, &in.record, &out.record, 1, 0.0f), 0);
  EXPECT_THAT(platform.reports(), IsEmpty());
  EXPECT_EQ(out.record.count, 3);
}

// ---- Values known beforehand ----

TYPED_TEST(HistPeaks, DistanceEqualToTheLimitIsTooClose) {
  const auto hist = bins<TypeParam, int>({0, 5, 0, 7, 0});
  EXPECT_THAT(peaks_of(hist, kMaxima, 1.0f), ElementsAre(TypeParam{1, 5}, TypeParam{3, 7}));
  EXPECT_THAT(peaks_of(hist, kMaxima, 2.0f), ElementsAre(TypeParam{3, 7}));
}

TYPED_TEST(HistPeaks, PlateauIsOnePeakAtItsMiddle) {
  EXPECT_THAT(peaks_of(bins<TypeParam, int>({0, 4, 4, 4, 0}), kMaxima, 0.0f), ElementsAre(TypeParam{2, 4}));
  EXPECT_THAT(peaks_of(bins<TypeParam, int>({9, 4, 4, 4, 5}), kMinima, 0.0f), ElementsAre(TypeParam{2, 4}));
}

TYPED_TEST(HistPeaks, PlateauToTheEndIsNoPeak) {
  EXPECT_THAT(peaks_of(bins<TypeParam, int>({0, 4, 4, 4}), kMaxima, 0.0f), IsEmpty());
  EXPECT_THAT(peaks_of(bins<TypeParam, int>({4, 4, 4, 0}), kMaxima, 0.0f), IsEmpty());
  EXPECT_THAT(peaks_of(bins<TypeParam, int>({4, 4, 4, 4}), kMaxima, 0.0f), IsEmpty());
  EXPECT_THAT(peaks_of(bins<TypeParam, int>({0, 4, 4, 5, 0}), kMaxima, 0.0f), ElementsAre(TypeParam{3, 5}));
}

TYPED_TEST(HistPeaks, TwoElementsOrFewerHaveNoPeaks) {
  for (std::size_t count : {0u, 1u, 2u}) {
    EXPECT_THAT(peaks_of(bins<TypeParam, int>(std::vector<int>(count, 3)), kMaxima, 0.0f), IsEmpty());
  }
}

TYPED_TEST(HistPeaks, EndsAreNeverExtrema) {
  EXPECT_THAT(peaks_of(bins<TypeParam, int>({9, 1, 9}), kMaxima, 0.0f), IsEmpty());
  EXPECT_THAT(peaks_of(bins<TypeParam, int>({1, 9, 1}), kMinima, 0.0f), IsEmpty());
}

TYPED_TEST(HistPeaks, MinimaAreFoundForZero) {
  EXPECT_THAT(peaks_of(bins<TypeParam, int>({5, 1, 5}), kMinima, 0.0f), ElementsAre(TypeParam{1, 1}));
  for (int32_t maxima : {1, -1, 2, 256}) {
    EXPECT_THAT(peaks_of(bins<TypeParam, int>({5, 1, 5, 2, 2, 8, 2}), maxima, 0.0f),
                ElementsAre(TypeParam{2, 5}, TypeParam{5, 8}));
  }
}

TYPED_TEST(HistPeaks, EqualPeaksTooCloseKeepTheEarlier) {
  EXPECT_THAT(peaks_of(bins<TypeParam, int>({0, 5, 0, 5, 0}), kMaxima, 2.0f), ElementsAre(TypeParam{1, 5}));
}

// The 4 and the 3 are held back one behind the other, so that the 3 at 7 still keeps the 2 at 9 away.
TYPED_TEST(HistPeaks, PendingCandidatesKeepLaterOnesAway) {
  const auto hist = bins<TypeParam, int>({0, 9, 0, 0, 4, 0, 0, 3, 0, 2, 0, 0, 0, 1, 0});
  EXPECT_THAT(peaks_of(hist, kMaxima, 3.0f), ElementsAre(TypeParam{1, 9}, TypeParam{13, 1}));
}

// The 5 at 6 beats the pending 4 at 4 and then is far enough from the 9.
TYPED_TEST(HistPeaks, BetterCandidateRemovesPendingOnes) {
  const auto hist = bins<TypeParam, int>({0, 9, 0, 0, 4, 0, 5, 0});
  EXPECT_THAT(peaks_of(hist, kMaxima, 3.0f), ElementsAre(TypeParam{1, 9}, TypeParam{6, 5}));
}

TYPED_TEST(HistPeaks, NegativeDistanceKeepsEveryPeak) {
  const auto hist = bins<TypeParam, int>({0, 5, 0, 7, 0, 6, 0});
  EXPECT_EQ(peaks_of(hist, kMaxima, -1.0f).size(), 3u);
  EXPECT_EQ(peaks_of(hist, kMaxima, std::numeric_limits<float>::quiet_NaN()).size(), 3u);
  EXPECT_EQ(peaks_of(hist, kMaxima, std::numeric_limits<float>::infinity()).size(), 1u);
}

TEST(HistPeaksFloat, MiddleOfAnEvenPlateauIsBetweenItsElements) {
  EXPECT_THAT(peaks_of(bins<PointF32, int>({0, 4, 4, 0}), kMaxima, 0.0f), ElementsAre(PointF32{1.5f, 4}));
}

// Halving is exact, so that the width of the sum shows only where it overflows.
TEST(HistPeaksFloat, MiddleIsSummedIn32Bits) {
  const std::vector<PointF32> hist = {{0, 0}, {3e38f, 1}, {3e38f, 1}, {0, 0}};
  EXPECT_EQ(peaks_of(hist, kMaxima, 0.0f)[0].x, std::numeric_limits<float>::infinity());
}

TEST(HistPeaksFloat, NotANumberIsNoPeakAndHidesItsNeighbours) {
  EXPECT_THAT(peaks_of(bins<PointF32, float>({0, NAN, 0, 3, 0, 5, NAN, 5, 0, 2, 2, NAN, 0}), kMaxima, 0.0f),
              ElementsAre(PointF32{3, 3}));
}

TEST(HistPeaksInt, MiddleIsTruncatedWhenStored) {
  EXPECT_THAT(peaks_of(bins<PointI32, int>({0, 4, 4, 0}), kMaxima, 0.0f), ElementsAre(PointI32{1, 4}));
  EXPECT_THAT(peaks_of<PointI32>({{-9, 0}, {-4, 4}, {-3, 4}, {0, 0}}, kMaxima, 0.0f), ElementsAre(PointI32{-3, 4}));
}

// Stored middle 1 of the plateau 1..2; the next middle 4.5 is 3.5 away from it, 3 from the true middle.
TEST(HistPeaksInt, DistancesAreTakenFromTheStoredMiddle) {
  const auto hist = bins<PointI32, int>({0, 4, 4, 0, 3, 3, 0});
  EXPECT_EQ(peaks_of(hist, kMaxima, 3.25f).size(), 2u);
  EXPECT_EQ(peaks_of(hist, kMaxima, 3.5f).size(), 1u);
}

TEST(HistPeaksInt, CountsAreComparedAsFloats) {
  // 16777217 is no float: both counts are the plateau 16777216.
  EXPECT_THAT(peaks_of(bins<PointI32, int>({0, 16777216, 16777217, 0}), kMaxima, 0.0f),
              ElementsAre(PointI32{1, 16777216}));
  EXPECT_THAT(peaks_of(bins<PointI32, int>({0, 16777217, 0}), kMaxima, 0.0f), ElementsAre(PointI32{1, 16777216}));
}

TEST(HistPeaksInt, CountThatRoundsBeyondTheRangeIsStoredAsTheLowest) {
  EXPECT_THAT(peaks_of(bins<PointI32, int>({0, 2147483647, 0}), kMaxima, 0.0f),
              ElementsAre(PointI32{1, -2147483647 - 1}));
}

// ---- The twin ----

template <class Point>
std::vector<Point> noise(std::size_t count, int levels, int step, uint64_t seed) {
  std::mt19937_64 random(seed);
  std::vector<Point> hist(count);
  int32_t x = -static_cast<int32_t>(count) / 2;
  for (Point& point : hist) {
    x += 1 + static_cast<int32_t>(random() % static_cast<uint64_t>(step));
    point = {static_cast<decltype(Point::x)>(x),
             static_cast<decltype(Point::y)>(random() % static_cast<uint64_t>(levels))};
  }
  return hist;
}

TYPED_TEST(HistPeaks, EverySizeEqualsTheTwin) {
  uint64_t seed = 1;
  for (std::size_t count = 0; count < 131; ++count) {
    for (int levels : {2, 3, 1000}) {
      for (float distance : {0.0f, 2.0f, 7.5f}) {
        const auto hist = noise<TypeParam>(count, levels, 1, ++seed);
        for (int32_t maxima : {0, 1}) {
          ASSERT_EQ(peaks_of(hist, maxima, distance), hist_peaks_twin(hist, maxima != 0, distance))
              << count << " seed " << seed;
        }
      }
    }
  }
}

TYPED_TEST(HistPeaks, LongHistogramsEqualTheTwin) {
  uint64_t seed = 100;
  for (std::size_t count : {255u, 256u, 257u, 258u, 259u, 511u, 513u, 1027u, 20000u}) {
    for (int levels : {2, 5, 100000}) {
      for (int step : {1, 3}) {
        for (float distance : {-1.0f, 0.0f, 3.0f, 20.5f, 1e9f}) {
          const auto hist = noise<TypeParam>(count, levels, step, ++seed);
          for (int32_t maxima : {0, 1}) {
            ASSERT_EQ(peaks_of(hist, maxima, distance), hist_peaks_twin(hist, maxima != 0, distance))
                << count << " seed " << seed;
          }
        }
      }
    }
  }
}

TYPED_TEST(HistPeaks, LongPlateausAcrossBlocksEqualTheTwin) {
  for (std::size_t begin : {1u, 2u, 250u, 255u, 256u, 257u}) {
    for (std::size_t length : {1u, 5u, 255u, 256u, 600u}) {
      for (std::size_t behind : {0u, 1u, 300u}) {
        std::vector<int> y(begin, 1);
        y.insert(y.end(), length, 7);
        y.insert(y.end(), behind, 2);
        const auto hist = bins<TypeParam>(y);
        EXPECT_EQ(peaks_of(hist, kMaxima, 0.0f), hist_peaks_twin(hist, true, 0.0f));
        EXPECT_EQ(peaks_of(hist, kMaxima, 0.0f).size(), behind == 0 ? 0u : 1u);
      }
    }
  }
}

// ---- Laws ----

template <class Point>
std::vector<Point> any_histogram() {
  const auto y = *rc::gen::container<std::vector<int16_t>>(rc::gen::inRange<int16_t>(-8, 8));
  return bins<Point>(y);
}

RC_GTEST_PROP(HistPeaksLaws, PeaksLieFurtherApartThanTheLimitAndIncrease, ()) {
  const auto hist = any_histogram<PointF32>();
  const auto distance = static_cast<float>(*rc::gen::inRange(0, 12));
  const auto peaks = peaks_of(hist, kMaxima, distance);
  for (std::size_t i = 1; i < peaks.size(); ++i) RC_ASSERT(peaks[i].x - peaks[i - 1].x > distance);
}

RC_GTEST_PROP(HistPeaksLaws, MinimaAreTheMaximaOfTheNegatedHistogram, ()) {
  auto hist = any_histogram<PointI32>();
  const auto distance = static_cast<float>(*rc::gen::inRange(0, 12));
  auto minima = peaks_of(hist, kMinima, distance);
  for (PointI32& p : hist) p.y = -p.y;
  for (PointI32& p : minima) p.y = -p.y;
  RC_ASSERT(peaks_of(hist, kMaxima, distance) == minima);
}

RC_GTEST_PROP(HistPeaksLaws, IntegerAndFloatFormAgreeOnOddPlateaus, ()) {
  const auto y = *rc::gen::container<std::vector<int16_t>>(rc::gen::inRange<int16_t>(0, 9));
  std::vector<int> tripled;
  for (int16_t v : y) tripled.insert(tripled.end(), 3, v);
  // Runs of 3, 6, 9 ... elements from a multiple of 3 on: multiplied by two, every middle is whole.
  auto whole = bins<PointI32>(tripled);
  auto floats = bins<PointF32>(tripled);
  for (PointI32& p : whole) p.x *= 2;
  for (PointF32& p : floats) p.x *= 2;
  const auto a = peaks_of(whole, kMaxima, 7.0f);
  const auto b = peaks_of(floats, kMaxima, 7.0f);
  RC_ASSERT(a.size() == b.size());
  for (std::size_t i = 0; i < a.size(); ++i) {
    RC_ASSERT(static_cast<float>(a[i].x) == b[i].x && static_cast<float>(a[i].y) == b[i].y);
  }
}

}  // namespace
}  // namespace vlix::test
