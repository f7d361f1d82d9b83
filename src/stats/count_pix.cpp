// SPDX-License-Identifier: Apache-2.0
// Number of pixels that are not zero.

#include "stats/pixel_counts.h"
#include "vlix/meas.h"

namespace vlix {
namespace {

// Lanes in which a bit of the mask is set.
template <class Lanes, auto kMask>
struct AnyBit {
  using Vector = Lanes;
  using Mask = Lanes;
  VLIX_INLINE void operator()(const Vector& v, Mask& passed) const { passed = (Mask)((v & kMask) != 0); }
};

// -0 is zero, not-a-number is not.
struct NonZeroFloat {
  using Vector = FloatLanes;
  using Mask = DwordLanes;
  VLIX_INLINE void operator()(const Vector& v, Mask& passed) const { passed = (Mask)(v != 0.0f); }
};

using NonZeroByte = AnyBit<ByteLanes, uint8_t{0xFF}>;
using NonZeroWord = AnyBit<WordLanes, uint16_t{0xFFFF}>;
using NonZeroFourBytes = AnyBit<DwordLanes, 0x00FFFFFFu>;
using NonZeroTenBits = AnyBit<DwordLanes, 0x3FFFFFFFu>;

uint64_t count_non_zero(const VlixImage& image) {
  switch (image.type) {
    case ObjType_U8:
    case ObjType_S8: return count_lanes(bytes_of(region_of<const uint8_t>(image)), NonZeroByte{});
    case ObjType_U16:
    case ObjType_S16: return count_lanes(bytes_of(region_of<const uint16_t>(image)), NonZeroWord{});
    case ObjType_F32: return count_lanes(bytes_of(region_of<const float>(image)), NonZeroFloat{});
    case ObjType_Colour36: return count_lanes(bytes_of(region_of<const uint32_t>(image)), NonZeroTenBits{});
    default: return count_lanes(bytes_of(region_of<const uint32_t>(image)), NonZeroFourBytes{});
  }
}

}  // namespace
}  // namespace vlix

extern "C" VlixStatus vlix_countPix(const VlixImage* image, uint32_t* pCount) {
  using namespace vlix;
  if (!is_countable(image->type)) return report_type(op::countPix, image->type);
  if (pCount == nullptr) return kSuccess;

  if (VlixOptimGetLevel() != 0 && count_by_primitive(*image, 0, 255, pCount)) return kSuccess;
  *pCount = static_cast<uint32_t>(count_non_zero(*image));
  return kSuccess;
}
