// SPDX-License-Identifier: Apache-2.0
// Work memory that gives itself back.
#pragma once

#include <cstddef>
#include <memory>
#include <new>

#include "memory/aligned.h"

namespace vlix::memory {

struct Release {
  std::size_t bytes = 0;
  void operator()(void* memory) const noexcept { release(memory, bytes); }
};

template <class T>
using AlignedArray = std::unique_ptr<T[], Release>;

// Uninitialised elements of a trivial type; throws std::bad_alloc.
template <class T>
AlignedArray<T> aligned_array(std::size_t count) {
  constexpr std::size_t kMost = (std::size_t{1} << 47) / sizeof(T);
  const std::size_t bytes = (count + 1) * sizeof(T);
  void* data = count <= kMost ? allocate(bytes) : nullptr;
  if (data == nullptr) throw std::bad_alloc();
  return AlignedArray<T>(static_cast<T*>(data), Release{bytes});
}

}  // namespace vlix::memory
