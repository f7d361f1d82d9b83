// SPDX-License-Identifier: Apache-2.0
// Histogram of the pixels inside regions and shapes.

#include "frame/convert.h"
#include "frame/region.h"
#include "frame/report.h"
#include "frame/type_sets.h"
#include "frame/visit.h"
#include "frame/wrap.h"
#include "histogram/roi_counting.h"
#include "vlix/meas.h"
#include "vlix/util.h"

namespace vlix {
namespace {

// ---- Regions ----

bool is_shape_type(uint32_t type) { return type == ObjType_Shape54 || type == ObjType_Shape53; }

VlixStatus check_region(const VlixObj* roi) {
  if (roi->type == VlixHandle_Vector) {
    const uint32_t type = reinterpret_cast<const VlixVectorHandle*>(roi)->vector.type;
    return is_shape_type(type) ? kSuccess : report_type(op::histRoi, type);
  }
  if (roi->type == VlixHandle_Region || is_shape_type(roi->type)) return kSuccess;
  return report_type(op::histRoi, roi->type);
}

// Scanners take what they only read by plain pointers.
template <class T>
void* unconst(const T* pointer) {
  return const_cast<T*>(pointer);
}

VlixStatus count_shape(RoiContext& context, const VlixShape* shape) {
  if (shape->kind == VlixShape_PixelRect) {
    count_rectangle(context, static_cast<const float*>(shape->geometry));
    return kSuccess;
  }
  if (VlixUtilRasterizeRoi(&context, unconst(shape), pixel_routine(*context.image)) != 0) {
    return report("histRoi: failed rasterizing ROI\n");
  }
  return kSuccess;
}

VlixStatus count_shapes(RoiContext& context, const VlixVector& shapes) {
  const int64_t size = VlixObjGetSize(static_cast<int32_t>(shapes.type));
  for (int64_t i = 0; i < shapes.count; ++i) {
    const char* shape = elements<const char>(shapes) + i * size;
    const VlixStatus status = count_shape(context, reinterpret_cast<const VlixShape*>(shape));
    if (status != kSuccess) return status;
  }
  return kSuccess;
}

VlixStatus count_region(RoiContext& context, const VlixObj* roi) {
  switch (roi->type) {
    case VlixHandle_Vector: return count_shapes(context, reinterpret_cast<const VlixVectorHandle*>(roi)->vector);
    case VlixHandle_Region: {
      const auto& region = reinterpret_cast<const VlixRegionHandle*>(roi)->region;
      if (VlixUtilScanRoi(&context, unconst(&region), pixel_routine(*context.image)) == 0) return kSuccess;
      return report("histRoi: failed scanning ROI\n");
    }
    default: return count_shape(context, reinterpret_cast<const VlixShapeHandle*>(roi)->shape);
  }
}

// ---- Bins ----

// Width of a bin. The range is a whole number, one more than the distance of the bounds unless pixels are floats;
// without bins the width is infinite or no number.
double bin_width(const VlixImage& image, int32_t bins, float lo, float hi) {
  const int32_t distance = truncate_to_int32(hi - lo);
  const int32_t range = image.type == ObjType_F32 ? distance : wrap_add(distance, 1);
  return static_cast<double>(range) / static_cast<double>(bins);
}

void place_bins(PointF32* points, int32_t bins, double width, float lo) {
  for (int32_t i = 0; i < bins; ++i) {
    const double lowest = static_cast<double>(i) * width + static_cast<double>(lo);
    points[i] = {static_cast<float>(lowest), 0.0f};
  }
}

}  // namespace
}  // namespace vlix

extern "C" VlixStatus vlix_histRoi(const VlixImage* image, const VlixObj* roi, VlixVector* hist, int32_t cumulative,
                                   int32_t nBins, float lo, float hi) {
  using namespace vlix;
  if (!is_monochrome_image(image->type)) return report_type(op::histRoi, image->type);
  if (const VlixStatus status = check_region(roi); status != kSuccess) return status;
  if (hist == nullptr) return kSuccess;
  if (VlixVectorAlloc(hist, ObjType_PointF32, nBins) < 0) {
    // A 32-bit product; kept on purpose.
    return report_memory(op::histRoi, wrap_multiply(VlixObjGetSize(ObjType_PointF32), nBins));
  }

  auto* points = elements<PointF32>(*hist);
  const double width = bin_width(*image, nBins, lo, hi);
  place_bins(points, nBins, width, lo);
  RoiContext context = make_roi_context(*image, points, nBins, 1.0 / width, lo, hi);
  if (const VlixStatus status = count_region(context, roi); status != kSuccess) return status;
  if (cumulative != 0) {
    for (int32_t i = 1; i < nBins; ++i) points[i].y = points[i].y + points[i - 1].y;
  }
  return kSuccess;
}
