// SPDX-License-Identifier: Apache-2.0
#include "object/registry.h"

#include <algorithm>
#include <array>
#include <mutex>
#include <new>
#include <unordered_map>

#include "memory/aligned.h"

namespace vlix::object {
namespace {

constexpr int64_t kAlignment = memory::kAlignment;
constexpr std::size_t kShards = 64;

struct Entry {
  Buffer buffer;
  int64_t views;  // of a wrapped buffer
};

// Threads that work on different buffers rarely meet on a lock.
struct alignas(64) Shard {
  std::mutex mutex;
  std::unordered_map<const void*, Entry> entries;
};

// Never destroyed: records may be released while the process ends.
Shard& shard_of(const void* data) {
  static auto& shards = *new std::array<Shard, kShards>();
  const auto address = reinterpret_cast<std::uintptr_t>(data);
  return shards[((address >> 6) ^ (address >> 12) ^ (address >> 20)) % kShards];
}

// An entry left by a view whose memory the caller has freed since gives way to the new buffer.
bool register_own(const void* data, int64_t capacity) noexcept {
  try {
    Shard& shard = shard_of(data);
    const std::lock_guard lock(shard.mutex);
    shard.entries.insert_or_assign(data, Entry{{Origin::kOwn, capacity}, 0});
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

}  // namespace

std::optional<Buffer> find_buffer(const void* data) noexcept {
  Shard& shard = shard_of(data);
  const std::lock_guard lock(shard.mutex);
  const auto found = shard.entries.find(data);
  return found == shard.entries.end() ? std::nullopt : std::optional(found->second.buffer);
}

void* allocate_buffer(int64_t bytes) noexcept {
  const int64_t capacity = (std::max<int64_t>(bytes, 1) + kAlignment - 1) / kAlignment * kAlignment;
  void* data = memory::allocate(static_cast<std::size_t>(capacity));
  if (data != nullptr && !register_own(data, capacity)) {
    memory::release(data, static_cast<std::size_t>(capacity));
    return nullptr;
  }
  return data;
}

bool register_view(const void* data, int64_t capacity) noexcept {
  try {
    Shard& shard = shard_of(data);
    const std::lock_guard lock(shard.mutex);
    Entry& entry = shard.entries.try_emplace(data, Entry{{Origin::kWrapped, 0}, 0}).first->second;
    if (entry.buffer.origin == Origin::kOwn) return false;
    entry.buffer.capacity = std::max(entry.buffer.capacity, capacity);
    entry.views += 1;
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

void release_buffer(void* data) noexcept {
  if (data == nullptr) return;
  Shard& shard = shard_of(data);
  const std::lock_guard lock(shard.mutex);
  const auto found = shard.entries.find(data);
  if (found == shard.entries.end()) return;
  Entry& entry = found->second;
  if (entry.buffer.origin == Origin::kOwn) {
    memory::release(data, static_cast<std::size_t>(entry.buffer.capacity));
    shard.entries.erase(found);
  } else if (--entry.views == 0) {
    shard.entries.erase(found);
  }
}

}  // namespace vlix::object
