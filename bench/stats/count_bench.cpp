// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>

#include "harness.h"
#include "images.h"
#include "peers.h"
#include "vlix/meas.h"

namespace vlix::bench {
namespace {

// About half of the pixels of a scene.
struct Range {
  int32_t low;
  int32_t high;
};
template <class Pixel>
inline constexpr Range kMiddle = {0x50, 0xA0};
template <>
inline constexpr Range kMiddle<uint16_t> = {0x5000, 0xA000};
template <>
inline constexpr Range kMiddle<float> = {300, 600};

// Scenes of floats get a spread of a thousand; every other pixel of the ones for non-zero counts is 0.
template <class Pixel>
std::shared_ptr<Image<Pixel>> input(int32_t size, bool with_zeros) {
  auto image = scene<Pixel>(size, size);
  for (std::size_t i = 0; i < image->pixels.size(); ++i) {
    Pixel& pixel = image->pixels[i];
    if constexpr (std::is_same_v<Pixel, float>) pixel *= 1000.0f;
    if (with_zeros && i % 2 == 0) pixel = Pixel{};
  }
  return image;
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

struct Counts {
  uint32_t ours = 0;
  uint32_t peer = 0;
};

// The same test on every pixel, one by one.
template <class Pixel, class Test>
std::function<std::string()> verification(std::shared_ptr<Image<Pixel>> image, std::shared_ptr<Counts> counts,
                                          Test test) {
  return [=]() -> std::string {
    uint32_t expected = 0;
    for (const Pixel pixel : image->pixels) expected += test(pixel) ? 1 : 0;
    if (counts->ours != expected) return "ours counts " + std::to_string(counts->ours);
#if VLIX_BENCH_OPENCV
    if (counts->peer != expected) return "the peer counts " + std::to_string(counts->peer);
#endif
    return "";
  };
}

#if VLIX_BENCH_OPENCV
template <class Pixel>
inline constexpr int kCvType = std::is_same_v<Pixel, uint8_t>    ? CV_8U
                               : std::is_same_v<Pixel, uint16_t> ? CV_16U
                                                                 : CV_32F;
#endif

template <class Pixel>
Work non_zero(int32_t size) {
  auto image = input<Pixel>(size, true);
  auto counts = std::make_shared<Counts>();
  Work work;
  work.ours = [=] { vlix_countPix(&image->record, &counts->ours); };
  work.limit = [=] { read_all(*image); };
  work.verify = verification(image, counts, [](Pixel pixel) { return pixel != Pixel{}; });
#if VLIX_BENCH_OPENCV
  work.peer = [=] { counts->peer = static_cast<uint32_t>(cv::countNonZero(mat_of(image->record, kCvType<Pixel>))); };
#endif
  return work;
}

template <class Pixel>
Work in_range(int32_t size) {
  auto image = input<Pixel>(size, false);
  auto counts = std::make_shared<Counts>();
  constexpr Range kRange = kMiddle<Pixel>;
  Work work;
  work.ours = [=] { vlix_countThreshPix(&image->record, &counts->ours, kRange.low, kRange.high); };
  work.limit = [=] { read_all(*image); };
  work.verify = verification(image, counts, [=](Pixel pixel) {
    return static_cast<double>(pixel) > kRange.low && static_cast<double>(pixel) <= kRange.high;
  });
#if VLIX_BENCH_OPENCV
  // The mask is kept between calls. Both bounds of the peer count.
  auto mask = std::make_shared<cv::Mat>();
  work.peer = [=] {
    const double lowest = std::is_same_v<Pixel, float>
                              ? static_cast<double>(std::nextafter(static_cast<float>(kRange.low), 1e9f))
                              : kRange.low + 1;
    cv::inRange(mat_of(image->record, kCvType<Pixel>), lowest, static_cast<double>(kRange.high), *mask);
    counts->peer = static_cast<uint32_t>(cv::countNonZero(*mask));
  };
#endif
  return work;
}

template <class Pixel>
void add(Cases& cases, const std::string& type, int32_t size, double goal_non_zero, double goal_in_range) {
  const std::string name = type + " " + std::to_string(size) + " square";
  // Beyond the caches the memory sets the pace for both.
  const bool in_memory = size > 2048;
  cases.push_back({.operation = "countPix",
                   .name = name,
                   .levels = {1, 0},
                   .peer = "OpenCV countNonZero",
                   .limit = "memory read",
                   .goal = in_memory ? 0.0 : goal_non_zero,
                   .quick = size == 2048,
                   .make = [=] { return non_zero<Pixel>(size); }});
  cases.push_back({.operation = "countThreshPix",
                   .name = name,
                   .levels = {1, 0},
                   .peer = "OpenCV inRange + countNonZero",
                   .limit = "memory read",
                   .goal = in_memory ? 0.0 : goal_in_range,
                   .quick = size == 2048,
                   .make = [=] { return in_range<Pixel>(size); }});
}

void cases_of_counts(Cases& cases) {
  for (const int32_t size : {512, 2048, 8192}) {
    add<uint8_t>(cases, "U8", size, 1.3, 5);
    add<uint16_t>(cases, "U16", size, 1, 5);
    add<float>(cases, "F32", size, 1, 5);
  }
}

const bool registered = register_cases(cases_of_counts);

}  // namespace
}  // namespace vlix::bench
