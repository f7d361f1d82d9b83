// SPDX-License-Identifier: Apache-2.0
// How many bytes a shape takes, and where a record's buffer comes from: shared by images and vectors.
#pragma once

#include <cstdint>
#include <optional>

namespace vlix::object {

// Bytes of an image; none for an unknown type, a size below 1 or a row whose bits do not fit 31 bits.
std::optional<int64_t> image_bytes(int32_t type, int32_t width, int32_t height) noexcept;

// Bytes of a vector; none for an unknown type or a negative count.
std::optional<int64_t> vector_bytes(int32_t type, int32_t count) noexcept;

enum class Fit { kReuse, kReplace, kRefuse };

// Whether a buffer that `described` bytes of the record refer to can take `wanted` bytes. What a foreign buffer holds
// is known from its record alone.
Fit fit(const void* data, int64_t described, int64_t wanted) noexcept;

}  // namespace vlix::object
