// SPDX-License-Identifier: Apache-2.0
// A circle fit that removes the worst point, fits again, and so on.
#pragma once

#include <cstdint>

#include "geometry/circle.h"

namespace vlix {

struct RejectionResult {
  Circle circle;            // of the last pass that could be fitted
  bool any_fitted = false;  // false: the circle means nothing
  bool all_fitted = false;  // false: a pass found no circle
};

// Fits count + 0 points, removes the point of the largest radial error (the first of equals, point 0 where no error is
// above 0), and repeats until `discard` points are removed and the rest is fitted. The kept points are moved to the
// front in their order; behind them remains what moving the later points down one place at each removal leaves.
RejectionResult fit_with_rejection(PointF32* points, int32_t count, int32_t discard);

}  // namespace vlix
