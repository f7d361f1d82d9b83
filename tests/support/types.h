// SPDX-License-Identifier: Apache-2.0
// C++ types of type codes, independent of the library's own tables.
#pragma once

#include <cstdint>

#include "vlix/types.h"

namespace vlix::test {

template <class T>
constexpr ObjType code_of();
template <>
constexpr ObjType code_of<uint8_t>() {
  return ObjType_U8;
}
template <>
constexpr ObjType code_of<int8_t>() {
  return ObjType_S8;
}
template <>
constexpr ObjType code_of<uint16_t>() {
  return ObjType_U16;
}
template <>
constexpr ObjType code_of<int16_t>() {
  return ObjType_S16;
}
template <>
constexpr ObjType code_of<uint32_t>() {
  return ObjType_U32;
}
template <>
constexpr ObjType code_of<int32_t>() {
  return ObjType_S32;
}
template <>
constexpr ObjType code_of<float>() {
  return ObjType_F32;
}
template <>
constexpr ObjType code_of<double>() {
  return ObjType_F64;
}
template <>
constexpr ObjType code_of<PointI32>() {
  return ObjType_PointI32;
}
template <>
constexpr ObjType code_of<PointF32>() {
  return ObjType_PointF32;
}

// Four-byte colour pixel.
struct Rgba {
  uint8_t channel[4];
};
template <>
constexpr ObjType code_of<Rgba>() {
  return ObjType_Rgba8;
}

}  // namespace vlix::test
