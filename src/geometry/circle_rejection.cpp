// SPDX-License-Identifier: Apache-2.0

#include "geometry/circle_rejection.h"

#include <cstring>

namespace vlix {
namespace {

int32_t worst_point(const PointF32* points, int32_t count, const Circle& circle) {
  double largest = 0.0;
  int32_t worst = 0;
  for (int32_t i = 0; i < count; ++i) {
    const double error = radial_error(points[i], circle);
    if (error > largest) {
      largest = error;
      worst = i;
    }
  }
  return worst;
}

}  // namespace

RejectionResult fit_with_rejection(PointF32* points, int32_t count, int32_t discard) {
  RejectionResult result;
  for (;;) {
    if (!fit_in_order(points, count, result.circle)) return result;
    result.any_fitted = true;
    if (discard-- == 0) break;
    const int32_t worst = worst_point(points, count, result.circle);
    --count;
    std::memmove(points + worst, points + worst + 1, static_cast<std::size_t>(count - worst) * sizeof(PointF32));
  }
  result.all_fitted = true;
  return result;
}

}  // namespace vlix
