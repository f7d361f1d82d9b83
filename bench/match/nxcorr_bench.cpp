// SPDX-License-Identifier: Apache-2.0
#include <cmath>
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

struct Output {
  ~Output() { VlixImageRelease(&record, 0); }
  VlixImage record = {};
};

// The coefficient of one placement, in two passes.
template <class Pixel>
double exact(const Image<Pixel>& target, const Image<Pixel>& templ, int32_t x, int32_t y) {
  const int32_t side = templ.record.width;
  const auto patch_at = [&](int32_t u, int32_t v) {
    return static_cast<long double>(
        target.pixels[static_cast<std::size_t>(y + v) * static_cast<std::size_t>(target.record.width) +
                      static_cast<std::size_t>(x + u)]);
  };
  const auto templ_at = [&](int32_t u, int32_t v) {
    return static_cast<long double>(templ.pixels[static_cast<std::size_t>(v * side + u)]);
  };
  long double mean_i = 0, mean_t = 0, ii = 0, tt = 0, it = 0;
  for (int32_t v = 0; v < side; ++v) {
    for (int32_t u = 0; u < side; ++u) {
      mean_i += patch_at(u, v) / (side * side);
      mean_t += templ_at(u, v) / (side * side);
    }
  }
  for (int32_t v = 0; v < side; ++v) {
    for (int32_t u = 0; u < side; ++u) {
      const long double i = patch_at(u, v) - mean_i;
      const long double t = templ_at(u, v) - mean_t;
      ii += i * i;
      tt += t * t;
      it += i * t;
    }
  }
  return ii > 0 && tt > 0 ? static_cast<double>(it / std::sqrt(ii * tt)) : 0.0;
}

template <class Pixel>
std::string check(const Image<Pixel>& target, const Image<Pixel>& templ, const VlixImage& dst) {
  const auto* scores = static_cast<const float*>(dst.data);
  for (int32_t i = 0; i < 32; ++i) {
    const int32_t x = (i * 7919) % dst.width;
    const int32_t y = (i * 104729) % dst.height;
    const double error = scores[std::ptrdiff_t{y} * dst.width + x] - exact(target, templ, x, y);
    if (std::abs(error) > 2e-6) return "score off by " + std::to_string(error);
  }
  return "";
}

template <class Pixel>
Work matching(int32_t size, int32_t side) {
  const auto target = scene<Pixel>(size, size, 1);
  const auto templ = scene<Pixel>(side, side, 2);
  const auto dst = std::make_shared<Output>();
  Work work;
  work.ours = [=] { vlix_nxcorr(&target->record, &templ->record, &dst->record); };
  work.verify = [=] { return check(*target, *templ, dst->record); };
#if VLIX_BENCH_OPENCV
  const int type = std::is_same_v<Pixel, uint8_t> ? CV_8U : CV_32F;
  const auto result = std::make_shared<cv::Mat>();
  work.peer = [=] {
    cv::matchTemplate(mat_of(target->record, type), mat_of(templ->record, type), *result, cv::TM_CCOEFF_NORMED);
  };
#endif
  return work;
}

template <class Pixel>
Case case_of(const std::string& type, int32_t size, int32_t side, double goal) {
  return {.operation = "nxcorr",
          .name = type + " " + std::to_string(size) + " with " + std::to_string(side),
          .levels = size == 512 && side <= 64 ? std::vector<int32_t>{1, 0} : std::vector<int32_t>{1},
          .peer = "OpenCV TM_CCOEFF_NORMED",
          .goal = goal,
          .quick = size == 512,
          .make = [=] { return matching<Pixel>(size, side); }};
}

void cases_of_nxcorr(Cases& cases) {
  for (int32_t size : {512, 2048}) {
    for (int32_t side : {8, 16, 32, 64, 128, 256}) {
      cases.push_back(case_of<uint8_t>("U8", size, side, side <= 32 ? 5 : 3));
      cases.push_back(case_of<float>("F32", size, side, 3));
    }
  }
}

const bool registered = register_cases(cases_of_nxcorr);

}  // namespace
}  // namespace vlix::bench
