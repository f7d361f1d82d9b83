// SPDX-License-Identifier: Apache-2.0
// The image is cut into bands as high as the transform. A band's columns are transformed once each and kept in a ring
// of half spectra, as wide as the transform. For every block of placements, the rows of the ring are transformed,
// multiplied with the template's spectrum and transformed back; the columns that hold valid placements are then
// transformed back. Columns of the ring stay where they are: a correlation of shifted data is the shifted correlation.
//
// All of it in double precision: a patch of one grey level of contrast beside full contrast needs more than the 24 bits
// of single precision, whatever offset is subtracted.
#include "optim/cross_corr_blocks.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <new>

#include "fourier/real_columns.h"
#include "optim/cross_corr_kernels.h"
#include "optim/cross_corr_score.h"
#include "optim/cross_corr_spectrum.h"

namespace vlix::optim::cross_corr {
namespace {

using Complex = std::complex<double>;
using Columns = fourier::RealColumns<double>;
using fourier::Transform;
constexpr std::size_t kGroup = Columns::kColumns;

// Pixels of a group that are converted at once.
constexpr std::size_t kRowsAtOnce = 32;

// Placements that one transform of `length` yields; multiples of a group, so that groups do not straddle blocks.
std::size_t yield_of(std::size_t length, std::size_t tpl_width) { return (length - tpl_width + 1) / kGroup * kGroup; }

// Complex numbers, rows apart by an odd number of cache lines.
struct Spectrum {
  Spectrum(std::size_t rows, std::size_t width)
      : stride((width / 4 | 1) * 4), values(memory::aligned_array<Complex>(rows * stride)) {
    std::fill_n(values.get(), rows * stride, Complex());
  }
  Complex* row(std::size_t y) const { return values.get() + y * stride; }
  std::size_t stride;
  memory::AlignedArray<Complex> values;
};

template <class Pixel>
class BlockCorrelator {
 public:
  BlockCorrelator(const Problem<Pixel>& problem, const BlockPlan& plan)
      : problem_(problem),
        width_(static_cast<std::size_t>(plan.width)),
        height_(static_cast<std::size_t>(plan.height)),
        columns_(plan.height),
        half_height_(height_ / 2 + 1),
        rows_(Transform<double>::of(plan.width)),
        tpl_(half_height_, width_),
        ring_(half_height_, width_),
        product_(half_height_, width_),
        line_(memory::aligned_array<Complex>(2 * width_)),
        covers_width_(width_ >= problem.source.width),
        block_width_(covers_width_ ? problem.scores.width : yield_of(width_, problem.pattern.width)),
        block_height_(std::min(height_ - problem.pattern.height + 1, problem.scores.height)),
        sums_stride_((block_width_ + kGroup - 1) / kGroup * kGroup),
        sums_(memory::aligned_array<double>(block_height_ * sums_stride_)),
        buffers_(block_width_ + problem.pattern.width, problem.source.width) {
    if (rows_ == nullptr) throw std::bad_alloc();
    transform_template();
  }

  void run() {
    for (std::size_t y = 0; y < problem_.scores.height; y += block_height_) {
      std::size_t loaded = 0;
      for (std::size_t x = 0; x < problem_.scores.width; x += block_width_) {
        loaded = load_columns(y, loaded, std::min(x + width_, problem_.source.width));
        multiply_rows();
        score_block({x, y, std::min(block_width_, problem_.scores.width - x),
                     std::min(block_height_, problem_.scores.height - y)});
      }
    }
  }

 private:
  void transform_template() {
    const Pattern& pattern = problem_.pattern;
    columns_.clear_rows(static_cast<int32_t>(pattern.height));
    for (std::size_t x = 0; x < pattern.width; x += kGroup) {
      const std::size_t present = std::min(kGroup, pattern.width - x);
      for (std::size_t y = 0; y < pattern.height; ++y) {
        double row[kGroup] = {};
        std::copy_n(pattern.values.get() + y * pattern.width + x, present, row);
        columns_.put_rows(static_cast<int32_t>(y), 1, row, kGroup);
      }
      columns_.forward(tpl_.row(0) + x, static_cast<std::ptrdiff_t>(tpl_.stride));
    }
    const double scale = 1 / (static_cast<double>(width_) * static_cast<double>(height_));
    for (std::size_t y = 0; y < half_height_; ++y) {
      rows_->forward(tpl_.row(y), line_.get());
      for (std::size_t x = 0; x < width_; ++x) tpl_.row(y)[x] = std::conj(line_[x]) * scale;
    }
  }

  // Takes the band's columns from `from` on, in groups, until `until` is covered.
  std::size_t load_columns(std::size_t y, std::size_t from, std::size_t until) {
    const std::size_t rows = std::min(height_, problem_.source.height - y);
    columns_.clear_rows(static_cast<int32_t>(rows));
    for (; from < until; from += kGroup) {
      const std::size_t present = std::min(kGroup, problem_.source.width - from);
      for (std::size_t v = 0; v < rows; v += kRowsAtOnce) {
        const std::size_t count = std::min(kRowsAtOnce, rows - v);
        fill_group(problem_.source.row(y + v) + from, problem_.source.stride, present, count, problem_.levels,
                   rows_at_once_);
        columns_.put_rows(static_cast<int32_t>(v), static_cast<int32_t>(count), rows_at_once_, kGroup);
      }
      columns_.forward(ring_.row(0) + from % width_, static_cast<std::ptrdiff_t>(ring_.stride));
    }
    return from;
  }

  void multiply_rows() {
    Complex* spectrum = line_.get();
    Complex* product = line_.get() + width_;
    for (std::size_t y = 0; y < half_height_; ++y) {
      rows_->forward(ring_.row(y), spectrum);
      multiply(spectrum, tpl_.row(y), width_, product);
      rows_->inverse(product, product_.row(y));
    }
  }

  void score_block(const Tile& tile) {
    for (std::size_t x = 0; x < tile.width; x += kGroup) {
      columns_.inverse(product_.row(0) + (tile.x + x) % width_, static_cast<std::ptrdiff_t>(product_.stride));
      columns_.get_rows(0, static_cast<int32_t>(tile.height), sums_.get() + x,
                        static_cast<std::ptrdiff_t>(sums_stride_));
    }
    const Pattern& pattern = problem_.pattern;
    Products products = {};
    products.first = sums_.get();
    products.stride = sums_stride_;
    products.factor = 1;
    products.scale = std::sqrt(static_cast<double>(pattern.count())) / pattern.norm;
    products.least_deviation = kLeastDeviation * problem_.levels.largest;
    score_tile(problem_, tile, products, buffers_);
  }

  // The products' errors are those of a few transforms of numbers as large as the image's largest: some 15 roundings of
  // 2^-53 at most, of largest x sqrt(N) x the template's norm. Patches that deviate by less than this part of the
  // largest number could lose more than 1e-6 of their score.
  static constexpr double kLeastDeviation = 2e-9;

  const Problem<Pixel>& problem_;
  std::size_t width_;
  std::size_t height_;
  Columns columns_;
  std::size_t half_height_;
  std::shared_ptr<const Transform<double>> rows_;
  Spectrum tpl_;
  Spectrum ring_;
  Spectrum product_;
  memory::AlignedArray<Complex> line_;
  bool covers_width_;
  std::size_t block_width_;
  std::size_t block_height_;
  std::size_t sums_stride_;
  memory::AlignedArray<double> sums_;
  ScoreBuffers buffers_;
  alignas(memory::kAlignment) double rows_at_once_[kRowsAtOnce * kGroup];
};

}  // namespace

template <class Pixel>
void score_in_blocks(const Problem<Pixel>& problem, const BlockPlan& plan) {
  BlockCorrelator<Pixel>(problem, plan).run();
}

template void score_in_blocks(const Problem<uint8_t>&, const BlockPlan&);
template void score_in_blocks(const Problem<uint16_t>&, const BlockPlan&);
template void score_in_blocks(const Problem<float>&, const BlockPlan&);

namespace {

struct Axis {
  std::size_t tpl;
  std::size_t scores;
  std::size_t source() const { return scores + tpl - 1; }
};

// Nanoseconds. Besides the transforms every point costs its way through memory; columns more of it the less of a
// spectrum fits the second cache. Measured; the pick is mostly within 10 % of the best one.
double cost_of(int32_t width, int32_t height, const Axis& x, const Axis& y) {
  constexpr double kPerRowPoint = 1.25;
  const auto length_x = static_cast<std::size_t>(width);
  const auto length_y = static_cast<std::size_t>(height);
  const auto half_height = static_cast<double>(height / 2 + 1);
  const double spectrum_bytes = 16 * half_height * width;
  const double per_column_point = spectrum_bytes < 1.2e6 ? 0.1 : spectrum_bytes < 4e6 ? 0.3 : 1.3;
  const std::size_t yield_x = length_x >= x.source() ? x.scores : yield_of(length_x, x.tpl);
  const std::size_t yield_y = length_y - y.tpl + 1;
  const auto bands = static_cast<double>((y.scores + yield_y - 1) / yield_y);
  const auto blocks = static_cast<double>((x.scores + yield_x - 1) / yield_x);
  const double column = fourier::transform_cost(height) / 2 + per_column_point * height;
  const double row = fourier::transform_cost(width);
  const double band =
      column * static_cast<double>(x.source() + x.scores) + blocks * half_height * (2 * row + kPerRowPoint * width);
  const double tpl = column * static_cast<double>(x.tpl) + half_height * row;
  // Column sums, which neighbouring blocks both need.
  const double sums = 0.6 * blocks * static_cast<double>(x.tpl) * static_cast<double>(y.scores);
  return bands * band + tpl + sums;
}

// Calls use(length) for the transform lengths worth a try: powers of two and five times such, from one that yields a
// group of placements on, until one covers everything.
template <class Use>
void for_each_length(const Axis& axis, std::size_t least_yield, Use use) {
  const std::size_t least = std::min(axis.tpl + least_yield - 1, std::max<std::size_t>(axis.source(), kGroup));
  for (std::size_t power = 64;; power *= 2) {
    for (const std::size_t length : {power / 4 * 5 / 2 * 2, power * 2}) {
      if (length > std::numeric_limits<int32_t>::max()) return;
      if (length < least) continue;
      use(static_cast<int32_t>(length));
      if (length >= axis.source()) return;
    }
  }
}

}  // namespace

BlockPlan plan_in_blocks(std::size_t tpl_width, std::size_t tpl_height, std::size_t score_width,
                         std::size_t score_height) {
  const Axis x = {tpl_width, score_width};
  const Axis y = {tpl_height, score_height};
  // Memory does not grow with the image: three spectra of eight bytes per point.
  const std::size_t most_points = std::max(std::size_t{1} << 21, 8 * tpl_width * tpl_height);
  BlockPlan best;
  for_each_length(y, 1, [&](int32_t height) {
    for_each_length(x, kGroup, [&](int32_t width) {
      const std::size_t points = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
      if (best.width != 0 && points > most_points) return;
      const double cost = cost_of(width, height, x, y);
      if (best.width == 0 || cost < best.cost_ns) best = {width, height, cost};
    });
  });
  return best;
}

}  // namespace vlix::optim::cross_corr
