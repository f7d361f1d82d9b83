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
    const ByteRows quarter = quarter_of(rows);
    const bool by_rows = quarter.row_bytes == rows.row_bytes;
    const std::ptrdiff_t spacing = by_rows ? quarter.rows * rows.stride : quarter.row_bytes;
    for (std::ptrdiff_t y = 0; y < quarter.rows; ++y) {
      run_streams(quarter.origin + y * quarter.stride, spacing, quarter.row_bytes);
    }
    if (by_rows) {
      for (std::ptrdiff_t y = kStreams * quarter.rows; y < rows.rows; ++y) {
        run_row(rows.origin + y * rows.stride, rows.row_bytes);
      }
    } else {
      run_row(rows.origin + kStreams * spacing, rows.row_bytes - kStreams * spacing);
    }
    flush();
    accumulator_.fold();
    accumulator_.finish();
  }

 private:
  static constexpr int kStep = Accumulator::kStep;
  static_assert(Accumulator::kVectorsPerFold >= Accumulator::kVectorsPerWiden);

  static constexpr ByteLanes kNoPadding = {};
  // Four counts of words in one turn take half the time in the second-level cache.
  static constexpr int kUnroll = 4;
  // Regions of many megabytes are read at four places at once: 0.8 of the time in the third-level cache.
  static constexpr int kStreams = 4;
  static constexpr std::ptrdiff_t kStreamedBytes = std::ptrdiff_t{6} << 20;
  // Reading ahead by this many bytes, which may lie behind the rows, takes 0.8 of the time in the third-level cache.
  static constexpr std::ptrdiff_t kAhead = 2048;

  // What each of the four streams reads: a quarter of the rows, or of the bytes of the only row. Nothing of a small
  // region.
  static VLIX_INLINE ByteRows quarter_of(const ByteRows& rows) {
    if (rows.rows * rows.row_bytes < kStreamedBytes) return {rows.origin, rows.stride, rows.row_bytes, 0};
    if (rows.rows > 1) return {rows.origin, rows.stride, rows.row_bytes, rows.rows / kStreams};
    return {rows.origin, 0, rows.row_bytes / (kStreams * kStep) * kStep, 1};
  }

  VLIX_INLINE void add_whole(const uint8_t* p) {
    __builtin_prefetch(p + kAhead);
    ByteLanes v;
    std::memcpy(&v, p, sizeof(v));
    accumulator_.add(v, kNoPadding);
  }

  static VLIX_INLINE std::ptrdiff_t whole_vectors(std::ptrdiff_t bytes) {
    return bytes < kLaneBytes ? 0 : (bytes - kLaneBytes) / kStep + 1;
  }

  VLIX_INLINE void run_streams(const uint8_t* p, std::ptrdiff_t spacing, std::ptrdiff_t bytes) {
    std::ptrdiff_t vectors = whole_vectors(bytes);
    bytes -= vectors * kStep;
    while (vectors > 0) {
      if (Accumulator::kVectorsPerWiden - since_widen_ < kStreams) flush();
      const std::ptrdiff_t stretch =
          std::min<std::ptrdiff_t>(vectors, (Accumulator::kVectorsPerWiden - since_widen_) / kStreams);
      for (std::ptrdiff_t i = 0; i < stretch; ++i, p += kStep) {
        for (int k = 0; k < kStreams; ++k) add_whole(p + k * spacing);
      }
      vectors -= stretch;
      count(static_cast<int32_t>(kStreams * stretch));
    }
    for (int k = 0; k < kStreams; ++k) run_end(p + k * spacing, bytes);
  }

  VLIX_INLINE void run_row(const uint8_t* p, std::ptrdiff_t bytes) {
    std::ptrdiff_t vectors = whole_vectors(bytes);
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
    run_end(p, bytes);
  }

  // Fewer bytes than a vector has, or than it may read.
  VLIX_INLINE void run_end(const uint8_t* p, std::ptrdiff_t bytes) {
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
    if (since_widen_ >= Accumulator::kVectorsPerWiden) flush();
  }

  VLIX_INLINE void flush() {
    accumulator_.widen();
    since_fold_ += since_widen_;
    since_widen_ = 0;
    if (since_fold_ + Accumulator::kVectorsPerWiden <= Accumulator::kVectorsPerFold) return;
    accumulator_.fold();
    since_fold_ = 0;
  }

  Accumulator& accumulator_;
  int32_t since_widen_ = 0;
  int32_t since_fold_ = 0;
};

}  // namespace vlix
