// SPDX-License-Identifier: Apache-2.0
// What the library knows about a buffer, found by its address: records have no field for it.
#pragma once

#include <cstdint>
#include <optional>

namespace vlix::object {

enum class Origin { kOwn, kWrapped };

struct Buffer {
  Origin origin;
  int64_t capacity;  // bytes
};

// The buffer that starts at this address; none for foreign memory.
std::optional<Buffer> find_buffer(const void* data) noexcept;

// A new own buffer of at least this many bytes (at least one), aligned to 64; null on failure.
void* allocate_buffer(int64_t bytes) noexcept;

// Notes a view of the caller's memory; views of the same address are counted. False when the address is an own buffer's
// or there is no memory.
bool register_view(const void* data, int64_t capacity) noexcept;

// Frees an own buffer, drops one view of a wrapped one; nothing else happens for foreign memory and null.
void release_buffer(void* data) noexcept;

}  // namespace vlix::object
