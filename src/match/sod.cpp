// SPDX-License-Identifier: Apache-2.0
// Sums of absolute differences of a template over its placements in a target.

#include <algorithm>
#include <cstdint>

#include "frame/output.h"
#include "frame/region.h"
#include "frame/report.h"
#include "frame/type_sets.h"
#include "match/placements.h"
#include "match/sod_pairs.h"
#include "vlix/meas.h"
#include "vlix/optim.h"

namespace vlix {
namespace {

// The buffer of the primitives' differences; null is left to the primitives to refuse.
class Differences {
 public:
  explicit Differences(VlixSize size) : data_(vlix_ippsMalloc_8u(wrapped_product(size.width, size.height))) {}
  ~Differences() { vlix_ippsFree(data_); }
  Differences(const Differences&) = delete;
  Differences& operator=(const Differences&) = delete;

  uint8_t* data() const { return data_; }

 private:
  uint8_t* data_;
};

// Two primitives for each placement; false when one of them fails.
bool score_with_primitives(const Region<const uint8_t>& target, const Region<const uint8_t>& templ, VlixSize size,
                           const Region<uint16_t>& scores) {
  const Differences buffer(size);
  const int32_t step = size.width;
  for (int32_t y = 0; y < scores.height; ++y) {
    for (int32_t x = 0; x < scores.width; ++x) {
      if (vlix_ippiAbsDiff_8u_C1R(target.row(y) + x, target.stride_bytes(), templ.origin, templ.stride_bytes(),
                                  buffer.data(), step, size) != 0) {
        return false;
      }
      double sum = 0.0;
      if (vlix_ippiSum_8u_C1R(buffer.data(), step, size, &sum) != 0) return false;
      scores.row(y)[x] = static_cast<uint16_t>(std::clamp(sum, 0.0, 65535.0));
    }
  }
  return true;
}

}  // namespace
}  // namespace vlix

extern "C" VlixStatus vlix_sod(const VlixImage* target, const VlixImage* templateIm, VlixImage* dst) {
  using namespace vlix;
  if (target == dst) return report("sod: destination image should be different than source image\n");
  if (!accepts(kMonochromeImages, target->type)) return report_type(op::sod, target->type);
  if (!accepts(kMonochromeImages, templateIm->type)) return report_type(op::sod, templateIm->type);
  const VlixSize placements = placements_of(*target, *templateIm);
  if (placements.height < 1) return report("sod: templateIm is larger than target\n");
  if (placements.width < 1) return report("sod: templateIm is larger than target\n");
  if (dst == nullptr) return kSuccess;
  const VlixSize asked = {templateIm->roiWidth, templateIm->roiHeight};
  if (const VlixStatus status = shape(dst, ObjType_U16, placements.width, placements.height, op::sod)) return status;

  const VlixSize size = remaining_template(*templateIm, asked);
  Region<uint16_t> scores = region_of<uint16_t>(*dst);
  scores.width = placements.width;
  scores.height = placements.height;
  if (VlixOptimGetLevel() != 0 && target->type == templateIm->type && target->type == ObjType_U8 &&
      score_with_primitives(region_of<const uint8_t>(*target), region_of<const uint8_t>(*templateIm), size, scores)) {
    return kSuccess;
  }
  sum_differences(*target, *templateIm, size, scores);
  return kSuccess;
}
