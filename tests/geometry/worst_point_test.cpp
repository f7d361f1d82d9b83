// SPDX-License-Identifier: Apache-2.0
// The worst point against one circle after another, found among a few candidates.
#include "geometry/worst_point.h"

#include <gtest/gtest.h>

#include <cmath>
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

TEST(WorstPoint, BoxOfOneStepMoreOrLess) {
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
