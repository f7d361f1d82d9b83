// SPDX-License-Identifier: Apache-2.0
#include "stats/local_moments.h"

#include <algorithm>
#include <cmath>

#include "frame/multiversion.h"
#include "stats/window_moments.h"

namespace vlix {
namespace {

// Consecutive output rows.
template <class Pixel>
struct RowGroup {
  int32_t first;
  int32_t count;
  int32_t held[kWindowRows];           // rows of the region in the window
  const Pixel* leaving[kWindowRows];   // the row that leaves after this output row; null = none
  const Pixel* entering[kWindowRows];  // the row that then enters; null = none
};

template <class Pixel>
VLIX_MULTIVERSION void add_row(const Pixel* row, int32_t count, float* sum, float* square) {
  for (int32_t x = 0; x < count; ++x) {
    const auto v = static_cast<float>(row[x]);
    sum[x] += v;
    square[x] += v * v;
  }
}

template <class Pixel>
VLIX_MULTIVERSION void subtract_row(const Pixel* row, int32_t count, float* sum, float* square) {
  for (int32_t x = 0; x < count; ++x) {
    const auto v = static_cast<float>(row[x]);
    sum[x] -= v;
    square[x] -= v * v;
  }
}

VLIX_MULTIVERSION void note_sums(int32_t count, const float* sum, const float* square, SumPair* noted) {
  auto* to = reinterpret_cast<float*>(noted);
  for (int32_t x = 0; x < count; ++x) {
    to[2 * x] = sum[x];
    to[2 * x + 1] = square[x];
  }
}

// The three of them in one: what happens in all rows but the first and last ones.
template <class Pixel>
VLIX_MULTIVERSION void note_and_slide(const Pixel* leaving, const Pixel* entering, int32_t count, float* sum,
                                      float* square, SumPair* noted) {
  auto* to = reinterpret_cast<float*>(noted);
  for (int32_t x = 0; x < count; ++x) {
    to[2 * x] = sum[x];
    to[2 * x + 1] = square[x];
    const auto old = static_cast<float>(leaving[x]);
    const auto v = static_cast<float>(entering[x]);
    sum[x] = sum[x] - old + v;
    square[x] = square[x] - old * old + v * v;
  }
}

// One group of rows, from the column sums to the outputs.
template <class Pixel>
class GroupPass {
 public:
  GroupPass(const RowGroup<Pixel>& group, const WindowShape& window, const ColumnSums& columns, int32_t width,
            const LocalMoments& outputs)
      : group_(group), window_(window), columns_(columns), width_(width), outputs_(outputs) {
    std::fill(&tile_[0][0] + group.count * kTileColumns, &tile_[0][0] + kWindowRows * kTileColumns, SumPair{});
  }

  // Columns are remembered in the tile until they leave. Returns true when a root was taken of a negative number.
  bool run_narrow() {
    for (int32_t i = 0; i < group_.count; ++i) std::fill_n(tile_[i], window_.left, SumPair{});
    sum_columns(0, window_.right, window_.left, Slide::kYes);
    enter_columns(windows_, tile_, window_.left, window_.right);
    bool any_negative = false;
    for_steps(0, width_, [&](int32_t x, int32_t count) {
      sum_columns(x + window_.right, count, window_.width(), Slide::kYes);
      slide_right(windows_, tile_, window_.width(), count, sums_);
      for (int32_t i = 0; i < group_.count; ++i) std::copy_n(tile_[i] + count, window_.width(), tile_[i]);
      any_negative |= store(x, count);
    });
    return any_negative;
  }

  // Columns are summed once as they enter and once more as they leave.
  bool run_wide() {
    for_steps(0, window_.right, [&](int32_t x, int32_t count) {
      sum_columns(x, count, 0, Slide::kNo);
      enter_columns(windows_, tile_, 0, count);
    });
    bool any_negative = false;
    for_steps(0, width_, [&](int32_t x, int32_t count) {
      sum_columns(x + window_.right, count, kRemembered, Slide::kNo);
      sum_columns(x - window_.left, count, 0, Slide::kYes);
      slide_right(windows_, tile_, kRemembered, count, sums_);
      any_negative |= store(x, count);
    });
    for_steps(width_ - window_.left, width_, [&](int32_t x, int32_t count) { sum_columns(x, count, 0, Slide::kYes); });
    return any_negative;
  }

 private:
  // Whether the column sums stay moved down behind the group.
  enum class Slide { kNo, kYes };

  template <class Step>
  static void for_steps(int32_t begin, int32_t end, Step&& step) {
    for (int32_t x = begin; x < end; x += kWindowColumns) step(x, std::min(kWindowColumns, end - x));
  }

  // Column sums x .. x + count - 1 of each row of the group, into tile_[i][at ..]. Columns outside of the region count
  // as zeros, which change no sum: none is ever -0.
  void sum_columns(int32_t x, int32_t count, int32_t at, Slide slide) {
    const int32_t begin = std::clamp(-x, 0, count);
    const int32_t end = std::clamp(width_ - x, begin, count);
    float* sum = columns_.sum + x + begin;
    float* square = columns_.square + x + begin;
    float copy_of_sum[kWindowColumns];
    float copy_of_square[kWindowColumns];
    if (slide == Slide::kNo) {
      sum = std::copy_n(sum, end - begin, copy_of_sum) - (end - begin);
      square = std::copy_n(square, end - begin, copy_of_square) - (end - begin);
    }
    for (int32_t i = 0; i < group_.count; ++i) {
      SumPair* to = tile_[i] + at;
      std::fill(to, to + begin, SumPair{});
      std::fill(to + end, to + count, SumPair{});
      note_and_slide_row(i, x + begin, end - begin, sum, square, to + begin);
    }
  }

  void note_and_slide_row(int32_t i, int32_t x, int32_t count, float* sum, float* square, SumPair* noted) {
    const Pixel* leaving = group_.leaving[i];
    const Pixel* entering = group_.entering[i];
    if (leaving != nullptr && entering != nullptr) {
      return note_and_slide(leaving + x, entering + x, count, sum, square, noted);
    }
    note_sums(count, sum, square, noted);
    if (leaving != nullptr) subtract_row(leaving + x, count, sum, square);
    if (entering != nullptr) add_row(entering + x, count, sum, square);
  }

  bool store(int32_t x, int32_t count) {
    int32_t columns[kWindowColumns];
    for (int32_t c = 0; c < count; ++c) {
      columns[c] = std::min(width_ - x, c + window_.right) - std::max(-x, c - window_.left);
    }
    bool any_negative = false;
    for (int32_t i = 0; i < group_.count; ++i) {
      any_negative |= store_row({sums_[i], columns, group_.held[i], count}, group_.first + i, x);
    }
    return any_negative;
  }

  bool store_row(const WindowRow& row, int32_t y, int32_t x) {
    float unwanted[kWindowColumns];
    float* mean = outputs_.mean == nullptr ? unwanted : outputs_.mean->row(y) + x;
    if (outputs_.variance == nullptr) {
      store_means(row, mean);
      return false;
    }
    float* variance = outputs_.variance->row(y) + x;
    if (outputs_.root || is_large()) return store_wide_variances(row, outputs_.root, mean, variance);
    store_variances(row, mean, variance);
    return false;
  }

  // Sample counts beyond the integers that floats hold.
  bool is_large() const { return int64_t{window_.width()} * window_.height() > (int64_t{1} << 24); }

  const RowGroup<Pixel>& group_;
  const WindowShape& window_;
  const ColumnSums& columns_;
  const int32_t width_;
  const LocalMoments& outputs_;
  RunningWindows windows_;
  ColumnTile tile_;
  WindowTile sums_;
};

// What the root of a negative number reports, once for all of them.
void report_domain_error() {
  const volatile double negative = -1.0;
  const volatile double root = std::sqrt(negative);
  static_cast<void>(root);
}

}  // namespace

template <class Pixel>
void local_moments(const Region<const Pixel>& source, const WindowShape& window, const Pixel** rows,
                   const ColumnSums& columns, const LocalMoments& outputs) {
  for (int32_t y = 0; y < window.below; ++y) {
    rows[window.above + y] = source.row(y);
    add_row(source.row(y), source.width, columns.sum, columns.square);
  }
  // The row that leaves below output row y and the one that enters there share slot y % height of the table.
  int32_t slot = 0;
  bool any_negative = false;
  for (int32_t y = 0; y < source.height; y += kWindowRows) {
    RowGroup<Pixel> group = {};
    group.first = y;
    group.count = std::min(kWindowRows, source.height - y);
    for (int32_t i = 0; i < group.count; ++i) {
      const int32_t next = y + i + window.below;
      group.held[i] = std::min(source.height, next) - std::max(0, y + i - window.above);
      group.leaving[i] = rows[slot];
      group.entering[i] = next < source.height ? source.row(next) : nullptr;
      rows[slot] = group.entering[i];
      slot = slot + 1 == window.height() ? 0 : slot + 1;
    }
    GroupPass<Pixel> pass(group, window, columns, source.width, outputs);
    any_negative |= window.width() <= kRemembered ? pass.run_narrow() : pass.run_wide();
  }
  if (any_negative) report_domain_error();
}

template void local_moments(const Region<const uint8_t>&, const WindowShape&, const uint8_t**, const ColumnSums&,
                            const LocalMoments&);
template void local_moments(const Region<const int8_t>&, const WindowShape&, const int8_t**, const ColumnSums&,
                            const LocalMoments&);
template void local_moments(const Region<const uint16_t>&, const WindowShape&, const uint16_t**, const ColumnSums&,
                            const LocalMoments&);
template void local_moments(const Region<const int16_t>&, const WindowShape&, const int16_t**, const ColumnSums&,
                            const LocalMoments&);
template void local_moments(const Region<const float>&, const WindowShape&, const float**, const ColumnSums&,
                            const LocalMoments&);

}  // namespace vlix
