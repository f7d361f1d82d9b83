// SPDX-License-Identifier: Apache-2.0
// Sums of absolute differences of bytes: one kernel for each instruction set, chosen at run time.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vlix {

// A template over the placements of a target; everything is counted in pixels. The target's region is
// columns + template_width - 1 pixels wide and rows + template_height - 1 high; nothing else of it is read.
struct BytePlacements {
  const uint8_t* target;
  std::ptrdiff_t target_stride;
  const uint8_t* templ;
  std::ptrdiff_t template_stride;
  int32_t template_width;   // at least 1
  int32_t template_height;  // at least 1
  uint16_t* scores;
  std::ptrdiff_t score_stride;
  int32_t columns;  // placements in a row
  int32_t rows;
};

// Scores the first columns of every row, each sum limited to 65535, and returns how many columns that were: a kernel
// leaves alone what it cannot reach without reading outside the region.
using ByteKernel = int32_t (*)(const BytePlacements&);

// The sums are exact as long as they fit 32 bits.
constexpr bool byte_sums_fit(int32_t template_width, int32_t template_height) {
  return int64_t{template_width} * template_height <= int64_t{0xFFFFFFFF} / 255;
}

int32_t sod_u8_sse2(const BytePlacements& placements);
int32_t sod_u8_avx2(const BytePlacements& placements);
int32_t sod_u8_avx512(const BytePlacements& placements);

// The best kernel that the processor runs; null when there is none.
ByteKernel byte_kernel();

}  // namespace vlix
