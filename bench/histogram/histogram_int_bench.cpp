// SPDX-License-Identifier: Apache-2.0
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

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

constexpr int32_t kBins = 256;

#if VLIX_BENCH_OPENCV
// One channel over [lo, hi).
void peer_counts(const cv::Mat& image, int channel, float lo, float hi, cv::Mat& counts) {
  const float range[] = {lo, hi};
  const float* ranges = range;
  cv::calcHist(&image, 1, &channel, cv::Mat(), counts, 1, &kBins, &ranges);
}
#endif

std::string compare(const VlixVector& hist, const float* peer) {
  for (int32_t i = 0; i < kBins; ++i) {
    if (static_cast<float>(values_of<PointI32>(hist)[i].y) != peer[i]) return "bin " + std::to_string(i) + " differs";
  }
  return "";
}

// 256 bins over the range of a signed type: a shift finds the bin.
template <class Pixel>
std::string compare_with_shifts(const VlixVector& hist, const Image<Pixel>& image) {
  constexpr int kShift = 8 * static_cast<int>(sizeof(Pixel)) - 8;
  std::vector<float> counts(kBins);
  for (const Pixel pixel : image.pixels) {
    counts[static_cast<std::size_t>((pixel - std::numeric_limits<Pixel>::min()) >> kShift)] += 1.0f;
  }
  return compare(hist, counts.data());
}

// 256 bins over the whole range of the type.
template <class Pixel>
Work bins_of_type(int32_t size) {
  constexpr int32_t kLo = std::numeric_limits<Pixel>::min();
  constexpr int32_t kHi = std::numeric_limits<Pixel>::max();
  auto image = scene<Pixel>(size, size);
  auto hist = output_vectors();
  Work work;
  work.ours = [=] { vlix_histogramInt(&image->record, hist.get(), 0, kBins, kLo, kHi); };
  if constexpr (std::is_signed_v<Pixel>) work.verify = [=] { return compare_with_shifts(hist[0], *image); };
#if VLIX_BENCH_OPENCV
  constexpr int kType = std::is_same_v<Pixel, uint8_t> ? CV_8U : CV_16U;
  if constexpr (std::is_unsigned_v<Pixel>) {
    auto counts = std::make_shared<cv::Mat>();
    work.peer = [=] { peer_counts(mat_of(image->record, kType), 0, kLo, kHi + 1, *counts); };
    work.verify = [=] { return compare(hist[0], counts->ptr<float>()); };
  }
#endif
  return work;
}

Work bins_of_channels(int32_t size) {
  auto image = scene<uint32_t>(size, size);
  auto hists = output_vectors(3);
  Work work;
  work.ours = [=] {
    static constexpr int32_t kLo[kBins] = {};
    static constexpr int32_t kCount[] = {kBins, kBins, kBins};
    static constexpr int32_t kHi[] = {255, 255, 255};
    vlix_histogramIntColor(&image->record, hists.get(), 0, kCount, kLo, kHi);
  };
#if VLIX_BENCH_OPENCV
  std::shared_ptr<cv::Mat[]> counts(new cv::Mat[3]);
  work.peer = [=] {
    for (int c = 0; c < 3; ++c) peer_counts(mat_of(image->record, CV_8UC4), c, 0, 256, counts[c]);
  };
  work.verify = [=]() -> std::string {
    for (std::size_t c = 0; c < 3; ++c) {
      const std::string difference = compare(hists[c], counts[c].ptr<float>());
      if (!difference.empty()) return "channel " + std::to_string(c) + ": " + difference;
    }
    return "";
  };
#endif
  return work;
}

std::string square(const char* type, int32_t size) {
  return std::string(type) + " " + std::to_string(size) + " x " + std::to_string(size) + ", 256 bins";
}

template <class Pixel>
void add(Cases& cases, const char* type, int32_t size, double goal, std::vector<int32_t> levels) {
  cases.push_back({.operation = "histogramInt",
                   .name = square(type, size),
                   .levels = std::move(levels),
                   .peer = std::is_unsigned_v<Pixel> ? "OpenCV calcHist" : "",
                   .goal = goal,
                   .quick = size <= 2048,
                   .make = [=] { return bins_of_type<Pixel>(size); }});
}

void cases_of_integer_histograms(Cases& cases) {
  for (const int32_t size : {512, 2048, 8192}) {
    // The figures that the goals are about belong to 2048 x 2048.
    const double scale = size == 2048 ? 1.0 : 0.0;
    add<uint8_t>(cases, "U8", size, 1.6 * scale, {1, 0});
    add<uint16_t>(cases, "U16", size, 7 * scale, {1, 0});
    cases.push_back({.operation = "histogramIntColor",
                     .name = square("Rgba8", size),
                     .peer = "OpenCV calcHist x 3",
                     .goal = 1.3 * scale,
                     .quick = size <= 2048,
                     .make = [=] { return bins_of_channels(size); }});
  }
  add<int16_t>(cases, "S16", 2048, 0, {1, 0});
  add<int8_t>(cases, "S8", 2048, 0, {1});
}

const bool registered = register_cases(cases_of_integer_histograms);

}  // namespace
}  // namespace vlix::bench
