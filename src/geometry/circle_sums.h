// SPDX-License-Identifier: Apache-2.0
// Sums of a circle fit that are cheap to form and to update, with a proof that the floats of the fit are the same.
#pragma once

#include <cstdint>

#include "geometry/circle.h"

namespace vlix {

// Sums of powers u^j v^k of the distances u = x - origin.x, v = y - origin.y from a fixed origin.
struct CircleSums {
  int32_t count = 0;
  double origin_x = 0.0, origin_y = 0.0;
  double u = 0.0, v = 0.0;
  double uu = 0.0, uv = 0.0, vv = 0.0;
  double uuu = 0.0, vvv = 0.0, uvv = 0.0, vuu = 0.0;
  // What bounds the sums' errors; removals leave them as they are.
  double reach = 0.0;        // no |u| or |v| was larger
  double spread = 0.0;       // sum of u^2 + v^2 when the sums were formed
  double first_order = 0.0;  // count * reach when the sums were formed
  double roundings = 0.0;    // number of roundings that a sum can be off by, in units of 2^-53 of its bound
};

// The bounds are tightest with the mean of the points as origin: it is taken from earlier sums of nearly the same
// points where there are any (count > 0), else from a few samples.
CircleSums form_circle_sums(const PointF32* points, int32_t count, const CircleSums& earlier);

// `point` is one of the points that the sums hold.
void remove_from(CircleSums& sums, PointF32 point);

enum class Fitted { kCircle, kNoCircle, kUndecided };

// A circle near the definition's, of which centre and diameter lie between these two.
struct NearCircle {
  bool exists;  // false: it is open whether there is a circle
  Circle middle, low, high;
};

// What fit_in_order says about the points in the sums, where the bounds leave no doubt about it; else kUndecided, and
// the circle is untouched. `near` is set in any case.
Fitted fit_from_sums(const CircleSums& sums, Circle& circle, NearCircle& near);

// Whether fit_in_order surely finds a circle.
bool surely_has_circle(const CircleSums& sums);

}  // namespace vlix
