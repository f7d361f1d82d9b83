// SPDX-License-Identifier: Apache-2.0
// What the two counts of pixels share.
#pragma once

#include <cstdint>

#include "frame/region.h"
#include "frame/report.h"
#include "stats/lanes.h"
#include "vlix/optim.h"

namespace vlix {

// 8-bit and 16-bit integers, floats, four-byte colours and the packed colour.
constexpr bool is_countable(uint32_t type) {
  switch (type) {
    case ObjType_S8:
    case ObjType_S16:
    case ObjType_U8:
    case ObjType_U16:
    case ObjType_F32:
    case ObjType_Rgba8:
    case ObjType_Colour20:
    case ObjType_Colour21:
    case ObjType_Colour30:
    case ObjType_Colour36: return true;
    default: return false;
  }
}

// Counts the unsigned bytes above low and up to high. The bounds are taken modulo 256, so that thresholds outside of
// 0 .. 254 count other pixels than the plain loops do; kept on purpose. False where the primitive does not do it.
inline bool count_by_primitive(const VlixImage& image, int32_t low, int32_t high, uint32_t* count) {
  if (image.type != ObjType_U8) return false;
  const int32_t step = VlixObjGetSize(static_cast<int32_t>(image.type)) * image.width;
  const auto lower = static_cast<uint8_t>(static_cast<uint32_t>(low) + 1);
  const auto upper = static_cast<uint8_t>(high);
  int32_t found = 0;
  const int32_t failure = vlix_ippiCountInRange_8u_C1R(pixel_address<const uint8_t>(image, image.roiX, image.roiY),
                                                       step, {image.roiWidth, image.roiHeight}, &found, lower, upper);
  if (failure != 0) return false;
  *count = static_cast<uint32_t>(found);
  return true;
}

// Counts lanes. A test has the lanes it works on as Test::Vector and sets `passed` to all ones in those that count.
template <class Test>
class CountAccumulator {
 public:
  using Vector = typename Test::Vector;
  using Mask = typename Test::Mask;
  static constexpr int kLaneSize = sizeof(Mask{}[0]);
  // Lanes count up to their own largest value.
  static constexpr int kVectorsPerWiden = kLaneSize == 1 ? 255 : 65535;
  static constexpr int kVectorsPerFold = 65535 * 255;
  static constexpr int kStep = kLaneBytes;
  static_assert(uint64_t{4} * kVectorsPerFold <= UINT32_MAX);

  VLIX_INLINE CountAccumulator(const Test& test, uint64_t& total) : test_(test), total_(total) {}

  VLIX_INLINE void add(const ByteLanes& bytes, const ByteLanes& padding) {
    Mask passed;
    test_((Vector)bytes, passed);
    narrow_ -= passed & (Mask)~padding;
  }

  VLIX_INLINE void widen() {
    if constexpr (kLaneSize == 1) {
      const WordLanes pairs = ((WordLanes)narrow_ & 0xFF) + ((WordLanes)narrow_ >> 8);
      wide_ += ((DwordLanes)pairs & 0xFFFF) + ((DwordLanes)pairs >> 16);
    } else if constexpr (kLaneSize == 2) {
      wide_ += ((DwordLanes)narrow_ & 0xFFFF) + ((DwordLanes)narrow_ >> 16);
    } else {
      wide_ += (DwordLanes)narrow_;
    }
    narrow_ = Mask{};
  }

  VLIX_INLINE void fold() {
    total_ += sum_of_lanes(Lanes<uint32_t>(wide_));
    wide_ = DwordLanes{};
  }

  VLIX_INLINE void finish() {}

 private:
  [[gnu::noinline]] static uint64_t sum_of_lanes(const Lanes<uint32_t>& lanes) {
    uint64_t sum = 0;
    for (uint32_t lane : lanes.lane) sum += lane;
    return sum;
  }

  const Test test_;
  uint64_t& total_;
  Mask narrow_ = {};
  DwordLanes wide_ = {};
};

// 64-byte registers in the x86-64-v4 version, 32-byte ones in x86-64-v3, else 16.
template <class Test>
VLIX_MULTIVERSION uint64_t count_lanes(const ByteRows& rows, const Test& test) {
  uint64_t total = 0;
  CountAccumulator<Test> accumulator(test, total);
  LaneWalk(accumulator).run(rows);
  return total;
}

}  // namespace vlix
