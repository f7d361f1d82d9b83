// SPDX-License-Identifier: Apache-2.0
// Row and column sums of integer images as 32-bit integers.

#include "frame/type_sets.h"
#include "frame/visit.h"
#include "geometry/projection_integers.h"
#include "geometry/projection_outputs.h"
#include "vlix/meas.h"

namespace vlix {
namespace {

// The mixture of names is kept on purpose.
constexpr ProjectionFormat kFormat = {ObjType_S32, ObjType_PointI32, op::projectionInt, op::projectionInt,
                                      op::projection};

void sum_up(const VlixImage& image, uint32_t* rows, uint32_t* columns) {
  if (image.type == ObjType_U8 && VlixOptimGetLevel() != 0) {
    add_byte_projections(region_of<const uint8_t>(image), rows, columns);
    return;
  }
  with_pixel_type(image.type, [&]<class Pixel>() {
    if constexpr (std::is_integral_v<Pixel>) add_projections(region_of<const Pixel>(image), rows, columns);
  });
}

}  // namespace
}  // namespace vlix

extern "C" VlixStatus vlix_projectionInt(const VlixImage* image, VlixVector* rowProj, VlixVector* colProj,
                                         int32_t asPoints) {
  using namespace vlix;
  if (!accepts(kIntegerImages, image->type)) return report_type(op::projection, image->type);
  ProjectionOutput<PointI32> rows(rowProj, asPoints != 0);
  ProjectionOutput<PointI32> columns(colProj, asPoints != 0);
  if (!rows.is_wanted() && !columns.is_wanted()) return kSuccess;
  if (const VlixStatus status = prepare(rows, columns, *image, kFormat); status != kSuccess) return status;

  sum_up(*image, static_cast<uint32_t*>(rows.sums()), static_cast<uint32_t*>(columns.sums()));
  rows.finish();
  columns.finish();
  return kSuccess;
}
