// SPDX-License-Identifier: Apache-2.0
// Work memory of the transforms.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>

#include "memory/aligned.h"

namespace vlix::fourier {

// Alignment of everything that is handed to a transform, in bytes.
using memory::kAlignment;

struct FreeMemory {
  void operator()(void* memory) const noexcept { std::free(memory); }
};

template <class T>
using AlignedArray = std::unique_ptr<T[], FreeMemory>;

// Uninitialised elements of a trivial type; throws std::bad_alloc.
template <class T>
AlignedArray<T> aligned_array(std::size_t count) {
  constexpr std::size_t kMost = (std::size_t{1} << 47) / sizeof(T);
  void* data = count <= kMost ? memory::allocate_aligned((count + 1) * sizeof(T)) : nullptr;
  if (data == nullptr) throw std::bad_alloc();
  return AlignedArray<T>(static_cast<T*>(data));
}

}  // namespace vlix::fourier
