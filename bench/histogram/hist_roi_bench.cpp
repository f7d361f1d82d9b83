// SPDX-License-Identifier: Apache-2.0
#include <string>
#include <type_traits>

#include "harness.h"
#include "images.h"
#include "outputs.h"
#include "peers.h"
#include "vlix/meas.h"
#include "vlix/util.h"

#if VLIX_BENCH_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace vlix::bench {
namespace {

constexpr int32_t kSize = 1024;
constexpr int32_t kBins = 256;

#if VLIX_BENCH_OPENCV
template <class Pixel>
constexpr int cv_type() {
  return std::is_same_v<Pixel, uint8_t> ? CV_8U : std::is_same_v<Pixel, uint16_t> ? CV_16U : CV_32F;
}

// Counts under a mask and compares.
template <class Pixel>
void add_peer(Work& work, std::shared_ptr<Image<Pixel>> image, float hi, const cv::Mat& mask,
              std::shared_ptr<VlixVector[]> hist) {
  auto counts = std::make_shared<cv::Mat>();
  work.peer = [=] {
    const cv::Mat mat = mat_of(image->record, cv_type<Pixel>());
    const int channel = 0;
    const float range[] = {0, hi};
    const float* ranges = range;
    cv::calcHist(&mat, 1, &channel, mask, *counts, 1, &kBins, &ranges);
  };
  work.verify = [=]() -> std::string {
    for (int i = 0; i < kBins; ++i) {
      if (values_of<PointF32>(hist[0])[i].y != counts->at<float>(i)) return "bin " + std::to_string(i) + " differs";
    }
    return "";
  };
}
#endif

// Bounds such that both sides have bins of 1, 256 and 1 / 256.
template <class Pixel>
constexpr float upper() {
  return std::is_same_v<Pixel, uint8_t> ? 255.0f : std::is_same_v<Pixel, uint16_t> ? 65535.0f : 1.0f;
}
template <class Pixel>
constexpr float upper_of_peer() {
  return std::is_same_v<Pixel, float> ? 1.0f : upper<Pixel>() + 1.0f;
}

template <class Pixel>
Work rectangle() {
  auto image = scene<Pixel>(kSize, kSize);
  auto hist = output_vectors();
  Work work;
  work.ours = [=] {
    static constexpr float kCorners[] = {100, 50, 899, 949};
    const VlixShape shape = {VlixShape_PixelRect, {}, kCorners};
    const VlixShapeHandle handle = {VlixHandle_Shape53, {}, &shape};
    VlixVectorRelease(hist.get(), 0);
    vlix_histRoi(&image->record, reinterpret_cast<const VlixObj*>(&handle), hist.get(), 0, kBins, 0, upper<Pixel>());
  };
#if VLIX_BENCH_OPENCV
  cv::Mat mask(kSize, kSize, CV_8U, cv::Scalar(0));
  mask(cv::Rect(100, 50, 800, 900)).setTo(255);
  add_peer(work, image, upper_of_peer<Pixel>(), mask, hist);
#endif
  return work;
}

template <class Pixel>
Work ellipse() {
  auto image = scene<Pixel>(kSize, kSize);
  auto hist = output_vectors();
  std::shared_ptr<VlixRegionHandle> region(new VlixRegionHandle{VlixHandle_Region, {}, {}},
                                           [](VlixRegionHandle* handle) {
                                             VlixRegionRelease(&handle->region);
                                             delete handle;
                                           });
  const VlixEllipseShape geometry = {500, 480, 400, 300, 20};
  const VlixShape shape = {VlixShape_Ellipse, {}, &geometry};
  VlixRegionFromShape(&shape, &region->region);
  Work work;
  work.ours = [=] {
    VlixVectorRelease(hist.get(), 0);
    vlix_histRoi(&image->record, reinterpret_cast<const VlixObj*>(region.get()), hist.get(), 0, kBins, 0,
                 upper<Pixel>());
  };
#if VLIX_BENCH_OPENCV
  cv::Mat mask(kSize, kSize, CV_8U, cv::Scalar(0));
  for (int64_t i = 0; i < region->region.count; ++i) {
    const VlixRun& run = region->region.runs[i];
    mask(cv::Rect(run.begin, run.y, run.end - run.begin, 1)).setTo(255);
  }
  add_peer(work, image, upper_of_peer<Pixel>(), mask, hist);
#endif
  return work;
}

template <class Pixel>
void add(Cases& cases, const char* type) {
  cases.push_back({.operation = "histRoi",
                   .name = std::string(type) + ", rectangle 800 x 900",
                   .peer = "OpenCV calcHist, mask",
                   .make = rectangle<Pixel>});
  cases.push_back({.operation = "histRoi",
                   .name = std::string(type) + ", region of 377000 pixels",
                   .peer = "OpenCV calcHist, mask",
                   .make = ellipse<Pixel>});
}

void cases_of_region_histograms(Cases& cases) {
  add<uint8_t>(cases, "U8");
  add<uint16_t>(cases, "U16");
  add<float>(cases, "F32");
}

const bool registered = register_cases(cases_of_region_histograms);

}  // namespace
}  // namespace vlix::bench
