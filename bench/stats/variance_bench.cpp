// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <cstring>
#include <string>

#if VLIX_BENCH_OPENCV
#include <opencv2/imgproc.hpp>
#endif

#include "harness.h"
#include "images.h"
#include "peers.h"
#include "vlix/meas.h"
#include "vlix/object.h"

namespace vlix::bench {
namespace {

// Output images are used again and again, as a caller with a camera would.
struct Outputs {
  Outputs() = default;
  Outputs(const Outputs&) = delete;
  Outputs& operator=(const Outputs&) = delete;
  ~Outputs() {
    VlixImageRelease(&mean, 0);
    VlixImageRelease(&variance, 0);
  }
  VlixImage mean = {};
  VlixImage variance = {};
};

#if VLIX_BENCH_OPENCV
struct Peer {
  cv::Mat mean, variance, squares, product;
};

// Population variance of a window that is not clipped but extended: the inner pixels are comparable.
template <class Pixel>
void run_peer(const VlixImage& image, int32_t kernel, bool deviation, Peer& peer) {
  const cv::Mat source = mat_of(image, std::is_same_v<Pixel, uint8_t> ? CV_8U : CV_32F);
  const cv::Size size(kernel, kernel);
  cv::boxFilter(source, peer.mean, CV_32F, size);
  cv::sqrBoxFilter(source, peer.squares, CV_32F, size);
  cv::multiply(peer.mean, peer.mean, peer.product);
  cv::subtract(peer.squares, peer.product, peer.variance);
  if (deviation) cv::sqrt(peer.variance, peer.variance);
}

// Both against sums of doubles, on a grid of inner pixels.
template <class Pixel>
std::string compare(const Image<Pixel>& image, const Outputs& ours, const Peer& peer, int32_t kernel, bool deviation) {
  const int32_t size = image.record.width;
  const double n = static_cast<double>(kernel) * kernel;
  for (int32_t y = kernel; y < size - kernel; y += 31) {
    for (int32_t x = kernel; x < size - kernel; x += 29) {
      double sum = 0.0;
      double square = 0.0;
      for (int32_t v = y - kernel / 2; v <= y + kernel / 2; ++v) {
        for (int32_t u = x - kernel / 2; u <= x + kernel / 2; ++u) {
          const double pixel =
              image.pixels[static_cast<std::size_t>(v) * static_cast<std::size_t>(size) + static_cast<std::size_t>(u)];
          sum += pixel;
          square += pixel * pixel;
        }
      }
      const std::size_t at = static_cast<std::size_t>(y) * static_cast<std::size_t>(size) + static_cast<std::size_t>(x);
      const double mean = static_cast<const float*>(ours.mean.data)[at];
      double variance = static_cast<const float*>(ours.variance.data)[at];
      double other = peer.variance.template at<float>(y, x);
      if (deviation) {
        variance *= variance;
        other *= other;
      }
      const double exact = (square - sum * sum / n) / (n - 1.0);
      // The float sums have walked along rows and columns of `size` pixels, a rounding of at most 2^-24 of the sums
      // each.
      const double tolerance = 2.0 * size * 0x1p-24 * square / n;
      const std::string place = std::to_string(x) + ", " + std::to_string(y);
      if (std::abs(mean - sum / n) > 2.0 * size * 0x1p-24 * (sum / n)) return "mean at " + place;
      if (std::abs(variance - exact) > tolerance) return "variance at " + place;
      if (std::abs(other * n / (n - 1.0) - exact) > tolerance) return "peer's variance at " + place;
    }
  }
  return "";
}
#endif

template <class Pixel>
Work variance_work(int32_t size, int32_t kernel, bool deviation) {
  auto image = scene<Pixel>(size, size);
  auto ours = std::make_shared<Outputs>();
  Work work;
  work.ours = [=] { vlix_variance(&image->record, &ours->mean, &ours->variance, deviation ? 1 : 0, kernel, kernel); };
#if VLIX_BENCH_OPENCV
  auto peer = std::make_shared<Peer>();
  work.peer = [=] { run_peer<Pixel>(image->record, kernel, deviation, *peer); };
  work.verify = [=] { return compare(*image, *ours, *peer, kernel, deviation); };
#endif
  // The memory that has to move: the pixels in, two floats out.
  auto out = std::make_shared<std::vector<float>>(2 * image->pixels.size());
  work.limit = [=] {
    float* mean = out->data();
    float* variance = mean + image->pixels.size();
    for (std::size_t i = 0; i < image->pixels.size(); ++i) {
      const auto v = static_cast<float>(image->pixels[i]);
      mean[i] = v;
      variance[i] = v * v;
    }
    keep(out->data());
  };
  return work;
}

template <class Pixel>
void add_case(Cases& cases, const char* type, int32_t size, int32_t kernel, bool deviation, double goal, bool quick) {
  const std::string name = std::string(type) + " " + std::to_string(size) + ", kernel " + std::to_string(kernel) +
                           (deviation ? ", deviation" : "");
  cases.push_back({.operation = "variance",
                   .name = name,
                   .peer = "OpenCV boxFilter, sqrBoxFilter",
                   .limit = "read and write",
                   .goal = goal,
                   .quick = quick,
                   .make = [=] { return variance_work<Pixel>(size, kernel, deviation); }});
}

void cases_of_variance(Cases& cases) {
  for (int32_t kernel : {3, 7, 31}) {
    add_case<uint8_t>(cases, "U8", 2048, kernel, false, 1.5, true);
    add_case<float>(cases, "F32", 2048, kernel, false, 1.0, true);
  }
  add_case<uint8_t>(cases, "U8", 2048, 255, false, 0.0, false);
  add_case<uint8_t>(cases, "U8", 2048, 7, true, 0.0, false);
  for (int32_t size : {16, 512, 1024, 4096, 8192}) add_case<uint8_t>(cases, "U8", size, 7, false, 0.0, false);
}

const bool registered = register_cases(cases_of_variance);

}  // namespace
}  // namespace vlix::bench
