// SPDX-License-Identifier: Apache-2.0
// Memory for pixels and spectra. Every library has a small pool of its own (hidden symbols).
//
// Fresh memory is slow where it counts: the system clears it page by page at its first touch, which takes longer than a
// Fourier transform of what it will hold. Large blocks that are given back are therefore kept for the next call, within
// bounds; and larger ones ask for huge pages.
#pragma once

#include <sys/mman.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <type_traits>

#if defined(__SANITIZE_ADDRESS__)
#define VLIX_MEMORY_POOL 0  // it would hide the use of freed memory
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VLIX_MEMORY_POOL 0
#endif
#endif
#ifndef VLIX_MEMORY_POOL
#define VLIX_MEMORY_POOL 1
#endif

namespace vlix::memory {

inline constexpr std::size_t kAlignment = 64;

// Blocks kept for reuse, the oldest first.
class Pool {
 public:
  static constexpr std::size_t kLeastBlock = std::size_t{128} << 10;
  static constexpr std::size_t kMostBytes = std::size_t{64} << 20;

  // Needs no destruction: blocks may be given back while the process ends.
  static Pool& instance() {
    static Pool pool;
    return pool;
  }

  static constexpr bool takes(std::size_t capacity) {
    return VLIX_MEMORY_POOL != 0 && capacity >= kLeastBlock && capacity <= kMostBytes / 2;
  }

  // A block of just this capacity, or null.
  void* take(std::size_t capacity) {
    const std::lock_guard lock(mutex_);
    for (std::size_t i = 0; i < count_; ++i) {
      if (blocks_[i].capacity == capacity) return remove(i);
    }
    return nullptr;
  }

  void give(void* memory, std::size_t capacity) {
    const std::lock_guard lock(mutex_);
    while (count_ == kMostBlocks || (count_ > 0 && bytes_ + capacity > kMostBytes)) std::free(remove(0));
    blocks_[count_++] = {memory, capacity};
    bytes_ += capacity;
  }

 private:
  static constexpr std::size_t kMostBlocks = 16;
  struct Block {
    void* memory;
    std::size_t capacity;
  };

  void* remove(std::size_t i) {
    void* memory = blocks_[i].memory;
    bytes_ -= blocks_[i].capacity;
    --count_;
    for (; i < count_; ++i) blocks_[i] = blocks_[i + 1];
    return memory;
  }

  std::mutex mutex_;
  Block blocks_[kMostBlocks] = {};
  std::size_t count_ = 0;
  std::size_t bytes_ = 0;
};

static_assert(std::is_trivially_destructible_v<Pool>);

// What a block of `bytes` really takes. Coarse for large ones, so that blocks of nearly the same size serve each other.
constexpr std::size_t capacity_of(std::size_t bytes) {
  const std::size_t unit = bytes >= Pool::kLeastBlock ? std::size_t{64} << 10 : kAlignment;
  return (bytes + unit - 1) / unit * unit;
}

// Small blocks come from malloc, which is 100 ns faster than aligned allocation; what malloc returned stands in front.
inline void* allocate_small(std::size_t capacity) noexcept {
  void* block = std::malloc(capacity + kAlignment);
  if (block == nullptr) return nullptr;
  static_assert(alignof(std::max_align_t) >= sizeof(void*) && kAlignment >= 2 * sizeof(void*));
  const auto address = (reinterpret_cast<std::uintptr_t>(block) / kAlignment + 1) * kAlignment;
  void** memory = reinterpret_cast<void**>(address);
  memory[-1] = block;
  return memory;
}

inline void* allocate_large(std::size_t capacity) noexcept {
  // The first touch of 52 MB costs 33 ms in small pages and 3.5 ms in huge ones (where the system grants them on
  // request only, which is its usual setting).
  constexpr std::size_t kHugePage = std::size_t{2} << 20;
  const bool is_huge = capacity >= 2 * kHugePage;
  void* memory = nullptr;
  if (posix_memalign(&memory, is_huge ? kHugePage : kAlignment, capacity) != 0) return nullptr;
#ifdef MADV_HUGEPAGE
  if (is_huge) madvise(memory, capacity, MADV_HUGEPAGE);
#endif
  return memory;
}

// At least `bytes` bytes, one or more, aligned to kAlignment, for release(); null when there are none.
inline void* allocate(std::size_t bytes) noexcept {
  constexpr std::size_t kMost = std::size_t{1} << 47;
  if (bytes > kMost) return nullptr;
  const std::size_t capacity = capacity_of(bytes);
  if (capacity < Pool::kLeastBlock) return allocate_small(capacity);
  void* memory = Pool::takes(capacity) ? Pool::instance().take(capacity) : nullptr;
  return memory != nullptr ? memory : allocate_large(capacity);
}

// Gives back a block of allocate(bytes); null is ignored.
inline void release(void* memory, std::size_t bytes) noexcept {
  if (memory == nullptr) return;
  const std::size_t capacity = capacity_of(bytes);
  if (capacity < Pool::kLeastBlock) {
    std::free(static_cast<void**>(memory)[-1]);
  } else if (Pool::takes(capacity)) {
    Pool::instance().give(memory, capacity);
  } else {
    std::free(memory);
  }
}

}  // namespace vlix::memory
