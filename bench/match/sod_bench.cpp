// SPDX-License-Identifier: Apache-2.0
#include <cstdlib>
#include <string>

#include "harness.h"
#include "images.h"
#include "peers.h"
#include "vlix/meas.h"
#include "vlix/object.h"

#if VLIX_BENCH_OPENCV
#include <opencv2/imgproc.hpp>
#endif
#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace vlix::bench {
namespace {

struct Output {
  ~Output() { VlixImageRelease(&record, 0); }
  VlixImage record = {};
};

// Some scores by the definition: the peer measures something else.
template <class Pixel>
std::string check(const Image<Pixel>& target, const Image<Pixel>& templ, const VlixImage& dst) {
  const auto* scores = static_cast<const uint16_t*>(dst.data);
  for (int32_t i = 0; i < 64; ++i) {
    const int32_t x = (i * 7919) % dst.width;
    const int32_t y = (i * 104729) % dst.height;
    double sum = 0;
    for (int32_t v = 0; v < templ.record.height; ++v) {
      for (int32_t u = 0; u < templ.record.width; ++u) {
        const double t = target.pixels[static_cast<std::size_t>((y + v) * target.record.width + x + u)];
        const double p = templ.pixels[static_cast<std::size_t>(v * templ.record.width + u)];
        sum += std::trunc(std::abs(p - t));
      }
    }
    const double expected = sum > 65535 ? 65535 : sum;
    const double found = scores[std::ptrdiff_t{y} * dst.width + x];
    if (found != expected) return "score " + std::to_string(found) + " instead of " + std::to_string(expected);
  }
  return "";
}

#if defined(__x86_64__) && defined(__GNUC__)
// As many packed absolute differences as the scores take, on operands that stay in registers.
__attribute__((target("avx512bw"))) void differences_of_512_bits(double terms) {
  constexpr int kSums = 16;
  const __m512i pixels = _mm512_set1_epi8(7);
  __m512i sums[kSums] = {};
  const auto rounds = static_cast<int64_t>(terms / (kSums * 128.0));
  for (int64_t i = 0; i < rounds; ++i) {
#pragma GCC unroll 16
    for (__m512i& sum : sums) sum = _mm512_adds_epu16(sum, _mm512_dbsad_epu8(sum, pixels, 0x94));
  }
  for (const __m512i& sum : sums) keep(_mm512_reduce_add_epi32(sum));
}

void differences_of_128_bits(double terms) {
  constexpr int kSums = 8;
  const __m128i pixels = _mm_set1_epi8(7);
  __m128i sums[kSums] = {};
  const auto rounds = static_cast<int64_t>(terms / (kSums * 16.0));
  for (int64_t i = 0; i < rounds; ++i) {
#pragma GCC unroll 8
    for (__m128i& sum : sums) sum = _mm_add_epi64(sum, _mm_sad_epu8(sum, pixels));
  }
  for (const __m128i& sum : sums) keep(_mm_cvtsi128_si32(sum));
}

void packed_differences(double terms) {
  __builtin_cpu_supports("avx512bw") ? differences_of_512_bits(terms) : differences_of_128_bits(terms);
}
#define VLIX_BENCH_DIFFERENCES 1
#endif

template <class Pixel>
Work matching(int32_t size, int32_t side) {
  const auto target = scene<Pixel>(size, size, 1);
  const auto templ = scene<Pixel>(side, side, 2);
  const auto dst = std::make_shared<Output>();
  Work work;
  work.ours = [=] { vlix_sod(&target->record, &templ->record, &dst->record); };
  work.verify = [=] { return check(*target, *templ, dst->record); };
#if VLIX_BENCH_DIFFERENCES
  if constexpr (std::is_same_v<Pixel, uint8_t>) {
    const double placements = static_cast<double>(size - side + 1) * (size - side + 1);
    work.limit = [=] { packed_differences(placements * side * side); };
  }
#endif
#if VLIX_BENCH_OPENCV
  if constexpr (std::is_same_v<Pixel, uint8_t> || std::is_same_v<Pixel, float>) {
    const int type = std::is_same_v<Pixel, uint8_t> ? CV_8U : CV_32F;
    const auto result = std::make_shared<cv::Mat>();
    work.peer = [=] {
      cv::matchTemplate(mat_of(target->record, type), mat_of(templ->record, type), *result, cv::TM_SQDIFF);
    };
  }
#endif
  return work;
}

template <class Pixel>
Case case_of(const std::string& type, int32_t size, int32_t side, double goal) {
  return {.operation = "sod",
          .name = type + " " + std::to_string(size) + " with " + std::to_string(side),
          .levels = {0},
          .peer = std::is_same_v<Pixel, uint8_t> || std::is_same_v<Pixel, float> ? "OpenCV TM_SQDIFF" : "",
          .limit = std::is_same_v<Pixel, uint8_t> ? "packed absolute differences" : "",
          .goal = goal,
          .quick = size == 512,
          .make = [=] { return matching<Pixel>(size, side); }};
}

void cases_of_sod(Cases& cases) {
  struct Goal {
    int32_t side;
    double ratio;
  };
  for (int32_t size : {512, 1024}) {
    for (const Goal& goal : {Goal{8, 30}, Goal{16, 15}, Goal{32, 6}, Goal{64, 2}}) {
      cases.push_back(case_of<uint8_t>("U8", size, goal.side, goal.ratio));
    }
  }
  cases.push_back(case_of<uint8_t>("U8", 512, 13, 0));
  cases.push_back(case_of<uint16_t>("U16", 512, 16, 0));
  cases.push_back(case_of<int16_t>("S16", 512, 16, 0));
  cases.push_back(case_of<float>("F32", 512, 16, 0));
  // The route that other levels prescribe for bytes.
  Case primitives = case_of<uint8_t>("U8, primitives,", 512, 16, 0);
  primitives.levels = {1};
  cases.push_back(primitives);
}

const bool registered = register_cases(cases_of_sod);

}  // namespace
}  // namespace vlix::bench
