// SPDX-License-Identifier: Apache-2.0
#include "geometry/projection_integers.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <type_traits>
#include <utility>

#include "frame/multiversion.h"
#include "frame/scratch.h"
#include "geometry/lanes.h"

namespace vlix {
namespace {

// Rows that are added to the columns together.
constexpr int kRows = 4;  // 8 leave no registers for the columns and take a quarter longer

// Pixels are taken in words of two: the lower half is the even pixel, the upper half the odd one. Widening them in
// order instead costs three shuffles and two thirds of the speed.
static_assert(std::endian::native == std::endian::little);
constexpr int kBytes = 64;  // of one step
template <class Pixel>
using WordOf = std::conditional_t<sizeof(Pixel) == 2, uint32_t, uint16_t>;
template <class Pixel>
constexpr int kWords = kBytes / static_cast<int>(sizeof(WordOf<Pixel>));
template <class Pixel>
using Words = Lanes<WordOf<Pixel>, kWords<Pixel>>;
template <class Pixel>
using SignedWords = Lanes<std::make_signed_t<WordOf<Pixel>>, kWords<Pixel>>;

// Steps after which the words of a row go into its sum. 32-bit words wrap as the sum itself does.
constexpr int32_t kStepsOfRow = 128;
static_assert(kStepsOfRow * 2 * UINT8_MAX <= UINT16_MAX);
static_assert(kStepsOfRow * 2 * INT8_MIN >= INT16_MIN && kStepsOfRow * 2 * INT8_MAX <= INT16_MAX);

template <class Pixel>
VLIX_INLINE void split(const Pixel* pixels, Words<Pixel>& even, Words<Pixel>& odd) {
  constexpr int kHalf = 4 * sizeof(WordOf<Pixel>);
  Words<Pixel> words;
  std::memcpy(&words, pixels, sizeof(words));
  if constexpr (std::is_signed_v<Pixel>) {
    even = (Words<Pixel>)((SignedWords<Pixel>)(words << kHalf) >> kHalf);
    odd = (Words<Pixel>)((SignedWords<Pixel>)words >> kHalf);
  } else {
    even = words & static_cast<WordOf<Pixel>>((1u << kHalf) - 1);
    odd = words >> kHalf;
  }
}

// Words of the pixels' sign as 32-bit numbers modulo 2^32.
template <class Pixel>
constexpr uint32_t wide(WordOf<Pixel> word) {
  return std::is_signed_v<Pixel> ? static_cast<uint32_t>(static_cast<std::make_signed_t<WordOf<Pixel>>>(word)) : word;
}

template <class Pixel>
VLIX_INLINE uint32_t total_of(const Words<Pixel>& words) {
  uint32_t total = 0;
  for (int i = 0; i < kWords<Pixel>; ++i) total += wide<Pixel>(words[i]);
  return total;
}

// Adds the sums of the even and the odd columns of one step, in the order of the columns.
template <class Pixel, class Column, std::size_t... I>
VLIX_INLINE void add_columns(const Words<Pixel>& even, const Words<Pixel>& odd, Column* columns,
                             std::index_sequence<I...>) {
  constexpr int N = kWords<Pixel>;
  const Words<Pixel> halves[2] = {__builtin_shufflevector(even, odd, (I / 2 + I % 2 * N)...),
                                  __builtin_shufflevector(even, odd, (N / 2 + I / 2 + I % 2 * N)...)};
  WordOf<Pixel> sums[2 * N];
  std::memcpy(sums, halves, sizeof(sums));
  for (int i = 0; i < 2 * N; ++i) {
    columns[i] = static_cast<Column>(columns[i] + static_cast<Column>(wide<Pixel>(sums[i])));
  }
}

// A group of rows. A column is a partial sum (16 bits, unsigned bytes only) or a total (32 bits).
template <int kGroup, bool kWithRows, bool kWithColumns, class Pixel, class Column>
VLIX_INLINE void add_group(const Pixel* first, std::ptrdiff_t stride, int32_t width, uint32_t* rows, Column* columns) {
  constexpr int kPixels = 2 * kWords<Pixel>;
  const Pixel* row[kGroup];
  for (int r = 0; r < kGroup; ++r) row[r] = first + r * stride;

  int32_t x = 0;
  while (width - x >= kPixels) {
    Words<Pixel> sums[kGroup] = {};
    for (int32_t step = 0; step < kStepsOfRow && width - x >= kPixels; ++step, x += kPixels) {
      Words<Pixel> even_columns = {};
      Words<Pixel> odd_columns = {};
      for (int r = 0; r < kGroup; ++r) {
        Words<Pixel> even, odd;
        split<Pixel>(row[r] + x, even, odd);
        prefetch(row[r] + x, kGroup * stride * static_cast<std::ptrdiff_t>(sizeof(Pixel)));
        if constexpr (kWithRows) sums[r] += even + odd;
        if constexpr (kWithColumns) even_columns += even;
        if constexpr (kWithColumns) odd_columns += odd;
      }
      if constexpr (kWithColumns) {
        add_columns<Pixel>(even_columns, odd_columns, columns + x, std::make_index_sequence<kWords<Pixel>>());
      }
    }
    if constexpr (kWithRows) {
      for (int r = 0; r < kGroup; ++r) rows[r] += total_of<Pixel>(sums[r]);
    }
  }
  for (; x < width; ++x) {
    for (int r = 0; r < kGroup; ++r) {
      const auto value = static_cast<uint32_t>(row[r][x]);
      if constexpr (kWithRows) rows[r] += value;
      if constexpr (kWithColumns) columns[x] = static_cast<Column>(columns[x] + value);
    }
  }
}

template <bool kWithRows, bool kWithColumns, class Pixel, class Column>
VLIX_MULTIVERSION void add_rows(const Pixel* origin, std::ptrdiff_t stride, int32_t width, int32_t height,
                                uint32_t* rows, Column* columns) {
  int32_t y = 0;
  for (; y + kRows <= height; y += kRows) {
    add_group<kRows, kWithRows, kWithColumns>(origin + y * stride, stride, width, kWithRows ? rows + y : nullptr,
                                              columns);
  }
  for (; y < height; ++y) {
    add_group<1, kWithRows, kWithColumns>(origin + y * stride, stride, width, kWithRows ? rows + y : nullptr, columns);
  }
}

// Block of rows whose partial column sums fit 16 bits.
constexpr int32_t kBlockRows = 256;
static_assert(kBlockRows * UINT8_MAX <= UINT16_MAX);

VLIX_MULTIVERSION void flush(uint16_t* partial, int32_t width, uint32_t* columns) {
  for (int32_t x = 0; x < width; ++x) columns[x] += partial[x];
  for (int32_t x = 0; x < width; ++x) partial[x] = 0;
}

template <bool kWithRows>
void add_in_blocks(const Region<const uint8_t>& region, uint32_t* rows, uint32_t* columns, uint16_t* partial) {
  for (int32_t y = 0; y < region.height; y += std::min(kBlockRows, region.height - y)) {
    add_rows<kWithRows, true>(region.row(y), region.stride, region.width, std::min(kBlockRows, region.height - y),
                              kWithRows ? rows + y : nullptr, partial);
    flush(partial, region.width, columns);
  }
}

constexpr uint32_t* kNoColumns = nullptr;

}  // namespace

template <class Pixel>
void add_projections(const Region<const Pixel>& region, uint32_t* rows, uint32_t* columns) {
  const auto& [origin, stride, width, height] = region;
  if (rows != nullptr && columns != nullptr) {
    add_rows<true, true>(origin, stride, width, height, rows, columns);
  } else if (rows != nullptr) {
    add_rows<true, false>(origin, stride, width, height, rows, kNoColumns);
  } else if (columns != nullptr) {
    add_rows<false, true>(origin, stride, width, height, rows, columns);
  }
}

template void add_projections(const Region<const uint8_t>&, uint32_t*, uint32_t*);
template void add_projections(const Region<const int8_t>&, uint32_t*, uint32_t*);
template void add_projections(const Region<const uint16_t>&, uint32_t*, uint32_t*);
template void add_projections(const Region<const int16_t>&, uint32_t*, uint32_t*);

void add_byte_projections(const Region<const uint8_t>& region, uint32_t* rows, uint32_t* columns) {
  const auto partial =
      columns == nullptr ? HeapArray<uint16_t>() : HeapArray<uint16_t>::zeroed(static_cast<std::size_t>(region.width));
  if (!partial) {
    // No columns are wanted, or none can be had: their zeros are the answer.
    add_projections(region, rows, kNoColumns);
  } else if (rows != nullptr) {
    add_in_blocks<true>(region, rows, columns, partial.get());
  } else {
    add_in_blocks<false>(region, rows, columns, partial.get());
  }
}

}  // namespace vlix
