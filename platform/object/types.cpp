// SPDX-License-Identifier: Apache-2.0
#include "object/type_info.h"

#include <cstdarg>

#include "vlix/object.h"

namespace vlix::object {

// Codes that name a handle kind have no element size.
TypeInfo type_info(int32_t type) noexcept {
  switch (type) {
    case VlixHandle_Vector: return {0, "Vector"};
    case VlixHandle_Image: return {0, "Image"};
    case ObjType_S8: return {8, "S8"};
    case ObjType_S16: return {16, "S16"};
    case ObjType_S32: return {32, "S32"};
    case ObjType_U8: return {8, "U8"};
    case ObjType_U16: return {16, "U16"};
    case ObjType_U32: return {32, "U32"};
    case ObjType_U32Alt: return {32, "U32Alt"};
    case ObjType_F32: return {32, "F32"};
    case ObjType_F64: return {64, "F64"};
    case ObjType_Rgba8: return {32, "Rgba8"};
    case ObjType_Colour20: return {32, "Colour20"};
    case ObjType_Colour21: return {32, "Colour21"};
    case ObjType_PointI32: return {64, "PointI32"};
    case ObjType_PointF32: return {64, "PointF32"};
    case ObjType_Colour30: return {32, "Colour30"};
    case ObjType_Colour36: return {32, "Colour36"};
    case ObjType_Colour39: return {64, "Colour39"};
    case ObjType_Colour44: return {24, "Colour44"};
    case ObjType_Shape53: return {8 * sizeof(VlixShape), "Shape53"};
    case ObjType_Shape54: return {8 * sizeof(VlixShape), "Shape54"};
    case ObjType_ComplexF32: return {64, "ComplexF32"};
    default: return {0, "unknown"};
  }
}

}  // namespace vlix::object

int32_t VlixObjGetSize(int32_t type) { return vlix::object::type_info(type).bytes(); }

int32_t VlixObjGetSizeBits(int32_t type) { return vlix::object::type_info(type).bits; }

const char* VlixObjGetName(int32_t type) { return vlix::object::type_info(type).name; }

int32_t VlixObjCheckEqList(int32_t type, int32_t n, ...) {
  va_list codes;
  va_start(codes, n);
  int32_t found = 0;
  for (int32_t i = 0; i < n && found == 0; ++i) found = va_arg(codes, int32_t) == type ? 1 : 0;
  va_end(codes);
  return found;
}
