// SPDX-License-Identifier: Apache-2.0
#include "optim/cross_corr_levels.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace vlix::optim::cross_corr {

Levels make_levels(float low, float high, bool finite) {
  Levels levels;
  levels.finite = finite;
  levels.offset = low > 0 ? low : high < 0 ? high : 0;
  levels.largest = std::max(high - levels.offset, levels.offset - low);
  return levels;
}

Levels levels_of_finite_pixels(Rows<const float> source) {
  float low = std::numeric_limits<float>::max();
  float high = std::numeric_limits<float>::lowest();
  for (std::size_t y = 0; y < source.height; ++y) {
    const float* row = source.row(y);
    for (std::size_t x = 0; x < source.width; ++x) {
      if (!std::isfinite(row[x])) continue;
      low = std::min(low, row[x]);
      high = std::max(high, row[x]);
    }
  }
  return low <= high ? make_levels(low, high, false) : make_levels(0, 0, false);
}

}  // namespace vlix::optim::cross_corr
