// SPDX-License-Identifier: Apache-2.0
// Evenly spaced levels and the bins between them.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

namespace vlix::optim {

// Level i is lower + floor(i * range / bins), i = 0 .. bins; bin i holds the values v, level i <= v < level i + 1.
struct EvenLevels {
  int64_t lower;
  int64_t range;
  int64_t bins;

  EvenLevels(int32_t count, int32_t lower_level, int32_t upper_level)
      : lower(lower_level), range(int64_t{upper_level} - lower_level), bins(int64_t{count} - 1) {}

  // No bin is narrower than one value.
  bool are_valid() const { return bins >= 1 && range >= bins; }
  bool have_whole_width() const { return range % bins == 0; }
  int64_t upper() const { return lower + range; }

  // The largest i with i * range < (v - lower + 1) * bins; lower <= v < upper.
  int64_t bin_of(int64_t v) const {
    // range < 2^32 and bins < 2^31.
    const uint64_t above = static_cast<uint64_t>(v - lower + 1) * static_cast<uint64_t>(bins);
    return static_cast<int64_t>((above - 1) / static_cast<uint64_t>(range));
  }

  // Writes bins + 1 levels.
  void fill(int32_t* levels) const {
    const int64_t width = range / bins;
    if (have_whole_width()) {
      // Every level fits 32 bits, so that unsigned steps may wrap on the way.
      auto level = static_cast<uint32_t>(lower);
      for (int64_t i = 0; i <= bins; ++i, level += static_cast<uint32_t>(width))
        levels[i] = static_cast<int32_t>(level);
      return;
    }
    // i * range / bins without a division for each level: whole and fractional part, the latter in 1 / bins.
    int64_t level = lower;
    int64_t fraction = 0;
    for (int64_t i = 0; i <= bins; ++i) {
      levels[i] = static_cast<int32_t>(level);
      level += width;
      fraction += range % bins;
      if (fraction >= bins) {
        fraction -= bins;
        ++level;
      }
    }
  }
};

// Values of a pixel type, first <= v < last.
struct ValueRange {
  int64_t first;
  int64_t last;
  bool is_empty() const { return first >= last; }
};

// What the levels cover of a pixel type.
template <class Pixel>
ValueRange covered_values(const EvenLevels& levels) {
  return {std::max(levels.lower, int64_t{std::numeric_limits<Pixel>::min()}),
          std::min(levels.upper(), int64_t{std::numeric_limits<Pixel>::max()} + 1)};
}

}  // namespace vlix::optim
