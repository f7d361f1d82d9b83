// SPDX-License-Identifier: Apache-2.0
// Normalised cross-correlation: what its routes share.
//
// With i the pixels under a placement, t those of the template, and a bar for the mean, the score is
//   sum((i - i_bar)(t - t_bar)) / sqrt(sum((i - i_bar)^2) sum((t - t_bar)^2)).
// A route computes one sum of products per placement; score_tile() turns them into scores with the patch sums S =
// sum(i) and Q = sum(i^2), which are exact for integer pixels: N Q - S^2 is N times the patch's sum of squared
// deviations.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "memory/aligned_array.h"
#include "optim/rows.h"

namespace vlix::optim::cross_corr {

// How the bits of a pixel become the number that is correlated. A score does not depend on an offset.
struct Levels {
  uint8_t flip = 0;    // 8-bit pixels: 0x80 makes signed bytes unsigned ones, 128 higher
  float offset = 0;    // float pixels: the value nearest to zero where all have the same sign, else 0
  float largest = 0;   // float pixels: largest magnitude after the offset is gone
  bool finite = true;  // float pixels: none is infinite or not a number
};

// A number near the middle of the pixel's range becomes 0. Where a float is not finite, the result is 0: its placements
// are sorted out by score_tile().
template <class Pixel>
inline double centred(Pixel pixel, const Levels& levels) {
  if constexpr (std::is_same_v<Pixel, uint8_t>) {
    return static_cast<int>(static_cast<uint8_t>(pixel ^ levels.flip)) - 128;
  } else if constexpr (std::is_same_v<Pixel, uint16_t>) {
    return static_cast<int>(pixel) - 32768;
  } else {
    const double value = static_cast<double>(pixel) - static_cast<double>(levels.offset);
    return value - value == 0 ? value : 0;
  }
}

// The template, free of its mean.
struct Pattern {
  std::size_t width;
  std::size_t height;
  memory::AlignedArray<double> values;  // row by row
  double norm;                          // root of the sum of their squares; 0 where there is nothing to correlate
  std::size_t count() const { return width * height; }
};

// What is asked for. Pixel is uint8_t (also for signed bytes), uint16_t or float.
template <class Pixel>
struct Problem {
  Rows<const Pixel> source;
  Rows<const Pixel> tpl;
  Rows<float> scores;
  Levels levels;
  Pattern pattern;
};

// A rectangle of placements.
struct Tile {
  std::size_t x;
  std::size_t y;
  std::size_t width;
  std::size_t height;
};

// Sums of products c of a tile's placements, row after row. The score's numerator is
//   factor * c + sum_factor * S + constant, its denominator sqrt(N Q - S^2) / scale.
struct Products {
  const double* first;
  std::size_t stride;
  double factor;
  double sum_factor;
  double constant;
  double scale;
  // Float pixels: patches with a smaller root mean square deviation drown in the products' rounding errors.
  double least_deviation;
};

}  // namespace vlix::optim::cross_corr
