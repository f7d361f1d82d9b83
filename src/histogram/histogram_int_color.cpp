// SPDX-License-Identifier: Apache-2.0
// Three integer histograms of a colour image, counted by a primitive only.

#include "frame/output.h"
#include "frame/region.h"
#include "frame/report.h"
#include "histogram/even_histogram.h"
#include "histogram/histogram_texts.h"
#include "histogram/int_bins.h"
#include "vlix/meas.h"

namespace vlix {
namespace {

constexpr int32_t kChannels = 3;

VlixStatus check(const IntBins* bins) {
  for (int32_t c = 0; c < kChannels; ++c) {
    if (bins[c].hi < bins[c].lo) return report(histogram_text::kRange, bins[c].lo, bins[c].hi);
    if (bins[c].count < 1) return report(histogram_text::kBins);
  }
  for (int32_t c = 0; c < kChannels; ++c) {
    if (!bins[c].divide_range()) return report(histogram_text::kDivisor, bins[c].range());
  }
  return kSuccess;
}

// All three or none.
bool shape_channels(VlixVector* hists, const IntBins* bins) {
  for (int32_t c = 0; c < kChannels; ++c) {
    if (shape(&hists[c], ObjType_PointI32, bins[c].count, op::histogramInt)) continue;
    for (int32_t k = 0; k < c; ++k) VlixVectorRelease(&hists[k], 1);
    return false;
  }
  return true;
}

// Bin i starts at lo[i], whatever the channel, plus i widths: `lo` has an entry for each bin. Kept on purpose.
void place_bins(const IntBins& bins, const int32_t* lo, PointI32* points) {
  const int32_t width = bins.width();
  for (int32_t i = 0; i < bins.count; ++i) points[i] = {wrap_add(lo[i], wrap_multiply(i, width)), 0};
}

}  // namespace
}  // namespace vlix

extern "C" VlixStatus vlix_histogramIntColor(const VlixImage* image, VlixVector* hists, int32_t cumulative,
                                             const int32_t* nBins, const int32_t* lo, const int32_t* hi) {
  using namespace vlix;
  if (image->type != ObjType_Rgba8) return report_type(op::histogram, image->type);
  const IntBins bins[kChannels] = {{nBins[0], lo[0], hi[0]}, {nBins[1], lo[1], hi[1]}, {nBins[2], lo[2], hi[2]}};
  if (const VlixStatus status = check(bins); status != kSuccess) return status;
  if (hists == nullptr) return kSuccess;
  if (!shape_channels(hists, bins)) return kVectorNotShaped;

  EvenChannel channels[kChannels];
  for (int32_t c = 0; c < kChannels; ++c) {
    channels[c] = {elements<PointI32>(hists[c]), bins[c].count, bins[c].lo, bins[c].hi};
    place_bins(bins[c], lo, channels[c].points);
  }
  // Both texts go out with an argument that they do not show.
  if (VlixOptimGetLevel() == 0) return report("histogram: only works with IPP support\n", op::histogram);
  if (count_even(*image, channels, kChannels) != kSuccess) {
    return report("histogram: color supported only on x86 or x64 platform\n", op::histogram);
  }
  if (cumulative != 0) {
    for (const EvenChannel& channel : channels) accumulate(channel.points, channel.bins);
  }
  return kSuccess;
}
