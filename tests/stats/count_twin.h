// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "stats/formats.h"

namespace vlix::test {

// Colours that are counted have three channels of 8 or of 10 bits, packed from bit 0 on.
inline double threshold_of(const Format& format, int32_t packed, int32_t channel) {
  if (format.code == kF32.code) return static_cast<double>(static_cast<float>(packed));
  if (format.channels == 1) return packed;
  const int32_t bits = format.code == kColour36.code ? 10 : 8;
  const auto pattern = static_cast<uint64_t>(static_cast<uint32_t>(packed));
  return static_cast<double>((pattern >> (bits * channel)) % (uint64_t{1} << bits));
}

inline uint32_t count_non_zero_twin(const Format& format, const RawImage& image) {
  uint32_t count = 0;
  for (int32_t y = 0; y < image.record.roiHeight; ++y) {
    for (int32_t x = 0; x < image.record.roiWidth; ++x) {
      bool counts = false;
      for (int32_t c = 0; c < format.channels; ++c) {
        if (format.read(image.pixel(x, y), c) != 0.0) counts = true;
      }
      if (counts) ++count;
    }
  }
  return count;
}

inline uint32_t count_between_twin(const Format& format, const RawImage& image, int32_t low, int32_t high) {
  uint32_t count = 0;
  for (int32_t y = 0; y < image.record.roiHeight; ++y) {
    for (int32_t x = 0; x < image.record.roiWidth; ++x) {
      bool counts = true;
      for (int32_t c = 0; c < format.channels; ++c) {
        const double value = format.read(image.pixel(x, y), c);
        if (!(threshold_of(format, low, c) < value)) counts = false;
        if (!(value <= threshold_of(format, high, c))) counts = false;
      }
      if (counts) ++count;
    }
  }
  return count;
}

// The primitive for bytes takes its bounds modulo 256, both included.
inline uint32_t count_by_primitive_twin(const RawImage& image, int32_t low, int32_t high) {
  const int64_t lower = ((int64_t{low} + 1) % 256 + 256) % 256;
  const int64_t upper = (int64_t{high} % 256 + 256) % 256;
  uint32_t count = 0;
  for (int32_t y = 0; y < image.record.roiHeight; ++y) {
    for (int32_t x = 0; x < image.record.roiWidth; ++x) {
      if (*image.pixel(x, y) >= lower && *image.pixel(x, y) <= upper) ++count;
    }
  }
  return count;
}

}  // namespace vlix::test
