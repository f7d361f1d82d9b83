// SPDX-License-Identifier: Apache-2.0
// The worst point against one circle after another, found among a few candidates.
#include "geometry/worst_point.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <memory>
#include <random>
#include <vector>

#include "geometry/circle_points.h"

namespace vlix::test {
namespace {

int32_t first_of_the_largest_errors(const std::vector<PointF32>& points, const Circle& circle) {
  double largest = 0;
  int32_t worst = 0;
  for (std::size_t i = 0; i < points.size(); ++i) {
    const double error = radial_error(points[i], circle);
    if (error > largest) {
      largest = error;
      worst = static_cast<int32_t>(i);
    }
  }
  return worst;
}

// Collects against one circle and searches against circles around it. Returns how many searches found a point.
int searches_that_find(const std::vector<PointF32>& points, const Circle& circle, const std::vector<Circle>& moved) {
  const auto worst = std::make_unique<WorstPoints>();
  const auto count = static_cast<int32_t>(points.size());
  worst->collect(points.data(), count, circle);
  EXPECT_EQ(worst->find(circle), first_of_the_largest_errors(points, circle));
  int found = 0;
  for (const Circle& c : moved) {
    const int32_t expected = first_of_the_largest_errors(points, c);
    EXPECT_EQ(find_worst(points.data(), count, c), expected);
    const int32_t index = worst->find(c);
    if (index < 0) continue;
    ++found;
    EXPECT_EQ(index, expected);
  }
  return found;
}

TEST(WorstPoint, WhateverTheCircleMovesTheFoundPointIsTheWorst) {
  std::mt19937_64 random(6);
  std::uniform_real_distribution<double> unit(-1, 1);
  int found = 0;
  for (int set = 0; set < 150; ++set) {
    ArcPoints arc = {.radius = std::pow(10, 1 + 2 * std::fabs(unit(random))), .outliers = set % 2 * 0.01};
    arc.arc = std::pow(10, 2.8 * (std::fabs(unit(random)) - 1)) * 6.28;
    arc.noise = arc.radius * std::pow(10, -2 - 3 * std::fabs(unit(random)));
    const std::vector<PointF32> points = arc_points(3000, arc, random());
    const Circle circle = {{static_cast<float>(arc.cx), static_cast<float>(arc.cy)},
                           static_cast<float>(2 * arc.radius)};
    std::vector<Circle> moved;
    for (int k = 0; k < 12; ++k) {
      const double by = arc.noise * std::pow(10, -k / 2.0) * 5;
      moved.push_back({{static_cast<float>(arc.cx + by * unit(random)), static_cast<float>(arc.cy + by * unit(random))},
                       static_cast<float>(2 * (arc.radius + by * unit(random)))});
    }
    found += searches_that_find(points, circle, moved);
  }
  EXPECT_GT(found, 300);
}

// Centre and radius of a short arc change together, and by far more than any error does.
TEST(WorstPoint, CircleOfAnArcGrowsWithoutANewSearchOfAllPoints) {
  constexpr double kRadius = 1000;
  constexpr double kNoise = 0.5;
  std::mt19937_64 random(9);
  std::normal_distribution<double> normal;
  std::vector<PointF32> points;
  for (int i = 0; i < 20000; ++i) {
    const double angle = 0.05 * (i / 20000.0 - 0.5);
    const double r = kRadius + kNoise * normal(random);
    points.push_back({static_cast<float>(r * std::cos(angle)), static_cast<float>(r * std::sin(angle))});
  }
  std::vector<Circle> moved;
  for (double by : {-2.0, -0.5, 0.5, 2.0}) {
    moved.push_back({{static_cast<float>(-by), 0.0f}, static_cast<float>(2 * (kRadius + by))});
  }
  EXPECT_EQ(searches_that_find(points, {{0.0f, 0.0f}, static_cast<float>(2 * kRadius)}, moved), 4);
}

// Many errors of 1 near angle 0, which a move along the tangent there leaves alone, and one point exactly on the circle
// at another angle, which becomes the worst: no candidate, it must be in the box, wherever in the list it is.
TEST(WorstPoint, AQuietPointFarFromTheOthersIsNotForgotten) {
  constexpr double kRadius = 1000;
  std::mt19937_64 random(2);
  std::uniform_real_distribution<double> unit(-1, 1);
  int quiet_is_worst = 0;
  for (const double angle : {0.02, 0.1, 0.3, 1.0}) {
    for (const double by : {0.3, 1.0, 3.0, 10.0, 30.0}) {
      for (std::size_t behind = 0; behind < 20; ++behind) {
        std::vector<PointF32> points;
        for (int i = 0; i < 1190; ++i) {
          const double a = 0.0005 * unit(random);
          const double r = kRadius + (i < 40 ? (i % 2 == 0 ? 1.0 : -1.0) : 0.3 * unit(random));
          points.push_back({static_cast<float>(r * std::cos(a)), static_cast<float>(r * std::sin(a))});
        }
        const std::size_t place = points.size() - behind;
        points.insert(points.begin() + static_cast<std::ptrdiff_t>(place),
                      {static_cast<float>(kRadius * std::cos(angle)), static_cast<float>(kRadius * std::sin(angle))});
        std::vector<Circle> moved;
        for (const double sign : {-1.0, 1.0}) {
          for (const double direction : {1.5707963, 1.5707963 + 0.3}) {
            const double move = sign * 1.02 * by / std::sin(angle);
            moved.push_back(
                {{static_cast<float>(move * std::cos(direction)), static_cast<float>(move * std::sin(direction))},
                 static_cast<float>(2 * (kRadius - move * std::cos(direction)))});
            quiet_is_worst += first_of_the_largest_errors(points, moved.back()) == static_cast<int32_t>(place);
          }
        }
        searches_that_find(points, {{0.0f, 0.0f}, static_cast<float>(2 * kRadius)}, moved);
      }
    }
  }
  EXPECT_GT(quiet_is_worst, 500);
}

// The difference of a coordinate and the centre's is infinite for one circle and not for its neighbour.
TEST(WorstPoint, DifferencesThatOverflow) {
  constexpr float kLargest = std::numeric_limits<float>::max();
  std::mt19937_64 random(3);
  std::uniform_real_distribution<float> far(0.8f * kLargest, 0.9f * kLargest);
  std::vector<PointF32> points;
  for (int i = 0; i < 1200; ++i) {
    const float x = far(random);
    const float y = far(random);
    points.push_back({i % 2 == 0 ? x : -x, i % 4 < 2 ? y : -y});
  }
  points.push_back({kLargest, 0.0f});
  points.push_back({-kLargest, 0.0f});
  const Circle circle = {{0.0f, 0.0f}, 1e38f};
  const Circle moved = {{-1e32f, 0.0f}, 1e38f};
  ASSERT_TRUE(std::isinf(kLargest - moved.centre.x));
  searches_that_find(points, circle, {moved, {{1e32f, 0.0f}, 1e38f}, {{0.0f, 1e32f}, 1e38f}});
}

TEST(WorstPoint, ListsOfOneStepMoreOrLess) {
  for (std::size_t count : {1u, 7u, 8u, 9u, 16u, 17u, 700u, 1023u, 1024u, 1025u, 1200u}) {
    const std::vector<PointF32> points = arc_points(count, {.arc = 0.3}, count);
    const Circle circle = {{500.0f, 300.0f}, 200.0f};
    const std::vector<Circle> moved = {
        {{500.01f, 300.0f}, 200.0f}, {{501.0f, 299.0f}, 202.0f}, {{480.0f, 310.0f}, 244.0f}};
    searches_that_find(points, circle, moved);
  }
}

}  // namespace
}  // namespace vlix::test
