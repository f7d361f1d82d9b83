// SPDX-License-Identifier: Apache-2.0
// Line fits that give up the worst points first.
#pragma once

#include <cstdint>

#include "geometry/line_fit.h"
#include "vlix/types.h"

namespace vlix {

// Fits, removes the point with the largest perpendicular distance (the first one of equals), and starts again,
// `discard` times, at least once. The kept points end up first, in order. Returns the fit of what is left.
Line reject_farthest(PointF32* points, int32_t count, int32_t discard);

// The running float sum of the stated distances, in order.
float sum_of_distances(const Line& line, const PointF32* points, int32_t count);
float sum_of_distances(const Line& line, const PointI32* points, int32_t count);

}  // namespace vlix
