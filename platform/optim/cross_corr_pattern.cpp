// SPDX-License-Identifier: Apache-2.0
#include "optim/cross_corr_pattern.h"

#include <algorithm>
#include <cmath>

namespace vlix::optim::cross_corr {
namespace {

template <class Pixel>
bool is_flat(Rows<const Pixel> tpl) {
  const Pixel first = *tpl.first;
  for (std::size_t y = 0; y < tpl.height; ++y) {
    const Pixel* row = tpl.row(y);
    if (!std::all_of(row, row + tpl.width, [first](Pixel pixel) { return pixel == first; })) return false;
  }
  return true;
}

// Four sums side by side: the additions need not wait for each other.
template <class Term>
double sum_of(const double* values, std::size_t count, Term term) {
  double sums[4] = {};
  std::size_t i = 0;
  for (; i + 4 <= count; i += 4) {
    for (std::size_t lane = 0; lane < 4; ++lane) sums[lane] += term(values[i + lane]);
  }
  for (; i < count; ++i) sums[0] += term(values[i]);
  return (sums[0] + sums[1]) + (sums[2] + sums[3]);
}

void subtract_mean(double* values, std::size_t count) {
  const double mean = sum_of(values, count, [](double value) { return value; }) / static_cast<double>(count);
  for (std::size_t i = 0; i < count; ++i) values[i] -= mean;
}

}  // namespace

template <class Pixel>
Pattern make_pattern(Rows<const Pixel> tpl, const Levels& levels) {
  const std::size_t count = tpl.count();
  Pattern pattern = {tpl.width, tpl.height, memory::aligned_array<double>(count), 0.0};
  if (is_flat(tpl)) return pattern;
  double* values = pattern.values.get();
  double* out = values;
  for (std::size_t y = 0; y < tpl.height; ++y) {
    const Pixel* row = tpl.row(y);
    for (std::size_t x = 0; x < tpl.width; ++x) {
      const double value = centred(row[x], levels);
      // A float template that is not finite correlates with nothing.
      if constexpr (std::is_same_v<Pixel, float>) {
        if (!std::isfinite(row[x])) return pattern;
      }
      *out++ = value;
    }
  }
  // The second pass takes away what the rounding of a large mean has left.
  subtract_mean(values, count);
  subtract_mean(values, count);
  pattern.norm = std::sqrt(sum_of(values, count, [](double value) { return value * value; }));
  return pattern;
}

template Pattern make_pattern(Rows<const uint8_t>, const Levels&);
template Pattern make_pattern(Rows<const uint16_t>, const Levels&);
template Pattern make_pattern(Rows<const float>, const Levels&);

}  // namespace vlix::optim::cross_corr
