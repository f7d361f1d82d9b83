// SPDX-License-Identifier: Apache-2.0
#include "object/shape.h"

#include <limits>

#include "object/registry.h"
#include "object/type_info.h"

namespace vlix::object {
namespace {

// More than any machine has. A row's bytes stay below 2^28, so the product with a 31-bit height fits 64 bits before the
// test.
constexpr int64_t kMostBytes = int64_t{1} << 46;

}  // namespace

std::optional<int64_t> image_bytes(int32_t type, int32_t width, int32_t height) noexcept {
  const int64_t bits = type_info(type).bits;
  if (bits == 0 || width < 1 || height < 1) return std::nullopt;
  const int64_t row_bits = bits * width;
  if (row_bits + 7 > std::numeric_limits<int32_t>::max()) return std::nullopt;
  const int64_t bytes = (row_bits + 7) / 8 * height;
  return bytes <= kMostBytes ? std::optional(bytes) : std::nullopt;
}

std::optional<int64_t> vector_bytes(int32_t type, int32_t count) noexcept {
  const int64_t size = type_info(type).bytes();
  if (size == 0 || count < 0) return std::nullopt;
  return size * count;
}

Fit fit(const void* data, int64_t described, int64_t wanted) noexcept {
  if (data == nullptr) return Fit::kReplace;
  const std::optional<Buffer> buffer = find_buffer(data);
  if (!buffer) return wanted <= described ? Fit::kReuse : Fit::kRefuse;
  if (wanted <= buffer->capacity) return Fit::kReuse;
  return buffer->origin == Origin::kOwn ? Fit::kReplace : Fit::kRefuse;
}

}  // namespace vlix::object
