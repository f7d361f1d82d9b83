// SPDX-License-Identifier: Apache-2.0
// Counting of single pixels and of rectangles into float bins.
#pragma once

#include <cstddef>
#include <cstdint>

#include "vlix/types.h"

namespace vlix {

// Handed to the scanners of regions, whose view of it ends with `image`.
struct RoiContext {
  double factor;           // bins per unit of value
  float lo;                // range as the caller gave it
  float hi;                //
  PointF32* points;        // the bins
  const VlixImage* image;  // what is counted
  int32_t bins;            // number of bins; indices outside are dropped
  float lowest;            // limits of what is counted, in whole numbers for integer pixels
  float highest;
};
static_assert(offsetof(RoiContext, factor) == 0 && offsetof(RoiContext, lo) == 8 && offsetof(RoiContext, hi) == 12 &&
              offsetof(RoiContext, points) == 16 && offsetof(RoiContext, image) == 24);

RoiContext make_roi_context(const VlixImage& image, PointF32* points, int32_t bins, double factor, float lo, float hi);

// The routine that counts one pixel, x and y relative to the region of interest; pixels outside of it are dropped.
// Its context is a RoiContext.
VlixPixelRoutine pixel_routine(const VlixImage& image);

// Counts a rectangle given by two opposite corners x0, y0, x1, y1 in whole-image coordinates; the corners are rounded
// and belong to it. What lies outside of the whole image is dropped.
void count_rectangle(RoiContext& context, const float* corners);

}  // namespace vlix
