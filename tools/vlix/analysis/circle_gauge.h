// SPDX-License-Identifier: Apache-2.0
// Measures a circle on an image: sub-pixel edge points on rays from its centre, and a circle through them.
#ifndef VLIX_TOOL_ANALYSIS_CIRCLE_GAUGE_H
#define VLIX_TOOL_ANALYSIS_CIRCLE_GAUGE_H

#include <vector>

#include "records.h"
#include "vlix/types.h"

struct Circle {
  double x, y, radius;
};

struct GaugeSettings {
  int32_t rays = 180;
  uint32_t discard_percent = 10;
  double search = 0;  // half the length of a ray's profile; 0: chosen by the radius
};

struct GaugedCircle {
  Circle circle;
  float mean_distance = 0;       // of the kept edge points
  int32_t points = 0, kept = 0;  // edge points
  double blur = 0;               // standard deviation of the edge spread, in pixels
  std::vector<PointF32> edge;    // all edge points
};

// Throws FileError when there are too few edges near the expected circle.
GaugedCircle gauge_circle(const Image& image, const Circle& expected, const GaugeSettings& settings);

#endif
