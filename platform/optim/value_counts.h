// SPDX-License-Identifier: Apache-2.0
// Counts how often each value occurs in a region. All counts are exact modulo 2^32.
#pragma once

#include <cstdint>

#include "optim/rows.h"

namespace vlix::optim {

inline constexpr std::size_t kByteValues = 256;
inline constexpr std::size_t kWordValues = 65536;
using ByteCounts = uint32_t[kByteValues];

// Four bytes of a colour pixel; the fourth one is not read as a channel.
struct ColourPixel {
  uint8_t channel[4];
};

// At most 256 bins of equal whole width over 16-bit values.
//
// A value v lies inside when uint16_t(v - first) <= span; its bin is (uint16_t(v - first) + offset) / width, where the
// sum fits 16 bits. The division by the invariant width is a high product and two shifts (Granlund and Montgomery,
// "Division by invariant integers using multiplication", 1994, figure 4.1), exact for all 16-bit dividends.
struct WordBins {
  WordBins(uint16_t first_value, uint16_t span_of_values, uint16_t offset_in_bin, uint32_t width);

  uint16_t first;
  uint16_t span;
  uint16_t offset;
  uint16_t multiplier;
  int shift_before;
  int shift_after;
};

// Each writes all of its counts.
void count_bytes(Rows<const uint8_t> rows, ByteCounts& counts);
void count_channels(Rows<const ColourPixel> rows, ByteCounts (&counts)[3]);
void count_word_bins(Rows<const uint16_t> rows, const WordBins& bins, ByteCounts& counts);
// `counts` has kWordValues entries.
void count_words(Rows<const uint16_t> rows, uint32_t* counts);

}  // namespace vlix::optim
