// SPDX-License-Identifier: Apache-2.0
#include "geometry/projection_floats.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "frame/multiversion.h"
#include "geometry/lanes.h"

namespace vlix {
namespace {

// Sums of a row must be formed one pixel after the other, so that 16 rows go side by side, one per lane.
constexpr int kRows = 16;
constexpr int kLanes = 16;
using Floats = Lanes<float, kLanes>;

// Columns that are converted together.
constexpr int32_t kTileWidth = 128;
struct Tile {
  alignas(64) float row[kRows][kTileWidth];
};

// The value that is added. Floats are converted as by truncate_to_int32: what is not below 2^31 in magnitude becomes
// -2^31 first. Compared as integers, since comparisons of floats, which may trap, keep a loop from being vectorised.
template <class Pixel>
VLIX_INLINE float value_of(Pixel pixel) {
  if constexpr (std::is_floating_point_v<Pixel>) {
    constexpr auto kAbove = std::bit_cast<uint32_t>(2147483648.0f);
    constexpr auto kLowest = std::bit_cast<uint32_t>(-2147483648.0f);
    const auto bits = std::bit_cast<uint32_t>(pixel);
    const uint32_t fits = 0u - static_cast<uint32_t>((bits & 0x7FFFFFFFu) < kAbove);
    return static_cast<float>(static_cast<int32_t>(std::bit_cast<float>((bits & fits) | (kLowest & ~fits))));
  } else {
    return static_cast<float>(pixel);
  }
}

template <class Pixel>
VLIX_INLINE void fill_row(const Pixel* __restrict from, int32_t width, std::ptrdiff_t ahead, float* __restrict to) {
  for (int line = 0; line < kTileWidth * static_cast<int>(sizeof(Pixel)); line += 64) {
    prefetch(from, ahead * static_cast<std::ptrdiff_t>(sizeof(Pixel)) + line);
  }
  for (int32_t x = 0; x < width; ++x) to[x] = value_of(from[x]);
}

// Elements kFirst and kFirst + 1 of each group of four lanes, alternately of a and of b.
template <int kFirst>
VLIX_INLINE void zip(const Floats& a, const Floats& b, Floats& zipped) {
  constexpr int i = kFirst;
  zipped = __builtin_shufflevector(a, b, i, 16 + i, i + 1, 17 + i, 4 + i, 20 + i, 5 + i, 21 + i, 8 + i, 24 + i, 9 + i,
                                   25 + i, 12 + i, 28 + i, 13 + i, 29 + i);
}

// The same for pairs of elements.
template <int kFirst>
VLIX_INLINE void zip_pairs(const Floats& a, const Floats& b, Floats& zipped) {
  constexpr int i = kFirst;
  zipped = __builtin_shufflevector(a, b, i, i + 1, 16 + i, 17 + i, 4 + i, 5 + i, 20 + i, 21 + i, 8 + i, 9 + i, 24 + i,
                                   25 + i, 12 + i, 13 + i, 28 + i, 29 + i);
}

// Groups kFirst and kFirst + kStep of a, then of b.
template <int kFirst, int kStep>
VLIX_INLINE void join_groups(const Floats& a, const Floats& b, Floats& joined) {
  constexpr int i = 4 * kFirst;
  constexpr int j = 4 * (kFirst + kStep);
  joined = __builtin_shufflevector(a, b, i, i + 1, i + 2, i + 3, j, j + 1, j + 2, j + 3, 16 + i, 17 + i, 18 + i, 19 + i,
                                   16 + j, 17 + j, 18 + j, 19 + j);
}

// Rows 4 g to 4 g + 3: group L of column j of the result holds their columns 4 L + j.
VLIX_INLINE void transpose_groups(const Tile& tile, int g, int32_t x, Floats (&columns)[4]) {
  Floats row[4], low01, low23, high01, high23;
  for (int k = 0; k < 4; ++k) load<float, kLanes>(row[k], &tile.row[4 * g + k][x]);
  zip<0>(row[0], row[1], low01);
  zip<0>(row[2], row[3], low23);
  zip<2>(row[0], row[1], high01);
  zip<2>(row[2], row[3], high23);
  zip_pairs<0>(low01, low23, columns[0]);
  zip_pairs<2>(low01, low23, columns[1]);
  zip_pairs<0>(high01, high23, columns[2]);
  zip_pairs<2>(high01, high23, columns[3]);
}

// Adds columns x to x + 15 of a tile to the sums of its rows, one after the other.
VLIX_INLINE void add_columns_to_rows(const Tile& tile, int32_t x, Floats& sums) {
  Floats group[4][4], column[16];
  for (int g = 0; g < 4; ++g) transpose_groups(tile, g, x, group[g]);
  for (int j = 0; j < 4; ++j) {
    Floats first01, first23, last01, last23;
    join_groups<0, 1>(group[0][j], group[1][j], first01);
    join_groups<0, 1>(group[2][j], group[3][j], first23);
    join_groups<2, 1>(group[0][j], group[1][j], last01);
    join_groups<2, 1>(group[2][j], group[3][j], last23);
    join_groups<0, 2>(first01, first23, column[j]);
    join_groups<1, 2>(first01, first23, column[4 + j]);
    join_groups<0, 2>(last01, last23, column[8 + j]);
    join_groups<1, 2>(last01, last23, column[12 + j]);
  }
  for (int c = 0; c < 16; ++c) sums += column[c];
}

VLIX_INLINE void add_to_rows(const Tile& tile, int32_t width, float (&rows)[kRows]) {
  Floats sums;
  load<float, kLanes>(sums, rows);
  int32_t x = 0;
  for (; width - x >= kLanes; x += kLanes) add_columns_to_rows(tile, x, sums);
  store<float, kLanes>(sums, rows);
  for (; x < width; ++x) {
    for (int r = 0; r < kRows; ++r) rows[r] += tile.row[r][x];
  }
}

template <bool kFull>
VLIX_INLINE void add_to_columns(const Tile& tile, int32_t width, int count, float* columns) {
  const int rows = kFull ? kRows : count;
  int32_t x = 0;
  for (; width - x >= kLanes; x += kLanes) {
    Floats sums, values;
    load<float, kLanes>(sums, columns + x);
    for (int r = 0; r < rows; ++r) {
      load<float, kLanes>(values, tile.row[r] + x);
      sums += values;
    }
    store<float, kLanes>(sums, columns + x);
  }
  for (; x < width; ++x) {
    for (int r = 0; r < rows; ++r) columns[x] += tile.row[r][x];
  }
}

// Up to 16 rows. The lanes of missing rows add up what is left in the tile.
template <bool kWithRows, bool kWithColumns, bool kFull, class Pixel>
VLIX_INLINE void add_block(const Pixel* first, std::ptrdiff_t stride, int32_t width, int count, Tile& tile, float* rows,
                           float* columns) {
  const int used = kFull ? kRows : count;
  alignas(64) float sums[kRows] = {};
  if constexpr (kWithRows) std::copy(rows, rows + used, sums);
  for (int32_t x = 0; x < width; x += std::min(kTileWidth, width - x)) {
    const int32_t n = std::min(kTileWidth, width - x);
    for (int r = 0; r < used; ++r) fill_row(first + r * stride + x, n, stride * kRows, tile.row[r]);
    if constexpr (kWithColumns) add_to_columns<kFull>(tile, n, count, columns + x);
    if constexpr (kWithRows) add_to_rows(tile, n, sums);
  }
  if constexpr (kWithRows) std::copy(sums, sums + used, rows);
}

template <bool kWithRows, bool kWithColumns, class Pixel>
VLIX_MULTIVERSION void add_rows(const Pixel* origin, std::ptrdiff_t stride, int32_t width, int32_t height, float* rows,
                                float* columns) {
  Tile tile = {};
  int32_t y = 0;
  for (; height - y >= kRows; y += kRows) {
    add_block<kWithRows, kWithColumns, true>(origin + y * stride, stride, width, kRows, tile,
                                             kWithRows ? rows + y : nullptr, columns);
  }
  if (y < height) {
    add_block<kWithRows, kWithColumns, false>(origin + y * stride, stride, width, height - y, tile,
                                              kWithRows ? rows + y : nullptr, columns);
  }
}

}  // namespace

template <class Pixel>
void add_projections_in_order(const Region<const Pixel>& region, float* rows, float* columns) {
  const auto& [origin, stride, width, height] = region;
  if (rows != nullptr && columns != nullptr) {
    add_rows<true, true>(origin, stride, width, height, rows, columns);
  } else if (rows != nullptr) {
    add_rows<true, false>(origin, stride, width, height, rows, columns);
  } else if (columns != nullptr) {
    add_rows<false, true>(origin, stride, width, height, rows, columns);
  }
}

template void add_projections_in_order(const Region<const uint8_t>&, float*, float*);
template void add_projections_in_order(const Region<const int8_t>&, float*, float*);
template void add_projections_in_order(const Region<const uint16_t>&, float*, float*);
template void add_projections_in_order(const Region<const int16_t>&, float*, float*);
template void add_projections_in_order(const Region<const float>&, float*, float*);

}  // namespace vlix
