// SPDX-License-Identifier: Apache-2.0
// Fourier transforms by their definition, in long double.
#pragma once

#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <numbers>
#include <vector>

namespace vlix::test {

using Wide = std::complex<long double>;

// sum of in[i] exp(sign 2 pi i k / n)
inline std::vector<Wide> dft(const std::vector<Wide>& in, int sign) {
  const std::size_t n = in.size();
  std::vector<Wide> roots(n);
  for (std::size_t i = 0; i < n; ++i) {
    const long double angle =
        sign * 2 * std::numbers::pi_v<long double> * static_cast<long double>(i) / static_cast<long double>(n);
    roots[i] = {std::cos(angle), std::sin(angle)};
  }
  std::vector<Wide> out(n);
  for (std::size_t k = 0; k < n; ++k) {
    for (std::size_t i = 0; i < n; ++i) out[k] += in[i] * roots[k * i % n];
  }
  return out;
}

// Rows, then columns, of a width x height array.
inline std::vector<Wide> dft_2d(std::vector<Wide> values, std::size_t width, std::size_t height, int sign) {
  for (std::size_t y = 0; y < height; ++y) {
    const auto row = values.begin() + static_cast<std::ptrdiff_t>(y * width);
    const std::vector<Wide> spectrum = dft({row, row + static_cast<std::ptrdiff_t>(width)}, sign);
    std::copy(spectrum.begin(), spectrum.end(), row);
  }
  for (std::size_t x = 0; x < width; ++x) {
    std::vector<Wide> column(height);
    for (std::size_t y = 0; y < height; ++y) column[y] = values[y * width + x];
    const std::vector<Wide> spectrum = dft(column, sign);
    for (std::size_t y = 0; y < height; ++y) values[y * width + x] = spectrum[y];
  }
  return values;
}

// Root of the mean square.
template <class Values>
long double rms(const Values& values) {
  long double sum = 0;
  for (const auto& value : values) sum += static_cast<long double>(std::norm(value));
  return std::sqrt(sum / static_cast<long double>(values.size()));
}

// What a good transform of n numbers may lose, relative to the root mean square of its result: each of the log2(n)
// levels of butterflies adds a few roundings, which add up like a random walk; the largest of all errors is some five
// times the typical one.
inline long double transform_tolerance(long double rounding_unit, std::size_t n) {
  return 12 * rounding_unit * (1 + std::log2(static_cast<long double>(n)));
}

}  // namespace vlix::test
