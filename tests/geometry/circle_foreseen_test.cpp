// SPDX-License-Identifier: Apache-2.0
// Circles of several passes side by side against one pass after the other.
#include "geometry/circle_foreseen.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "geometry/circle_points.h"

namespace vlix::test {
namespace {

constexpr Circle kUntouched = {{-1.5f, -2.5f}, -3.5f};

bool same(float x, float y) {
  return (std::isnan(x) && std::isnan(y)) || std::bit_cast<uint32_t>(x) == std::bit_cast<uint32_t>(y);
}

// Of the points without the first `removed` of `removals`.
bool fit_one(std::vector<PointF32> points, std::vector<int32_t> removals, std::size_t removed, Circle& circle) {
  removals.resize(removed);
  std::sort(removals.rbegin(), removals.rend());
  for (int32_t index : removals) points.erase(points.begin() + index);
  OrderedCoordinates coordinates(static_cast<int32_t>(points.size()));
  return fit_in_order(points.data(), static_cast<int32_t>(points.size()), coordinates, circle);
}

void expect_each_pass(const std::vector<PointF32>& points, const std::vector<int32_t>& removals,
                      const std::string& what) {
  ForeseenCircles foreseen;
  foreseen.form(points.data(), static_cast<int32_t>(points.size()), removals.data(),
                static_cast<int32_t>(removals.size()));
  for (std::size_t pass = 0; pass <= removals.size(); ++pass) {
    SCOPED_TRACE(what + ", pass " + std::to_string(pass));
    ASSERT_TRUE(foreseen.is_known());
    Circle expected = kUntouched;
    Circle circle = kUntouched;
    ASSERT_EQ(foreseen.circle(circle), fit_one(points, removals, pass, expected));
    ASSERT_TRUE(same(circle.centre.x, expected.centre.x) && same(circle.centre.y, expected.centre.y) &&
                same(circle.diameter, expected.diameter));
    if (pass < removals.size()) foreseen.remove(removals[pass]);
  }
  foreseen.remove(0);
  EXPECT_FALSE(foreseen.is_known());
}

TEST(ForeseenCircles, EveryPassEqualsAFitOfWhatRemains) {
  std::mt19937_64 random(11);
  for (const std::size_t count : {11u, 12u, 127u, 128u, 129u, 1000u, 5000u}) {
    for (const double arc : {0.05, 0.7, 6.2}) {
      const std::vector<PointF32> points = arc_points(count, {.arc = arc}, random());
      for (std::size_t removed = 0; removed < ForeseenCircles::kPasses; ++removed) {
        std::vector<int32_t> removals;
        while (removals.size() < removed) {
          const auto index = static_cast<int32_t>(random() % count);
          if (std::find(removals.begin(), removals.end(), index) == removals.end()) removals.push_back(index);
        }
        expect_each_pass(points, removals, std::to_string(count) + " points");
      }
    }
  }
}

TEST(ForeseenCircles, RemovalsAtTheEndsAndSideBySide) {
  const std::vector<PointF32> points = arc_points(300, {.arc = 0.2}, 4);
  expect_each_pass(points, {0, 299, 1, 298, 2, 297, 3}, "both ends");
  expect_each_pass(points, {6, 5, 4, 3, 2, 1, 0}, "first ones, backwards");
  expect_each_pass(points, {127, 128, 129, 130, 126, 125, 131}, "neighbours");
}

TEST(ForeseenCircles, PointsWithoutACircleFromSomePassOn) {
  std::vector<PointF32> points(60, PointF32{3, 4});
  for (std::size_t i = 0; i < points.size(); ++i) points[i].x = static_cast<float>(i);
  points[20].y = 9;
  points[40].y = -2;
  Circle circle = kUntouched;
  ASSERT_TRUE(fit_one(points, {20, 40}, 1, circle));
  ASSERT_FALSE(fit_one(points, {20, 40}, 2, circle));
  expect_each_pass(points, {20, 40, 7}, "a line remains");
}

TEST(ForeseenCircles, UndefinedAndInfiniteCoordinatesLeaveWithTheirPoint) {
  std::vector<PointF32> points = arc_points(200, {}, 8);
  points[50].x = std::numeric_limits<float>::quiet_NaN();
  points[150].y = std::numeric_limits<float>::infinity();
  expect_each_pass(points, {150, 50, 10, 190}, "not finite");
}

TEST(ForeseenCircles, AnotherRemovalThanForeseenForgetsThem) {
  const std::vector<PointF32> points = arc_points(100, {}, 2);
  const int32_t removals[] = {30, 60};
  ForeseenCircles foreseen;
  foreseen.form(points.data(), 100, removals, 2);
  foreseen.remove(30);
  EXPECT_TRUE(foreseen.is_known());
  foreseen.remove(61);
  EXPECT_FALSE(foreseen.is_known());
}

}  // namespace
}  // namespace vlix::test
