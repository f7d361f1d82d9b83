// SPDX-License-Identifier: Apache-2.0
// Centred moving average of the y of points.
#pragma once

#include <cstdint>

#include "vlix/types.h"

namespace vlix {

// to[i] = (from[i].x, sum of from[j].y over |j - i| <= (length - 1) / 2 inside the points / length).
// `length` is odd, 1 <= length <= count, count >= 2; `from` and `to` do not overlap.
// Float sums run in 32 bits from left to right (add the new element after dropping the old one).
void moving_average(const PointF32* from, PointF32* to, int32_t count, int32_t length);
// Integer sums wrap in 32 bits; the division truncates toward zero.
void moving_average(const PointI32* from, PointI32* to, int32_t count, int32_t length);

}  // namespace vlix
