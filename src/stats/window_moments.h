// SPDX-License-Identifier: Apache-2.0
// The part of the local variance behind the column sums: window sums along each row, and what is stored of them.
#pragma once

#include <cstdint>

namespace vlix {

// Rows side by side, columns per step, and the widest window whose column sums are remembered until they leave: what
// they need fits the innermost cache.
inline constexpr int32_t kWindowRows = 8;
inline constexpr int32_t kWindowColumns = 128;
inline constexpr int32_t kRemembered = 128;

// A sum and the sum of squares beside it. Rows of a tile lie apart by an odd number of cache lines.
using SumPair = float __attribute__((vector_size(8)));
inline constexpr int32_t kTileColumns = kRemembered + kWindowColumns + 8;
using ColumnTile = SumPair[kWindowRows][kTileColumns];
using WindowTile = SumPair[kWindowRows][kWindowColumns + 8];

// The window sums of the rows; each row is a chain of additions of its own.
struct RunningWindows {
  SumPair row[kWindowRows] = {};
};

// Columns tile[.][at] .. tile[.][at + count - 1] enter, one after the other.
void enter_columns(RunningWindows& windows, const ColumnTile& tile, int32_t at, int32_t count);

// Notes the window sums of each position; then column tile[.][c] leaves and column tile[.][c + lag] enters.
void slide_right(RunningWindows& windows, const ColumnTile& tile, int32_t lag, int32_t count, WindowTile& sums);

// `count` window sums of a row as pairs; a window holds columns[c] x rows samples.
struct WindowRow {
  const SumPair* sums;
  const int32_t* columns;
  int32_t rows;
  int32_t count;
};

void store_means(const WindowRow& row, float* mean);

// Sample variances beside the means, for windows of up to 2^24 samples.
void store_variances(const WindowRow& row, float* mean, float* variance);

// The same for windows of any size; with `root`, deviations. Returns true when a root was taken of a negative number,
// which gives not-a-number.
bool store_wide_variances(const WindowRow& row, bool root, float* mean, float* variance);

}  // namespace vlix
