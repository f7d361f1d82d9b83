// SPDX-License-Identifier: Apache-2.0
// Moments of point lists. Sums of whole numbers that fit in a double are the same in any order.
#include "geometry/point_moments.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "support/test_image.h"

namespace vlix::test {
namespace {

// Sixteen sums of every sixteenth point, totalled in a tree; then the rest, one by one.
double total_in_a_tree(const std::vector<double>& terms) {
  double part[16] = {};
  const std::size_t whole = terms.size() / 16 * 16;
  for (std::size_t i = 0; i < whole; ++i) part[i % 16] += terms[i];
  double four[4];
  for (int j = 0; j < 4; ++j) four[j] = (part[j] + part[4 + j]) + (part[8 + j] + part[12 + j]);
  double sum = (four[0] + four[1]) + (four[2] + four[3]);
  for (std::size_t i = whole; i < terms.size(); ++i) sum += terms[i];
  return sum;
}

// Far coordinates, whose sums of products round.
TEST(LinePointSums, AddInTheSameTreeOnEveryProcessor) {
  std::mt19937_64 random(12);
  std::uniform_real_distribution<float> far(9.9e6f, 1.01e7f);
  for (int32_t count = 0; count < 200; ++count) {
    std::vector<PointF32> points(static_cast<std::size_t>(count));
    std::vector<double> x, y, xx, xy, yy;
    for (PointF32& p : points) {
      p = {far(random), -far(random)};
      x.push_back(p.x);
      y.push_back(p.y);
      xx.push_back(x.back() * x.back());
      xy.push_back(x.back() * y.back());
      yy.push_back(y.back() * y.back());
    }
    const LineSums sums = sum_points(points.data(), count);
    ASSERT_EQ(sums.x, total_in_a_tree(x)) << count;
    ASSERT_EQ(sums.y, total_in_a_tree(y)) << count;
    ASSERT_EQ(sums.xx, total_in_a_tree(xx)) << count;
    ASSERT_EQ(sums.xy, total_in_a_tree(xy)) << count;
    ASSERT_EQ(sums.yy, total_in_a_tree(yy)) << count;
  }
}

#if defined(__x86_64__)

class PointMoments : public ::testing::TestWithParam<int32_t> {
 protected:
  void SetUp() override {
    if (!has_avx512_moments()) GTEST_SKIP() << "the processor has no AVX-512";
    std::mt19937 random(static_cast<unsigned>(GetParam()));
    for (int32_t i = 0; i < GetParam(); ++i) {
      const auto x = static_cast<int64_t>(random() % 8001) - 4000;
      const auto y = static_cast<int64_t>(random() % 8001) - 1000;
      whole_.push_back({x, y});
      points_.push_back({static_cast<float>(x), static_cast<float>(y)});
    }
  }

  struct Whole {
    int64_t x, y;
  };
  std::vector<Whole> whole_;
  std::vector<PointF32> points_;
};

TEST_P(PointMoments, SumsOfALineAreThoseOfWholeNumbers) {
  TestVector<PointF32> vector(points_);
  LineSums sums;
  sum_points_avx512(vector.data(), GetParam(), sums);
  Whole sum = {0, 0};
  int64_t xx = 0;
  int64_t xy = 0;
  int64_t yy = 0;
  for (const auto& [x, y] : whole_) {
    sum.x += x;
    sum.y += y;
    xx += x * x;
    xy += x * y;
    yy += y * y;
  }
  EXPECT_EQ(sums.x, static_cast<double>(sum.x));
  EXPECT_EQ(sums.y, static_cast<double>(sum.y));
  EXPECT_EQ(sums.xx, static_cast<double>(xx));
  EXPECT_EQ(sums.xy, static_cast<double>(xy));
  EXPECT_EQ(sums.yy, static_cast<double>(yy));
}

TEST_P(PointMoments, PowersAboutAnOriginAreThoseOfWholeNumbers) {
  TestVector<PointF32> vector(points_);
  CircleSums sums;
  sums.origin_x = 17;
  sums.origin_y = -5;
  double largest_square = -1;
  sum_powers_avx512(vector.data(), GetParam(), sums, largest_square);
  Whole sum = {0, 0};
  int64_t largest = 0;
  int64_t uu = 0, uv = 0, vv = 0, uuu = 0, vvv = 0, uvv = 0, vuu = 0;
  for (const auto& [x, y] : whole_) {
    const int64_t u = x - 17;
    const int64_t v = y + 5;
    sum.x += u;
    sum.y += v;
    uu += u * u;
    uv += u * v;
    vv += v * v;
    uuu += u * u * u;
    vvv += v * v * v;
    uvv += u * v * v;
    vuu += v * u * u;
    largest = std::max({largest, u * u, v * v});
  }
  EXPECT_EQ(sums.u, static_cast<double>(sum.x));
  EXPECT_EQ(sums.v, static_cast<double>(sum.y));
  EXPECT_EQ(sums.uu, static_cast<double>(uu));
  EXPECT_EQ(sums.uv, static_cast<double>(uv));
  EXPECT_EQ(sums.vv, static_cast<double>(vv));
  EXPECT_EQ(sums.uuu, static_cast<double>(uuu));
  EXPECT_EQ(sums.vvv, static_cast<double>(vvv));
  EXPECT_EQ(sums.uvv, static_cast<double>(uvv));
  EXPECT_EQ(sums.vuu, static_cast<double>(vuu));
  EXPECT_EQ(largest_square, static_cast<double>(largest));
}

INSTANTIATE_TEST_SUITE_P(Counts, PointMoments, ::testing::Range(0, 50));
INSTANTIATE_TEST_SUITE_P(LongLists, PointMoments, ::testing::Values(1000, 1003, 4096, 10007));

#endif

}  // namespace
}  // namespace vlix::test
