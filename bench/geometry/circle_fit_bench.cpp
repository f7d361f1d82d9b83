// SPDX-License-Identifier: Apache-2.0
#include <cmath>

#include "harness.h"
#include "images.h"
#include "peers.h"
#include "vlix/meas.h"

namespace vlix::bench {
namespace {

struct Result {
  float diameter = 0.0f;
  PointF32 centre = {};
  float mean = 0.0f;
  int32_t kept = 0;
};

// Edge points all around a hole of radius 100 at (500, 300), with noise of 0.1 pixels.
std::shared_ptr<Vector<PointF32>> edge_points(std::size_t count) {
  auto points = std::make_shared<Vector<PointF32>>(count);
  std::mt19937_64 random(3);
  std::uniform_real_distribution<double> angle(0.0, 6.283185307179586);
  std::normal_distribution<double> radius(100.0, 0.1);
  for (PointF32& p : points->values) {
    const double a = angle(random);
    const double r = radius(random);
    p = {static_cast<float>(500.0 + r * std::cos(a)), static_cast<float>(300.0 + r * std::sin(a))};
  }
  return points;
}

// Moments about the first point in a plain loop: what one reading of the points costs.
double plain_moments(const std::vector<PointF32>& points) {
  double s[9] = {};
  for (const PointF32& p : points) {
    const double u = static_cast<double>(p.x) - static_cast<double>(points[0].x);
    const double v = static_cast<double>(p.y) - static_cast<double>(points[0].y);
    s[0] += u;
    s[1] += v;
    s[2] += u * u;
    s[3] += u * v;
    s[4] += v * v;
    s[5] += u * u * u;
    s[6] += v * v * v;
    s[7] += u * v * v;
    s[8] += u * u * v;
  }
  return s[0] + s[1] + s[2] + s[3] + s[4] + s[5] + s[6] + s[7] + s[8];
}

Work fit(std::size_t count) {
  auto points = edge_points(count);
  auto result = std::make_shared<Result>();
  auto peer = std::make_shared<Result>();
  Work work;
  // Without anything to discard the points stay where they are.
  work.ours = [=] {
    vlix_circularRegression(&points->record, 0, &result->diameter, &result->centre, nullptr, &result->kept);
  };
  work.limit = [=] { keep(plain_moments(points->values)); };
#if VLIX_BENCH_OPENCV
  // x^2 + y^2 = 2 a x + 2 b y + c in the least-squares sense: the same circle.
  work.peer = [=] {
    const int n = static_cast<int>(count);
    cv::Mat a(n, 3, CV_64F);
    cv::Mat b(n, 1, CV_64F);
    for (int i = 0; i < n; ++i) {
      const auto x = static_cast<double>(points->values[static_cast<std::size_t>(i)].x);
      const auto y = static_cast<double>(points->values[static_cast<std::size_t>(i)].y);
      auto* row = a.ptr<double>(i);
      row[0] = 2.0 * x;
      row[1] = 2.0 * y;
      row[2] = 1.0;
      *b.ptr<double>(i) = x * x + y * y;
    }
    cv::Mat s;
    cv::solve(a, b, s, cv::DECOMP_QR);
    const double cx = s.at<double>(0);
    const double cy = s.at<double>(1);
    peer->centre = {static_cast<float>(cx), static_cast<float>(cy)};
    peer->diameter = static_cast<float>(2.0 * std::sqrt(s.at<double>(2) + cx * cx + cy * cy));
  };
  work.verify = [=] {
    const bool agrees = std::fabs(result->centre.x - peer->centre.x) < 1e-3f &&
                        std::fabs(result->centre.y - peer->centre.y) < 1e-3f &&
                        std::fabs(result->diameter - peer->diameter) < 1e-3f;
    return agrees ? "" : "the circles differ";
  };
#endif
  return work;
}

// A tenth of the points goes, one after the other. The copy that each call spoils is a small part of it.
Work rejection(std::size_t count) {
  auto points = edge_points(count);
  auto copy = std::make_shared<Vector<PointF32>>(count);
  auto result = std::make_shared<Result>();
  Work work;
  work.ours = [=] {
    copy->values = points->values;
    copy->record.data = copy->values.data();
    vlix_circularRegression(&copy->record, 10, &result->diameter, &result->centre, &result->mean, &result->kept);
  };
  work.verify = [=] {
    return result->kept == static_cast<int32_t>(count - count / 10) && std::fabs(result->diameter - 200.0f) < 0.1f
               ? ""
               : "another circle";
  };
  return work;
}

void cases_of_circle_fit(Cases& cases) {
  for (const auto& [count, name] : {std::pair<std::size_t, const char*>{1000, "1e3 points"},
                                    {10000, "1e4 points"},
                                    {100000, "1e5 points"},
                                    {1000000, "1e6 points"}}) {
    const std::size_t n = count;
    cases.push_back({.operation = "circularRegression",
                     .name = name,
                     .peer = "OpenCV solve n x 3, QR",
                     .limit = "plain moment loop",
                     .goal = 50,
                     .make = [n] { return fit(n); }});
  }
  cases.push_back({.operation = "circularRegression", .name = "1e5 points, 10 % discarded", .make = [] {
                     return rejection(100000);
                   }});
}

const bool registered = register_cases(cases_of_circle_fit);

}  // namespace
}  // namespace vlix::bench
