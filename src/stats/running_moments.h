// SPDX-License-Identifier: Apache-2.0
// Moments by running sums in doubles, in memory order.
#pragma once

#include <algorithm>
#include <cstdint>

#include "frame/region.h"
#include "stats/moments.h"

namespace vlix {

// For regions of at least one pixel. The chains of additions bound the speed, not the arithmetic around them.
template <class Format>
void running_moments(const Region<const typename Format::Pixel>& region, Moments (&moments)[Format::kChannels]) {
  Moments running[Format::kChannels];
  for (int channel = 0; channel < Format::kChannels; ++channel) {
    const double first = Format::read(*region.origin, channel);
    running[channel] = {0.0, 0.0, first, first};
  }
  for (int32_t y = 0; y < region.height; ++y) {
    const typename Format::Pixel* row = region.row(y);
    for (int32_t x = 0; x < region.width; ++x) {
      for (int channel = 0; channel < Format::kChannels; ++channel) {
        const double sample = Format::read(row[x], channel);
        Moments& m = running[channel];
        m.sum += sample;
        m.sum_of_squares += sample * sample;
        m.max = sample > m.max ? sample : m.max;
        m.min = sample < m.min ? sample : m.min;
      }
    }
  }
  std::copy(running, running + Format::kChannels, moments);
}

}  // namespace vlix
