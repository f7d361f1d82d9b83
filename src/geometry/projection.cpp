// SPDX-License-Identifier: Apache-2.0
// Row and column sums as 32-bit floats.

#include <cstring>
#include <limits>
#include <type_traits>

#include "frame/multiversion.h"
#include "frame/type_sets.h"
#include "frame/visit.h"
#include "geometry/projection_floats.h"
#include "geometry/projection_integers.h"
#include "geometry/projection_outputs.h"
#include "vlix/meas.h"

namespace vlix {
namespace {

constexpr ProjectionFormat kFormat = {ObjType_F32, ObjType_PointF32, op::projection, op::projection, op::projection};

// Sums that were formed as integers become floats where they stand.
template <class Integer>
VLIX_MULTIVERSION void convert_in_place(void* sums, int32_t count) {
  auto* bytes = static_cast<char*>(sums);
  for (int32_t i = 0; i < count; ++i) {
    Integer sum;
    std::memcpy(&sum, bytes + 4 * std::ptrdiff_t{i}, 4);
    const auto value = static_cast<float>(sum);
    std::memcpy(bytes + 4 * std::ptrdiff_t{i}, &value, 4);
  }
}

template <class Integer>
void convert_both(const VlixImage& image, void* rows, void* columns) {
  if (rows != nullptr) convert_in_place<Integer>(rows, image.roiHeight);
  if (columns != nullptr) convert_in_place<Integer>(columns, image.roiWidth);
}

// A running float sum of integers is exact, hence free of order, as long as no partial sum can exceed 2^24.
template <class Pixel>
bool is_exact_in_floats(const VlixImage& image) {
  constexpr int64_t kLargest = int64_t{1} << 24;
  constexpr int64_t kMagnitude = std::is_signed_v<Pixel> ? -int64_t{std::numeric_limits<Pixel>::min()}
                                                         : int64_t{std::numeric_limits<Pixel>::max()};
  constexpr int64_t kLongest = kLargest / kMagnitude;
  return image.roiWidth <= kLongest && image.roiHeight <= kLongest;
}

template <class Pixel>
void sum_up_plainly(const VlixImage& image, void* rows, void* columns) {
  const auto region = region_of<const Pixel>(image);
  if constexpr (std::is_integral_v<Pixel>) {
    if (is_exact_in_floats<Pixel>(image)) {
      add_projections(region, static_cast<uint32_t*>(rows), static_cast<uint32_t*>(columns));
      convert_both<int32_t>(image, rows, columns);
      return;
    }
  }
  add_projections_in_order(region, static_cast<float*>(rows), static_cast<float*>(columns));
}

bool takes_fast_path(const VlixImage& image) {
  return image.type == ObjType_U8 && image.roiWidth >= 5 && image.roiWidth == image.width &&
         image.roiHeight == image.height && VlixOptimGetLevel() != 0;
}

void sum_up(const VlixImage& image, void* rows, void* columns) {
  if (takes_fast_path(image)) {
    add_byte_projections(region_of<const uint8_t>(image), static_cast<uint32_t*>(rows),
                         static_cast<uint32_t*>(columns));
    convert_both<uint32_t>(image, rows, columns);
    return;
  }
  with_pixel_type(image.type, [&]<class Pixel>() { sum_up_plainly<Pixel>(image, rows, columns); });
}

}  // namespace
}  // namespace vlix

extern "C" VlixStatus vlix_projection(const VlixImage* image, VlixVector* rowProj, VlixVector* colProj,
                                      int32_t asPoints) {
  using namespace vlix;
  if (!accepts(kMonochromeImages, image->type)) return report_type(op::projection, image->type);
  ProjectionOutput<PointF32> rows(rowProj, asPoints != 0);
  ProjectionOutput<PointF32> columns(colProj, asPoints != 0);
  if (!rows.is_wanted() && !columns.is_wanted()) return kSuccess;
  if (const VlixStatus status = prepare(rows, columns, *image, kFormat); status != kSuccess) return status;

  sum_up(*image, rows.sums(), columns.sums());
  rows.finish();
  columns.finish();
  return kSuccess;
}
