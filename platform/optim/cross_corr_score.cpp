// SPDX-License-Identifier: Apache-2.0
#include "optim/cross_corr_score.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "optim/cross_corr_score.cpp"
#include <hwy/cache_control.h>
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "optim/cross_corr_levels.h"
#include "optim/cross_corr_load-inl.h"
#include "optim/cross_corr_repair.h"

HWY_BEFORE_NAMESPACE();
namespace vlix::optim::HWY_NAMESPACE {
namespace {

using cross_corr::Problem;
using cross_corr::Products;
using cross_corr::ScoreBuffers;
using cross_corr::Tile;

__extension__ using Exact128 = unsigned __int128;

// --- Sums over the columns of a window's height, for all columns of a tile.

// Integer sums go modulo 2^32 or 2^64: what has been added and subtracted since leaves no trace, and the window's own
// sums fit (see sums_fit_32_bits and the callers of deviations).
template <class Pixel, class Sum>
class ColumnSums {
 public:
  ColumnSums(const ScoreBuffers& buffers, std::size_t columns, const cross_corr::Levels& levels)
      : sum(buffers.array<Sum>(0)), square(buffers.array<Sum>(1)), columns_(columns), flip_(levels.flip) {}

  void start() {
    std::fill_n(sum, columns_, Sum{0});
    std::fill_n(square, columns_, Sum{0});
  }
  void load(const ScoreBuffers& buffers, std::size_t x) {
    std::copy_n(buffers.first_sums<Sum>(0) + x, columns_, sum);
    std::copy_n(buffers.first_sums<Sum>(1) + x, columns_, square);
  }
  void save(const ScoreBuffers& buffers, std::size_t x) const {
    std::copy_n(sum, columns_, buffers.next_sums<Sum>(0) + x);
    std::copy_n(square, columns_, buffers.next_sums<Sum>(1) + x);
  }
  void add(const Pixel* HWY_RESTRICT row) {
    for (std::size_t x = 0; x < columns_; ++x) {
      const Sum value = level(row[x]);
      sum[x] += value;
      square[x] += value * value;
    }
  }
  void slide(const Pixel* HWY_RESTRICT in, const Pixel* HWY_RESTRICT out, std::ptrdiff_t) {
    for (std::size_t x = 0; x < columns_; ++x) {
      const Sum entering = level(in[x]);
      const Sum leaving = level(out[x]);
      sum[x] += entering - leaving;
      square[x] += entering * entering - leaving * leaving;
    }
  }
  Sum* HWY_RESTRICT sum;
  Sum* HWY_RESTRICT square;

 private:
  HWY_INLINE Sum level(Pixel pixel) const {
    if constexpr (sizeof(Pixel) == 1) return static_cast<Pixel>(pixel ^ flip_);
    return pixel;
  }

  std::size_t columns_;
  uint8_t flip_;
};

// Float sums carry the roundings of every addition along: a bright row that has left the window leaves nothing behind
// even if it was 10^7 times brighter than what is there now.
template <class Loader>
class FloatColumnSums {
 public:
  FloatColumnSums(const ScoreBuffers& buffers, std::size_t columns, const cross_corr::Levels& levels)
      : sum(buffers.array<double>(0)),
        square(buffers.array<double>(1)),
        running_{buffers.array<double>(8), buffers.array<double>(9), buffers.array<double>(10),
                 buffers.array<double>(11)},
        columns_(columns),
        loader_(levels) {}

  void start() {
    for (double* array : running_) std::fill_n(array, columns_, 0.0);
  }
  void load(const ScoreBuffers& buffers, std::size_t x) {
    for (std::size_t i = 0; i < 4; ++i) std::copy_n(buffers.first_sums<double>(i) + x, columns_, running_[i]);
    for (std::size_t i = 0; i < columns_; ++i) {
      sum[i] = running_[0][i] + running_[1][i];
      square[i] = running_[2][i] + running_[3][i];
    }
  }
  void save(const ScoreBuffers& buffers, std::size_t x) const {
    for (std::size_t i = 0; i < 4; ++i) std::copy_n(running_[i], columns_, buffers.next_sums<double>(i) + x);
  }
  void add(const float* row) {
    for_each_vector([&](auto d, std::size_t x, std::size_t count) HWY_ATTR {
      const auto value = load(d, row + x, count);
      accumulate(d, 0, sum, x, value);
      accumulate(d, 2, square, x, hn::Mul(value, value));
    });
  }
  void slide(const float* in, const float* out, std::ptrdiff_t stride) {
    for_each_vector([&](auto d, std::size_t x, std::size_t count) HWY_ATTR {
      // The rows of a tile are short and far apart: the processor does not foresee the next one.
      hwy::Prefetch(in + x + stride);
      const auto entering = load(d, in + x, count);
      const auto leaving = load(d, out + x, count);
      accumulate(d, 0, sum, x, entering, hn::Neg(leaving));
      accumulate(d, 2, square, x, hn::Mul(entering, entering), hn::Neg(hn::Mul(leaving, leaving)));
    });
  }

  double* sum;
  double* square;

 private:
  using D = hn::ScalableTag<double>;

  template <class Step>
  HWY_INLINE void for_each_vector(Step step) {
    const D d;
    const std::size_t lanes = hn::Lanes(d);
    for (std::size_t x = 0; x < columns_; x += lanes) step(d, x, std::min(columns_ - x, lanes));
  }
  HWY_INLINE hn::Vec<D> load(D d, const float* from, std::size_t count) const {
    return count == hn::Lanes(d) ? load_centred(d, from, loader_) : load_centred_part(d, from, count, loader_);
  }
  // The rounding error of an addition, itself exact (Knuth's two-sum).
  static HWY_INLINE hn::Vec<D> add_exactly(hn::Vec<D>& total, hn::Vec<D> value) {
    const auto before = total;
    total = hn::Add(before, value);
    const auto taken = hn::Sub(total, before);
    return hn::Add(hn::Sub(before, hn::Sub(total, taken)), hn::Sub(value, taken));
  }
  template <class... Values>
  HWY_INLINE void accumulate(D d, std::size_t which, double* result, std::size_t x, Values... values) {
    auto total = hn::Load(d, running_[which] + x);
    auto lost = hn::Load(d, running_[which + 1] + x);
    ((lost = hn::Add(lost, add_exactly(total, values))), ...);
    hn::Store(total, d, running_[which] + x);
    hn::Store(lost, d, running_[which + 1] + x);
    hn::Store(hn::Add(total, lost), d, result + x);
  }

  double* running_[4];  // sums and their errors, squares and their errors
  std::size_t columns_;
  Loader loader_;
};

// --- Window sums along a row.

// Sums over `window` columns by doubling: windows of 1, 2, 4, ... columns, and those that the window's binary digits
// ask for put together. No subtraction, so that floats lose nothing to their neighbours. `power` and `result` are work
// memory; what is behind the last window is anything.
template <class Sum>
const Sum* window_sums(const Sum* columns, std::size_t count, std::size_t window, Sum* power, Sum* result) {
  const hn::ScalableTag<Sum> d;
  const std::size_t lanes = hn::Lanes(d);
  std::size_t done = 0;
  const Sum* source = columns;
  for (std::size_t length = 1;; length *= 2) {
    const std::size_t left = window - done;
    if (left == length && done == 0) return source;
    if ((left & length) != 0) {
      for (std::size_t x = 0; x < count; x += lanes) {
        const auto more = hn::LoadU(d, source + x + done);
        hn::Store(done == 0 ? more : hn::Add(hn::Load(d, result + x), more), d, result + x);
      }
      done += length;
      if (done == window) return result;
    }
    // Reads ahead of what it writes, so that it works in place.
    const std::size_t needed = count + window - 2 * length;
    for (std::size_t x = 0; x < needed; x += lanes) {
      hn::Store(hn::Add(hn::Load(d, source + x), hn::LoadU(d, source + x + length)), d, power + x);
    }
    source = power;
  }
}

// --- N Q - S^2

void deviations(const uint32_t* HWY_RESTRICT sum, const uint32_t* HWY_RESTRICT square, std::size_t n, std::size_t count,
                double* HWY_RESTRICT out) {
  // Exact: N Q < 2^17 2^32 and S^2 < 2^48.
  const auto factor = static_cast<double>(count);
  for (std::size_t x = 0; x < n; ++x) {
    const double s = sum[x];
    out[x] = factor * static_cast<double>(square[x]) - s * s;
  }
}

// Exact but for the conversion at the end, which keeps 0 and only 0 at 0.
template <class Exact>
void wide_deviations(const uint64_t* HWY_RESTRICT sum, const uint64_t* HWY_RESTRICT square, std::size_t n,
                     std::size_t count, double* HWY_RESTRICT out) {
  for (std::size_t x = 0; x < n; ++x) {
    const Exact s = sum[x];
    out[x] = static_cast<double>(Exact{count} * square[x] - s * s);
  }
}

void deviations(const uint64_t* sum, const uint64_t* square, std::size_t n, std::size_t count, double* out) {
  // N Q - S^2 <= N^2 (range / 2)^2: below 2^64 up to 2^17 pixels of 16 bits, and N Q itself may wrap around.
  if (count <= std::size_t{1} << 17) {
    wide_deviations<uint64_t>(sum, square, n, count, out);
  } else {
    wide_deviations<Exact128>(sum, square, n, count, out);
  }
}

void deviations(const double* HWY_RESTRICT sum, const double* HWY_RESTRICT square, std::size_t n, std::size_t count,
                double* HWY_RESTRICT out) {
  const auto factor = static_cast<double>(count);
  for (std::size_t x = 0; x < n; ++x) out[x] = factor * square[x] - sum[x] * sum[x];
}

template <class Sum>
void numerators(const Sum* HWY_RESTRICT sum, const double* HWY_RESTRICT cross, std::size_t n, const Products& products,
                double* HWY_RESTRICT out) {
  // Integers are exact here: the direct kernels that need the second factor stay below 2^53 (see their bounds).
  for (std::size_t x = 0; x < n; ++x) {
    out[x] = products.factor * cross[x] + (products.sum_factor * static_cast<double>(sum[x]) + products.constant);
  }
}

// --- Scores of one row

template <class D>
HWY_INLINE hn::Vec<D> scores_of(D d, const double* numerator, const double* deviation, double scale) {
  const auto squared = hn::Load(d, deviation);
  const auto score = hn::Div(hn::Mul(hn::LoadU(d, numerator), hn::Set(d, scale)), hn::Sqrt(squared));
  const auto bounded = hn::Min(hn::Max(score, hn::Set(d, -1.0)), hn::Set(d, 1.0));
  return hn::IfThenElseZero(hn::Gt(squared, hn::Zero(d)), bounded);
}

template <class D>
HWY_INLINE void store_scores(D d, hn::Vec<D> scores, float* to, std::size_t count) {
  const hn::Rebind<float, D> d32;
  const auto narrow = hn::DemoteTo(d32, scores);
  if (count >= hn::Lanes(d)) {
    hn::StoreU(narrow, d32, to);
  } else {
    store_part(narrow, d32, to, count);
  }
}

void score_row(const double* numerator, const double* deviation, double scale, std::size_t n, float* to) {
  const hn::ScalableTag<double> d;
  const std::size_t lanes = hn::Lanes(d);
  for (std::size_t x = 0; x < n; x += lanes) {
    store_scores(d, scores_of(d, numerator + x, deviation + x, scale), to + x, n - x);
  }
}

// As score_row, but marks the patches whose deviation is lost in rounding errors; true when there are any.
struct Doubt {
  double relative;  // of N Q
  double absolute;
};

bool score_row_with_doubt(const double* numerator, const double* deviation, const double* square, double scale,
                          const Doubt& doubt, std::size_t n, float* to) {
  const hn::ScalableTag<double> d;
  const std::size_t lanes = hn::Lanes(d);
  bool any = false;
  for (std::size_t x = 0; x < n; x += lanes) {
    const auto scores = scores_of(d, numerator + x, deviation + x, scale);
    // No squares at all: every pixel is at the offset, and the score is 0 as it stands.
    const auto q = hn::LoadU(d, square + x);
    const auto least = hn::Max(hn::Mul(q, hn::Set(d, doubt.relative)), hn::Set(d, doubt.absolute));
    auto doubtful = hn::And(hn::Le(hn::Load(d, deviation + x), least), hn::Gt(q, hn::Zero(d)));
    if (n - x < lanes) doubtful = hn::And(doubtful, hn::FirstN(d, n - x));
    store_scores(d, hn::IfThenElse(doubtful, hn::Set(d, cross_corr::kDoubtful), scores), to + x, n - x);
    any = !hn::AllFalse(d, doubtful) || any;
  }
  return any;
}

// --- Tiles

template <class Sums, class Sum, class Pixel>
bool score_rows(const Problem<Pixel>& problem, const Tile& tile, const Products& products,
                const ScoreBuffers& buffers) {
  const std::size_t window = problem.pattern.width;
  const std::size_t count = problem.pattern.count();
  const std::size_t columns = tile.width + window - 1;
  Sums sums(buffers, columns, problem.levels);
  double* numerator = buffers.array<double>(6);
  double* deviation = buffers.array<double>(7);
  const auto row = [&](std::size_t y) { return problem.source.row(tile.y + y) + tile.x; };
  const auto slide_to = [&](std::size_t y) {
    sums.slide(row(y + problem.pattern.height - 1), row(y - 1), problem.source.stride);
  };
  if (tile.y > 0) {
    sums.load(buffers, tile.x);
  } else {
    sums.start();
    for (std::size_t y = 0; y < problem.pattern.height; ++y) sums.add(row(y));
  }

  bool doubt = false;
  for (std::size_t y = 0; y < tile.height; ++y) {
    if (y > 0) slide_to(y);
    const Sum* sum = window_sums(sums.sum, tile.width, window, buffers.array<Sum>(2), buffers.array<Sum>(3));
    const Sum* square = window_sums(sums.square, tile.width, window, buffers.array<Sum>(4), buffers.array<Sum>(5));
    deviations(sum, square, tile.width, count, deviation);
    const double* cross = products.first + y * products.stride;
    if (products.sum_factor != 0 || products.factor != 1) {
      numerators(sum, cross, tile.width, products, numerator);
      cross = numerator;
    }
    float* to = problem.scores.row(tile.y + y) + tile.x;
    if constexpr (std::is_same_v<Pixel, float>) {
      const auto n = static_cast<double>(count);
      const Doubt limits = {cross_corr::kLeastRelativeDeviation * n,
                            n * n * products.least_deviation * products.least_deviation};
      doubt = score_row_with_doubt(cross, deviation, square, products.scale, limits, tile.width, to) || doubt;
    } else {
      score_row(cross, deviation, products.scale, tile.width, to);
    }
  }
  if (tile.y + tile.height < problem.scores.height) {
    slide_to(tile.height);
    sums.save(buffers, tile.x);
  }
  return doubt;
}

// Sums of bytes and of their squares.
constexpr bool sums_fit_32_bits(std::size_t count) {
  return count <= std::numeric_limits<uint32_t>::max() / (255 * 255);
}

void score_tile_8u(const Problem<uint8_t>& problem, const Tile& tile, const Products& products,
                   const ScoreBuffers& buffers) {
  if (sums_fit_32_bits(problem.pattern.count())) {
    score_rows<ColumnSums<uint8_t, uint32_t>, uint32_t>(problem, tile, products, buffers);
  } else {
    score_rows<ColumnSums<uint8_t, uint64_t>, uint64_t>(problem, tile, products, buffers);
  }
}

void score_tile_16u(const Problem<uint16_t>& problem, const Tile& tile, const Products& products,
                    const ScoreBuffers& buffers) {
  score_rows<ColumnSums<uint16_t, uint64_t>, uint64_t>(problem, tile, products, buffers);
}

bool score_tile_32f(const Problem<float>& problem, const Tile& tile, const Products& products,
                    const ScoreBuffers& buffers) {
  if (problem.levels.finite) {
    return score_rows<FloatColumnSums<RawFloatLoader>, double>(problem, tile, products, buffers);
  }
  return score_rows<FloatColumnSums<CentredLoader<float>>, double>(problem, tile, products, buffers);
}

// --- Placements one by one

// Flat patches are found by comparison: the mean of equal floats may be off by a rounding.
template <class Pixel, class Loader>
float single_score(const Problem<Pixel>& problem, std::size_t x, std::size_t y) {
  const hn::ScalableTag<double> d;
  const std::size_t lanes = hn::Lanes(d);
  const cross_corr::Pattern& pattern = problem.pattern;
  const Loader loader(problem.levels);
  const std::size_t rest = pattern.width % lanes;
  const std::size_t whole = pattern.width - rest;
  const auto rest_mask = hn::FirstN(d, rest);

  const auto first = hn::Set(d, hn::GetLane(load_centred_part(d, problem.source.row(y) + x, 1, loader)));
  auto sum = hn::Zero(d);
  auto largest = hn::Zero(d);
  for (std::size_t v = 0; v < pattern.height; ++v) {
    const Pixel* row = problem.source.row(y + v) + x;
    for (std::size_t u = 0; u < whole; u += lanes) {
      const auto difference = hn::Sub(load_centred(d, row + u, loader), first);
      sum = hn::Add(sum, difference);
      largest = hn::Max(largest, hn::Abs(difference));
    }
    if (rest > 0) {
      const auto difference = hn::Sub(load_centred_part(d, row + whole, rest, loader), first);
      sum = hn::Add(sum, hn::IfThenElseZero(rest_mask, difference));
      largest = hn::Max(largest, hn::IfThenElseZero(rest_mask, hn::Abs(difference)));
    }
  }
  if (hn::AllTrue(d, hn::Eq(largest, hn::Zero(d)))) return 0;
  const auto count = hn::Set(d, static_cast<double>(pattern.count()));
  const auto mean = hn::Add(first, hn::Div(hn::SumOfLanes(d, sum), count));

  auto squares = hn::Zero(d);
  auto products = hn::Zero(d);
  const double* values = pattern.values.get();
  for (std::size_t v = 0; v < pattern.height; ++v, values += pattern.width) {
    const Pixel* row = problem.source.row(y + v) + x;
    for (std::size_t u = 0; u < whole; u += lanes) {
      const auto deviation = hn::Sub(load_centred(d, row + u, loader), mean);
      squares = hn::MulAdd(deviation, deviation, squares);
      products = hn::MulAdd(deviation, hn::LoadU(d, values + u), products);
    }
    if (rest > 0) {
      const auto deviation =
          hn::IfThenElseZero(rest_mask, hn::Sub(load_centred_part(d, row + whole, rest, loader), mean));
      squares = hn::MulAdd(deviation, deviation, squares);
      products = hn::MulAdd(deviation, load_part(d, values + whole, rest, 0.0), products);
    }
  }
  const double squared = hn::GetLane(hn::SumOfLanes(d, squares));
  if (!(squared > 0)) return 0;  // also where a pixel is not finite
  const double score = hn::GetLane(hn::SumOfLanes(d, products)) / (std::sqrt(squared) * pattern.norm);
  return static_cast<float>(std::clamp(score, -1.0, 1.0));
}

float single_score_8u(const Problem<uint8_t>& problem, std::size_t x, std::size_t y) {
  return single_score<uint8_t, CentredLoader<uint8_t>>(problem, x, y);
}
float single_score_16u(const Problem<uint16_t>& problem, std::size_t x, std::size_t y) {
  return single_score<uint16_t, CentredLoader<uint16_t>>(problem, x, y);
}
float single_score_32f(const Problem<float>& problem, std::size_t x, std::size_t y) {
  return single_score<float, RawFloatLoader>(problem, x, y);
}

// --- Float images as a whole

cross_corr::Levels levels_of(Rows<const float> source) {
  const hn::ScalableTag<float> d;
  const std::size_t lanes = hn::Lanes(d);
  auto lowest = hn::Set(d, std::numeric_limits<float>::infinity());
  auto highest = hn::Neg(lowest);
  auto strange = hn::Zero(d);  // becomes not a number
  const auto take = [&](hn::Vec<decltype(d)> pixels) HWY_ATTR {
    lowest = hn::Min(lowest, pixels);
    highest = hn::Max(highest, pixels);
    strange = hn::Add(strange, hn::Sub(pixels, pixels));
  };
  for (std::size_t y = 0; y < source.height; ++y) {
    const float* row = source.row(y);
    std::size_t x = 0;
    for (; x + lanes <= source.width; x += lanes) take(hn::LoadU(d, row + x));
    if (x < source.width) take(load_part(d, row + x, source.width - x, row[x]));
  }
  if (hn::AllTrue(d, hn::Eq(strange, hn::Zero(d)))) {
    return cross_corr::make_levels(hn::GetLane(hn::MinOfLanes(d, lowest)), hn::GetLane(hn::MaxOfLanes(d, highest)),
                                   true);
  }
  return cross_corr::levels_of_finite_pixels(source);
}

}  // namespace
}  // namespace vlix::optim::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace vlix::optim {
namespace {

HWY_EXPORT(score_tile_8u);
HWY_EXPORT(score_tile_16u);
HWY_EXPORT(score_tile_32f);
HWY_EXPORT(single_score_8u);
HWY_EXPORT(single_score_16u);
HWY_EXPORT(single_score_32f);
HWY_EXPORT(levels_of);

template <class Pixel, class SingleScore>
void for_each_placement(const cross_corr::Problem<Pixel>& problem, SingleScore single_score) {
  for (std::size_t y = 0; y < problem.scores.height; ++y) {
    float* to = problem.scores.row(y);
    for (std::size_t x = 0; x < problem.scores.width; ++x) to[x] = single_score(problem, x, y);
  }
}

// Arrays start on vectors of their own.
std::size_t padded(std::size_t columns) { return (columns + 32 + 31) / 32 * 32; }

}  // namespace

namespace cross_corr {

ScoreBuffers::ScoreBuffers(std::size_t columns, std::size_t source_columns)
    : stride_(padded(columns)),
      source_stride_(padded(source_columns)),
      memory_(memory::aligned_array<double>(kArrays * stride_)),
      sums_(memory::aligned_array<double>(2 * kSums * source_stride_)) {
  std::fill_n(memory_.get(), kArrays * stride_, 0.0);
}

template <>
void score_tile(const Problem<uint8_t>& problem, const Tile& tile, const Products& products, ScoreBuffers& buffers) {
  buffers.enter_band(tile.y);
  HWY_DYNAMIC_DISPATCH(score_tile_8u)(problem, tile, products, buffers);
}

template <>
void score_tile(const Problem<uint16_t>& problem, const Tile& tile, const Products& products, ScoreBuffers& buffers) {
  buffers.enter_band(tile.y);
  HWY_DYNAMIC_DISPATCH(score_tile_16u)(problem, tile, products, buffers);
}

template <>
void score_tile(const Problem<float>& problem, const Tile& tile, const Products& products, ScoreBuffers& buffers) {
  buffers.enter_band(tile.y);
  const bool doubt = HWY_DYNAMIC_DISPATCH(score_tile_32f)(problem, tile, products, buffers);
  if (doubt || !problem.levels.finite) repair_tile(problem, tile, HWY_DYNAMIC_DISPATCH(single_score_32f));
}

template <>
void score_singly(const Problem<uint8_t>& problem) {
  for_each_placement(problem, HWY_DYNAMIC_DISPATCH(single_score_8u));
}

template <>
void score_singly(const Problem<uint16_t>& problem) {
  for_each_placement(problem, HWY_DYNAMIC_DISPATCH(single_score_16u));
}

template <>
void score_singly(const Problem<float>& problem) {
  for_each_placement(problem, HWY_DYNAMIC_DISPATCH(single_score_32f));
}

Levels float_levels(Rows<const float> source) { return HWY_DYNAMIC_DISPATCH(levels_of)(source); }

}  // namespace cross_corr
}  // namespace vlix::optim
#endif
