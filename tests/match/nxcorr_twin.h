// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
#include <cstdint>
#include <vector>

#include "support/test_image.h"

namespace vlix::test {

// The coefficient of one placement: sums in double, one pixel after the other.
template <class Target, class Template>
float nxcorr_twin_at(TestImage<Target>& target, TestImage<Template>& templ, int32_t x, int32_t y) {
  const int32_t w = templ.record.roiWidth;
  const int32_t h = templ.record.roiHeight;
  double template_sum = 0, template_squares = 0, sum = 0, squares = 0, products = 0;
  for (int32_t v = 0; v < h; ++v) {
    for (int32_t u = 0; u < w; ++u) {
      const double p = static_cast<float>(templ.roi_at(u, v));
      const double i = static_cast<float>(target.roi_at(x + u, y + v));
      template_sum = template_sum + p;
      template_squares = template_squares + p * p;
      sum = sum + i;
      squares = squares + i * i;
      products = products + i * p;
    }
  }
  const double n = w * h;
  const double template_spread = n * template_squares - template_sum * template_sum;
  const double spread = n * squares - sum * sum;
  const double denominator = spread * template_spread;
  if (!(denominator > 0)) return 0;
  return static_cast<float>((n * products - sum * template_sum) / std::sqrt(denominator));
}

// Pearson's coefficient in two passes and extended precision; 0 where it is not defined.
template <class Target, class Template>
double nxcorr_exact_at(TestImage<Target>& target, TestImage<Template>& templ, int32_t x, int32_t y) {
  const int32_t w = templ.record.roiWidth;
  const int32_t h = templ.record.roiHeight;
  long double mean_i = 0, mean_p = 0;
  for (int32_t v = 0; v < h; ++v) {
    for (int32_t u = 0; u < w; ++u) {
      mean_p += static_cast<long double>(templ.roi_at(u, v));
      mean_i += static_cast<long double>(target.roi_at(x + u, y + v));
    }
  }
  mean_i /= w * h;
  mean_p /= w * h;
  long double ii = 0, pp = 0, ip = 0;
  for (int32_t v = 0; v < h; ++v) {
    for (int32_t u = 0; u < w; ++u) {
      const long double p = static_cast<long double>(templ.roi_at(u, v)) - mean_p;
      const long double i = static_cast<long double>(target.roi_at(x + u, y + v)) - mean_i;
      ii += i * i;
      pp += p * p;
      ip += i * p;
    }
  }
  return ii > 0 && pp > 0 ? static_cast<double>(ip / sqrtl(ii * pp)) : 0.0;
}

}  // namespace vlix::test
