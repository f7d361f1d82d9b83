// SPDX-License-Identifier: Apache-2.0
// Circle fits against the twin where the shortcuts carry far: thousands of points, many candidates used up and
// collected again, sums updated hundreds of times.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <random>

#include "geometry/circle_fit_twin.h"
#include "geometry/circle_points.h"
#include "support/test_image.h"
#include "vlix/meas.h"

namespace vlix::test {
namespace {

bool same(float x, float y) { return std::bit_cast<uint32_t>(x) == std::bit_cast<uint32_t>(y); }

// The whole vector afterwards tells which points went, and in which order.
void expect_twin(const std::vector<PointF32>& points, uint32_t percent, const std::string& what) {
  TestVector<PointF32> vector(points);
  float diameter = -1;
  PointF32 centre = {};
  float mean = -1;
  int32_t kept = -1;
  const VlixStatus status = vlix_circularRegression(&vector.record, percent, &diameter, &centre, &mean, &kept);
  const CircleTwin twin = circle_fit_twin(points, percent);
  ASSERT_EQ(status != 0, twin.calculation_error) << what;
  ASSERT_TRUE(same(centre.x, twin.centre.x) && same(centre.y, twin.centre.y)) << what;
  ASSERT_TRUE(same(diameter, twin.diameter)) << what;
  for (std::size_t i = 0; i < points.size(); ++i) {
    ASSERT_TRUE(same(vector.data()[i].x, twin.points[i].x) && same(vector.data()[i].y, twin.points[i].y))
        << what << ", point " << i;
  }
  if (status != 0) return;
  ASSERT_EQ(kept, twin.kept) << what;
  ASSERT_TRUE(same(mean, twin.mean)) << what;
}

TEST(CircleRejection, ThousandsOfPointsLoseTheSameOnesAsTheTwin) {
  const ArcPoints kinds[] = {{},
                             {.outliers = 0.08},
                             {.noise = 0.0},
                             {.noise = 1e-5},
                             {.arc = 3.1, .outliers = 0.02},
                             {.arc = 0.7},
                             {.arc = 0.2},
                             {.radius = 1000, .arc = 0.05},
                             {.radius = 3000, .arc = 0.01, .noise = 0.05},
                             {.radius = 1e5, .arc = 0.001},
                             {.radius = 50, .arc = 0.1, .noise = 0.01, .outliers = 0.03},
                             {.cx = 0, .cy = 0},
                             {.cx = 0, .cy = 1, .radius = 1, .noise = 1e-4},
                             {.cx = 0, .cy = -300, .arc = 0.7, .outliers = 0.01},
                             {.cx = 1e5, .cy = -1e5, .noise = 1},
                             {.cx = 1e7, .cy = 1e7, .radius = 1000, .noise = 3},
                             {.noise = 30, .outliers = 0.3, .outlier_reach = 1e5}};
  uint64_t seed = 0;
  for (const ArcPoints& kind : kinds) {
    for (std::size_t count : {2000u, 9001u}) {
      expect_twin(arc_points(count, kind, ++seed), 15, "kind " + std::to_string(&kind - kinds));
    }
  }
}

TEST(CircleRejection, RoundedCoordinatesTieByTheHundred) {
  for (int32_t side : {2, 3, 5, 17, 60, 400}) {
    expect_twin(grid_points(6000, side, static_cast<uint64_t>(side)), 20, "side " + std::to_string(side));
  }
  std::vector<PointF32> circle = arc_points(6000, {.radius = 40, .noise = 0.6}, 8);
  for (PointF32& p : circle) p = {std::round(p.x), std::round(p.y)};
  expect_twin(circle, 30, "rounded circle");
}

// The removed points leave the first places, the last ones and runs of neighbours.
TEST(CircleRejection, OutliersInRunsAndAtTheEnds) {
  for (std::size_t run : {1u, 40u, 600u}) {
    for (std::size_t at : {std::size_t{0}, std::size_t{1700}, 4000 - run}) {
      std::vector<PointF32> points = arc_points(4000, {}, 21);
      for (std::size_t i = at; i < at + run; ++i) points[i].x += static_cast<float>(i % 37);
      expect_twin(points, 20, "run " + std::to_string(run) + " at " + std::to_string(at));
    }
  }
}

TEST(CircleRejection, RandomSetsOfManySizes) {
  std::mt19937_64 random(5);
  std::uniform_real_distribution<double> unit(0, 1);
  for (int set = 0; set < 1500; ++set) {
    ArcPoints arc;
    arc.radius = std::pow(10, 4 * unit(random) - 1);
    arc.cx = arc.radius * std::pow(10, 4 * unit(random) - 1);
    arc.cy = -arc.radius * 3 * unit(random);
    arc.arc = 0.3 + 6 * unit(random);
    arc.noise = arc.radius * std::pow(10, -5 * unit(random));
    arc.outliers = set % 2 == 0 ? 0.0 : 0.2 * unit(random);
    arc.outlier_reach = arc.radius * std::pow(10, 3 * unit(random));
    const std::size_t count = 49 + random() % 900;
    const auto seed = random();
    expect_twin(arc_points(count, arc, seed), static_cast<uint32_t>(random() % 40), "set " + std::to_string(set));
  }
}

TEST(CircleFit, LongVectorsEqualTheTwin) {
  for (std::size_t count : {49u, 50u, 51u, 52u, 1000u, 65535u, 300001u}) {
    for (double shift : {0.0, 500.0, 1e7}) {
      expect_twin(arc_points(count, {.cx = shift, .cy = shift, .radius = 1000}, count), 0,
                  std::to_string(count) + " at " + std::to_string(shift));
    }
  }
}

}  // namespace
}  // namespace vlix::test
