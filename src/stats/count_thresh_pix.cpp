// SPDX-License-Identifier: Apache-2.0
// Number of pixels above a lower and up to an upper threshold.

#include <algorithm>
#include <limits>

#include "stats/pixel_counts.h"
#include "vlix/meas.h"

namespace vlix {
namespace {

// Lanes with lowest <= v <= lowest + span, in arithmetic modulo the lane's range; signed values may be taken as they
// are stored, since the differences are the same.
template <class Lanes>
struct InRange {
  using Vector = Lanes;
  using Mask = Lanes;
  using Lane = std::remove_reference_t<decltype(Lanes{}[0])>;
  VLIX_INLINE void operator()(const Vector& v, Mask& passed) const { passed = (Mask)(v - lowest <= span); }

  Lane lowest;
  Lane span;
};

struct InFloatRange {
  using Vector = FloatLanes;
  using Mask = DwordLanes;
  VLIX_INLINE void operator()(const Vector& v, Mask& passed) const { passed = (Mask)(v > low) & (Mask)(v <= high); }

  float low;
  float high;
};

// The bounds of the four bytes of a pixel, packed like the pixel.
struct FourBytesInRange {
  using Vector = DwordLanes;
  using Mask = DwordLanes;
  VLIX_INLINE void operator()(const Vector& v, Mask& passed) const {
    const ByteLanes above = (ByteLanes)v - (ByteLanes)(DwordLanes{} + lowest);
    const ByteLanes bytes = (ByteLanes)(above <= (ByteLanes)(DwordLanes{} + span));
    passed = (Mask)((DwordLanes)bytes == UINT32_MAX);
  }

  uint32_t lowest;
  uint32_t span;
};

struct TenBitsInRange {
  using Vector = DwordLanes;
  using Mask = DwordLanes;
  VLIX_INLINE void operator()(const Vector& v, Mask& passed) const {
    passed = ~Mask{};
    for (int channel = 0; channel < 3; ++channel) {
      passed &= (Mask)(((v >> (10 * channel)) & 0x3FF) - lowest[channel] <= span[channel]);
    }
  }

  uint32_t lowest[3];
  uint32_t span[3];
};

template <class Pixel>
uint64_t count_integers(const VlixImage& image, int32_t low, int32_t high) {
  using Stored = std::make_unsigned_t<Pixel>;
  using Vector = std::conditional_t<sizeof(Pixel) == 1, ByteLanes, WordLanes>;
  const int64_t lowest = std::max<int64_t>(int64_t{low} + 1, std::numeric_limits<Pixel>::min());
  const int64_t highest = std::min<int64_t>(high, std::numeric_limits<Pixel>::max());
  if (lowest > highest) return 0;
  return count_lanes(bytes_of(region_of<const Stored>(image)),
                     InRange<Vector>{static_cast<Stored>(lowest), static_cast<Stored>(highest - lowest)});
}

uint64_t count_floats(const VlixImage& image, int32_t low, int32_t high) {
  return count_lanes(bytes_of(region_of<const float>(image)),
                     InFloatRange{static_cast<float>(low), static_cast<float>(high)});
}

// Thresholds of a channel of a packed colour. False when no value lies between them.
bool channel_range(int32_t low, int32_t high, int shift, uint32_t mask, uint32_t& lowest, uint32_t& span) {
  const uint32_t below = (static_cast<uint32_t>(low) >> shift) & mask;
  const uint32_t highest = (static_cast<uint32_t>(high) >> shift) & mask;
  lowest = below + 1;
  span = highest - below - 1;
  return below < highest;
}

uint64_t count_four_bytes(const VlixImage& image, int32_t low, int32_t high) {
  FourBytesInRange test = {0, 0xFF000000u};  // byte 3 always passes
  for (int shift = 0; shift < 24; shift += 8) {
    uint32_t lowest = 0;
    uint32_t span = 0;
    if (!channel_range(low, high, shift, 0xFF, lowest, span)) return 0;
    test.lowest |= lowest << shift;
    test.span |= span << shift;
  }
  return count_lanes(bytes_of(region_of<const uint32_t>(image)), test);
}

uint64_t count_ten_bits(const VlixImage& image, int32_t low, int32_t high) {
  TenBitsInRange test = {};
  for (int channel = 0; channel < 3; ++channel) {
    if (!channel_range(low, high, 10 * channel, 0x3FF, test.lowest[channel], test.span[channel])) return 0;
  }
  return count_lanes(bytes_of(region_of<const uint32_t>(image)), test);
}

uint64_t count_between(const VlixImage& image, int32_t low, int32_t high) {
  switch (image.type) {
    case ObjType_U8: return count_integers<uint8_t>(image, low, high);
    case ObjType_S8: return count_integers<int8_t>(image, low, high);
    case ObjType_U16: return count_integers<uint16_t>(image, low, high);
    case ObjType_S16: return count_integers<int16_t>(image, low, high);
    case ObjType_F32: return count_floats(image, low, high);
    case ObjType_Colour36: return count_ten_bits(image, low, high);
    default: return count_four_bytes(image, low, high);
  }
}

}  // namespace
}  // namespace vlix

extern "C" VlixStatus vlix_countThreshPix(const VlixImage* image, uint32_t* pCount, int32_t low, int32_t high) {
  using namespace vlix;
  if (!is_countable(image->type)) return report_type(op::countPix, image->type);
  if (pCount == nullptr) return kSuccess;

  if (VlixOptimGetLevel() != 0 && count_by_primitive(*image, low, high, pCount)) return kSuccess;
  *pCount = static_cast<uint32_t>(count_between(*image, low, high));
  return kSuccess;
}
