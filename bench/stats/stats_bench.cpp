// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <cstring>
#include <memory>
#include <string>
#include <type_traits>

#include "harness.h"
#include "images.h"
#include "peers.h"
#include "vlix/meas.h"

namespace vlix::bench {
namespace {

// One pixel is one channel, or four bytes of which the first three are channels.
template <class Pixel>
inline constexpr int kChannels = std::is_same_v<Pixel, uint32_t> ? 3 : 1;

struct Results {
  float value[3][4] = {};  // by channel: mean, deviation, minimum, maximum
};

template <class Pixel>
void run_stats(const VlixImage& image, Results& r) {
  const VlixImageHandle handle = {VlixHandle_Image, {}, image};
  const auto* obj = reinterpret_cast<const VlixObj*>(&handle);
  float(&v)[3][4] = r.value;
  if constexpr (kChannels<Pixel> == 1) {
    vlix_stats(obj, &v[0][0], &v[0][1], &v[0][2], &v[0][3], nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
               nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
  } else {
    vlix_stats(obj, nullptr, nullptr, nullptr, nullptr, &v[0][0], &v[0][1], &v[0][2], &v[0][3], &v[1][0], &v[1][1],
               &v[1][2], &v[1][3], &v[2][0], &v[2][1], &v[2][2], &v[2][3]);
  }
}

template <class Pixel>
double sample(Pixel pixel, int channel) {
  if constexpr (kChannels<Pixel> == 1) return static_cast<double>(pixel);
  return static_cast<double>((static_cast<uint32_t>(pixel) >> (8 * channel)) & 0xFF);
}

template <class Pixel>
std::string compare(const Image<Pixel>& image, const Results& ours) {
  const auto n = static_cast<double>(image.pixels.size());
  for (int channel = 0; channel < kChannels<Pixel>; ++channel) {
    double sum = 0.0;
    double min = sample(image.pixels[0], channel);
    double max = min;
    for (const Pixel pixel : image.pixels) {
      const double v = sample(pixel, channel);
      sum += v;
      min = v < min ? v : min;
      max = v > max ? v : max;
    }
    const double mean = sum / n;
    double square = 0.0;
    for (const Pixel pixel : image.pixels) square += (sample(pixel, channel) - mean) * (sample(pixel, channel) - mean);
    const double expected[4] = {mean, std::sqrt(square / n), min, max};
    for (int i = 0; i < 4; ++i) {
      // Half a step of the stored float; the sums in double of some 10^8 samples are another 2^-26 off at most.
      const double error = std::abs(static_cast<double>(ours.value[channel][i]) - expected[i]);
      if (!(error <= 0x1p-23 * std::abs(expected[i]))) {
        return "channel " + std::to_string(channel) + " value " + std::to_string(i);
      }
    }
  }
  return "";
}

template <class Pixel>
void read_all(const Image<Pixel>& image) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(image.pixels.data());
  uint64_t sums[8] = {};
  for (std::size_t i = 0; i + sizeof(sums) <= image.pixels.size() * sizeof(Pixel); i += sizeof(sums)) {
    uint64_t line[8];
    std::memcpy(line, bytes + i, sizeof(line));
    for (int k = 0; k < 8; ++k) sums[k] += line[k];
  }
  keep(sums);
}

#if VLIX_BENCH_OPENCV
template <class Pixel>
void run_peer(const VlixImage& image) {
  constexpr int kType = std::is_same_v<Pixel, uint8_t>    ? CV_8U
                        : std::is_same_v<Pixel, int8_t>   ? CV_8S
                        : std::is_same_v<Pixel, uint16_t> ? CV_16U
                        : std::is_same_v<Pixel, float>    ? CV_32F
                                                          : CV_8UC4;
  const cv::Mat mat = mat_of(image, kType);
  cv::Scalar mean;
  cv::Scalar deviation;
  cv::meanStdDev(mat, mean, deviation);
  double min = 0.0;
  double max = 0.0;
  // Extremes are found for single channels only: of all channels together, which is less than ours yields.
  cv::minMaxIdx(kChannels<Pixel> == 1 ? mat : mat.reshape(1), &min, &max);
  keep(mean);
  keep(deviation);
  keep(min);
  keep(max);
}
#endif

template <class Pixel>
Work all_values(int32_t size) {
  auto image = scene<Pixel>(size, size);
  auto results = std::make_shared<Results>();
  Work work;
  work.ours = [=] { run_stats<Pixel>(image->record, *results); };
  work.verify = [=] { return compare(*image, *results); };
  work.limit = [=] { read_all(*image); };
#if VLIX_BENCH_OPENCV
  work.peer = [=] { run_peer<Pixel>(image->record); };
#endif
  return work;
}

template <class Pixel>
void add(Cases& cases, const std::string& type, int32_t size, double goal) {
  cases.push_back({.operation = "stats",
                   .name = type + " " + std::to_string(size) + " square",
                   .levels = {1, 0, 2},
                   .peer = "OpenCV meanStdDev + minMaxIdx",
                   .limit = "memory read",
                   // Beyond the caches the memory sets the pace for both.
                   .goal = size > 2048 ? 0.0 : goal,
                   .quick = size == 2048,
                   .make = [=] { return all_values<Pixel>(size); }});
}

void cases_of_stats(Cases& cases) {
  for (const int32_t size : {512, 2048, 8192}) {
    add<uint8_t>(cases, "U8", size, 6);
    add<uint16_t>(cases, "U16", size, 15);
    add<float>(cases, "F32", size, 8);
    add<uint32_t>(cases, "Rgba8", size, 5);
  }
}

const bool registered = register_cases(cases_of_stats);

}  // namespace
}  // namespace vlix::bench
