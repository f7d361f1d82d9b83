// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>

namespace vlix::optim {

struct FreeTable {
  void operator()(uint32_t* table) const { std::free(table); }
};
using HeapTable = std::unique_ptr<uint32_t[], FreeTable>;

// All zeros, or null when there is no memory.
inline HeapTable zeroed_table(std::size_t entries) {
  return HeapTable(static_cast<uint32_t*>(std::calloc(entries, sizeof(uint32_t))));
}

}  // namespace vlix::optim
