// SPDX-License-Identifier: Apache-2.0
// Normalised cross-correlation of a template with its placements in a target.

#include <cstdint>

#include "frame/output.h"
#include "frame/region.h"
#include "frame/report.h"
#include "frame/scratch.h"
#include "frame/type_sets.h"
#include "frame/visit.h"
#include "match/nxcorr_scores.h"
#include "match/placements.h"
#include "vlix/meas.h"
#include "vlix/optim.h"
#include "vlix/util.h"

namespace vlix {
namespace {

// Returned without a report.
constexpr VlixStatus kPrimitiveFailed = 1;

template <class Pixel>
using Primitive = int32_t (*)(const Pixel*, int32_t, VlixSize, const Pixel*, int32_t, VlixSize, float*, int32_t);

// Signed 16-bit pixels have none.
template <class Pixel>
constexpr Primitive<Pixel> kPrimitive = nullptr;
template <>
constexpr Primitive<uint8_t> kPrimitive<uint8_t> = vlix_ippiCrossCorrValid_NormLevel_8u32f_C1R;
template <>
constexpr Primitive<int8_t> kPrimitive<int8_t> = vlix_ippiCrossCorrValid_NormLevel_8s32f_C1R;
template <>
constexpr Primitive<uint16_t> kPrimitive<uint16_t> = vlix_ippiCrossCorrValid_NormLevel_16u32f_C1R;
template <>
constexpr Primitive<float> kPrimitive<float> = vlix_ippiCrossCorrValid_NormLevel_32f_C1R;

// Whether the primitive's scores have room: the record need not be what was asked for.
bool can_take(const VlixImage* dst, VlixSize placements) {
  return dst != nullptr && dst->data != nullptr && dst->type == ObjType_F32 && placements.width >= 1 &&
         placements.height >= 1 && dst->roiWidth >= placements.width && dst->roiHeight >= placements.height;
}

// 0, or 1 when the primitive fails; a destination without room is handed over as null for it to refuse.
template <class Pixel>
VlixStatus call_primitive(const VlixImage& target, const VlixImage& templ, const VlixImage* dst) {
  if (kPrimitive<Pixel> == nullptr) return kPrimitiveFailed;
  const auto t = region_of<const Pixel>(target);
  const auto p = region_of<const Pixel>(templ);
  Region<float> scores;
  if (can_take(dst, placements_of(target, templ))) scores = region_of<float>(*dst);
  const int32_t result = kPrimitive<Pixel>(t.origin, t.stride_bytes(), {t.width, t.height}, p.origin, p.stride_bytes(),
                                           {p.width, p.height}, scores.origin, scores.stride_bytes());
  return result == 0 ? kSuccess : kPrimitiveFailed;
}

VlixStatus shape_scores(const VlixImage& target, const VlixImage& templ, VlixImage* dst) {
  const VlixSize placements = placements_of(target, templ);
  return shape(dst, ObjType_F32, placements.width, placements.height, op::nxcorr);
}

// Two images of one type, as they are.
VlixStatus correlate_directly(const VlixImage& target, const VlixImage& templ, VlixImage* dst) {
  if (const VlixStatus status = shape_scores(target, templ, dst)) return status;
  VlixStatus status = kPrimitiveFailed;
  with_pixel_type(target.type, [&]<class Pixel>() { status = call_primitive<Pixel>(target, templ, dst); });
  return status;
}

// Float images that stand for the inputs: the inputs themselves, or copies that this record owns.
struct FloatImages {
  // Given back in this order: the target's copy first.
  ScratchImage templ_copy;
  ScratchImage target_copy;
  const VlixImage* target = nullptr;
  const VlixImage* templ = nullptr;

  void release() {
    target_copy.release();
    templ_copy.release();
  }
  void leak() {
    target_copy.leak();
    templ_copy.leak();
  }
};

// The image itself when it is a float image, else a copy; null when the cast fails.
const VlixImage* as_floats(const VlixImage& image, ScratchImage& copy) {
  constexpr int32_t kToF32 = 4;
  constexpr int32_t kMode = 0;
  if (image.type == ObjType_F32) return &image;
  if (VlixUtilCastImage(&image, copy.record(), kToF32, kMode) != 0) return nullptr;
  copy.own();
  return copy.record();
}

// The template's type is tested only after the target's copy was made, which then stays behind: kept on purpose.
VlixStatus make_floats(const VlixImage& target, const VlixImage& templ, FloatImages& floats) {
  floats.target = as_floats(target, floats.target_copy);
  if (floats.target == nullptr) return report("nxcorr: failed casting target to float image\n");
  if (!accepts(kMonochromeImages, templ.type)) {
    floats.target_copy.leak();
    return report_type(op::nxcorr, templ.type);
  }
  floats.templ = as_floats(templ, floats.templ_copy);
  if (floats.templ == nullptr) {
    floats.release();
    return report("nxcorr: failed casting template to float image\n");
  }
  return kSuccess;
}

// On float images the shaping's result is not looked at, and the copies are never given back: kept on purpose.
VlixStatus correlate_copies(FloatImages& floats, VlixImage* dst) {
  shape_scores(*floats.target, *floats.templ, dst);
  const VlixStatus status = call_primitive<float>(*floats.target, *floats.templ, dst);
  floats.leak();
  return status;
}

VlixStatus correlate_plainly(FloatImages& floats, VlixImage* dst) {
  const Region<const float> target = region_of<const float>(*floats.target);
  const Region<const float> templ = region_of<const float>(*floats.templ);
  const Coefficient coefficient(wrapped_product(templ.width, templ.height), sums_of(templ));
  const VlixSize placements = placements_of(*floats.target, *floats.templ);
  if (placements.height < 1 || placements.width < 1) {
    floats.release();
    return report("nxcorr: template is larger than target\n");
  }
  if (dst == nullptr) return kSuccess;
  if (const VlixStatus status = shape(dst, ObjType_F32, placements.width, placements.height, op::nxcorr)) return status;

  const VlixSize size = remaining_template(*floats.templ, {templ.width, templ.height});
  Region<const float> weights = region_of<const float>(*floats.templ);
  weights.width = size.width;
  weights.height = size.height;
  Region<float> scores = region_of<float>(*dst);
  scores.width = placements.width;
  scores.height = placements.height;
  if (!correlate_integers(target, weights, coefficient, scores)) correlate(target, weights, coefficient, scores);
  return kSuccess;
}

}  // namespace
}  // namespace vlix

extern "C" VlixStatus vlix_nxcorr(const VlixImage* target, const VlixImage* templateIm, VlixImage* dst) {
  using namespace vlix;
  if (target == dst) return report("nxcorr: destination image should be different than source image\n");
  if (!accepts(kMonochromeImages, target->type)) return report_type(op::nxcorr, target->type);
  if (VlixOptimGetLevel() != 0 && target->type != ObjType_S16 && target->type == templateIm->type) {
    return correlate_directly(*target, *templateIm, dst);
  }

  FloatImages floats;
  if (const VlixStatus status = make_floats(*target, *templateIm, floats)) return status;
  if (VlixOptimGetLevel() != 0) return correlate_copies(floats, dst);
  return correlate_plainly(floats, dst);
}
