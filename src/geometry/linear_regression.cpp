// SPDX-License-Identifier: Apache-2.0
// Straight lines through point lists, with the worst points given up on request.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>

#include "frame/convert.h"
#include "frame/region.h"
#include "frame/report.h"
#include "frame/scratch.h"
#include "frame/type_sets.h"
#include "geometry/line_fit.h"
#include "geometry/line_rejection.h"
#include "geometry/line_sums.h"
#include "vlix/meas.h"

namespace vlix {
namespace {

// What the caller wants to know; a null pointer means that the value is not wanted.
struct Outputs {
  float* angle;
  float* rho;
  float* mean_distance;
  VlixVector* points;
  int32_t* point_count;

  bool is_any_wanted() const {
    return angle != nullptr || rho != nullptr || mean_distance != nullptr || points != nullptr;
  }
};

// The points that a fit keeps: those of the caller where none was given up, else the first ones of the temporary.
template <class Point>
struct Kept {
  const Point* originals;
  const PointF32* remaining;  // null: all originals
  int32_t count;

  PointF32 operator[](int32_t i) const { return remaining != nullptr ? remaining[i] : float_point(originals[i]); }
};

// In 32-bit arithmetic that wraps; at least two points are kept.
int32_t number_to_discard(int32_t count, uint32_t percent) {
  const auto sum = static_cast<int32_t>(static_cast<uint32_t>(count) * percent + 50u);
  return std::clamp(sum / 100, 0, count - 2);
}

float in_degrees(double radians) { return static_cast<float>(radians * 180.0 / std::numbers::pi); }

// Toward zero to three decimals.
float mean_of(float sum, int32_t count) { return std::trunc(sum * 1000.0f / static_cast<float>(count)) / 1000.0f; }

// Sums over several lanes are four times as fast; the distances cost more than either.
template <class Point>
Line fit_all(const Point* points, int32_t count, bool in_order) {
  LineSums sums;
  if (in_order) {
    add_in_order(points, count, sums);
  } else {
    sums = sum_points(points, count);
  }
  return fit_line(sums, count, float_point(points[0]));
}

template <class Point>
Kept<Point> fit(const VlixVector& points, uint32_t percent, PointF32* temporary, const Outputs& outputs) {
  const auto* originals = elements<const Point>(points);
  const int32_t discard = number_to_discard(points.count, percent);
  Kept<Point> kept = {originals, nullptr, points.count - discard};
  Line line;
  if (discard == 0) {
    line = fit_all(originals, points.count, outputs.mean_distance != nullptr);
  } else {
    std::transform(originals, originals + points.count, temporary, [](const Point& p) { return float_point(p); });
    line = reject_farthest(temporary, points.count, discard);
    kept.remaining = temporary;
  }
  if (outputs.angle != nullptr) *outputs.angle = in_degrees(line.phi);
  if (outputs.rho != nullptr) *outputs.rho = static_cast<float>(line.rho);
  if (outputs.mean_distance != nullptr) {
    const float sum = discard == 0 ? sum_of_distances(line, originals, kept.count)
                                   : sum_of_distances(line, kept.remaining, kept.count);
    *outputs.mean_distance = mean_of(sum, kept.count);
  }
  return kept;
}

void store(PointF32 from, PointF32& to) { to = from; }
void store(PointF32 from, PointI32& to) { to = {truncate_to_int32(from.x), truncate_to_int32(from.y)}; }

template <class Point>
VlixStatus hand_out(const Kept<Point>& kept, ObjType type, const char* no_count_text, const Outputs& outputs) {
  if (outputs.points->data != nullptr && outputs.point_count == nullptr) return report(no_count_text);
  const VlixStatus status = VlixVectorTryUseReservedMem(outputs.points, type, kept.count, op::linearRegression);
  if (status != kSuccess) return status;
  auto* to = elements<Point>(*outputs.points);
  for (int32_t i = 0; i < kept.count; ++i) store(kept[i], to[i]);
  if (outputs.point_count != nullptr) *outputs.point_count = kept.count;
  return kSuccess;
}

VlixStatus report_size(int32_t count) { return report("linearRegression: vector of size %d specified", count); }

// Points of one type.
template <class Point>
VlixStatus regress(const VlixVector& points, uint32_t percent, const TypeSet<1>& type, const char* no_count_text,
                   const Outputs& outputs) {
  if (!accepts(type, points.type)) return report_type(op::linearRegression, points.type);
  const bool has_points = outputs.points != nullptr && outputs.points->data != nullptr;
  if (has_points && !accepts(type, outputs.points->type)) {
    return report_type(op::linearRegression, outputs.points->type);
  }
  if (!outputs.is_any_wanted()) return points.count < 2 ? report_size(points.count) : kSuccess;

  ScratchVector temporary(0);
  if (VlixVectorAlloc(temporary.record(), ObjType_PointF32, points.count) < 0) {
    return report_memory(op::linearRegression, int64_t{VlixObjGetSize(ObjType_PointF32)} * points.count);
  }
  temporary.own();
  Kept<Point> kept = {nullptr, nullptr, 0};
  if (points.count < 2) {
    const VlixStatus status = report_size(points.count);
    if (status != kSuccess) return status;
  } else {
    kept = fit<Point>(points, percent, elements<PointF32>(*temporary), outputs);
  }
  return outputs.points == nullptr ? kSuccess : hand_out(kept, static_cast<ObjType>(type[0]), no_count_text, outputs);
}

}  // namespace
}  // namespace vlix

extern "C" VlixStatus vlix_linearRegressionFloat(const VlixVector* points, uint32_t discardPercent, float* angle,
                                                 float* rho, float* meanDist, VlixVector* pOutPoints,
                                                 int32_t* pOutPointsNum) {
  using namespace vlix;
  return regress<PointF32>(*points, discardPercent, kFloatPoints, "linearRegression: pOutPointsNum is NULL",
                           {angle, rho, meanDist, pOutPoints, pOutPointsNum});
}

extern "C" VlixStatus vlix_linearRegressionInt(const VlixVector* points, uint32_t discardPercent, float* angle,
                                               float* rho, float* meanDist, VlixVector* pOutPoints,
                                               int32_t* pOutPointsNum) {
  using namespace vlix;
  return regress<PointI32>(*points, discardPercent, kIntegerPoints,
                           "linearRegression: if pOutPoints is preallocated, pOutPointsNum should not be NULL",
                           {angle, rho, meanDist, pOutPoints, pOutPointsNum});
}
