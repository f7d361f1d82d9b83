// SPDX-License-Identifier: Apache-2.0
// Evenly spaced integer bins over the values lo .. hi. Ranges beyond 31 bits wrap.
#pragma once

#include <cstdint>

#include "frame/wrap.h"
#include "vlix/types.h"

namespace vlix {

struct IntBins {
  int32_t count;
  int32_t lo;
  int32_t hi;

  int32_t range() const { return wrap_add(wrap_subtract(hi, lo), 1); }
  // The rest needs at least one bin.
  bool divide_range() const { return range() % count == 0; }
  int32_t width() const { return range() / count; }
};

// Counts become running sums.
inline void accumulate(PointI32* points, int32_t count) {
  for (int32_t i = 1; i < count; ++i) points[i].y = wrap_add(points[i].y, points[i - 1].y);
}

}  // namespace vlix
