// SPDX-License-Identifier: Apache-2.0
// The examples of docs/numerics.md about vectors, matches, paths and fits: expected values come from closed forms or
// from the arithmetic written out here, and the document states what the library returns.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "together/numerics_examples.h"
#include "vlix/meas.h"

namespace vlix::test {
namespace {

constexpr double kPi = 3.14159265358979323846;

template <class Point>
TestVector<Point> histogram_of(const std::vector<float>& counts) {
  std::vector<Point> points;
  for (const float count : counts) {
    points.push_back({static_cast<decltype(Point::x)>(points.size()), static_cast<decltype(Point::y)>(count)});
  }
  return TestVector<Point>(points);
}

std::vector<float> smoothed(const std::vector<float>& counts, float width, bool integer) {
  OutputVector out;
  std::vector<float> result;
  if (integer) {
    const auto hist = histogram_of<PointI32>(counts);
    EXPECT_EQ(vlix_smoothHistInt(&hist.record, &out.record, width), 0);
    for (const PointI32 bin : out.values<PointI32>()) result.push_back(static_cast<float>(bin.y));
  } else {
    const auto hist = histogram_of<PointF32>(counts);
    EXPECT_EQ(vlix_smoothHist(&hist.record, &out.record, width), 0);
    for (const PointF32 bin : out.values<PointF32>()) result.push_back(bin.y);
  }
  return result;
}

TEST(Numerics, Smoothing) {
  const Section text = section("Smoothing");
  const std::vector<float> flat(10, 30.0f), single = {0, 0, 0, 60, 0, 0, 0, 0, 0, 0};
  const std::vector<float> low_ends = smoothed(flat, 5, true);
  EXPECT_EQ(low_ends, (std::vector<float>{18, 24, 30, 30, 30, 30, 30, 30, 24, 18}));
  const std::vector<float> three = smoothed(single, 4, true), five = smoothed(single, 4.3f, true);
  EXPECT_EQ(three, (std::vector<float>{0, 0, 20, 20, 20, 0, 0, 0, 0, 0}));
  EXPECT_EQ(five, (std::vector<float>{0, 12, 12, 12, 12, 12, 0, 0, 0, 0}));
  const std::vector<float> cut = smoothed({0, 10, 0}, 3, true);
  EXPECT_EQ(cut, (std::vector<float>{3, 3, 3}));

  const std::vector<float> counts = {1, 1, 3e7f, 1, 1, 1, 1, 1};
  std::vector<float> running;
  float sum = counts[0] + counts[1];
  for (std::size_t i = 0; i < counts.size(); ++i) {
    running.push_back(sum / 3.0f);
    if (i > 0) sum -= counts[i - 1];
    if (i + 2 < counts.size()) sum += counts[i + 2];
  }
  const std::vector<float> pushed_out = smoothed(counts, 3, false);
  EXPECT_EQ(pushed_out, running);
  for (const std::vector<float>& counted : {low_ends, single, three, five, cut, pushed_out}) {
    EXPECT_TRUE(text.states(figures(counted, 4))) << figures(counted, 4);
  }
}

TEST(Numerics, PeaksAtTheMinimumDistance) {
  const auto hist = histogram_of<PointI32>({0, 0, 9, 0, 0, 0, 0, 8, 0, 0});
  for (const float distance : {5.0f, 4.9f}) {
    OutputVector peaks;
    ASSERT_EQ(vlix_histPeaksInt(&hist.record, &peaks.record, 1, distance), 0);
    std::vector<int32_t> x;
    for (const PointI32 peak : peaks.values<PointI32>()) x.push_back(peak.x);
    EXPECT_EQ(x, distance == 5.0f ? (std::vector<int32_t>{2}) : (std::vector<int32_t>{2, 7}));
    EXPECT_TRUE(section("Peaks at the minimum distance").states(figures(x)));
  }
}

TEST(Numerics, SumsOfDifferencesOfVectors) {
  const TestVector<double> a({1e16, 1, -1e16}), zero({0, 0, 0});
  double sum = -1;
  ASSERT_EQ(vlix_vectorDiff(&a.record, &zero.record, &sum, VectorDiffOp_DiffSum, 0), 0);
  EXPECT_EQ(sum, 0.0);  // 1e16 + 1 is halfway between two doubles and rounds to the even one
  EXPECT_TRUE(section("Sums of differences of vectors").states(figure(sum)));
}

// A pixel in four is one above the offset, those with odd or those with even coordinates.
std::vector<float> pattern(int odd) {
  std::vector<float> pixels;
  for (int y = 0; y < 32; ++y) {
    for (int x = 0; x < 32; ++x) pixels.push_back(x % 2 == odd && y % 2 == odd ? 1e7f + 1 : 1e7f);
  }
  return pixels;
}

float single_pass_score(const std::vector<float>& image, const std::vector<float>& pattern) {
  double n = 0, i = 0, t = 0, ii = 0, tt = 0, it = 0;
  for (std::size_t k = 0; k < image.size(); ++k) {
    const double a = image[k], b = pattern[k];
    n += 1, i += a, t += b, ii += a * a, tt += b * b, it += a * b;
  }
  return static_cast<float>((n * it - i * t) / std::sqrt((n * ii - i * i) * (n * tt - t * t)));
}

TEST(Numerics, NormalisedCrossCorrelationAtLevelZero) {
  const Section text = section("Normalised cross-correlation at level 0");
  const auto templ = image_of<float>(32, 32, pattern(0));
  for (const int moved : {0, 1}) {
    const auto image = image_of<float>(32, 32, pattern(moved));
    for (const int32_t level : {0, 1}) {
      const LevelScope scope(level);
      OutputImage scores;
      ASSERT_EQ(vlix_nxcorr(&image.record, &templ.record, &scores.record), 0);
      const float score = scores.at<float>(0, 0);
      if (level == 0) {
        EXPECT_EQ(score, single_pass_score(pattern(moved), pattern(0)));
      } else {
        // With a quarter of the pixels at 1: (0 - 1/16) / (3/16) where no such pixels meet.
        EXPECT_NEAR(score, moved == 0 ? 1.0 : -1.0 / 3, 2e-6);
      }
      EXPECT_TRUE(text.states(figure(score, 4))) << score;
    }
  }
}

TEST(Numerics, SumsOfAbsoluteDifferences) {
  const Section text = section("Sums of absolute differences");
  const auto score = [&](const VlixImage& target, const VlixImage& templ) {
    OutputImage scores;
    EXPECT_EQ(vlix_sod(&target, &templ, &scores.record), 0);
    EXPECT_TRUE(text.states(figure(scores.at<uint16_t>(0, 0))));
    return scores.at<uint16_t>(0, 0);
  };
  const TestImage<float> zeros(10, 1);
  EXPECT_EQ(score(image_of<float>(10, 1, std::vector<float>(10, 0.9f)).record, zeros.record), 0);
  EXPECT_EQ(score(image_of<float>(10, 1, std::vector<float>(10, 1.9f)).record, zeros.record), 10);
  const TestImage<uint8_t> black(20, 20);
  for (const int32_t level : {0, 1}) {
    const LevelScope scope(level);
    EXPECT_EQ(score(image_of<uint8_t>(20, 20, std::vector<uint8_t>(400, 200)).record, black.record), 65535);
  }
  EXPECT_TRUE(text.says(figure(400 * 200)));
}

TEST(Numerics, CorrelationThroughTheFourierTransform) {
  std::vector<float> pixels;
  for (int i = 0; i < 64 * 64; ++i) pixels.push_back(static_cast<float>(i * 37 % 256));
  pixels[650] = 1e6f;
  const auto image = image_of<float>(64, 64, pixels);
  const auto one = image_of<float>(1, 1, {1.0f});
  OutputImage scores;
  ASSERT_EQ(vlix_xCorr(&image.record, &one.record, &scores.record), 0);
  double largest = 0;
  for (int32_t i = 0; i < 64 * 64; ++i) {
    if (i == 650) continue;
    largest =
        std::max(largest, std::fabs(scores.at<float>(i % 64, i / 64) * 4096.0 - pixels[static_cast<std::size_t>(i)]));
  }
  EXPECT_GT(largest, 0.005);
  EXPECT_LT(largest, 0.1);
  EXPECT_TRUE(section("Correlation through the Fourier transform").states("a few hundredths"));
}

TEST(Numerics, NearestPixels) {
  const Section text = section("Nearest pixels");
  const auto image = image_of<uint8_t>(3, 2, {10, 20, 30, 10, 20, 30});
  float up = 0;
  ASSERT_EQ(vlix_samplepath_point(&image.record, {0.5f, 0}, &up, 0), 0);
  VlixInvalidValue invalid = {ObjType_U8, {}, {}};
  invalid.value.u8 = 99;
  OutputVector values;
  ASSERT_EQ(vlix_samplepath_line(&image.record, {0.5f, 0}, {1.5f, 0}, &values.record, nullptr, nullptr, 1, 0,
                                 reinterpret_cast<const VlixObj*>(&invalid)),
            0);
  const float down = values.values<float>()[0];
  EXPECT_EQ(up, 20.0f);
  EXPECT_EQ(down, 10.0f);
  EXPECT_TRUE(text.states(figure(up)) && text.states(figure(down)));
}

TEST(Numerics, PathsIntoAShortVector) {
  std::vector<uint8_t> pixels;
  for (int y = 0; y < 11; ++y) {
    for (int x = 0; x < 11; ++x) pixels.push_back(static_cast<uint8_t>(x + 2 * y));
  }
  const auto image = image_of<uint8_t>(11, 11, pixels);
  const TestVector<PointF32> path({{0, 0}, {10, 0}, {10, 10}});
  std::vector<float> whole;
  for (int i = 0; i <= 20; ++i) whole.push_back(static_cast<float>(i <= 10 ? i : 10 + 2 * (i - 10)));
  for (const int32_t count : {21, 5, 0}) {
    OutputVector values;
    if (count > 0) {
      ASSERT_EQ(VlixVectorAlloc(&values.record, ObjType_F32, count), 0);
    }
    ASSERT_EQ(vlix_samplepath_lines(&image.record, &path.record, &values.record, nullptr, nullptr, 1, 1, nullptr), 0);
    // The second segment begins where the first one was cut off, and the samples of the vertex in the middle belong to
    // it.
    std::vector<float> expected = whole;
    if (count < 11) {
      expected.assign(21, 0.0f);
      std::copy_n(whole.begin(), count, expected.begin());
      std::copy(whole.begin() + 10, whole.end(), expected.begin() + count);
    }
    EXPECT_EQ(values.values<float>(), expected);
    EXPECT_TRUE(section("Paths into a short vector").states(figures(expected)));
  }
}

TEST(Numerics, LongPaths) {
  const TestImage<uint8_t> image(1001, 2);
  OutputVector values, positions;
  ASSERT_EQ(vlix_samplepath_line(&image.record, {0, 0}, {1000, 0}, &values.record, &positions.record, nullptr, 0.1f, 1,
                                 nullptr),
            0);
  float t = 0;
  for (int i = 0; i < 10000; ++i) t += 0.1f;
  const float last = positions.values<PointF32>()[10000].x;
  EXPECT_EQ(last, t);
  EXPECT_TRUE(section("Long paths").states(figure(last, 6))) << last;
}

struct Line {
  float angle = 0, rho = 0, mean_distance = 0;
};

Line line_of(const std::vector<PointF32>& points) {
  const TestVector<PointF32> vector(points);
  Line line;
  EXPECT_EQ(
      vlix_linearRegressionFloat(&vector.record, 0, &line.angle, &line.rho, &line.mean_distance, nullptr, nullptr), 0);
  return line;
}

TEST(Numerics, TheSignOfRhoForUprightLines) {
  const Section text = section("The sign of rho for upright lines");
  const Line upright = line_of({{3, 0}, {3, 10}}), close = line_of({{3, 0}, {3, 0.001f}});
  EXPECT_EQ(upright.angle, 90.0f);
  EXPECT_EQ(close.angle, 90.0f);
  EXPECT_EQ(upright.rho, -3.0f);
  EXPECT_EQ(close.rho, 3.0f);
  EXPECT_NEAR(close.mean_distance, 6.0f, 1e-3f);
  for (const float number : {upright.rho, close.rho, close.mean_distance}) EXPECT_TRUE(text.states(figure(number, 4)));

  // Points 0.0019 above and below the line y = 0.
  const float d = 0.0019f;
  const Line cut = line_of({{0, d}, {0, -d}, {10, d}, {10, -d}});
  EXPECT_EQ(cut.mean_distance, 0.001f);
  EXPECT_TRUE(text.states(figure(cut.mean_distance, 4)));
}

// The definition, for points that spread more in x.
Line line_in_point_order(const std::vector<PointF32>& points) {
  double x = 0, y = 0, xy = 0, xx = 0;
  for (const PointF32 point : points) {
    const double px = point.x, py = point.y;
    x += px, y += py, xy += px * py, xx += px * px;
  }
  const auto n = static_cast<double>(points.size());
  const double cxy = xy - y * x / n, cxx = xx - x * x / n;
  const double phi = std::atan2(cxy, cxx);
  const double intercept = (y - cxy / cxx * x) / n;
  return {static_cast<float>(phi * 180 / kPi), static_cast<float>(intercept * std::cos(phi)), 0};
}

// Points c + 2 k, c + k for k = 0 .. period - 1 again and again.
std::vector<PointF32> sloping(float c, int count, int period) {
  std::vector<PointF32> points;
  for (int i = 0; i < count; ++i) {
    const auto k = static_cast<float>(i % period);
    points.push_back({c + 2 * k, c + k});
  }
  return points;
}

TEST(Numerics, LinesFarFromTheOrigin) {
  const Section text = section("Lines far from the origin");
  const double angle = std::atan(0.5) * 180 / kPi;
  EXPECT_TRUE(text.says(" " + figure(angle, 8) + " degrees"));
  // -x sin + y cos at (c, c), with sin = 1 / sqrt 5 and cos = 2 / sqrt 5.
  const auto rho = [](double c) { return c / std::sqrt(5.0); };
  EXPECT_TRUE(text.says(figure(rho(1e5), 9)) && text.says(figure(rho(1e7), 10)));

  const Line near = line_of(sloping(1e5f, 51, 51));
  EXPECT_NEAR(near.angle, angle, 1e-6);
  EXPECT_LT(std::fabs(near.rho - rho(1e5)), 0.002);  // half a unit of the last place of a float
  EXPECT_TRUE(text.states(figure(std::fabs(near.rho - rho(1e5)), 1)));

  const Line far = line_of(sloping(1e7f, 51, 51));
  EXPECT_NEAR(far.angle, angle, 1e-6);
  EXPECT_LT(std::fabs(far.rho - rho(1e7)), 0.25);
  EXPECT_TRUE(text.states(figure(std::fabs(far.rho - rho(1e7)), 2))) << far.rho;
  EXPECT_TRUE(text.states(figure(far.mean_distance, 3))) << far.mean_distance;

  // With the mean distance wanted, sums are in point order.
  const std::vector<PointF32> points = sloping(1e7f, 10000, 41);
  const Line many = line_of(points), expected = line_in_point_order(points);
  EXPECT_EQ(many.angle, expected.angle);
  EXPECT_EQ(many.rho, expected.rho);
  EXPECT_TRUE(text.states(figure(many.angle - angle, 2))) << many.angle - angle;
  EXPECT_TRUE(text.states(figure(many.rho - rho(1e7), 5))) << many.rho - rho(1e7);
  EXPECT_NEAR(line_of(sloping(1e5f, 10000, 41)).angle, angle, 1e-6);
}

TEST(Numerics, CirclesFarFromTheOrigin) {
  const Section text = section("Circles far from the origin");
  for (const float c : {1e5f, 1e7f}) {
    std::vector<PointF32> points = {{0, -2}, {1, -2}, {3, 0}, {3, 1}, {1, 3}, {0, 3}, {-2, 1}, {-2, 0}};
    for (PointF32& point : points) point = {point.x + c, point.y + c};
    const TestVector<PointF32> vector(points);
    float diameter = 0, distance = 0;
    PointF32 centre = {};
    ASSERT_EQ(vlix_circularRegressionFloat(&vector.record, 0, &diameter, &centre, &distance, nullptr, nullptr), 0);
    EXPECT_EQ(centre.x, c + 0.5f);  // rounded to an even number at 1e7
    EXPECT_EQ(centre.y, c + 0.5f);
    EXPECT_EQ(diameter, static_cast<float>(std::sqrt(26.0)));
    EXPECT_TRUE(text.states(figure(centre.x))) << centre.x;
    EXPECT_TRUE(text.states(figure(diameter, 6))) << diameter;
    if (c == 1e7f) {
      EXPECT_TRUE(text.states(figure(distance, 3))) << distance;
    }
  }
  const TestVector<PointI32> points({{16777217, 0}, {16777219, 0}, {16777221, 0}});
  OutputVector kept;
  ASSERT_EQ(vlix_linearRegressionInt(&points.record, 0, nullptr, nullptr, nullptr, &kept.record, nullptr), 0);
  const int32_t x = kept.values<PointI32>()[0].x;
  EXPECT_EQ(x, 16777216);
  EXPECT_TRUE(text.says(figure(16777217)) && text.states(figure(x)));
}

}  // namespace
}  // namespace vlix::test
