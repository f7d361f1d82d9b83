// SPDX-License-Identifier: Apache-2.0
// psadbw: every 64-bit lane sums the differences of eight template pixels and the eight target pixels under them.
// Included by files that each name the vectors of one instruction set; shares no function with other files.
#pragma once

#include "match/sod_u8.h"

#if defined(__SSE2__)

#include <immintrin.h>

namespace vlix {
namespace {

// Lane k of sum i belongs to placement 8 * k + i of a block; a block has as many placements as a vector has bytes.
constexpr int32_t kPhases = 8;
constexpr int32_t kGroup = 8;

// The score of each lane in its lowest 16 bits, zeros above.
template <class Isa>
typename Isa::Vector limited(typename Isa::Vector sum) {
  const auto most = Isa::repeat(0xFFFF);
  const auto fits = Isa::is_zero32(Isa::high_half32(sum));
  return Isa::either(Isa::both(sum, most), Isa::without(most, fits));
}

template <class Isa>
void store(const typename Isa::Vector (&sums)[kPhases], uint16_t* scores) {
  typename Isa::Vector fours[2];
#pragma GCC unroll 2
  for (int32_t half = 0; half < 2; ++half) {
    const auto a = limited<Isa>(sums[4 * half]);
    const auto b = Isa::template shift_left64<16>(limited<Isa>(sums[4 * half + 1]));
    const auto c = Isa::template shift_left64<32>(limited<Isa>(sums[4 * half + 2]));
    const auto d = Isa::template shift_left64<48>(limited<Isa>(sums[4 * half + 3]));
    fours[half] = Isa::either(Isa::either(a, b), Isa::either(c, d));
  }
  Isa::store_alternating(scores, fours[0], fours[1]);
}

inline uint64_t eight_pixels(const uint8_t* row) {
  uint64_t pixels;
  __builtin_memcpy(&pixels, row, sizeof(pixels));
  return pixels;
}

// The last group of a template row when the width is no multiple of eight. It ends where the row ends and leaves out
// what earlier groups have summed; in a template narrower than a group it begins with the row.
struct PartialGroup {
  int32_t column;
  uint64_t kept;

  explicit PartialGroup(int32_t width) {
    const int32_t rest = width % kGroup;
    column = width < kGroup ? 0 : width - kGroup;
    kept = width < kGroup ? ~uint64_t{0} >> (64 - 8 * rest) : ~uint64_t{0} << (64 - 8 * rest);
  }
  uint64_t pixels(const uint8_t* row, int32_t width) const {
    if (width >= kGroup) return eight_pixels(row + column) & kept;
    uint64_t pixels = 0;
    for (int32_t i = 0; i < width; ++i) pixels |= uint64_t{row[i]} << (8 * i);
    return pixels;
  }
};

template <class Isa>
void add_row(const uint8_t* target, const uint8_t* templ, int32_t width, typename Isa::Vector (&sums)[kPhases]) {
  for (int32_t u = 0; u + kGroup <= width; u += kGroup) {
    const auto pixels = Isa::repeat(eight_pixels(templ + u));
#pragma GCC unroll 8
    for (int32_t i = 0; i < kPhases; ++i) {
      sums[i] = Isa::add64(sums[i], Isa::differences(Isa::load(target + u + i), pixels));
    }
  }
  if (width % kGroup == 0) return;
  const PartialGroup group(width);
  const auto pixels = Isa::repeat(group.pixels(templ, width));
  const auto kept = Isa::repeat(group.kept);
#pragma GCC unroll 8
  for (int32_t i = 0; i < kPhases; ++i) {
    const auto window = Isa::both(Isa::load(target + group.column + i), kept);
    sums[i] = Isa::add64(sums[i], Isa::differences(window, pixels));
  }
}

template <class Isa>
void score_block(const BytePlacements& p, int32_t x, int32_t y) {
  typename Isa::Vector sums[kPhases];
#pragma GCC unroll 8
  for (auto& sum : sums) sum = Isa::repeat(0);
  for (int32_t v = 0; v < p.template_height; ++v) {
    const uint8_t* target = p.target + (std::ptrdiff_t{y} + v) * p.target_stride + x;
    add_row<Isa>(target, p.templ + v * p.template_stride, p.template_width, sums);
  }
  store<Isa>(sums, p.scores + y * p.score_stride + x);
}

// The last block of a row overlaps the one before it.
template <class Isa>
int32_t score_rows(const BytePlacements& p) {
  constexpr int32_t kColumns = Isa::kBytes;
  // Placements under which a whole group lies inside the region.
  const int32_t columns = p.template_width < kGroup ? p.columns - (kGroup - p.template_width) : p.columns;
  if (columns < kColumns) return 0;
  for (int32_t y = 0; y < p.rows; ++y) {
    int32_t x = 0;
    for (; x <= columns - kColumns; x += kColumns) score_block<Isa>(p, x, y);
    if (x < columns) score_block<Isa>(p, columns - kColumns, y);
  }
  return columns;
}

}  // namespace
}  // namespace vlix

#endif
