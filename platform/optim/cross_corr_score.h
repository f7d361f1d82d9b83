// SPDX-License-Identifier: Apache-2.0
// From sums of products to scores.
#pragma once

#include "optim/cross_corr.h"

namespace vlix::optim::cross_corr {

// Work memory of score_tile().
struct ScoreBuffers {
  // For tiles that cover up to this many columns of the source; throws std::bad_alloc.
  explicit ScoreBuffers(std::size_t columns);

  static constexpr std::size_t kArrays = 12;
  // Each array has room for any Sum, and for vectors that start inside and end behind the last column.
  template <class Sum>
  Sum* array(std::size_t which) const {
    return reinterpret_cast<Sum*>(memory.get() + which * stride);
  }

  std::size_t stride;
  memory::AlignedArray<double> memory;
};

// Writes the scores of a tile. Throws std::bad_alloc.
template <class Pixel>
void score_tile(const Problem<Pixel>& problem, const Tile& tile, const Products& products, const ScoreBuffers& buffers);

// Writes all scores, one placement after the other, each from the deviations of its own pixels.
template <class Pixel>
void score_singly(const Problem<Pixel>& problem);

// Levels of a float image.
Levels float_levels(Rows<const float> source);

}  // namespace vlix::optim::cross_corr
