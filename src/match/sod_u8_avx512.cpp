// SPDX-License-Identifier: Apache-2.0
// vdbpsadbw: every 16-bit lane sums the differences of four template pixels and the four target pixels under them, for
// 32 placements side by side. Compiled for AVX-512BW; shares no function with files that are not.
#include "frame/multiversion.h"
#include "match/sod_u8.h"

#if defined(__AVX512BW__)

#include <immintrin.h>

namespace vlix {
namespace {

// Placements 0-7, 16-23, 32-39 and 48-55 of a block are summed in one vector, the others in a second one, which sees
// the target eight pixels further on: within 16 bytes the instruction reaches the windows that start at 0 to 7.
constexpr int32_t kColumns = 64;
constexpr std::ptrdiff_t kSecond = 8;
// Four-byte pieces 0, 1, 1, 2 of each 16 bytes: the windows that start at 0 to 3 and at 4 to 7.
constexpr int kWindows = 0x94;
// Rows of placements that share a load of the target. One row takes a fifth more time; six and eight are no better.
constexpr int32_t kRows = 4;
// A block this far from the last placement reads inside the region without masks, whatever the template's width.
constexpr int32_t kInsideMargin = kColumns + static_cast<int32_t>(kSecond);

// Sums that stay at 65535 once they have reached it: what a score is.
struct Sums {
  __m512i first, second;
};

__mmask64 first_bytes(std::ptrdiff_t count) {
  if (count <= 0) return 0;
  return count >= 64 ? ~__mmask64{0} : (__mmask64{1} << count) - 1;
}

// Loads the pixels under a block of placements, of which `readable` belong to the region.
template <bool kInside>
struct Window {
  __mmask64 first_mask, second_mask;

  explicit Window(std::ptrdiff_t readable)
      : first_mask(first_bytes(readable)), second_mask(first_bytes(readable - kSecond)) {}
  __m512i first(const uint8_t* row) const {
    return kInside ? _mm512_loadu_si512(row) : _mm512_maskz_loadu_epi8(first_mask, row);
  }
  __m512i second(const uint8_t* row) const {
    return kInside ? _mm512_loadu_si512(row + kSecond) : _mm512_maskz_loadu_epi8(second_mask, row + kSecond);
  }
};

__m512i whole_group(const uint8_t* row) {
  int32_t pixels;
  __builtin_memcpy(&pixels, row, sizeof(pixels));
  return _mm512_set1_epi32(pixels);
}

// The last columns of a template whose width is no multiple of four. With 0 and with 255 in the missing columns the
// instruction gives d + t and d + 255 * missing - t, where t stems from the target pixels under them; their rounded
// mean is d plus a constant, whatever t is.
struct PartialGroup {
  __m512i low, high, excess;

  PartialGroup(const uint8_t* row, int32_t count) {
    uint32_t pixels = 0;
    for (int32_t i = 0; i < count; ++i) pixels |= uint32_t{row[i]} << (8 * i);
    const uint32_t missing = 0xFFFFFFFFu << (8 * count);
    low = _mm512_set1_epi32(static_cast<int32_t>(pixels));
    high = _mm512_set1_epi32(static_cast<int32_t>(pixels | missing));
    excess = _mm512_set1_epi16(static_cast<int16_t>((255 * (4 - count) + 1) / 2));
  }
  __m512i differences(__m512i window) const {
    const __m512i mean =
        _mm512_avg_epu16(_mm512_dbsad_epu8(low, window, kWindows), _mm512_dbsad_epu8(high, window, kWindows));
    return _mm512_sub_epi16(mean, excess);
  }
};

// The patches under a block of placements.
struct Block {
  const uint8_t* target;
  std::ptrdiff_t readable;
};

// Adds row r of the target to the sums of the block's rows kFirst to kLast; the lower of two rows sees it with the
// earlier row of the template.
template <int32_t kFirst, int32_t kLast, bool kInside>
VLIX_INLINE void add_row(const BytePlacements& p, const Block& block, int32_t r, Sums* sums) {
  const int32_t whole = p.template_width & ~3;
  const uint8_t* target = block.target + r * p.target_stride;
  const uint8_t* templ = p.templ + r * p.template_stride;
  for (int32_t u = 0; u < whole; u += 4) {
    const Window<kInside> window(block.readable - u);
    const __m512i first = window.first(target + u);
    const __m512i second = window.second(target + u);
#pragma GCC unroll 4
    for (int32_t i = kFirst; i <= kLast; ++i) {
      const __m512i pixels = whole_group(templ - i * p.template_stride + u);
      sums[i].first = _mm512_adds_epu16(sums[i].first, _mm512_dbsad_epu8(pixels, first, kWindows));
      sums[i].second = _mm512_adds_epu16(sums[i].second, _mm512_dbsad_epu8(pixels, second, kWindows));
    }
  }
  if (whole == p.template_width) return;
  const Window<kInside> window(block.readable - whole);
  const __m512i first = window.first(target + whole);
  const __m512i second = window.second(target + whole);
#pragma GCC unroll 4
  for (int32_t i = kFirst; i <= kLast; ++i) {
    const PartialGroup group(templ - i * p.template_stride + whole, p.template_width - whole);
    sums[i].first = _mm512_adds_epu16(sums[i].first, group.differences(first));
    sums[i].second = _mm512_adds_epu16(sums[i].second, group.differences(second));
  }
}

template <bool kInside>
VLIX_INLINE void add_rows(const BytePlacements& p, const Block& block, Sums (&sums)[1]) {
  for (int32_t r = 0; r < p.template_height; ++r) add_row<0, 0, kInside>(p, block, r, sums);
}

// For templates of at least kRows rows.
template <bool kInside>
VLIX_INLINE void add_rows(const BytePlacements& p, const Block& block, Sums (&sums)[kRows]) {
  static_assert(kRows == 4);
  add_row<0, 0, kInside>(p, block, 0, sums);
  add_row<0, 1, kInside>(p, block, 1, sums);
  add_row<0, 2, kInside>(p, block, 2, sums);
  int32_t r = 3;
  for (; r < p.template_height; ++r) add_row<0, 3, kInside>(p, block, r, sums);
  add_row<1, 3, kInside>(p, block, r, sums);
  add_row<2, 3, kInside>(p, block, r + 1, sums);
  add_row<3, 3, kInside>(p, block, r + 2, sums);
}

// Puts the placements back in order.
void store(const Sums& sums, uint16_t* scores, int32_t columns) {
  const __m512i left = _mm512_setr_epi64(0, 1, 8, 9, 2, 3, 10, 11);
  const __m512i right = _mm512_setr_epi64(4, 5, 12, 13, 6, 7, 14, 15);
  const __mmask64 wanted = first_bytes(columns);
  _mm512_mask_storeu_epi16(scores, static_cast<__mmask32>(wanted),
                           _mm512_permutex2var_epi64(sums.first, left, sums.second));
  _mm512_mask_storeu_epi16(scores + 32, static_cast<__mmask32>(wanted >> 32),
                           _mm512_permutex2var_epi64(sums.first, right, sums.second));
}

template <int32_t kCount, bool kInside>
void score_block(const BytePlacements& p, int32_t x, int32_t y) {
  Sums sums[kCount];
#pragma GCC unroll 4
  for (Sums& sum : sums) sum = {_mm512_setzero_si512(), _mm512_setzero_si512()};
  add_rows<kInside>(p, {p.target + y * p.target_stride + x, std::ptrdiff_t{p.columns} - x + p.template_width - 1},
                    sums);
#pragma GCC unroll 4
  for (int32_t i = 0; i < kCount; ++i) {
    store(sums[i], p.scores + (std::ptrdiff_t{y} + i) * p.score_stride + x, p.columns - x);
  }
}

template <int32_t kCount>
void score_rows(const BytePlacements& p, int32_t y) {
  int32_t x = 0;
  for (; x <= p.columns - kInsideMargin; x += kColumns) score_block<kCount, true>(p, x, y);
  for (; x < p.columns; x += kColumns) score_block<kCount, false>(p, x, y);
}

}  // namespace

int32_t sod_u8_avx512(const BytePlacements& p) {
  const int32_t together = p.template_height >= kRows ? p.rows - p.rows % kRows : 0;
  int32_t y = 0;
  for (; y < together; y += kRows) score_rows<kRows>(p, y);
  for (; y < p.rows; ++y) score_rows<1>(p, y);
  return p.columns;
}

}  // namespace vlix

#endif
