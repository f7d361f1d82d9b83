// SPDX-License-Identifier: Apache-2.0
// The one switch from a pixel type code to a C++ type.
#pragma once

#include <cstdint>
#include <utility>

#include "vlix/types.h"

namespace vlix {

// Calls visitor.operator()<Pixel>() for a monochrome image type that the operation's checks have accepted.
// Returns false, without a call, for any other type.
template <class Visitor>
bool with_pixel_type(uint32_t type, Visitor&& visitor) {
  switch (type) {
    case ObjType_U8: visitor.template operator()<uint8_t>(); return true;
    case ObjType_S8: visitor.template operator()<int8_t>(); return true;
    case ObjType_U16: visitor.template operator()<uint16_t>(); return true;
    case ObjType_S16: visitor.template operator()<int16_t>(); return true;
    case ObjType_F32: visitor.template operator()<float>(); return true;
    default: return false;
  }
}

// The same for the element types of numeric vectors.
template <class Visitor>
bool with_element_type(uint32_t type, Visitor&& visitor) {
  switch (type) {
    case ObjType_S32: visitor.template operator()<int32_t>(); return true;
    case ObjType_U32:
    case ObjType_U32Alt: visitor.template operator()<uint32_t>(); return true;
    case ObjType_F64: visitor.template operator()<double>(); return true;
    default: return with_pixel_type(type, std::forward<Visitor>(visitor));
  }
}

}  // namespace vlix
