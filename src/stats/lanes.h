// SPDX-License-Identifier: Apache-2.0
// 64 bytes of samples at a time, and the walk over the rows of a region in such steps.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "frame/multiversion.h"
#include "frame/region.h"

namespace vlix {

// The compiler maps these to the registers that a version of a multi-version function has. They are handed over by
// reference only: by value, their passing would depend on the version.
inline constexpr int kLaneBytes = 64;
using ByteLanes = uint8_t __attribute__((vector_size(kLaneBytes)));
using WordLanes = uint16_t __attribute__((vector_size(kLaneBytes)));
using DwordLanes = uint32_t __attribute__((vector_size(kLaneBytes)));
using FloatLanes = float __attribute__((vector_size(kLaneBytes)));

struct ByteRows {
  const uint8_t* origin;
  std::ptrdiff_t stride;
  std::ptrdiff_t row_bytes;
  std::ptrdiff_t rows;
};

template <class Pixel>
ByteRows bytes_of(const Region<const Pixel>& region) {
  constexpr std::ptrdiff_t kBytes = sizeof(Pixel);
  const auto* origin = reinterpret_cast<const uint8_t*>(region.origin);
  if (region.width <= 0 || region.height <= 0) return {origin, 0, 0, 0};
  if (region.is_contiguous()) return {origin, 0, region.pixels() * kBytes, 1};
  return {origin, region.stride * kBytes, region.width * kBytes, region.height};
}

// The lanes of a vector in memory. The rare reductions read them there, in plain code outside of the hot loops; the
// accumulators themselves must never have an address, which would keep them out of registers.
template <class Lane>
struct Lanes {
  template <class Vector>
  VLIX_INLINE explicit Lanes(const Vector& v) {
    std::memcpy(lane, &v, sizeof(lane));
  }
  Lane lane[kLaneBytes / sizeof(Lane)];
};

// 64 bytes from here on are padding marks for a vector whose first n bytes count: kPadding + 64 - n.
alignas(kLaneBytes) inline constexpr struct PaddingMarks {
  uint8_t mark[2 * kLaneBytes] = {};
  constexpr PaddingMarks() {
    for (int i = kLaneBytes; i < 2 * kLaneBytes; ++i) mark[i] = 0xFF;
  }
} kPadding;

// Hands every byte of the rows to an accumulator, kStep bytes at a time:
//   add(v, padding)  bytes with a mark do not count, nor do bytes from kStep on
//   widen()          called after at most kVectorsPerWiden vectors
//   fold()           called after at most kVectorsPerFold vectors, following widen()
//   finish()         called at the end
// Nothing outside the rows is read.
template <class Accumulator>
class LaneWalk {
 public:
  explicit VLIX_INLINE LaneWalk(Accumulator& accumulator) : accumulator_(accumulator) {}

  VLIX_INLINE void run(const ByteRows& rows) {
    for (std::ptrdiff_t y = 0; y < rows.rows; ++y) run_row(rows.origin + y * rows.stride, rows.row_bytes);
    accumulator_.widen();
    accumulator_.fold();
    accumulator_.finish();
  }

 private:
  static constexpr int kStep = Accumulator::kStep;
  static_assert(Accumulator::kVectorsPerFold % Accumulator::kVectorsPerWiden == 0);

  static constexpr ByteLanes kNoPadding = {};
  // Four counts of words in one turn take half the time in the second-level cache. Reading ahead by this many bytes,
  // which may lie behind the rows, takes 0.8 of the time in the third-level cache.
  static constexpr int kUnroll = 4;
  static constexpr std::ptrdiff_t kAhead = 2048;

  VLIX_INLINE void add_whole(const uint8_t* p) {
    __builtin_prefetch(p + kAhead);
    ByteLanes v;
    std::memcpy(&v, p, sizeof(v));
    accumulator_.add(v, kNoPadding);
  }

  VLIX_INLINE void run_row(const uint8_t* p, std::ptrdiff_t bytes) {
    std::ptrdiff_t vectors = bytes < kLaneBytes ? 0 : (bytes - kLaneBytes) / kStep + 1;
    bytes -= vectors * kStep;
    while (vectors > 0) {
      const std::ptrdiff_t stretch = std::min<std::ptrdiff_t>(vectors, Accumulator::kVectorsPerWiden - since_widen_);
      std::ptrdiff_t i = 0;
      for (; i + kUnroll <= stretch; i += kUnroll) {
        for (int k = 0; k < kUnroll; ++k, p += kStep) add_whole(p);
      }
      for (; i < stretch; ++i, p += kStep) add_whole(p);
      vectors -= stretch;
      count(static_cast<int32_t>(stretch));
    }
    for (; bytes > 0; bytes -= kStep, p += kStep) {
      const auto used = static_cast<std::size_t>(std::min<std::ptrdiff_t>(bytes, kStep));
      ByteLanes v = {};
      ByteLanes padding;
      std::memcpy(&v, p, used);
      std::memcpy(&padding, kPadding.mark + kLaneBytes - used, sizeof(padding));
      accumulator_.add(v, padding);
      count(1);
    }
  }

  VLIX_INLINE void count(int32_t vectors) {
    since_widen_ += vectors;
    if (since_widen_ < Accumulator::kVectorsPerWiden) return;
    accumulator_.widen();
    since_fold_ += since_widen_;
    since_widen_ = 0;
    if (since_fold_ < Accumulator::kVectorsPerFold) return;
    accumulator_.fold();
    since_fold_ = 0;
  }

  Accumulator& accumulator_;
  int32_t since_widen_ = 0;
  int32_t since_fold_ = 0;
};

}  // namespace vlix
