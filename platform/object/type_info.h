// SPDX-License-Identifier: Apache-2.0
// The table of type codes. The library asks it directly: a program that defines the public type queries itself is not
// called from in here.
#pragma once

#include <cstdint>

namespace vlix::object {

struct TypeInfo {
  int32_t bits;  // 0 for codes without elements
  const char* name;

  int32_t bytes() const { return bits / 8; }
};

TypeInfo type_info(int32_t type) noexcept;

}  // namespace vlix::object
