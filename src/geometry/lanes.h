// SPDX-License-Identifier: Apache-2.0
// Several numbers side by side, each with an order of operations of its own. The compiler splits or joins them to what
// the processor has.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "frame/multiversion.h"

namespace vlix {

// Passed by reference only: how a vector travels by value depends on the processor.
template <class T, int N>
struct LanesOf {
  typedef T Type __attribute__((vector_size(sizeof(T) * N)));
};
template <class T, int N>
using Lanes = typename LanesOf<T, N>::Type;

// Memory of any alignment.
template <class T, int N>
VLIX_INLINE void load(Lanes<T, N>& lanes, const T* from) {
  std::memcpy(&lanes, from, sizeof(lanes));
}

template <class T, int N>
VLIX_INLINE void store(const Lanes<T, N>& lanes, T* to) {
  std::memcpy(to, &lanes, sizeof(lanes));
}

// What lies `bytes` behind p, inside of the memory or not.
VLIX_INLINE void prefetch(const void* p, std::ptrdiff_t bytes) {
  __builtin_prefetch(
      reinterpret_cast<const void*>(reinterpret_cast<std::uintptr_t>(p) + static_cast<std::uintptr_t>(bytes)));
}

}  // namespace vlix
