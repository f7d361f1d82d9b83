// SPDX-License-Identifier: Apache-2.0
#include "optim/cross_corr_direct.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "optim/cross_corr_kernels.h"
#include "optim/cross_corr_score.h"

namespace vlix::optim::cross_corr {
namespace {

constexpr std::size_t round_up(std::size_t value, std::size_t unit) { return (value + unit - 1) / unit * unit; }

// The number subtracted from an integer pixel's level.
template <class Pixel>
constexpr int kMiddle = sizeof(Pixel) == 1 ? 128 : 32768;

template <class Pixel>
int centred_level(Pixel pixel, const Levels& levels) {
  return static_cast<int>(centred(pixel, levels));
}

// --- Kernels: what their weights are made of, and how long their sums hold

struct Bytes {
  using Image = uint8_t;
  using Part = int8_t;
  static constexpr std::size_t kTileWidth = 512;
  static constexpr std::size_t kSlices = 1;
  static constexpr bool kImageIsCentred = false;
  static int8_t part(int level, std::size_t) { return static_cast<int8_t>(level); }
  // Sums of products of at most 255 and 128.
  static bool fits(std::size_t count) { return count < (std::size_t{1} << 31) / (255 * 128); }
  static void run(const BlockJob<Image, int32_t>& job, std::size_t) { correlate_bytes(job); }
};

// Bytes in words.
struct ByteWords {
  using Image = int16_t;
  using Part = int16_t;
  static constexpr std::size_t kTileWidth = 256;
  static constexpr std::size_t kSlices = 1;
  static constexpr bool kImageIsCentred = true;
  static int16_t part(int level, std::size_t) { return static_cast<int16_t>(level); }
  // Sums of products of at most 2^7 and 2^7.
  static bool fits(std::size_t count) { return count < std::size_t{1} << 17; }
  static void run(const BlockJob<Image, int32_t>& job, std::size_t) { correlate_words(job, 1, false); }
};

// Words: the template in two slices, level = 256 high + low, both within [-128, 128], so that the sums stay short.
struct Words {
  using Image = int16_t;
  using Part = int16_t;
  static constexpr std::size_t kTileWidth = 256;
  static constexpr std::size_t kSlices = 2;
  static constexpr bool kImageIsCentred = true;
  static int16_t part(int level, std::size_t slice) {
    const int high = (level + 128) >> 8;
    return static_cast<int16_t>(slice == 0 ? high : level - 256 * high);
  }
  // Sums of products of at most 2^15 and 2^7.
  static bool fits(std::size_t count) { return count < std::size_t{1} << 9; }
  static void run(const BlockJob<Image, int32_t>& job, std::size_t slice) {
    correlate_words(job, slice == 0 ? 256 : 1, slice != 0);
  }
};

struct Doubles {
  using Image = double;
  static constexpr std::size_t kTileWidth = 128;
};

void fill_row(const uint8_t* from, std::size_t count, const Levels& levels, uint8_t* to) {
  for (std::size_t x = 0; x < count; ++x) to[x] = static_cast<uint8_t>(from[x] ^ levels.flip);
}

// --- The template as weights

template <class Weight>
struct Weights {
  memory::AlignedArray<Weight> owned;
  const Weight* first;
  std::size_t per_row;    // of one slice
  std::size_t per_slice;  // of all rows
  std::size_t rows;
  std::size_t pixels_per_weight;
  double sum;  // of the centred levels
};

template <class Kernel, class Pixel>
Weights<int32_t> make_weights(const Problem<Pixel>& problem) {
  using Part = typename Kernel::Part;
  constexpr std::size_t kParts = sizeof(int32_t) / sizeof(Part);
  const Rows<const Pixel>& tpl = problem.tpl;
  Weights<int32_t> weights = {};
  weights.pixels_per_weight = kParts;
  weights.per_row = (tpl.width + kParts - 1) / kParts;
  weights.rows = std::max(tpl.height, kBlockRows);
  weights.per_slice = weights.per_row * weights.rows;
  weights.owned = memory::aligned_array<int32_t>(Kernel::kSlices * weights.per_slice);
  weights.first = weights.owned.get();
  std::fill_n(weights.owned.get(), Kernel::kSlices * weights.per_slice, 0);
  for (std::size_t slice = 0; slice < Kernel::kSlices; ++slice) {
    for (std::size_t y = 0; y < tpl.height; ++y) {
      const Pixel* row = tpl.row(y);
      int32_t* out = weights.owned.get() + slice * weights.per_slice + y * weights.per_row;
      for (std::size_t x = 0; x < tpl.width; x += kParts) {
        Part parts[kParts] = {};
        for (std::size_t i = 0; i < std::min(kParts, tpl.width - x); ++i) {
          parts[i] = Kernel::part(centred_level(row[x + i], problem.levels), slice);
        }
        std::memcpy(out++, parts, sizeof(parts));
      }
    }
  }
  for (std::size_t y = 0; y < tpl.height; ++y) {
    const Pixel* row = tpl.row(y);
    for (std::size_t x = 0; x < tpl.width; ++x) weights.sum += centred_level(row[x], problem.levels);
  }
  return weights;
}

Weights<double> make_weights(const Pattern& pattern) {
  Weights<double> weights = {};
  weights.pixels_per_weight = 1;
  weights.per_row = pattern.width;
  weights.rows = std::max(pattern.height, kBlockRows);
  weights.per_slice = weights.per_row * weights.rows;
  weights.first = pattern.values.get();
  if (pattern.height < kBlockRows) {
    weights.owned = memory::aligned_array<double>(weights.per_slice);
    std::fill(std::copy_n(pattern.values.get(), pattern.count(), weights.owned.get()),
              weights.owned.get() + weights.per_slice, 0.0);
    weights.first = weights.owned.get();
  }
  return weights;
}

// --- Tiles

// Sides of tiles that share a length evenly.
std::size_t even_share(std::size_t length, std::size_t most, std::size_t unit) {
  const std::size_t shares = (length + most - 1) / most;
  return round_up((length + shares - 1) / shares, unit);
}

// High enough that the rows two tiles have in common do not matter, low enough that a tile stays in the cache.
std::size_t tile_height(std::size_t score_height, std::size_t tpl_height) {
  const std::size_t most = std::clamp<std::size_t>(round_up(tpl_height, kBlockRows), 48, 240);
  return even_share(score_height, most, kBlockRows);
}

// Runs over the tiles of a problem: the tile's image, padded, then its products, then its scores.
template <class Kernel, class Weight, class Pixel, class Run>
void score_tiles(const Problem<Pixel>& problem, const Weights<Weight>& weights, std::size_t block_width,
                 Products products, Run run) {
  using Image = typename Kernel::Image;
  constexpr std::size_t kVectorPadding = 128 / sizeof(Image);
  const Pattern& pattern = problem.pattern;
  const std::size_t width = even_share(problem.scores.width, Kernel::kTileWidth, block_width);
  const std::size_t height = tile_height(problem.scores.height, pattern.height);
  const std::size_t columns = round_up(width + weights.per_row * weights.pixels_per_weight + kVectorPadding, 64);
  const std::size_t rows = height + weights.rows - 1;
  const auto image = memory::aligned_array<Image>(columns * rows);
  const auto sums = memory::aligned_array<double>(width * height);
  ScoreBuffers buffers(width + pattern.width, problem.source.width);
  std::fill_n(image.get(), columns * rows, Image{0});
  products.first = sums.get();
  products.stride = width;
  BlockJob<Image, Weight> job = {image.get(),
                                 static_cast<std::ptrdiff_t>(columns),
                                 weights.first,
                                 weights.per_row,
                                 weights.rows,
                                 sums.get(),
                                 width,
                                 0,
                                 0};
  for (std::size_t y = 0; y < problem.scores.height; y += height) {
    for (std::size_t x = 0; x < problem.scores.width; x += width) {
      const Tile tile = {x, y, std::min(width, problem.scores.width - x), std::min(height, problem.scores.height - y)};
      for (std::size_t v = 0; v < tile.height + pattern.height - 1; ++v) {
        fill_row(problem.source.row(y + v) + x, tile.width + pattern.width - 1, problem.levels,
                 image.get() + v * columns);
      }
      job.width = round_up(tile.width, block_width);
      job.height = round_up(tile.height, kBlockRows);
      run(job);
      score_tile(problem, tile, products, buffers);
    }
  }
}

// N times the sum of products of deviations is N sum(i t) - sum(t) S, with i and t counted from the middle level: all
// of it whole numbers below 2^53.
template <class Kernel, class Pixel>
void score_with_integers(const Problem<Pixel>& problem, const KernelPlan& plan) {
  const Weights<int32_t> weights = make_weights<Kernel>(problem);
  const auto count = static_cast<double>(problem.pattern.count());
  Products products = {};
  products.factor = count;
  products.sum_factor = -weights.sum;
  products.constant = Kernel::kImageIsCentred ? weights.sum * count * kMiddle<Pixel> : 0;
  products.scale = 1 / (std::sqrt(count) * problem.pattern.norm);
  score_tiles<Kernel>(problem, weights, plan.block_width, products, [&](auto job) {
    for (std::size_t slice = 0; slice < Kernel::kSlices; ++slice, job.weights += weights.per_slice) {
      Kernel::run(job, slice);
    }
  });
}

template <class Pixel>
void score_with_doubles(const Problem<Pixel>& problem) {
  const Weights<double> weights = make_weights(problem.pattern);
  Products products = {};
  products.factor = 1;
  products.scale = std::sqrt(static_cast<double>(problem.pattern.count())) / problem.pattern.norm;
  score_tiles<Doubles>(problem, weights, plan_of_doubles().block_width, products,
                       [](const BlockJob<double, double>& job) { correlate_doubles(job); });
}

// --- Costs

struct Shape {
  std::size_t tpl_width, tpl_height, score_width, score_height;
};

// Scores take about a nanosecond each, whatever made the sums.
double cost(const KernelPlan& plan, const Shape& shape, std::size_t pixels_per_weight, std::size_t slices) {
  const auto blocks =
      static_cast<double>(round_up(shape.score_width, plan.block_width) * round_up(shape.score_height, kBlockRows));
  const auto products = static_cast<double>(round_up(shape.tpl_width, pixels_per_weight) *
                                            std::max(shape.tpl_height, kBlockRows) * slices);
  return blocks * products / plan.products_per_ns;
}

}  // namespace

template <>
DirectPlan plan_directly<uint8_t>(std::size_t tpl_width, std::size_t tpl_height, std::size_t score_width,
                                  std::size_t score_height) {
  const Shape shape = {tpl_width, tpl_height, score_width, score_height};
  const std::size_t count = tpl_width * tpl_height;
  const KernelPlan bytes = plan_of_bytes();
  if (bytes.block_width > 0 && Bytes::fits(count)) return {DirectKind::kBytes, cost(bytes, shape, 4, 1)};
  const KernelPlan words = plan_of_words();
  if (words.block_width > 0 && ByteWords::fits(count)) return {DirectKind::kWords, cost(words, shape, 2, 1)};
  return {DirectKind::kDoubles, cost(plan_of_doubles(), shape, 1, 1)};
}

template <>
DirectPlan plan_directly<uint16_t>(std::size_t tpl_width, std::size_t tpl_height, std::size_t score_width,
                                   std::size_t score_height) {
  const Shape shape = {tpl_width, tpl_height, score_width, score_height};
  const KernelPlan words = plan_of_words();
  if (words.block_width > 0 && Words::fits(tpl_width * tpl_height)) {
    return {DirectKind::kWords, cost(words, shape, 2, 2)};
  }
  return {DirectKind::kDoubles, cost(plan_of_doubles(), shape, 1, 1)};
}

template <>
DirectPlan plan_directly<float>(std::size_t tpl_width, std::size_t tpl_height, std::size_t score_width,
                                std::size_t score_height) {
  const Shape shape = {tpl_width, tpl_height, score_width, score_height};
  return {DirectKind::kDoubles, cost(plan_of_doubles(), shape, 1, 1)};
}

template <>
void score_directly(const Problem<uint8_t>& problem, DirectKind kind) {
  switch (kind) {
    case DirectKind::kBytes: return score_with_integers<Bytes>(problem, plan_of_bytes());
    case DirectKind::kWords: return score_with_integers<ByteWords>(problem, plan_of_words());
    case DirectKind::kDoubles: return score_with_doubles(problem);
  }
}

template <>
void score_directly(const Problem<uint16_t>& problem, DirectKind kind) {
  if (kind == DirectKind::kWords) return score_with_integers<Words>(problem, plan_of_words());
  score_with_doubles(problem);
}

template <>
void score_directly(const Problem<float>& problem, DirectKind) {
  score_with_doubles(problem);
}

}  // namespace vlix::optim::cross_corr
