// SPDX-License-Identifier: Apache-2.0
// Histograms over a float range.

#include <cmath>
#include <cstddef>
#include <new>
#include <vector>

#include "util/bins.h"
#include "util/tally.h"
#include "vlix/object.h"
#include "vlix/util.h"

namespace {

using vlix::util::Bins;

bool is_measurable(const VlixImage* image) {
  return image != nullptr && image->data != nullptr && vlix::util::is_countable(image->type);
}

// Counts stay integers up to here, so that running sums are exact, too.
void write(const std::vector<uint64_t>& counts, const Bins& bins, bool running, PointF32* points) {
  uint64_t sum = 0;
  for (int32_t i = 0; i < bins.count; ++i) {
    sum = (running ? sum : 0) + counts[static_cast<std::size_t>(i)];
    points[i] = {bins.lowest(i), static_cast<float>(sum)};
  }
}

}  // namespace

int32_t VlixUtilComputeHistogram(const VlixImage* image, VlixVector* hist, int32_t flag, int32_t nBins, float lo,
                                 float hi) {
  constexpr int32_t kFailed = 0;
  constexpr int32_t kDone = 1;
  if (!is_measurable(image) || hist == nullptr || nBins < 1) return kFailed;
  if (!std::isfinite(lo) || !std::isfinite(hi) || lo > hi) return kFailed;
  try {
    const Bins bins(nBins, lo, hi);
    const std::vector<uint64_t> counts = vlix::util::tally(*image, bins);
    if (VlixVectorTryUseReservedMem(hist, ObjType_PointF32, nBins, "histogram") != 0) return kFailed;
    write(counts, bins, flag != 0, static_cast<PointF32*>(hist->data));
    return kDone;
  } catch (const std::bad_alloc&) {
    return kFailed;
  }
}
