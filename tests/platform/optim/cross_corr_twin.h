// SPDX-License-Identifier: Apache-2.0
// Correlation coefficients by their definition.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

#include "platform/optim/region.h"
#include "vlix/optim.h"

namespace vlix::test {

inline int32_t cross_corr(const uint8_t* src, int32_t step, VlixSize size, const uint8_t* tpl, int32_t tpl_step,
                          VlixSize tpl_size, float* dst, int32_t dst_step) {
  return vlix_ippiCrossCorrValid_NormLevel_8u32f_C1R(src, step, size, tpl, tpl_step, tpl_size, dst, dst_step);
}
inline int32_t cross_corr(const int8_t* src, int32_t step, VlixSize size, const int8_t* tpl, int32_t tpl_step,
                          VlixSize tpl_size, float* dst, int32_t dst_step) {
  return vlix_ippiCrossCorrValid_NormLevel_8s32f_C1R(src, step, size, tpl, tpl_step, tpl_size, dst, dst_step);
}
inline int32_t cross_corr(const uint16_t* src, int32_t step, VlixSize size, const uint16_t* tpl, int32_t tpl_step,
                          VlixSize tpl_size, float* dst, int32_t dst_step) {
  return vlix_ippiCrossCorrValid_NormLevel_16u32f_C1R(src, step, size, tpl, tpl_step, tpl_size, dst, dst_step);
}
inline int32_t cross_corr(const float* src, int32_t step, VlixSize size, const float* tpl, int32_t tpl_step,
                          VlixSize tpl_size, float* dst, int32_t dst_step) {
  return vlix_ippiCrossCorrValid_NormLevel_32f_C1R(src, step, size, tpl, tpl_step, tpl_size, dst, dst_step);
}

template <class Pixel>
int32_t cross_corr(const Region<Pixel>& source, const Region<Pixel>& tpl, const Region<float>& dst) {
  return cross_corr(source.data(), source.step, source.size, tpl.data(), tpl.step, tpl.size, dst.data(), dst.step);
}

struct Exact {
  double score;
  bool flat;  // the patch or the template
};

// The coefficient of one placement: means first, then deviations, in long double. Integers and floats whose values are
// small multiples of one power of two come out with an error below 1e-16.
template <class Pixel>
Exact exact_score(const Region<Pixel>& source, const Region<Pixel>& tpl, int32_t x, int32_t y) {
  const auto count = static_cast<long double>(tpl.count());
  long double patch_mean = 0;
  long double tpl_mean = 0;
  bool patch_is_flat = true;
  bool tpl_is_flat = true;
  for (int32_t v = 0; v < tpl.size.height; ++v) {
    for (int32_t u = 0; u < tpl.size.width; ++u) {
      patch_mean += static_cast<long double>(source.at(x + u, y + v));
      tpl_mean += static_cast<long double>(tpl.at(u, v));
      patch_is_flat = patch_is_flat && source.at(x + u, y + v) == source.at(x, y);
      tpl_is_flat = tpl_is_flat && tpl.at(u, v) == tpl.at(0, 0);
    }
  }
  if (patch_is_flat || tpl_is_flat) return {0, true};
  patch_mean /= count;
  tpl_mean /= count;
  long double patch_squares = 0;
  long double tpl_squares = 0;
  long double products = 0;
  for (int32_t v = 0; v < tpl.size.height; ++v) {
    for (int32_t u = 0; u < tpl.size.width; ++u) {
      const long double a = static_cast<long double>(source.at(x + u, y + v)) - patch_mean;
      const long double b = static_cast<long double>(tpl.at(u, v)) - tpl_mean;
      patch_squares += a * a;
      tpl_squares += b * b;
      products += a * b;
    }
  }
  return {static_cast<double>(products / (std::sqrt(patch_squares) * std::sqrt(tpl_squares))), false};
}

// All coefficients of integers (or of floats that hold whole numbers below 2^17), from exact 64-bit sums.
template <class Pixel>
std::vector<Exact> exact_scores(const Region<Pixel>& source, const Region<Pixel>& tpl) {
  using Count = int64_t;
  const auto n = static_cast<Count>(tpl.count());
  Count tpl_sum = 0;
  Count tpl_squares = 0;
  for (const Pixel pixel : tpl.values()) {
    tpl_sum += static_cast<Count>(pixel);
    tpl_squares += static_cast<Count>(pixel) * static_cast<Count>(pixel);
  }
  __extension__ using Wide = __int128;
  const auto tpl_deviation = static_cast<long double>(Wide{n} * tpl_squares - Wide{tpl_sum} * tpl_sum);
  std::vector<Exact> scores;
  for (int32_t y = 0; y + tpl.size.height <= source.size.height; ++y) {
    for (int32_t x = 0; x + tpl.size.width <= source.size.width; ++x) {
      Count sum = 0;
      Count squares = 0;
      Count products = 0;
      for (int32_t v = 0; v < tpl.size.height; ++v) {
        const Pixel* row = &source.at(x, y + v);
        const Pixel* tpl_row = &tpl.at(0, v);
        for (int32_t u = 0; u < tpl.size.width; ++u) {
          const auto i = static_cast<Count>(row[u]);
          sum += i;
          squares += i * i;
          products += i * static_cast<Count>(tpl_row[u]);
        }
      }
      const auto deviation = static_cast<long double>(Wide{n} * squares - Wide{sum} * sum);
      const auto covariance = static_cast<long double>(Wide{n} * products - Wide{sum} * tpl_sum);
      const bool flat = deviation <= 0 || tpl_deviation <= 0;
      scores.push_back({flat ? 0.0 : static_cast<double>(covariance / std::sqrt(deviation * tpl_deviation)), flat});
    }
  }
  return scores;
}

// Scores lie within [-1, 1], are exactly 0 where something is flat, and nowhere further from the exact ones than
// `tolerance`. Returns the largest error.
inline double expect_scores(const std::vector<float>& found, const std::vector<Exact>& exact, int32_t width,
                            double tolerance) {
  EXPECT_EQ(found.size(), exact.size());
  double largest = 0;
  for (std::size_t i = 0; i < std::min(found.size(), exact.size()); ++i) {
    const double error = std::fabs(static_cast<double>(found[i]) - exact[i].score);
    largest = std::max(largest, error);
    const bool right = error <= tolerance && std::fabs(found[i]) <= 1.0F && (!exact[i].flat || found[i] == 0.0F);
    if (right) continue;
    ADD_FAILURE() << "placement " << i % static_cast<std::size_t>(width) << ", " << i / static_cast<std::size_t>(width)
                  << ": " << found[i] << " instead of " << exact[i].score << (exact[i].flat ? " (flat)" : "");
    break;
  }
  return largest;
}

}  // namespace vlix::test
