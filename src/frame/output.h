// SPDX-License-Identifier: Apache-2.0
// Output records are shaped by the object library, which reports its own failures.
#pragma once

#include <cstdint>

#include "vlix/object.h"

namespace vlix {

// True when the vector now has this type and count.
inline bool shape(VlixVector* vector, ObjType type, int32_t count, const char* operation) {
  return VlixVectorTryUseReservedMem(vector, type, count, operation) == 0;
}

// 0, or the value that the export returns.
inline VlixStatus shape(VlixImage* image, ObjType type, int32_t width, int32_t height, const char* operation) {
  return VlixImageTryUseReservedMem(image, type, width, height, operation);
}

}  // namespace vlix
