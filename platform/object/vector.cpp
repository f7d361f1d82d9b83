// SPDX-License-Identifier: Apache-2.0
// Vectors: buffers, views, copies.

#include <algorithm>
#include <cstring>

#include "object/registry.h"
#include "object/report.h"
#include "object/shape.h"
#include "object/type_info.h"
#include "vlix/object.h"

namespace {

using namespace vlix::object;

void describe(VlixVector& vector, int32_t type, void* data, int32_t count) {
  vector = {static_cast<uint32_t>(type), data, count, 0};
}

int64_t described_bytes(const VlixVector& vector) {
  return vector_bytes(static_cast<int32_t>(vector.type), vector.count).value_or(0);
}

int32_t allocate(VlixVector& vector, int32_t type, int32_t count) {
  vector = {};
  const auto bytes = vector_bytes(type, count);
  if (!bytes) return VLIX_STATUS_MESSAGE;
  void* data = allocate_buffer(*bytes);
  if (data == nullptr) return VLIX_STATUS_OUT_OF_MEMORY;
  describe(vector, type, data, count);
  return 0;
}

}  // namespace

int32_t VlixVectorAlloc(VlixVector* vector, int32_t type, int32_t count) {
  return vector == nullptr ? VLIX_STATUS_MESSAGE : allocate(*vector, type, count);
}

void VlixVectorRelease(VlixVector* vector, int32_t /*flag*/) {
  if (vector == nullptr) return;
  release_buffer(vector->data);
  *vector = {};
}

int32_t VlixVectorResize(VlixVector* vector, int32_t count) {
  if (vector == nullptr) return VLIX_STATUS_MESSAGE;
  const auto bytes = vector_bytes(static_cast<int32_t>(vector->type), count);
  if (!bytes) return VLIX_STATUS_MESSAGE;
  const int64_t described = described_bytes(*vector);
  switch (fit(vector->data, described, *bytes)) {
    case Fit::kRefuse: return VLIX_STATUS_MESSAGE;
    case Fit::kReplace: {
      void* data = allocate_buffer(*bytes);
      if (data == nullptr) return VLIX_STATUS_OUT_OF_MEMORY;
      if (vector->data != nullptr)
        std::memcpy(data, vector->data, static_cast<std::size_t>(std::min(described, *bytes)));
      release_buffer(vector->data);
      vector->data = data;
      break;
    }
    case Fit::kReuse: break;
  }
  vector->count = count;
  return 0;
}

int32_t VlixVectorCopy(const VlixVector* from, VlixVector* to) {
  if (to == nullptr) return 0;
  const VlixVector source = from == nullptr ? VlixVector{} : *from;
  *to = {};
  if (source.data == nullptr && source.count != 0) return 0;
  if (allocate(*to, static_cast<int32_t>(source.type), source.count) != 0) return 0;
  if (source.count > 0) std::memcpy(to->data, source.data, static_cast<std::size_t>(described_bytes(source)));
  return 1;
}

int32_t VlixVectorTryUseReservedMem(VlixVector* vector, int32_t type, int32_t count, const char* operation) {
  if (vector == nullptr) return report_message("%s: no vector record\n", operation);
  const auto bytes = vector_bytes(type, count);
  if (!bytes) {
    return report_message("%s: cannot make a vector of %d elements of type %s\n", operation, count,
                          type_info(type).name);
  }
  switch (fit(vector->data, described_bytes(*vector), *bytes)) {
    case Fit::kRefuse:
      return report_message("%s: the vector's own memory is too small for %d elements of type %s\n", operation, count,
                            type_info(type).name);
    case Fit::kReplace: {
      void* data = allocate_buffer(*bytes);
      if (data == nullptr) return report_out_of_memory(operation, *bytes);
      release_buffer(vector->data);
      describe(*vector, type, data, count);
      return 0;
    }
    case Fit::kReuse: describe(*vector, type, vector->data, count); return 0;
  }
  return VLIX_STATUS_MESSAGE;
}

int32_t VlixVectorWrap(VlixVector* vector, int32_t type, void* data, int32_t count) {
  if (vector == nullptr || (data == nullptr && count != 0)) {
    return report_message("vectorWrap: no vector record or no memory\n");
  }
  const auto bytes = vector_bytes(type, count);
  if (!bytes) {
    return report_message("vectorWrap: cannot make a vector of %d elements of type %s\n", count, type_info(type).name);
  }
  if (data != nullptr && !register_view(data, *bytes)) {
    return report_message("vectorWrap: the memory is a buffer of this library\n");
  }
  describe(*vector, type, data, count);
  return 0;
}
