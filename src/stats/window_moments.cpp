// SPDX-License-Identifier: Apache-2.0
#include "stats/window_moments.h"

#include <cmath>

#include "frame/multiversion.h"

namespace vlix {
namespace {

template <bool kRoot>
VLIX_MULTIVERSION bool wide_variances(const WindowRow& row, float* mean, float* variance) {
  const auto* sums = reinterpret_cast<const float*>(row.sums);
  const double rows = row.rows;
  int32_t any_negative = 0;
  for (int32_t c = 0; c < row.count; ++c) {
    const double exact_n = row.columns[c] * rows;
    const auto n = static_cast<float>(exact_n);
    const float m = sums[2 * c] / n;
    const float deviations = sums[2 * c + 1] - m * n * m;
    double v = static_cast<double>(deviations) / (exact_n - 1.0);
    if constexpr (kRoot) {
      any_negative |= v < 0.0 ? 1 : 0;
      v = std::sqrt(v);
    }
    mean[c] = m;
    variance[c] = static_cast<float>(v);
  }
  return any_negative != 0;
}

}  // namespace

// Two additions of 64 bits per row and column: a vector of all rows would need them transposed, which costs more.
void enter_columns(RunningWindows& windows, const ColumnTile& tile, int32_t at, int32_t count) {
  RunningWindows running = windows;
  for (int32_t c = at; c < at + count; ++c) {
#pragma GCC unroll 8
    for (int32_t i = 0; i < kWindowRows; ++i) running.row[i] += tile[i][c];
  }
  windows = running;
}

VLIX_MULTIVERSION void slide_right(RunningWindows& windows, const ColumnTile& tile, int32_t lag, int32_t count,
                                   WindowTile& sums) {
  RunningWindows running = windows;
  for (int32_t c = 0; c < count; ++c) {
#pragma GCC unroll 8
    for (int32_t i = 0; i < kWindowRows; ++i) {
      sums[i][c] = running.row[i];
      running.row[i] = running.row[i] - tile[i][c] + tile[i][c + lag];
    }
  }
  windows = running;
}

VLIX_MULTIVERSION void store_means(const WindowRow& row, float* mean) {
  const auto* sums = reinterpret_cast<const float*>(row.sums);
  for (int32_t c = 0; c < row.count; ++c) {
    mean[c] = sums[2 * c] / static_cast<float>(static_cast<double>(row.columns[c]) * row.rows);
  }
}

// The variance is the quotient of doubles, rounded to a float. Where the divisor is an exact float that is the quotient
// of floats: 53 bits are enough that rounding twice cannot differ from rounding once.
VLIX_MULTIVERSION void store_variances(const WindowRow& row, float* mean, float* variance) {
  const auto* sums = reinterpret_cast<const float*>(row.sums);
  const auto rows = static_cast<float>(row.rows);
  for (int32_t c = 0; c < row.count; ++c) {
    const float n = static_cast<float>(row.columns[c]) * rows;
    const float m = sums[2 * c] / n;
    mean[c] = m;
    variance[c] = (sums[2 * c + 1] - m * n * m) / (n - 1.0f);
  }
}

bool store_wide_variances(const WindowRow& row, bool root, float* mean, float* variance) {
  return root ? wide_variances<true>(row, mean, variance) : wide_variances<false>(row, mean, variance);
}

}  // namespace vlix
