// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <rapidcheck/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <string>

#include "geometry/circle_fit_twin.h"
#include "geometry/circle_points.h"
#include "support/recording_platform.h"
#include "support/test_image.h"
#include "vlix/meas.h"

namespace vlix::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr float kUntouched = -12345.5f;
constexpr int32_t kUntouchedCount = -777;
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
const std::string kErrorText = "circularRegression: calculation error";
const std::string kNumberText = "circularRegression: pOutPointsNum is NULL";
const std::string kSizeText = "circularRegression: vector of size %d specified";

const std::vector<PointF32> kUnitCircle = {{1, 0}, {0, 1}, {-1, 0}, {0, -1}};
const std::vector<PointF32> kCollinear = {{0, 0}, {1, 1}, {2, 2}};

// Equal bit by bit, where all NaN are one.
bool same(float x, float y) {
  return (std::isnan(x) && std::isnan(y)) || std::bit_cast<uint32_t>(x) == std::bit_cast<uint32_t>(y);
}
bool same(PointF32 p, PointF32 q) { return same(p.x, q.x) && same(p.y, q.y); }

struct Fit {
  VlixStatus status = -1;
  float diameter = kUntouched;
  PointF32 centre = {kUntouched, kUntouched};
  float mean = kUntouched;
  int32_t kept = kUntouchedCount;
  std::vector<PointF32> points;
};

Fit fit(const std::vector<PointF32>& points, uint32_t percent) {
  TestVector<PointF32> vector(points);
  Fit f;
  f.status = vlix_circularRegression(&vector.record, percent, &f.diameter, &f.centre, &f.mean, &f.kept);
  f.points.assign(vector.data(), vector.data() + points.size());
  return f;
}

// The whole vector, kept points and what lies behind them, says which points were removed.
::testing::AssertionResult equals_twin(const std::vector<PointF32>& points, uint32_t percent) {
  RecordingPlatform platform;
  TestVector<PointF32> vector(points);
  Fit f;
  f.status = platform.call(vlix_circularRegression, &vector.record, percent, &f.diameter, &f.centre, &f.mean, &f.kept);
  f.points.assign(vector.data(), vector.data() + points.size());
  const CircleTwin twin = circle_fit_twin(points, percent);
  if (twin.passes == 0) {
    if (!same(f.diameter, kUntouched) || !same(f.centre, {kUntouched, kUntouched})) {
      return ::testing::AssertionFailure() << "written without a fit";
    }
  } else if (!same(f.diameter, twin.diameter) || !same(f.centre, twin.centre)) {
    return ::testing::AssertionFailure() << "circle " << f.centre.x << " " << f.centre.y << " " << f.diameter << " not "
                                         << twin.centre.x << " " << twin.centre.y << " " << twin.diameter;
  }
  for (std::size_t i = 0; i < points.size(); ++i) {
    if (!same(f.points[i], twin.points[i])) return ::testing::AssertionFailure() << "point " << i << " differs";
  }
  if (twin.calculation_error) {
    if (f.status != platform.report_result || platform.reports() != std::vector{Report{100, kErrorText, kErrorText}} ||
        !same(f.mean, kUntouched) || f.kept != kUntouchedCount) {
      return ::testing::AssertionFailure() << "no calculation error";
    }
    return ::testing::AssertionSuccess();
  }
  if (f.status != 0 || !platform.reports().empty()) return ::testing::AssertionFailure() << "status " << f.status;
  if (f.kept != twin.kept) return ::testing::AssertionFailure() << "kept " << f.kept << " not " << twin.kept;
  if (!same(f.mean, twin.mean)) return ::testing::AssertionFailure() << "mean " << f.mean << " not " << twin.mean;
  return ::testing::AssertionSuccess();
}

// ---- The engine: checks and reports ----

TEST(CircularRegression, FewerThanThreePointsAreReportedWithTheirNumber) {
  for (int32_t count : {2, 1, 0, -5}) {
    RecordingPlatform platform;
    TestVector<PointF32> points({{1, 0}, {0, 1}, {-1, 0}});
    points.record.count = count;
    float diameter = kUntouched;
    PointF32 centre = {kUntouched, kUntouched};
    int32_t kept = kUntouchedCount;
    EXPECT_EQ(platform.call(vlix_circularRegression, &points.record, 50u, &diameter, &centre, &diameter, &kept),
              platform.report_result);
    EXPECT_THAT(platform.reports(),
                ElementsAre(Report{100, kSizeText,
                                   "circularRegression: vector of size " + std::to_string(count) + " specified"}));
    EXPECT_EQ(diameter, kUntouched);
    EXPECT_EQ(centre.x, kUntouched);
    EXPECT_EQ(kept, kUntouchedCount);
  }
}

TEST(CircularRegression, TypeOfTheEngineIsNotTestedAndNothingIsAllocated) {
  RecordingPlatform platform;
  TestVector<PointF32> points(arc_points(5000, {.outliers = 0.1}, 3));
  points.record.type = ObjType_U8;
  Fit f;
  EXPECT_EQ(platform.call(vlix_circularRegression, &points.record, 20u, &f.diameter, &f.centre, &f.mean, &f.kept), 0);
  EXPECT_EQ(f.kept, 4000);
  EXPECT_THAT(platform.calls(), IsEmpty());
  EXPECT_THAT(platform.reports(), IsEmpty());
  EXPECT_THAT(platform.heap_requests(), IsEmpty());
}

TEST(CircularRegression, CollinearPointsAreACalculationErrorAndLeaveTheOutputs) {
  RecordingPlatform platform;
  TestVector<PointF32> points(kCollinear);
  Fit f;
  EXPECT_EQ(platform.call(vlix_circularRegression, &points.record, 0u, &f.diameter, &f.centre, &f.mean, &f.kept),
            platform.report_result);
  EXPECT_THAT(platform.reports(), ElementsAre(Report{100, kErrorText, kErrorText}));
  EXPECT_EQ(f.diameter, kUntouched);
  EXPECT_EQ(f.centre.y, kUntouched);
  EXPECT_EQ(f.mean, kUntouched);
  EXPECT_EQ(f.kept, kUntouchedCount);
}

TEST(CircularRegression, DegenerateFitsOfEveryKind) {
  for (const std::vector<PointF32>& points :
       {std::vector<PointF32>(7, {3, 4}), std::vector<PointF32>{{0, 5}, {10, 5}, {20, 5}},
        std::vector<PointF32>{{5, 0}, {5, 10}, {5, 20}}, std::vector<PointF32>{{0, 0}, {1, 1}, {0, 0}, {1, 1}},
        std::vector<PointF32>{{1e-7f, 0}, {0, 1e-7f}, {-1e-7f, 0}, {0, -1e-7f}}}) {
    EXPECT_EQ(circle_fit_twin(points, 0).calculation_error, true);
    EXPECT_TRUE(equals_twin(points, 0));
    EXPECT_TRUE(equals_twin(points, 50));
  }
}

// The first passes find circles; what remains in the end is collinear.
TEST(CircularRegression, AFailureInALaterPassKeepsTheEarlierCircle) {
  int found = 0;
  for (uint64_t seed = 0; seed < 200; ++seed) {
    const std::vector<PointF32> points = grid_points(6 + seed % 20, 3, seed);
    const CircleTwin twin = circle_fit_twin(points, 90);
    if (!twin.calculation_error || twin.passes == 0) continue;
    ++found;
    EXPECT_TRUE(equals_twin(points, 90)) << seed;
  }
  EXPECT_GT(found, 20);
}

TEST(CircularRegression, AbsentOutputsAreNotWanted) {
  const std::vector<PointF32> points = arc_points(50, {.outliers = 0.2}, 1);
  const Fit all = fit(points, 20);
  for (unsigned mask = 0; mask < 16; ++mask) {
    TestVector<PointF32> vector(points);
    Fit f;
    EXPECT_EQ(
        vlix_circularRegression(&vector.record, 20, mask & 1 ? &f.diameter : nullptr, mask & 2 ? &f.centre : nullptr,
                                mask & 4 ? &f.mean : nullptr, mask & 8 ? &f.kept : nullptr),
        0);
    EXPECT_EQ(f.diameter, mask & 1 ? all.diameter : kUntouched);
    EXPECT_EQ(f.centre.x, mask & 2 ? all.centre.x : kUntouched);
    EXPECT_EQ(f.mean, mask & 4 ? all.mean : kUntouched);
    EXPECT_EQ(f.kept, mask & 8 ? all.kept : kUntouchedCount);
    // Without any output nothing is computed and the points stay where they are.
    const std::vector<PointF32>& expected = mask == 0 ? points : all.points;
    for (std::size_t i = 0; i < points.size(); ++i) EXPECT_TRUE(same(vector.data()[i], expected[i])) << mask;
  }
}

TEST(CircularRegression, WithoutOutputsOnlyTheCountIsTested) {
  RecordingPlatform platform;
  TestVector<PointF32> collinear(kCollinear);
  EXPECT_EQ(platform.call(vlix_circularRegression, &collinear.record, 0u, nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_THAT(platform.reports(), IsEmpty());
  collinear.record.count = 2;
  EXPECT_EQ(platform.call(vlix_circularRegression, &collinear.record, 0u, nullptr, nullptr, nullptr, nullptr),
            platform.report_result);
}

// ---- Values known beforehand ----

TEST(CircularRegression, UnitCircle) {
  const Fit f = fit(kUnitCircle, 0);
  EXPECT_EQ(f.status, 0);
  EXPECT_EQ(f.centre.x, 0.0f);
  EXPECT_EQ(f.centre.y, 0.0f);
  EXPECT_EQ(f.diameter, 2.0f);
  EXPECT_EQ(f.mean, 0.0f);
  EXPECT_EQ(f.kept, 4);
}

TEST(CircularRegression, TwoFarOutliersOfTwelveGoOnePerPass) {
  std::vector<PointF32> points;
  for (int i = 0; i < 10; ++i) {
    points.push_back({static_cast<float>(20 + 10 * std::cos(0.628318530717958 * i)),
                      static_cast<float>(30 + 10 * std::sin(0.628318530717958 * i))});
  }
  std::vector<PointF32> with = points;
  with.insert(with.begin() + 4, PointF32{38, 30});
  with.insert(with.begin() + 9, PointF32{20, 26});
  const Fit f = fit(with, 20);
  EXPECT_EQ(f.status, 0);
  EXPECT_EQ(f.kept, 10);
  EXPECT_NEAR(f.centre.x, 20, 1e-5);  // coordinates are floats near 30: half a unit in the last place is 1e-6
  EXPECT_NEAR(f.centre.y, 30, 1e-5);
  EXPECT_NEAR(f.diameter, 20, 1e-5);
  for (std::size_t i = 0; i < points.size(); ++i) EXPECT_TRUE(same(f.points[i], points[i])) << i;
}

TEST(CircularRegression, ThreePointsAlwaysStay) {
  for (uint32_t percent : {100u, 75u, 1000u}) {
    const Fit f = fit({{1, 0}, {0, 1}, {-1, 0}, {0, -1.5f}}, percent);
    EXPECT_EQ(f.status, 0);
    EXPECT_EQ(f.kept, 3);
  }
  EXPECT_EQ(fit({{1, 0}, {0, 1}, {-1, 0}}, 100).kept, 3);
}

TEST(CircularRegression, EqualErrorsRemoveTheEarliestPoint) {
  // All errors are 0 after the first fit: point 0 goes.
  const Fit f = fit(kUnitCircle, 25);
  EXPECT_EQ(f.kept, 3);
  for (std::size_t i = 0; i < 3; ++i) EXPECT_TRUE(same(f.points[i], kUnitCircle[i + 1]));
  EXPECT_TRUE(same(f.points[3], kUnitCircle[3]));  // what moving down leaves
}

TEST(CircularRegression, HalfAPointCountsAsAWholeOne) {
  const auto kept = [](std::size_t count, uint32_t percent) { return fit(arc_points(count, {}, 9), percent).kept; };
  EXPECT_EQ(kept(10, 25), 7);    // (250 + 50) / 100
  EXPECT_EQ(kept(10, 24), 8);    // (240 + 50) / 100
  EXPECT_EQ(kept(100, 0), 100);  // 50 / 100
  EXPECT_EQ(kept(49, 1), 49);
  EXPECT_EQ(kept(50, 1), 49);
}

TEST(CircularRegression, TheNumberToDiscardWrapsIn32Bits) {
  const auto kept = [](std::size_t count, uint32_t percent) { return fit(arc_points(count, {}, 9), percent).kept; };
  EXPECT_EQ(kept(10, 4294967295u), 10);  // -10 + 50
  EXPECT_EQ(kept(10, 4294967200u), 10);  // -960 + 50 is negative: none
  EXPECT_EQ(kept(10, 214748364u), 10);   // 2147483640 + 50 is beyond 2^31: negative
  EXPECT_EQ(kept(10, 429496750u), 8);    // 4294967500 + 50 leaves 254
}

TEST(CircularRegression, MeanIsTruncatedToThreeDecimals) {
  for (uint64_t seed = 0; seed < 50; ++seed) {
    const Fit f = fit(arc_points(40, {.noise = 0.5}, seed), 0);
    const float thousandths = f.mean * 1000;
    EXPECT_NEAR(thousandths, std::round(thousandths), 1e-4);  // float of a number of thousandths near 400
  }
  // Errors of exactly 0.25 on both sides of the circle of radius 1, all in floats.
  const Fit f = fit({{1.25f, 0}, {0, 0.75f}, {-1.25f, 0}, {0, -0.75f}}, 0);
  // R^2 = mean of 1.5625 and 0.5625 = 1.0625: errors 0.2192 and 0.2808, their mean 0.25
  EXPECT_EQ(f.mean, 0.25f);
}

TEST(CircularRegression, HugeMeansDoNotWrap) {
  const Fit f = fit({{3e9f, 0}, {0, 1e9f}, {-3e9f, 0}, {0, -1e9f}}, 0);
  // R^2 = 5e18; errors 7.64e8 and 1.236e9, their mean 1e9; the float is good to 64
  EXPECT_NEAR(f.mean, 1e9, 256);
}

// ---- Against the twin ----

TEST(CircularRegression, AllSmallCountsEqualTheTwin) {
  for (std::size_t count = 3; count <= 140; ++count) {
    for (uint32_t percent : {0u, 1u, 10u, 37u, 100u}) {
      EXPECT_TRUE(equals_twin(arc_points(count, {.outliers = 0.15}, count), percent)) << count << " " << percent;
    }
  }
}

TEST(CircularRegression, RandomSetsEqualTheTwin) {
  std::mt19937_64 random(77);
  std::uniform_real_distribution<double> unit(0, 1);
  for (int set = 0; set < 3000; ++set) {
    ArcPoints arc;
    arc.radius = std::pow(10, 4 * unit(random) - 1);
    arc.cx = arc.radius * 10 * (unit(random) - 0.5);
    arc.cy = arc.radius * std::pow(10, 3 * unit(random));
    arc.arc = 0.2 + 6 * unit(random);
    arc.noise = arc.radius * std::pow(10, -6 * unit(random));
    arc.outliers = set % 3 == 0 ? 0.0 : 0.3 * unit(random);
    arc.outlier_reach = arc.radius * std::pow(10, 2 * unit(random));
    const std::size_t count = 3 + random() % 120;
    const auto seed = random();
    const auto percent = static_cast<uint32_t>(random() % 60);
    ASSERT_TRUE(equals_twin(arc_points(count, arc, seed), percent)) << set;
  }
}

TEST(CircularRegression, TiesEqualTheTwin) {
  for (uint64_t seed = 0; seed < 600; ++seed) {
    const auto side = static_cast<int32_t>(2 + seed % 7);
    ASSERT_TRUE(equals_twin(grid_points(10 + seed % 90, side, seed), static_cast<uint32_t>(seed % 90))) << seed;
  }
}

TEST(CircularRegression, LongerSetsEqualTheTwin) {
  for (std::size_t count : {511u, 512u, 513u, 1023u, 1024u, 1025u, 1500u, 3000u}) {
    for (double noise : {0.0, 1e-6, 0.1, 20.0}) {
      ASSERT_TRUE(equals_twin(arc_points(count, {.noise = noise, .outliers = 0.05}, count), 30)) << count << noise;
      ASSERT_TRUE(equals_twin(arc_points(count, {.arc = 0.5, .noise = noise}, count), 20)) << count << noise;
    }
  }
}

TEST(CircularRegression, FarShiftsEqualTheTwin) {
  for (double shift : {1e5, 1e7, -1e7, 1e12}) {
    for (double radius : {0.5, 100.0, 3e5}) {
      const ArcPoints arc = {.cx = shift, .cy = -0.7 * shift, .radius = radius, .noise = radius / 50};
      for (uint32_t percent : {0u, 25u}) {
        ASSERT_TRUE(equals_twin(arc_points(400, arc, 5), percent)) << shift << " " << radius << " " << percent;
      }
    }
  }
}

TEST(CircularRegression, TinyAndHugeScalesEqualTheTwin) {
  for (double scale : {1e-8, 1e-6, 1.5e-6, 1e-5, 1e-3, 1e6, 1e15, 1e30, 1e37}) {
    const ArcPoints arc = {.cx = scale, .cy = 2 * scale, .radius = scale, .noise = scale / 10};
    for (uint32_t percent : {0u, 25u}) ASSERT_TRUE(equals_twin(arc_points(300, arc, 5), percent)) << scale;
  }
}

TEST(CircularRegression, PointsThatAreNoNumbersEqualTheTwin) {
  for (float special : {kNaN, kInfinity, -kInfinity, 3e38f}) {
    for (std::size_t at : {0u, 7u, 699u}) {
      std::vector<PointF32> points = arc_points(700, {}, 11);
      points[at].x = special;
      points[(at * 3 + 5) % 700].y = special;
      for (uint32_t percent : {0u, 5u}) ASSERT_TRUE(equals_twin(points, percent)) << special << " " << at;
    }
  }
}

// ---- The two exports that copy ----

template <class Point>
struct Copying;
template <>
struct Copying<PointF32> {
  static constexpr auto fit = vlix_circularRegressionFloat;
  static constexpr const char* code = "29";
  static constexpr const char* name = "PointF32";
  static constexpr const char* other = "PointI32";
  using Other = PointI32;
};
template <>
struct Copying<PointI32> {
  static constexpr auto fit = vlix_circularRegressionInt;
  static constexpr const char* code = "24";
  static constexpr const char* name = "PointI32";
  static constexpr const char* other = "PointF32";
  using Other = PointF32;
};

template <class Point>
class CircularRegressionCopy : public ::testing::Test {
 protected:
  using C = Copying<Point>;
  std::string check_of(const std::string& type) { return "VlixObjCheckEqList(" + type + ", 1, " + C::code + ")"; }
  VlixStatus call(VlixVector* points, uint32_t percent, VlixVector* out, int32_t* out_count) {
    return platform.call(C::fit, points, percent, &f.diameter, &f.centre, &f.mean, out, out_count);
  }
  void expect_nothing_leaks() {
    EXPECT_THAT(platform.heap_requests(), IsEmpty());
    const auto live = platform.live_buffers();
    for (const std::string& maker : live) EXPECT_EQ(maker, "VlixVectorTryUseReservedMem");
  }

  RecordingPlatform platform;
  Fit f;
  const std::vector<Point> square = {{10, 0}, {0, 10}, {-10, 0}, {0, -10}, {0, 0}};
};
using Points = ::testing::Types<PointF32, PointI32>;
TYPED_TEST_SUITE(CircularRegressionCopy, Points);

TYPED_TEST(CircularRegressionCopy, WrongPointsAreReportedBeforeWrongOutputs) {
  using Export = Copying<TypeParam>;
  TestVector<typename Export::Other> points({{1, 2}});
  TestVector<uint8_t> out({1});
  EXPECT_EQ(this->call(&points.record, 0, &out.record, nullptr), this->platform.report_result);
  EXPECT_THAT(this->platform.reports(), ElementsAre(Report{1, "circularRegression", Export::other}));
  EXPECT_EQ(this->platform.calls().size(), 1u);
}

TYPED_TEST(CircularRegressionCopy, FilledOutputOfAnotherTypeIsReportedBeforeTheAllocation) {
  using Export = Copying<TypeParam>;
  TestVector<TypeParam> points({{1, 2}});
  TestVector<typename Export::Other> out({{1, 2}});
  this->platform.fail("VlixVectorAlloc");
  EXPECT_EQ(this->call(&points.record, 0, &out.record, nullptr), this->platform.report_result);
  EXPECT_THAT(this->platform.reports(), ElementsAre(Report{1, "circularRegression", Export::other}));
  EXPECT_THAT(this->platform.calls(),
              ElementsAre(this->check_of(Export::code), this->check_of(std::to_string(out.record.type))));
}

TYPED_TEST(CircularRegressionCopy, TypeOfAnEmptyOutputIsNotTested) {
  TestVector<TypeParam> points(this->square);
  OutputVector out;
  out.record.type = ObjType_U8;
  int32_t count = 0;
  EXPECT_EQ(this->call(&points.record, 0, &out.record, &count), 0);
  EXPECT_EQ(this->platform.calls_of("VlixObjCheckEqList").size(), 1u);
  EXPECT_EQ(count, 5);
}

TYPED_TEST(CircularRegressionCopy, FailedTemporaryIsReportedWithItsBytes) {
  TestVector<TypeParam> points(this->square);
  OutputVector out;
  this->platform.fail("VlixVectorAlloc");
  EXPECT_EQ(this->call(&points.record, 0, &out.record, nullptr), this->platform.report_result);
  EXPECT_THAT(this->platform.reports(), ElementsAre(Report{0, "circularRegression", "40"}));
  EXPECT_THAT(this->platform.calls_of("VlixVectorRelease"), IsEmpty());
  EXPECT_EQ(this->f.diameter, kUntouched);
}

TYPED_TEST(CircularRegressionCopy, CallsOfASuccessInTheirOrder) {
  using Export = Copying<TypeParam>;
  TestVector<TypeParam> points(this->square);
  OutputVector out;
  int32_t count = kUntouchedCount;
  this->platform.name(out.record, "out");
  EXPECT_EQ(this->call(&points.record, 20, &out.record, &count), 0);
  const auto& calls = this->platform.calls();
  ASSERT_EQ(calls.size(), 4u);
  EXPECT_EQ(calls[0], this->check_of(Export::code));
  EXPECT_THAT(calls[1], ::testing::MatchesRegex("VlixVectorAlloc\\(.*, PointF32, 5\\)"));
  EXPECT_THAT(calls[2], ::testing::HasSubstr("VlixVectorTryUseReservedMem(out, " + std::string(Export::name) + ", 4"));
  EXPECT_THAT(calls[2], ::testing::HasSubstr("circularRegression"));
  EXPECT_THAT(calls[3], ::testing::MatchesRegex("VlixVectorRelease\\(.*, 0\\)"));
  EXPECT_EQ(count, 4);
  EXPECT_EQ(this->f.diameter, 20.0f);
  EXPECT_EQ(this->f.mean, 0.0f);
  this->expect_nothing_leaks();
  const auto kept = out.values<TypeParam>();
  ASSERT_EQ(kept.size(), 4u);
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(kept[i].x, this->square[i].x);
    EXPECT_EQ(kept[i].y, this->square[i].y);
  }
  // The caller's points are as they were.
  EXPECT_EQ(points.data()[4].x, 0);
  EXPECT_EQ(points.record.count, 5);
}

TYPED_TEST(CircularRegressionCopy, NumberIsStoredOnlyBesideKeptPoints) {
  TestVector<TypeParam> points(this->square);
  int32_t count = kUntouchedCount;
  EXPECT_EQ(this->call(&points.record, 0, nullptr, &count), 0);
  EXPECT_EQ(count, kUntouchedCount);
  this->expect_nothing_leaks();
}

TYPED_TEST(CircularRegressionCopy, FilledOutputNeedsANumber) {
  TestVector<TypeParam> points(this->square);
  OutputVector out;
  int32_t count = 0;
  ASSERT_EQ(this->call(&points.record, 0, &out.record, &count), 0);
  this->platform.clear();
  EXPECT_EQ(this->call(&points.record, 0, &out.record, nullptr), this->platform.report_result);
  EXPECT_THAT(this->platform.reports(), ElementsAre(Report{100, kNumberText, kNumberText}));
  EXPECT_THAT(this->platform.calls_of("VlixVectorTryUseReservedMem"), IsEmpty());
  EXPECT_EQ(this->platform.calls_of("VlixVectorRelease").size(), 1u);
  EXPECT_EQ(out.record.count, 5);
  // An empty one does not.
  OutputVector empty;
  EXPECT_EQ(this->call(&points.record, 0, &empty.record, nullptr), 0);
  EXPECT_EQ(empty.record.count, 5);
}

TYPED_TEST(CircularRegressionCopy, FailedOutputGivesOneStoresNoNumberAndReleases) {
  TestVector<TypeParam> points(this->square);
  OutputVector out;
  int32_t count = kUntouchedCount;
  this->platform.fail("VlixVectorTryUseReservedMem", 1, 55);
  EXPECT_EQ(this->call(&points.record, 0, &out.record, &count), 1);
  EXPECT_THAT(this->platform.reports(), IsEmpty());
  EXPECT_EQ(count, kUntouchedCount);
  EXPECT_EQ(this->platform.calls_of("VlixVectorRelease").size(), 1u);
  EXPECT_NE(this->f.diameter, kUntouched);
  EXPECT_THAT(this->platform.live_buffers(), IsEmpty());
}

TYPED_TEST(CircularRegressionCopy, FailedFitComesBeforeTheMissingNumber) {
  TestVector<TypeParam> points({{0, 0}, {1, 1}, {2, 2}});
  TestVector<TypeParam> out({{0, 0}});
  EXPECT_EQ(this->call(&points.record, 0, &out.record, nullptr), this->platform.report_result);
  EXPECT_THAT(this->platform.reports(), ElementsAre(Report{100, kErrorText, kErrorText}));
  EXPECT_EQ(this->platform.calls_of("VlixVectorRelease").size(), 1u);
}

TYPED_TEST(CircularRegressionCopy, TooFewPointsAreReportedByTheEngineAndReleased) {
  TestVector<TypeParam> points({{1, 2}, {3, 4}});
  EXPECT_EQ(this->call(&points.record, 0, nullptr, nullptr), this->platform.report_result);
  EXPECT_THAT(this->platform.reports(),
              ElementsAre(Report{100, kSizeText, "circularRegression: vector of size 2 specified"}));
  EXPECT_EQ(this->platform.calls_of("VlixVectorRelease").size(), 1u);
  this->expect_nothing_leaks();
}

TYPED_TEST(CircularRegressionCopy, EmptyVectorWithoutABuffer) {
  VlixVector points = {code_of<TypeParam>(), nullptr, 0, 0};
  EXPECT_EQ(this->call(&points, 0, nullptr, nullptr), this->platform.report_result);
  EXPECT_EQ(this->platform.reports().size(), 1u);
}

TYPED_TEST(CircularRegressionCopy, WithoutOutputsOnlyChecksAreMade) {
  using Export = Copying<TypeParam>;
  TestVector<TypeParam> collinear({{0, 0}, {1, 1}, {2, 2}});
  int32_t count = kUntouchedCount;
  EXPECT_EQ(this->platform.call(Export::fit, &collinear.record, 0u, nullptr, nullptr, nullptr, nullptr, &count), 0);
  EXPECT_THAT(this->platform.reports(), IsEmpty());
  EXPECT_EQ(count, kUntouchedCount);
  this->expect_nothing_leaks();
}

TYPED_TEST(CircularRegressionCopy, KeptPointsMayReplaceTheInput) {
  OutputVector points;
  ASSERT_GE(VlixVectorAlloc(&points.record, code_of<TypeParam>(), 5), 0);
  std::copy(this->square.begin(), this->square.end(), static_cast<TypeParam*>(points.record.data));
  int32_t count = 0;
  EXPECT_EQ(this->call(&points.record, 20, &points.record, &count), 0);
  EXPECT_EQ(count, 4);
  EXPECT_EQ(points.values<TypeParam>().back().y, -10);
}

TEST(CircularRegressionInt, KeptPointsAreTheIntegersUpTo24Bits) {
  std::vector<PointI32> points;
  std::mt19937_64 random(4);
  for (int i = 0; i < 500; ++i) {
    const double angle = 0.01 * static_cast<double>(random() % 628);
    points.push_back({static_cast<int32_t>(16000000 + 777215 * std::cos(angle)),
                      static_cast<int32_t>(-16000000 + 777215 * std::sin(angle))});
  }
  TestVector<PointI32> vector(points);
  OutputVector out;
  float diameter;
  PointF32 centre;
  int32_t count;
  EXPECT_EQ(vlix_circularRegressionInt(&vector.record, 0, &diameter, &centre, nullptr, &out.record, &count), 0);
  ASSERT_EQ(count, 500);
  const auto kept = out.values<PointI32>();
  for (std::size_t i = 0; i < kept.size(); ++i) {
    ASSERT_EQ(kept[i].x, points[i].x);
    ASSERT_EQ(kept[i].y, points[i].y);
  }
}

TEST(CircularRegressionInt, CoordinatesThatRoundUpOutOfRangeComeBackAsTheLowest) {
  const int32_t big = 2147483647;  // as a float 2147483648
  TestVector<PointI32> vector({{big, 0}, {0, big}, {-big, 0}, {0, -big}});
  OutputVector out;
  float diameter;
  PointF32 centre;
  int32_t count;
  EXPECT_EQ(vlix_circularRegressionInt(&vector.record, 0, &diameter, &centre, nullptr, &out.record, &count), 0);
  const auto kept = out.values<PointI32>();
  EXPECT_EQ(kept[0].x, -2147483647 - 1);
  EXPECT_EQ(kept[1].y, -2147483647 - 1);
  EXPECT_EQ(kept[2].x, -2147483647 - 1);
}

// ---- Laws ----

RC_GTEST_PROP(CircularRegressionLaws, SwappingTheAxesSwapsTheCentre, ()) {
  const auto seed = *rc::gen::inRange<uint64_t>(0, 1u << 30);
  const auto count = *rc::gen::inRange<std::size_t>(3, 60);
  const auto points = arc_points(count, {.noise = 3}, seed);
  std::vector<PointF32> swapped;
  for (PointF32 p : points) swapped.push_back({p.y, p.x});
  const Fit f = fit(points, 0);
  const Fit g = fit(swapped, 0);
  RC_ASSERT(f.status == g.status);
  // uc and vc come from mirrored expressions; only the sum of four terms under the root is ordered.
  RC_ASSERT(same(f.centre, {g.centre.y, g.centre.x}));
  RC_ASSERT(std::abs(f.diameter - g.diameter) <= 1.2e-7f * f.diameter);
}

}  // namespace
}  // namespace vlix::test
