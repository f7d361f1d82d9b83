// SPDX-License-Identifier: Apache-2.0
#include <cmath>

#include "harness.h"
#include "images.h"
#include "peers.h"
#include "vlix/meas.h"

#if VLIX_BENCH_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace vlix::bench {
namespace {

struct Result {
  float angle = 0.0f;
  float rho = 0.0f;
  float mean = 0.0f;
};

// Edge points along a line of 2000 pixels, with noise of 0.3 pixels; every 20th is an outlier.
std::shared_ptr<Vector<PointF32>> edge_points(std::size_t count, double outlier) {
  auto points = std::make_shared<Vector<PointF32>>(count);
  std::mt19937_64 random(3);
  std::uniform_real_distribution<double> along(0.0, 2000.0);
  std::normal_distribution<double> across(0.0, 0.3);
  for (std::size_t i = 0; i < count; ++i) {
    const double t = along(random);
    const double d = across(random) * (i % 20 == 0 ? outlier : 1.0);
    points->values[i] = {static_cast<float>(50.0 + 0.8 * t - 0.6 * d), static_cast<float>(20.0 + 0.6 * t + 0.8 * d)};
  }
  return points;
}

// Moments in a plain loop: what one reading of the points costs.
double plain_moments(const std::vector<PointF32>& points) {
  double s[5] = {};
  for (const PointF32& p : points) {
    const double x = p.x;
    const double y = p.y;
    s[0] += x;
    s[1] += y;
    s[2] += x * y;
    s[3] += x * x;
    s[4] += y * y;
  }
  return s[0] + s[1] + s[2] + s[3] + s[4];
}

Work fit(std::size_t count) {
  auto points = edge_points(count, 1.0);
  auto result = std::make_shared<Result>();
  Work work;
  work.ours = [=] {
    vlix_linearRegressionFloat(&points->record, 0, &result->angle, &result->rho, nullptr, nullptr, nullptr);
  };
  work.limit = [=] { keep(plain_moments(points->values)); };
#if VLIX_BENCH_OPENCV
  auto line = std::make_shared<cv::Vec4f>();
  work.peer = [=] {
    const cv::Mat mat(static_cast<int>(count), 1, CV_32FC2, points->values.data());
    cv::fitLine(mat, *line, cv::DIST_L2, 0, 0.01, 0.01);
  };
  // The peer minimises distances across the line, ours along y: with this noise the directions differ by 1e-7.
  work.verify = [=] {
    const double angle = std::atan2((*line)[1], (*line)[0]) * 57.29577951308232;
    return std::fabs(std::remainder(angle - static_cast<double>(result->angle), 180.0)) < 1e-3 ? ""
                                                                                               : "the lines differ";
  };
#endif
  return work;
}

// A tenth of the points goes, one after the other.
Work rejection(std::size_t count) {
  auto points = edge_points(count, 50.0);
  auto result = std::make_shared<Result>();
  Work work;
  work.ours = [=] {
    vlix_linearRegressionFloat(&points->record, 10, &result->angle, &result->rho, &result->mean, nullptr, nullptr);
  };
  work.verify = [=] { return std::fabs(result->angle - 36.8699f) < 0.05f ? "" : "another line"; };
  return work;
}

void cases_of_line_fit(Cases& cases) {
  for (const auto& [count, name] : {std::pair<std::size_t, const char*>{1000, "1e3 points"},
                                    {10000, "1e4 points"},
                                    {100000, "1e5 points"},
                                    {1000000, "1e6 points"}}) {
    const std::size_t n = count;
    cases.push_back({.operation = "linearRegressionFloat",
                     .name = name,
                     .peer = "OpenCV fitLine, L2",
                     .limit = "plain moments",
                     .goal = 4,
                     .make = [=] { return fit(n); }});
  }
  cases.push_back({.operation = "linearRegressionFloat", .name = "1e5 points, 10 % discarded", .make = [] {
                     return rejection(100000);
                   }});
}

const bool registered = register_cases(cases_of_line_fit);

}  // namespace
}  // namespace vlix::bench
