// SPDX-License-Identifier: Apache-2.0
// From sums of products to scores.
#pragma once

#include "optim/cross_corr.h"

namespace vlix::optim::cross_corr {

// Work memory of score_tile(), and the column sums that one band of tiles leaves to the next.
class ScoreBuffers {
 public:
  // For tiles that cover up to `columns` of the source's `source_columns`; throws std::bad_alloc.
  ScoreBuffers(std::size_t columns, std::size_t source_columns);

  // Each array has room for any Sum, and for vectors that start inside and end behind the last column.
  static constexpr std::size_t kArrays = 12;
  template <class Sum>
  Sum* array(std::size_t which) const {
    return reinterpret_cast<Sum*>(memory_.get() + which * stride_);
  }

  // Column sums of the whole source: those of the band's first row, and those of the row behind its last one.
  static constexpr std::size_t kSums = 4;
  template <class Sum>
  Sum* first_sums(std::size_t which) const {
    return reinterpret_cast<Sum*>(sums_.get() + (current_ * kSums + which) * source_stride_);
  }
  template <class Sum>
  Sum* next_sums(std::size_t which) const {
    return reinterpret_cast<Sum*>(sums_.get() + ((1 - current_) * kSums + which) * source_stride_);
  }
  // To be called with the first row of each tile.
  void enter_band(std::size_t y) {
    if (y != band_) current_ = 1 - current_;
    band_ = y;
  }

 private:
  std::size_t stride_;
  std::size_t source_stride_;
  memory::AlignedArray<double> memory_;
  memory::AlignedArray<double> sums_;
  std::size_t band_ = 0;
  std::size_t current_ = 0;
};

// Writes the scores of a tile. Tiles come band after band from the top; those of a band are equally high and cover it.
// Throws std::bad_alloc.
template <class Pixel>
void score_tile(const Problem<Pixel>& problem, const Tile& tile, const Products& products, ScoreBuffers& buffers);

// Writes all scores, one placement after the other, each from the deviations of its own pixels.
template <class Pixel>
void score_singly(const Problem<Pixel>& problem);

// Levels of a float image.
Levels float_levels(Rows<const float> source);

}  // namespace vlix::optim::cross_corr
