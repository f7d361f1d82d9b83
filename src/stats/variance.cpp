// SPDX-License-Identifier: Apache-2.0
// Mean and sample variance of a moving window.

#include <algorithm>

#include "frame/output.h"
#include "frame/region.h"
#include "frame/report.h"
#include "frame/scratch.h"
#include "frame/type_sets.h"
#include "frame/visit.h"
#include "stats/local_moments.h"
#include "vlix/meas.h"

namespace vlix {
namespace {

constexpr int32_t kTemporary = 1;

// A mean image that had no data before is given back when the variance image cannot be had.
VlixStatus shape_outputs(VlixImage* mean, VlixImage* variance, int32_t width, int32_t height) {
  const bool had_data = mean != nullptr && mean->data != nullptr;
  if (mean != nullptr) {
    const VlixStatus failure = shape(mean, ObjType_F32, width, height, op::variance);
    if (failure != kSuccess) return failure;
  }
  if (variance != nullptr) {
    const VlixStatus failure = shape(variance, ObjType_F32, width, height, op::variance);
    if (failure != kSuccess && mean != nullptr && !had_data) VlixImageRelease(mean, kTemporary);
    return failure;
  }
  return kSuccess;
}

template <class Pixel>
VlixStatus local_variance(const Region<const Pixel>& source, const WindowShape& window, VlixImage* mean,
                          VlixImage* variance, bool root) {
  const auto rows = HeapArray<const Pixel*>::zeroed(static_cast<std::size_t>(window.height()));
  if (!rows) return report_memory(op::variance, int64_t{window.height()} * 8);
  const auto sums = HeapArray<float>::zeroed(static_cast<std::size_t>(source.width));
  if (!sums) return report_memory(op::variance, int64_t{source.width} * 4);
  const auto squares = HeapArray<float>::zeroed(static_cast<std::size_t>(source.width));
  if (!squares) return report_memory(op::variance, int64_t{source.width} * 4);

  const VlixStatus failure = shape_outputs(mean, variance, source.width, source.height);
  if (failure != kSuccess) return failure;

  Region<float> means;
  Region<float> variances;
  if (mean != nullptr) means = region_of<float>(*mean);
  if (variance != nullptr) variances = region_of<float>(*variance);
  local_moments(source, window, rows.get(), {sums.get(), squares.get()},
                {mean != nullptr ? &means : nullptr, variance != nullptr ? &variances : nullptr, root});
  return kSuccess;
}

}  // namespace
}  // namespace vlix

extern "C" VlixStatus vlix_variance(const VlixImage* image, VlixImage* meanImage, VlixImage* varImage, int32_t stdDev,
                                    int32_t kernelWidth, int32_t kernelHeight) {
  using namespace vlix;
  if (!accepts(kMonochromeImages, image->type)) return report_type(op::variance, image->type);
  if (meanImage == nullptr && varImage == nullptr) return kSuccess;
  if (kernelWidth < 1 || kernelHeight < 1) {
    return report("variance: kernel %dx%d, both dimensions must be greater than 0\n", kernelWidth, kernelHeight);
  }
  const WindowShape window = {kernelWidth / 2, kernelWidth - kernelWidth / 2, kernelHeight / 2,
                              kernelHeight - kernelHeight / 2};
  // Both messages print half the width, kept on purpose.
  if (image->roiWidth <= window.right) {
    return report("variance: kernel width larger than ROI (max.: %d)\n", image->roiWidth / 2);
  }
  if (image->roiHeight <= window.below) {
    return report("variance: kernel height larger than ROI (max.: %d)\n", image->roiWidth / 2);
  }

  VlixStatus status = kSuccess;
  const bool known = with_pixel_type(image->type, [&]<class Pixel>() {
    status = local_variance(region_of<const Pixel>(*image), window, meanImage, varImage, stdDev != 0);
  });
  return known ? status : report("variance: type not implemented\n");
}
