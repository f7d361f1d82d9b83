// SPDX-License-Identifier: Apache-2.0
// Which types an operation accepts is data: sets of codes in the order in which they are tested.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "vlix/object.h"

namespace vlix {

template <std::size_t N>
using TypeSet = std::array<int32_t, N>;

inline constexpr TypeSet<5> kMonochromeImages = {ObjType_U8, ObjType_S8, ObjType_U16, ObjType_S16, ObjType_F32};
inline constexpr TypeSet<4> kIntegerImages = {ObjType_U8, ObjType_S8, ObjType_U16, ObjType_S16};
inline constexpr TypeSet<7> kColours = {ObjType_Rgba8,    ObjType_Colour20, ObjType_Colour21, ObjType_Colour30,
                                        ObjType_Colour36, ObjType_Colour39, ObjType_Colour44};
inline constexpr TypeSet<9> kNumericVectors = {ObjType_S8,  ObjType_U8,     ObjType_S16, ObjType_U16, ObjType_S32,
                                               ObjType_U32, ObjType_U32Alt, ObjType_F32, ObjType_F64};
inline constexpr TypeSet<10> kStatisticsVectors = {ObjType_U8,       ObjType_S8,      ObjType_S32, ObjType_U32,
                                                   ObjType_S16,      ObjType_U16,     ObjType_F32, ObjType_F64,
                                                   ObjType_PointI32, ObjType_PointF32};
inline constexpr TypeSet<1> kFloatPoints = {ObjType_PointF32};
inline constexpr TypeSet<1> kIntegerPoints = {ObjType_PointI32};

// Asks the object library.
template <std::size_t N>
bool accepts(const TypeSet<N>& set, uint32_t type) {
  return [&]<std::size_t... I>(std::index_sequence<I...>) {
    return VlixObjCheckEqList(static_cast<int32_t>(type), static_cast<int32_t>(N), set[I]...) != 0;
  }
  (std::make_index_sequence<N>());
}

// Colours whose pixel is four bytes with the channels in bytes 0, 1, 2.
constexpr bool is_four_byte_colour(uint32_t type) {
  return type == ObjType_Rgba8 || type == ObjType_Colour20 || type == ObjType_Colour21 || type == ObjType_Colour30;
}

constexpr bool is_monochrome_image(uint32_t type) {
  for (int32_t accepted : kMonochromeImages) {
    if (type == static_cast<uint32_t>(accepted)) return true;
  }
  return false;
}

}  // namespace vlix
