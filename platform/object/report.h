// SPDX-License-Identifier: Apache-2.0
// Reports of the object library's own.
#pragma once

#include "vlix/object.h"

namespace vlix::object {

template <class... Arguments>
int32_t report_message(const char* format, Arguments... arguments) {
  return VlixOpStatus(1, VlixStatusKind_Message, format, arguments...);
}

inline int32_t report_out_of_memory(const char* operation, int64_t bytes) {
  return VlixOpStatus(1, VlixStatusKind_OutOfMemory, operation, bytes);
}

}  // namespace vlix::object
