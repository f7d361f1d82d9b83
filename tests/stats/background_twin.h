// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>

namespace vlix::test {

// Three equal corners out of four decide, else the mean of all.
inline float background_level_twin(float top_left, float top_right, float bottom_left, float bottom_right) {
  const float corners[4] = {top_left, top_right, bottom_left, bottom_right};
  for (int leave_out = 0; leave_out < 4; ++leave_out) {
    const float first = corners[leave_out == 0 ? 1 : 0];
    bool equal = true;
    for (int i = 0; i < 4; ++i) {
      if (i != leave_out && corners[i] != first) equal = false;
    }
    if (equal) return first;
  }
  return (top_right + top_left + bottom_left + bottom_right) / 4.0f;
}

// Half away from zero for levels of signed pixels, half up for unsigned ones, which have no negative levels.
inline double rounded_level_twin(float level) { return std::round(static_cast<double>(level)); }

}  // namespace vlix::test
