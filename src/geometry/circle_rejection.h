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

// Fits the points, removes the point of the largest radial error (the first of equals; the first of all where no error
// is above 0), fits what is left, until `discard` points are removed. The kept points are moved to the front in their
// order; behind them stays what moving the later points down one place at each removal leaves.
RejectionResult fit_with_rejection(PointF32* points, int32_t count, int32_t discard);

}  // namespace vlix
