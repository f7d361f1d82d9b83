// SPDX-License-Identifier: Apache-2.0
// Circles through point lists, with rejection of outliers.

#include <algorithm>
#include <cmath>
#include <cstring>

#include "frame/convert.h"
#include "frame/output.h"
#include "frame/region.h"
#include "frame/report.h"
#include "frame/scratch.h"
#include "frame/type_sets.h"
#include "geometry/circle.h"
#include "geometry/circle_rejection.h"
#include "vlix/meas.h"

namespace vlix {
namespace {

constexpr int32_t kFewestPoints = 3;
// The temporary vector of points is given back with this flag.
constexpr int32_t kPointsReleaseFlag = 0;

// Half a point or more counts as a whole one. The product wraps in 32 bits; what comes out negative counts as 0.
int32_t number_to_discard(int32_t count, uint32_t percent) {
  const auto hundredfold = static_cast<int32_t>(static_cast<uint32_t>(count) * percent + 50u);
  return std::clamp(hundredfold / 100, 0, count - kFewestPoints);
}

// Three decimals, truncated; everything is a float, so that no length of sums is out of range.
float mean_error(const PointF32* points, int32_t count, const Circle& circle) {
  float sum = 0.0f;
  for (int32_t i = 0; i < count; ++i) sum = static_cast<float>(sum + radial_error(points[i], circle));
  return std::trunc(sum * 1000.0f / static_cast<float>(count)) / 1000.0f;
}

float convert(float value, float) { return value; }
float convert(int32_t value, float) { return static_cast<float>(value); }
int32_t convert(float value, int32_t) { return truncate_to_int32(value); }

template <class To, class From>
void convert_points(const From* from, int32_t count, To* to) {
  for (int32_t i = 0; i < count; ++i) {
    to[i] = {convert(from[i].x, decltype(To::x){}), convert(from[i].y, decltype(To::y){})};
  }
}

template <class Point>
VlixStatus hand_out(const VlixVector& kept, int32_t count, ObjType code, VlixVector& out, int32_t* out_count) {
  if (out.data != nullptr && out_count == nullptr) return report("circularRegression: pOutPointsNum is NULL");
  if (!shape(&out, code, count, op::circularRegression)) return kVectorNotShaped;
  convert_points(elements<const PointF32>(kept), count, elements<Point>(out));
  if (out_count != nullptr) *out_count = count;
  return kSuccess;
}

// What the two exports for float and for integer points have in common.
template <class Point>
VlixStatus fit_copy(const VlixVector& points, const TypeSet<1>& types, uint32_t percent, float* diameter,
                    PointF32* centre, float* mean, VlixVector* out, int32_t* out_count) {
  if (!accepts(types, points.type)) return report_type(op::circularRegression, points.type);
  if (out != nullptr && out->data != nullptr && !accepts(types, out->type)) {
    return report_type(op::circularRegression, out->type);
  }
  ScratchVector copy(kPointsReleaseFlag);
  if (VlixVectorAlloc(copy.record(), ObjType_PointF32, points.count) < 0) {
    return report_memory(op::circularRegression, int64_t{VlixObjGetSize(ObjType_PointF32)} * points.count);
  }
  copy.own();
  convert_points(elements<const Point>(points), points.count, elements<PointF32>(*copy));

  const bool validate_only = diameter == nullptr && centre == nullptr && mean == nullptr && out == nullptr;
  int32_t kept = 0;
  const VlixStatus status =
      vlix_circularRegression(copy.record(), percent, diameter, centre, mean, validate_only ? nullptr : &kept);
  if (status != kSuccess || out == nullptr) return status;
  return hand_out<Point>(*copy, kept, static_cast<ObjType>(types[0]), *out, out_count);
}

}  // namespace
}  // namespace vlix

extern "C" VlixStatus vlix_circularRegression(VlixVector* points, uint32_t discardPercent, float* diameter,
                                              PointF32* centre, float* meanDist, int32_t* keptCount) {
  using namespace vlix;
  const int32_t count = points->count;
  if (count < kFewestPoints) return report("circularRegression: vector of size %d specified", count);
  if (diameter == nullptr && centre == nullptr && meanDist == nullptr && keptCount == nullptr) return kSuccess;

  auto* const first = elements<PointF32>(*points);
  const int32_t discarded = number_to_discard(count, discardPercent);
  const RejectionResult fit = fit_with_rejection(first, count, discarded);
  if (fit.any_fitted && diameter != nullptr) *diameter = fit.circle.diameter;
  if (fit.any_fitted && centre != nullptr) *centre = fit.circle.centre;
  if (!fit.all_fitted) return report("circularRegression: calculation error");

  const int32_t kept = count - discarded;
  if (meanDist != nullptr) *meanDist = mean_error(first, kept, fit.circle);
  if (keptCount != nullptr) *keptCount = kept;
  return kSuccess;
}

extern "C" VlixStatus vlix_circularRegressionFloat(const VlixVector* points, uint32_t discardPercent, float* diameter,
                                                   PointF32* centre, float* meanDist, VlixVector* pOutPoints,
                                                   int32_t* pOutPointsNum) {
  using namespace vlix;
  return fit_copy<PointF32>(*points, kFloatPoints, discardPercent, diameter, centre, meanDist, pOutPoints,
                            pOutPointsNum);
}

extern "C" VlixStatus vlix_circularRegressionInt(const VlixVector* points, uint32_t discardPercent, float* diameter,
                                                 PointF32* centre, float* meanDist, VlixVector* pOutPoints,
                                                 int32_t* pOutPointsNum) {
  using namespace vlix;
  return fit_copy<PointI32>(*points, kIntegerPoints, discardPercent, diameter, centre, meanDist, pOutPoints,
                            pOutPointsNum);
}
