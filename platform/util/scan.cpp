// SPDX-License-Identifier: Apache-2.0
// Visits to the pixels of regions and shapes. These fail by their return value alone.

#include <new>
#include <variant>

#include "util/runs.h"
#include "util/shapes.h"
#include "vlix/util.h"

namespace {

constexpr int32_t kRefused = -1;
constexpr int32_t kNoMemory = -2;

void visit(void* context, const VlixRun& run, VlixPixelRoutine routine) {
  for (int32_t x = run.begin; x < run.end; ++x) routine(context, x, run.y);
}

}  // namespace

int32_t VlixUtilScanRoi(void* context, void* region, VlixPixelRoutine routine) {
  if (region == nullptr || routine == nullptr) return kRefused;
  const auto& pixels = *static_cast<const VlixRegion*>(region);
  if (!vlix::util::is_well_formed(pixels)) return kRefused;
  for (int64_t i = 0; i < pixels.count; ++i) visit(context, pixels.runs[i], routine);
  return 0;
}

int32_t VlixUtilRasterizeRoi(void* context, void* shape, VlixPixelRoutine routine) {
  if (shape == nullptr || routine == nullptr) return kRefused;
  try {
    vlix::util::Area area = vlix::util::area_of(static_cast<const VlixShape*>(shape));
    if (std::holds_alternative<vlix::util::Refusal>(area)) return kRefused;
    each_run(area, [&](int32_t y, int32_t begin, int32_t end) { visit(context, {y, begin, end}, routine); });
    return 0;
  } catch (const std::bad_alloc&) {
    return kNoMemory;
  }
}
