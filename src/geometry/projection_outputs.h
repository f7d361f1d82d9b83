// SPDX-License-Identifier: Apache-2.0
// What both projections share: shaping of the two output vectors, pair buffers, and what is given back on failures.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "frame/output.h"
#include "frame/region.h"
#include "frame/report.h"
#include "frame/scratch.h"

namespace vlix {

// One output vector. Its sums are 4-byte words, formed in the vector itself or, for pairs, in a buffer.
template <class Pair>
class ProjectionOutput {
 public:
  using Sum = decltype(Pair::x);
  static_assert(sizeof(Sum) == 4);

  ProjectionOutput(VlixVector* vector, bool as_points) : vector_(vector), as_points_(as_points) {}

  bool is_wanted() const { return vector_ != nullptr; }
  // Null when not wanted.
  void* sums() const { return !is_wanted() ? nullptr : as_points_ ? buffer_.get() : vector_->data; }
  int64_t buffer_bytes() const { return int64_t{count_} * 4; }

  // False when the object library could not shape the vector.
  bool shape(ObjType sum_type, ObjType pair_type, int32_t count, const char* operation) {
    was_empty_ = vector_->data == nullptr;
    count_ = count;
    return vlix::shape(vector_, as_points_ ? pair_type : sum_type, count, operation);
  }

  // All sums become zero. False when there is no memory for the buffer that pairs need.
  bool clear() {
    if (as_points_) {
      buffer_ = HeapArray<Sum>::uninitialised(static_cast<std::size_t>(count_));
      if (!buffer_) return false;
    }
    if (count_ > 0) std::memset(sums(), 0, static_cast<std::size_t>(count_) * sizeof(Sum));
    return true;
  }

  // Gives back what this call obtained.
  void abandon() {
    buffer_ = {};
    if (is_wanted() && was_empty_) VlixVectorRelease(vector_, 1);
  }

  // Pairs are index and sum.
  void finish() {
    if (!is_wanted() || !as_points_) return;
    Pair* pairs = elements<Pair>(*vector_);
    for (int32_t i = 0; i < count_; ++i) pairs[i] = {static_cast<Sum>(i), buffer_[static_cast<std::size_t>(i)]};
  }

 private:
  VlixVector* vector_;
  bool as_points_;
  bool was_empty_ = false;
  int32_t count_ = 0;
  HeapArray<Sum> buffer_;
};

// Types and operation names of one of the two projections.
struct ProjectionFormat {
  ObjType sum_type;
  ObjType pair_type;
  const char* vectors;
  const char* row_buffer;
  const char* column_buffer;
};

// Makes both outputs ready, filled with zeros. On a failure nothing that this call obtained is left.
template <class Pair>
VlixStatus prepare(ProjectionOutput<Pair>& rows, ProjectionOutput<Pair>& columns, const VlixImage& image,
                   const ProjectionFormat& format) {
  if (rows.is_wanted()) {
    if (!rows.shape(format.sum_type, format.pair_type, image.roiHeight, format.vectors)) return kVectorNotShaped;
    if (!rows.clear()) {
      rows.abandon();
      return report_memory(format.row_buffer, rows.buffer_bytes());
    }
  }
  if (columns.is_wanted()) {
    if (!columns.shape(format.sum_type, format.pair_type, image.roiWidth, format.vectors)) {
      rows.abandon();
      return kVectorNotShaped;
    }
    if (!columns.clear()) {
      rows.abandon();
      columns.abandon();
      return report_memory(format.column_buffer, columns.buffer_bytes());
    }
  }
  return kSuccess;
}

}  // namespace vlix
