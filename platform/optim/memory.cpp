// SPDX-License-Identifier: Apache-2.0
#include <cstdlib>

#include "vlix/optim.h"

uint8_t* vlix_ippsMalloc_8u(int32_t bytes) {
  constexpr std::size_t kAlignment = 64;
  if (bytes < 1) return nullptr;
  const std::size_t rounded = (static_cast<std::size_t>(bytes) + kAlignment - 1) / kAlignment * kAlignment;
  return static_cast<uint8_t*>(std::aligned_alloc(kAlignment, rounded));
}

void vlix_ippsFree(void* memory) { std::free(memory); }
