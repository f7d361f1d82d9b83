// SPDX-License-Identifier: Apache-2.0
// Sums of line fits while points go, and what is known about lines fitted to them.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "geometry/farthest_point.h"
#include "geometry/line_sums.h"

namespace vlix::test {
namespace {

std::vector<PointF32> noisy_line(int count, std::mt19937_64& random) {
  std::normal_distribution<double> noise;
  const double angle = static_cast<double>(random() % 6283) / 1000;
  std::vector<PointF32> points;
  for (int i = 0; i < count; ++i) {
    const double along = static_cast<double>(random() % 100000) / 100 - 500;
    const double across = noise(random);
    points.push_back({static_cast<float>(along * std::cos(angle) - across * std::sin(angle)),
                      static_cast<float>(along * std::sin(angle) + across * std::cos(angle))});
  }
  return points;
}

TEST(LineSums, OrderIsKeptWhereverPointsAreTakenAway) {
  std::mt19937_64 random(3);
  for (const int count : {1, 255, 256, 257, 1000}) {
    std::vector<PointF32> points = noisy_line(count, random);
    OrderedLineSums ordered;
    ASSERT_TRUE(ordered.set(points.data(), count));
    for (int round = 0; round < 60; ++round) {
      LineSums twin;
      for (const PointF32& p : points) {
        twin.x += static_cast<double>(p.x);
        twin.y += static_cast<double>(p.y);
        twin.xy += static_cast<double>(p.x) * static_cast<double>(p.y);
        twin.xx += static_cast<double>(p.x) * static_cast<double>(p.x);
        twin.yy += static_cast<double>(p.y) * static_cast<double>(p.y);
      }
      const LineSums& sums = ordered.form();
      ASSERT_EQ(std::memcmp(&sums, &twin, sizeof(twin)), 0) << count << " " << round;
      const auto gone = random() % points.size();
      points[gone] = {0, 0};
      ordered.has_changed(static_cast<int32_t>(gone));
    }
  }
}

// The distance of every point to the definition's line, in long double, against that to the loose one.
TEST(LineSums, DoubtCoversEveryDistance) {
  std::mt19937_64 random(6);
  double worst = 0;
  for (int round = 0; round < 300; ++round) {
    const double shift = std::pow(10.0, static_cast<double>(random() % 80) / 10);
    std::vector<PointF32> points = noisy_line(300, random);
    for (PointF32& p : points) p = {static_cast<float>(p.x + shift), static_cast<float>(p.y - shift / 3)};
    FarthestPoint search;
    ASSERT_TRUE(search.set(points.data(), 300));
    LineSums all;
    add_in_order(points.data(), 300, all);
    LooseLineSums loose;
    loose.set(all, 300, false);
    for (std::size_t i = 200; i < 300; ++i) loose.remove(points[i]);
    LooseLine line;
    if (!loose.fit(200, search.extent(), line)) continue;
    LineSums rest;
    add_in_order(points.data(), 200, rest);
    const Line exact = fit_line(rest, 200, points[0]);
    for (const PointF32& p : points) {
      const auto distance = [&](const Line& l) {
        return std::fabs(static_cast<long double>(p.y) * std::cos(static_cast<long double>(l.phi)) -
                         static_cast<long double>(p.x) * std::sin(static_cast<long double>(l.phi)) - l.rho);
      };
      worst = std::max(worst, static_cast<double>(std::fabs(distance(exact) - distance(line.line))) / line.doubt);
    }
  }
  EXPECT_LT(worst, 1.0);
  EXPECT_GT(worst, 0.0);
  RecordProperty("worst", std::to_string(worst));
}

TEST(LineSums, SumsThatNeverRoundAreRecognised) {
  const auto never = [](std::vector<PointF32> points) {
    return sums_never_round(points.data(), static_cast<int32_t>(points.size()));
  };
  EXPECT_TRUE(never({{0, 0}, {0, -0.0f}}));
  EXPECT_TRUE(never({{1e-45f, 0}, {3e-45f, 0}}));
  EXPECT_TRUE(never({{4095, -4095}, {0.5f, 1000}}));
  EXPECT_TRUE(never({{0x1p24f, 1}, {3, 5}}));
  EXPECT_FALSE(never({{0x1p25f, 1}, {3, 5}}));
  EXPECT_FALSE(never({{0.1f, 1}, {3, 5000}}));
  EXPECT_FALSE(never({{1, std::numeric_limits<float>::infinity()}}));
  EXPECT_FALSE(never({{std::numeric_limits<float>::quiet_NaN(), 1}}));
}

}  // namespace
}  // namespace vlix::test
