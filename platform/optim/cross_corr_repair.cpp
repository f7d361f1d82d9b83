// SPDX-License-Identifier: Apache-2.0
#include "optim/cross_corr_repair.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace vlix::optim::cross_corr {
namespace {

// Whether patches are flat or touch a pixel that is not finite, found from the bottom row upwards in constant time per
// pixel.
class PatchMap {
 public:
  PatchMap(const Problem<float>& problem, const Tile& tile)
      : problem_(problem),
        tile_(tile),
        columns_(tile.width + problem.pattern.width - 1),
        verdicts_(memory::aligned_array<uint8_t>(tile.width * tile.height)),
        equal_rows_(memory::aligned_array<std::size_t>(columns_)),
        rows_to_strange_(memory::aligned_array<std::size_t>(columns_)) {
    std::fill_n(equal_rows_.get(), columns_, std::size_t{0});
    std::fill_n(rows_to_strange_.get(), columns_, kFar);
    for (std::size_t y = tile.height + problem.pattern.height - 1; y-- > 0;) take_row(y);
  }

  bool is_flat(std::size_t x, std::size_t y) const { return (verdicts_[y * tile_.width + x] & kFlat) != 0; }
  bool is_strange(std::size_t x, std::size_t y) const { return (verdicts_[y * tile_.width + x] & kStrange) != 0; }

 private:
  static constexpr uint8_t kFlat = 1;
  static constexpr uint8_t kStrange = 2;
  static constexpr std::size_t kFar = std::numeric_limits<std::size_t>::max() / 2;

  void take_row(std::size_t y) {
    const std::size_t width = problem_.pattern.width;
    const std::size_t height = problem_.pattern.height;
    const float* row = problem_.source.row(tile_.y + y) + tile_.x;
    const bool is_last = y + 1 == tile_.height + height - 1;
    const float* below = is_last ? nullptr : problem_.source.row(tile_.y + y + 1) + tile_.x;
    std::size_t equal = 0;          // pixels from x on that are equal
    std::size_t to_strange = kFar;  // columns from x to the next pixel that is not finite
    for (std::size_t x = columns_; x-- > 0;) {
      equal = x + 1 < columns_ && row[x] == row[x + 1] ? equal + 1 : 1;
      to_strange = std::isfinite(row[x]) ? to_strange + 1 : 0;
      const bool continues = below != nullptr && row[x] == below[x];
      equal_rows_[x] = equal < width ? 0 : continues ? equal_rows_[x] + 1 : 1;
      rows_to_strange_[x] = to_strange < width ? 0 : rows_to_strange_[x] + 1;
      if (x >= tile_.width || y >= tile_.height) continue;
      verdicts_[y * tile_.width + x] =
          static_cast<uint8_t>((equal_rows_[x] >= height ? kFlat : 0) | (rows_to_strange_[x] < height ? kStrange : 0));
    }
  }

  const Problem<float>& problem_;
  const Tile& tile_;
  std::size_t columns_;
  memory::AlignedArray<uint8_t> verdicts_;
  memory::AlignedArray<std::size_t> equal_rows_;       // rows from here on that are flat and equal
  memory::AlignedArray<std::size_t> rows_to_strange_;  // rows to the next one that has a pixel that is not finite
};

}  // namespace

void repair_tile(const Problem<float>& problem, const Tile& tile, SingleScore single_score) {
  const PatchMap map(problem, tile);
  for (std::size_t y = 0; y < tile.height; ++y) {
    float* to = problem.scores.row(tile.y + y) + tile.x;
    for (std::size_t x = 0; x < tile.width; ++x) {
      if (map.is_strange(x, y)) {
        to[x] = 0;
      } else if (to[x] == static_cast<float>(kDoubtful)) {
        to[x] = map.is_flat(x, y) ? 0.0F : single_score(problem, tile.x + x, tile.y + y);
      }
    }
  }
}

}  // namespace vlix::optim::cross_corr
