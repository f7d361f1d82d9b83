// SPDX-License-Identifier: Apache-2.0
// Histogram over a float range; the utility library counts.

#include "frame/report.h"
#include "frame/type_sets.h"
#include "histogram/histogram_texts.h"
#include "vlix/meas.h"
#include "vlix/util.h"

extern "C" VlixStatus vlix_histogram(const VlixImage* image, VlixVector* hist, int32_t flag, int32_t nBins, float lo,
                                     float hi) {
  using namespace vlix;
  if (is_four_byte_colour(image->type)) return report(histogram_text::kColour);
  if (!is_monochrome_image(image->type)) return report_type(op::histogram, image->type);
  if (nBins < 1) return report(histogram_text::kBins);
  if (lo > hi) return report(histogram_text::kRange, static_cast<double>(lo), static_cast<double>(hi));
  if (hist == nullptr) return kSuccess;
  if (VlixUtilComputeHistogram(image, hist, flag, nBins, lo, hi) == 0) {
    return report("histogram: failed, possibly caused by insufficient memory\n");
  }
  return kSuccess;
}
