// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <string>

#include "harness.h"
#include "images.h"
#include "peers.h"
#include "vlix/meas.h"
#include "vlix/object.h"
#include "vlix/xform.h"

#if VLIX_BENCH_FFTW
#include <fftw3.h>
#endif

namespace vlix::bench {
namespace {

// A float image of the platform, released with its owner.
struct Output {
  ~Output() { VlixImageRelease(&record, 0); }
  VlixImage record = {};
};

#if VLIX_BENCH_OPENCV
// Correlation as an OpenCV user writes it: float copies, padded to a fast size, packed spectra.
cv::Mat correlate(const VlixImage& image, const VlixImage& pattern) {
  const int width = cv::getOptimalDFTSize(image.width + pattern.width - 1);
  const int height = cv::getOptimalDFTSize(image.height + pattern.height - 1);
  cv::Mat padded[2] = {cv::Mat::zeros(height, width, CV_32F), cv::Mat::zeros(height, width, CV_32F)};
  const VlixImage* inputs[2] = {&image, &pattern};
  for (int i = 0; i < 2; ++i) {
    cv::Mat part = padded[i](cv::Rect(0, 0, inputs[i]->width, inputs[i]->height));
    mat_of(*inputs[i], CV_8U).convertTo(part, CV_32F);
    cv::dft(padded[i], padded[i], 0, inputs[i]->height);
  }
  cv::mulSpectrums(padded[0], padded[1], padded[0], 0, true);
  cv::dft(padded[0], padded[0], cv::DFT_INVERSE | cv::DFT_SCALE | cv::DFT_REAL_OUTPUT);
  return padded[0];
}

// Largest difference in parts of the largest score, without the border where the peer's result wraps around.
std::string compare(const VlixImage& ours, const cv::Mat& peer, int32_t w, int32_t h) {
  double largest = 0, difference = 0;
  const auto* scores = static_cast<const float*>(ours.data);
  for (int32_t y = h / 2; y < ours.height; ++y) {
    for (int32_t x = w / 2; x < ours.width; ++x) {
      const double expected = peer.at<float>(y - h / 2, x - w / 2) / (double{1} * ours.width * ours.height);
      largest = std::max(largest, std::abs(expected));
      difference = std::max(difference, std::abs(expected - double{scores[std::ptrdiff_t{y} * ours.width + x]}));
    }
  }
  return difference <= 1e-5 * largest ? "" : "off by " + std::to_string(difference / largest);
}
#endif

#if VLIX_BENCH_FFTW
// Two forward transforms and one back, real, planned the same way, on the grid of ours.
class BareTransforms {
 public:
  BareTransforms(int32_t width, int32_t height)
      : real_(fftwf_alloc_real(std::size_t{1} * static_cast<std::size_t>(width) * static_cast<std::size_t>(height))),
        spectrum_(fftwf_alloc_complex(static_cast<std::size_t>(height) * static_cast<std::size_t>(width / 2 + 1))),
        forward_(fftwf_plan_dft_r2c_2d(height, width, real_, spectrum_, FFTW_ESTIMATE)),
        back_(fftwf_plan_dft_c2r_2d(height, width, spectrum_, real_, FFTW_ESTIMATE)) {
    std::fill_n(real_, static_cast<std::size_t>(width) * static_cast<std::size_t>(height), 1.0f);
  }
  ~BareTransforms() {
    fftwf_destroy_plan(forward_);
    fftwf_destroy_plan(back_);
    fftwf_free(real_);
    fftwf_free(spectrum_);
  }
  BareTransforms(const BareTransforms&) = delete;
  BareTransforms& operator=(const BareTransforms&) = delete;
  void run() const {
    fftwf_execute(forward_);
    fftwf_execute(forward_);
    fftwf_execute(back_);
  }

 private:
  float* real_;
  fftwf_complex* spectrum_;
  fftwf_plan forward_;
  fftwf_plan back_;
};

std::shared_ptr<BareTransforms> bare_transforms(int32_t width, int32_t height) {
  const auto padded = scene<float>(width, height);
  Output spectrum;
  if (vlix_fft(&padded->record, &spectrum.record, 0, 0, 0) != 0) return nullptr;
  return std::make_shared<BareTransforms>(spectrum.record.width, spectrum.record.height);
}
#endif

Work correlation(int32_t size, int32_t pattern_size) {
  const auto image = scene<uint8_t>(size, size, 1);
  const auto pattern = scene<uint8_t>(pattern_size, pattern_size, 2);
  const auto dst = std::make_shared<Output>();
  Work work;
  work.ours = [=] { vlix_xCorr(&image->record, &pattern->record, &dst->record); };
#if VLIX_BENCH_OPENCV
  const auto result = std::make_shared<cv::Mat>();
  work.peer = [=] { *result = correlate(image->record, pattern->record); };
  work.verify = [=] { return compare(dst->record, *result, pattern_size, pattern_size); };
#endif
#if VLIX_BENCH_FFTW
  const auto bare = bare_transforms(size + pattern_size - 1, size + pattern_size - 1);
  if (bare) work.limit = [=] { bare->run(); };
#endif
  return work;
}

void cases_of_xcorr(Cases& cases) {
  struct Size {
    int32_t image, pattern;
    bool quick;
  };
  for (const Size& size : {Size{512, 31, true}, Size{512, 512, true}, Size{2048, 129, false}}) {
    cases.push_back({.operation = "xCorr",
                     .name = "U8 " + std::to_string(size.image) + " with " + std::to_string(size.pattern),
                     .peer = "OpenCV dft",
                     .limit = "three FFTW transforms",
                     .goal = 1.5,
                     .quick = size.quick,
                     .make = [=] { return correlation(size.image, size.pattern); }});
  }
}

const bool registered = register_cases(cases_of_xcorr);

}  // namespace
}  // namespace vlix::bench
