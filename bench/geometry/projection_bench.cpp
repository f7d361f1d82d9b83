// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <cstring>
#include <string>
#include <type_traits>

#include "harness.h"
#include "images.h"
#include "peers.h"
#include "vlix/meas.h"
#include "vlix/object.h"

namespace vlix::bench {
namespace {

// Output vectors are used again and again, as a caller with a camera would.
struct Outputs {
  Outputs() = default;
  Outputs(const Outputs&) = delete;
  Outputs& operator=(const Outputs&) = delete;
  ~Outputs() {
    VlixVectorRelease(&rows, 0);
    VlixVectorRelease(&columns, 0);
  }
  VlixVector rows = {};
  VlixVector columns = {};
};

template <class Pixel>
std::shared_ptr<Image<Pixel>> input(int32_t size) {
  auto image = scene<Pixel>(size, size);
  // Floats that keep something when they lose their fraction.
  if constexpr (std::is_same_v<Pixel, float>) {
    for (float& pixel : image->pixels) pixel *= 4095.0f;
  }
  return image;
}

template <class Pixel, class Sum>
std::string compare(const Image<Pixel>& image, const Outputs& ours) {
  const auto size = static_cast<std::size_t>(image.record.width);
  const auto* rows = static_cast<const Sum*>(ours.rows.data);
  const auto* columns = static_cast<const Sum*>(ours.columns.data);
  for (std::size_t i = 0; i < size; ++i) {
    double row = 0.0;
    double column = 0.0;
    for (std::size_t k = 0; k < size; ++k) {
      row += std::trunc(static_cast<double>(image.pixels[i * size + k]));
      column += std::trunc(static_cast<double>(image.pixels[k * size + i]));
    }
    // A running float sum of n positive terms is at most n 2^-24 of itself away.
    const double tolerance = std::is_same_v<Sum, float> ? static_cast<double>(size) * 0x1p-24 : 0.0;
    if (std::abs(static_cast<double>(rows[i]) - row) > tolerance * row) return "row " + std::to_string(i);
    if (std::abs(static_cast<double>(columns[i]) - column) > tolerance * column) return "column " + std::to_string(i);
  }
  return "";
}

template <class Pixel>
void read_all(const Image<Pixel>& image) {
  const auto* words = reinterpret_cast<const unsigned char*>(image.pixels.data());
  uint64_t sums[8] = {};
  for (std::size_t i = 0; i + sizeof(sums) <= image.pixels.size() * sizeof(Pixel); i += sizeof(sums)) {
    uint64_t line[8];
    std::memcpy(line, words + i, sizeof(line));
    for (int k = 0; k < 8; ++k) sums[k] += line[k];
  }
  keep(sums);
}

template <class Pixel, class Sum>
Work both_sums(int32_t size) {
  auto image = input<Pixel>(size);
  auto outputs = std::make_shared<Outputs>();
  const auto function = std::is_same_v<Sum, float> ? vlix_projection : vlix_projectionInt;
  Work work;
  work.ours = [=] { function(&image->record, &outputs->rows, &outputs->columns, 0); };
  work.verify = [=] { return compare<Pixel, Sum>(*image, *outputs); };
  work.limit = [=] { read_all(*image); };
#if VLIX_BENCH_OPENCV
  // cv::reduce has integer sums for bytes only, and drops no fractions.
  constexpr int kDepth = std::is_same_v<Pixel, uint8_t> ? CV_8U : std::is_same_v<Pixel, uint16_t> ? CV_16U : CV_32F;
  constexpr int kSums = std::is_same_v<Sum, int32_t> && kDepth == CV_8U ? CV_32S : CV_32F;
  auto rows = std::make_shared<cv::Mat>();
  auto columns = std::make_shared<cv::Mat>();
  work.peer = [=] {
    const cv::Mat mat = mat_of(image->record, kDepth);
    cv::reduce(mat, *rows, 1, cv::REDUCE_SUM, kSums);
    cv::reduce(mat, *columns, 0, cv::REDUCE_SUM, kSums);
  };
#endif
  return work;
}

template <class Pixel, class Sum>
void add(Cases& cases, const std::string& type, int32_t size, double goal) {
  cases.push_back({.operation = std::is_same_v<Sum, float> ? "projection" : "projectionInt",
                   .name = type + " " + std::to_string(size) + " square, rows and columns",
                   .levels = {1, 0},
                   .peer = "OpenCV reduce, twice",
                   .limit = "memory read",
                   // Beyond the caches the memory sets the pace for both.
                   .goal = size > 2048 ? 0.0 : goal,
                   .quick = size == 2048,
                   .make = [=] { return both_sums<Pixel, Sum>(size); }});
}

void cases_of_projection(Cases& cases) {
  for (const int32_t size : {512, 2048, 8192}) {
    add<uint8_t, float>(cases, "U8", size, 10);
    add<uint16_t, float>(cases, "U16", size, 3);
    add<float, float>(cases, "F32", size, 3);
    add<uint8_t, int32_t>(cases, "U8", size, 10);
    add<uint16_t, int32_t>(cases, "U16", size, 10);
  }
}

const bool registered = register_cases(cases_of_projection);

}  // namespace
}  // namespace vlix::bench
