// SPDX-License-Identifier: Apache-2.0
// Moments of integer samples in vector lanes; accumulators for the lane walk.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "frame/multiversion.h"
#include "stats/lanes.h"

namespace vlix {

// By position in the pixel, of the samples as they are stored: signed ones with their sign bit flipped.
struct Totals {
  uint64_t sum[4] = {};
  uint64_t square[4] = {};
  uint32_t min[4] = {};
  uint32_t max[4] = {};
};

// Sample i of each vector was summed in lane i / kParts of part i % kParts; it is number i % kPeriod of its pixel.
template <int kPeriod, int kSamples, int kParts>
[[gnu::noinline]] void reduce_sums(const Lanes<uint32_t> (&parts)[kParts], int shift, uint64_t (&totals)[4]) {
  for (int i = 0; i < kSamples; ++i) totals[i % kPeriod] += uint64_t{parts[i % kParts].lane[i / kParts]} << shift;
}

template <int kPeriod, int kSamples, class Lane>
[[gnu::noinline]] void reduce_extremes(const Lanes<Lane>& min, const Lanes<Lane>& max, Totals& totals) {
  for (int position = 0; position < kPeriod; ++position) {
    Lane lowest = min.lane[position];
    Lane highest = max.lane[position];
    for (int i = position + kPeriod; i < kSamples; i += kPeriod) {
      lowest = std::min(lowest, min.lane[i]);
      highest = std::max(highest, max.lane[i]);
    }
    totals.min[position] = lowest;
    totals.max[position] = highest;
  }
}

// Samples of 8 bits, kPeriod of them in a pixel.
template <int kPeriod, bool kSums>
class ByteAccumulator {
 public:
  static constexpr int kVectorsPerWiden = 256;
  static constexpr int kVectorsPerFold = 65536;
  static_assert(uint64_t{255} * kVectorsPerWiden <= UINT16_MAX);
  static_assert(uint64_t{255} * 255 * kVectorsPerFold <= UINT32_MAX);
  // Whole pixels and whole 32-bit lanes.
  static constexpr int kStep = kLaneBytes / (4 * kPeriod) * (4 * kPeriod);

  VLIX_INLINE ByteAccumulator(uint32_t sign_bits, Totals& totals)
      : sign_bits_((ByteLanes)(DwordLanes{} + sign_bits)), totals_(totals) {}

  VLIX_INLINE void add(const ByteLanes& bytes, const ByteLanes& padding) {
    const ByteLanes v = (bytes ^ sign_bits_) & ~padding;
    const ByteLanes raised = v | padding;
    min_ = raised < min_ ? raised : min_;
    max_ = v > max_ ? v : max_;
    if constexpr (kSums) add_sums(v);
  }

  VLIX_INLINE void widen() {
    if constexpr (!kSums) return;
    sum_[0] += (DwordLanes)even_ & 0xFFFF;
    sum_[1] += (DwordLanes)odd_ & 0xFFFF;
    sum_[2] += (DwordLanes)even_ >> 16;
    sum_[3] += (DwordLanes)odd_ >> 16;
    even_ = odd_ = WordLanes{};
  }

  VLIX_INLINE void fold() {
    if constexpr (!kSums) return;
    reduce(sum_, totals_.sum);
    reduce(square_, totals_.square);
  }

  VLIX_INLINE void finish() { reduce_extremes<kPeriod, kStep>(Lanes<uint8_t>(min_), Lanes<uint8_t>(max_), totals_); }

 private:
  // Squares of bytes fit 16 bits; they are summed in 32-bit lanes.
  VLIX_INLINE void add_sums(const ByteLanes& v) {
    const WordLanes even = (WordLanes)v & 0xFF;
    const WordLanes odd = (WordLanes)v >> 8;
    even_ += even;
    odd_ += odd;
    const DwordLanes even_squares = (DwordLanes)(even * even);
    const DwordLanes odd_squares = (DwordLanes)(odd * odd);
    square_[0] += even_squares & 0xFFFF;
    square_[1] += odd_squares & 0xFFFF;
    square_[2] += even_squares >> 16;
    // The fourth byte of a pixel does not count.
    if constexpr (kPeriod != 4) square_[3] += odd_squares >> 16;
  }

  VLIX_INLINE void reduce(DwordLanes (&parts)[4], uint64_t (&totals)[4]) {
    const Lanes<uint32_t> lanes[4] = {Lanes<uint32_t>(parts[0]), Lanes<uint32_t>(parts[1]), Lanes<uint32_t>(parts[2]),
                                      Lanes<uint32_t>(parts[3])};
    reduce_sums<kPeriod, kStep>(lanes, 0, totals);
    parts[0] = parts[1] = parts[2] = parts[3] = DwordLanes{};
  }

  WordLanes even_ = {};
  WordLanes odd_ = {};
  DwordLanes sum_[4] = {};  // byte i of all vectors in lane i / 4 of part i % 4
  DwordLanes square_[4] = {};
  ByteLanes min_ = ~ByteLanes{};
  ByteLanes max_ = {};
  const ByteLanes sign_bits_;
  Totals& totals_;
};

// Samples of 16 bits, in the same way. Squares are summed in halves of 16 bits.
template <int kPeriod, bool kSums>
class WordAccumulator {
 public:
  static constexpr int kVectorsPerWiden = 65536;
  static constexpr int kVectorsPerFold = 65536;
  static_assert(uint64_t{65535} * kVectorsPerFold <= UINT32_MAX);
  static constexpr int kStep = kLaneBytes;

  VLIX_INLINE WordAccumulator(uint32_t sign_bits, Totals& totals)
      : sign_bits_((ByteLanes)(DwordLanes{} + sign_bits)), totals_(totals) {}

  VLIX_INLINE void add(const ByteLanes& bytes, const ByteLanes& padding) {
    const WordLanes v = (WordLanes)((bytes ^ sign_bits_) & ~padding);
    const WordLanes raised = v | (WordLanes)padding;
    min_ = raised < min_ ? raised : min_;
    max_ = v > max_ ? v : max_;
    if constexpr (kSums) {
      const DwordLanes samples[2] = {(DwordLanes)v & 0xFFFF, (DwordLanes)v >> 16};
      for (int part = 0; part < 2; ++part) {
        const DwordLanes squares = samples[part] * samples[part];
        sum_[part] += samples[part];
        square_low_[part] += squares & 0xFFFF;
        square_high_[part] += squares >> 16;
      }
    }
  }

  VLIX_INLINE void widen() {}

  VLIX_INLINE void fold() {
    if constexpr (!kSums) return;
    reduce(sum_, 0, totals_.sum);
    reduce(square_low_, 0, totals_.square);
    reduce(square_high_, 16, totals_.square);
  }

  VLIX_INLINE void finish() {
    reduce_extremes<kPeriod, kLaneBytes / 2>(Lanes<uint16_t>(min_), Lanes<uint16_t>(max_), totals_);
  }

 private:
  VLIX_INLINE void reduce(DwordLanes (&parts)[2], int shift, uint64_t (&totals)[4]) {
    const Lanes<uint32_t> lanes[2] = {Lanes<uint32_t>(parts[0]), Lanes<uint32_t>(parts[1])};
    reduce_sums<kPeriod, kLaneBytes / 2>(lanes, shift, totals);
    parts[0] = parts[1] = DwordLanes{};
  }

  DwordLanes sum_[2] = {};  // word i of all vectors in lane i / 2 of part i % 2
  DwordLanes square_low_[2] = {};
  DwordLanes square_high_[2] = {};
  WordLanes min_ = ~WordLanes{};
  WordLanes max_ = {};
  const ByteLanes sign_bits_;
  Totals& totals_;
};

// Three unsigned samples of 10 bits in each 32-bit word.
class TenBitsAccumulator {
 public:
  static constexpr int kVectorsPerWiden = 4096;
  static constexpr int kVectorsPerFold = 4096;
  static_assert(uint64_t{1023} * 1023 * kVectorsPerFold <= UINT32_MAX);
  static constexpr int kStep = kLaneBytes;

  VLIX_INLINE TenBitsAccumulator(uint32_t, Totals& totals) : totals_(totals) {}

  VLIX_INLINE void add(const ByteLanes& bytes, const ByteLanes& padding) {
    for (int position = 0; position < 3; ++position) {
      const DwordLanes v = ((DwordLanes)bytes >> (10 * position)) & 0x3FF;
      const DwordLanes raised = v | (DwordLanes)padding;
      min_[position] = raised < min_[position] ? raised : min_[position];
      max_[position] = v > max_[position] ? v : max_[position];
      sum_[position] += v;
      square_[position] += v * v;
    }
  }

  VLIX_INLINE void widen() {}

  VLIX_INLINE void fold() {
    for (int position = 0; position < 3; ++position) {
      reduce(sum_[position], totals_.sum[position]);
      reduce(square_[position], totals_.square[position]);
    }
  }

  VLIX_INLINE void finish() {
    for (int position = 0; position < 3; ++position) {
      Totals one;
      reduce_extremes<1, kLaneBytes / 4>(Lanes<uint32_t>(min_[position]), Lanes<uint32_t>(max_[position]), one);
      totals_.min[position] = one.min[0];
      totals_.max[position] = one.max[0];
    }
  }

 private:
  VLIX_INLINE void reduce(DwordLanes& part, uint64_t& total) {
    const Lanes<uint32_t> lanes[1] = {Lanes<uint32_t>(part)};
    uint64_t totals[4] = {};
    reduce_sums<1, kLaneBytes / 4>(lanes, 0, totals);
    total += totals[0];
    part = DwordLanes{};
  }

  DwordLanes sum_[3] = {};
  DwordLanes square_[3] = {};
  DwordLanes min_[3] = {~DwordLanes{}, ~DwordLanes{}, ~DwordLanes{}};
  DwordLanes max_[3] = {};
  Totals& totals_;
};

}  // namespace vlix
