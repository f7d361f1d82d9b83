// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <string>
#include <type_traits>

#include "harness.h"
#include "images.h"
#include "outputs.h"
#include "peers.h"
#include "vlix/meas.h"

#if VLIX_BENCH_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace vlix::bench {
namespace {

constexpr std::size_t kCount = 65536;

// Counts of 0 to 199, whole or with a fraction.
template <class Point>
Work smooth(int32_t window, bool whole) {
  auto hist = std::make_shared<Vector<Point>>(kCount);
  std::mt19937_64 random(5);
  for (std::size_t i = 0; i < kCount; ++i) {
    const double y = static_cast<double>(random() % 200) + (whole ? 0.0 : 0.25);
    hist->values[i] = {static_cast<decltype(Point::x)>(i), static_cast<decltype(Point::y)>(y)};
  }
  auto out = output_vectors();
  const auto width = static_cast<float>(window);
  Work work;
  work.ours = [=] {
    if constexpr (std::is_same_v<Point, PointF32>) {
      vlix_smoothHist(&hist->record, out.get(), width);
    } else {
      vlix_smoothHistInt(&hist->record, out.get(), width);
    }
  };
#if VLIX_BENCH_OPENCV
  auto counts = std::make_shared<cv::Mat>(1, static_cast<int>(kCount), CV_32F);
  auto blurred = std::make_shared<cv::Mat>();
  for (std::size_t i = 0; i < kCount; ++i) {
    counts->at<float>(static_cast<int>(i)) = static_cast<float>(hist->values[i].y);
  }
  work.peer = [=] { cv::blur(*counts, *blurred, cv::Size(window, 1)); };
  // Away from the ends, which the peer treats otherwise; integers are truncated.
  work.verify = [=]() -> std::string {
    const float tolerance = std::is_same_v<Point, PointI32> ? 1.001f : 0.01f;
    for (int i = window; i + window < static_cast<int>(kCount); ++i) {
      const float ours = static_cast<float>(values_of<Point>(out[0])[i].y);
      if (!(std::fabs(ours - blurred->at<float>(i)) <= tolerance)) return "element " + std::to_string(i) + " differs";
    }
    return "";
  };
#endif
  return work;
}

void cases_of_smoothing(Cases& cases) {
  for (const int32_t window : {5, 33, 255}) {
    const std::string points = " 65536 points, window " + std::to_string(window);
    cases.push_back(
        {.operation = "smoothHistInt", .name = "I32" + points, .peer = "OpenCV blur", .goal = 1.5, .make = [=] {
           return smooth<PointI32>(window, true);
         }});
    cases.push_back({.operation = "smoothHist",
                     .name = "F32 whole numbers," + points,
                     .peer = "OpenCV blur",
                     .goal = 1.5,
                     .make = [=] { return smooth<PointF32>(window, true); }});
    // The order of additions is fixed.
    cases.push_back(
        {.operation = "smoothHist", .name = "F32 fractions," + points, .peer = "OpenCV blur", .goal = 0.9, .make = [=] {
           return smooth<PointF32>(window, false);
         }});
  }
}

const bool registered = register_cases(cases_of_smoothing);

}  // namespace
}  // namespace vlix::bench
