// SPDX-License-Identifier: Apache-2.0
#include <string>

#include "harness.h"
#include "images.h"
#include "peers.h"
#include "vlix/meas.h"
#include "vlix/object.h"

#if VLIX_BENCH_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace vlix::bench {
namespace {

// Bins of 2^-8 and 2^8 units start at floats: both sides agree on every pixel.
template <class Pixel>
Work bins_of_scene(int32_t size, int32_t bins, float hi) {
  auto image = scene<Pixel>(size, size);
  std::shared_ptr<VlixVector> hist(new VlixVector{}, [](VlixVector* vector) {
    VlixVectorRelease(vector, 0);
    delete vector;
  });
  Work work;
  work.ours = [=] { vlix_histogram(&image->record, hist.get(), 0, bins, 0.0f, hi); };
#if VLIX_BENCH_OPENCV
  constexpr int kType = std::is_same_v<Pixel, uint8_t> ? CV_8U : std::is_same_v<Pixel, uint16_t> ? CV_16U : CV_32F;
  auto counts = std::make_shared<cv::Mat>();
  work.peer = [=] {
    const cv::Mat mat = mat_of(image->record, kType);
    const int channel = 0;
    const float range[] = {0.0f, hi};
    const float* ranges = range;
    cv::calcHist(&mat, 1, &channel, cv::Mat(), *counts, 1, &bins, &ranges);
  };
  work.verify = [=]() -> std::string {
    const auto* points = static_cast<const PointF32*>(hist->data);
    for (int i = 0; i < bins; ++i) {
      if (points[i].y != counts->at<float>(i)) return "bin " + std::to_string(i) + " differs";
    }
    return "";
  };
#endif
  return work;
}

template <class Pixel>
void add(Cases& cases, const char* type, int32_t size, int32_t bins, float hi) {
  const std::string name = std::string(type) + " " + std::to_string(size) + " x " + std::to_string(size) + ", " +
                           std::to_string(bins) + " bins";
  cases.push_back({.operation = "histogram", .name = name, .peer = "OpenCV calcHist", .make = [=] {
                     return bins_of_scene<Pixel>(size, bins, hi);
                   }});
}

void cases_of_float_histograms(Cases& cases) {
  for (const int32_t size : {512, 2048}) {
    add<uint8_t>(cases, "U8", size, 256, 256.0f);
    add<uint16_t>(cases, "U16", size, 256, 65536.0f);
    add<float>(cases, "F32", size, 256, 1.0f);
  }
  add<float>(cases, "F32", 2048, 16384, 1.0f);
}

const bool registered = register_cases(cases_of_float_histograms);

}  // namespace
}  // namespace vlix::bench
