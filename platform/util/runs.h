// SPDX-License-Identifier: Apache-2.0
// Runs of pixels, and the memory that regions keep them in.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>

#include "vlix/util.h"

namespace vlix::util {

// A growing list of runs on the C heap, which a region can take over. Throws std::bad_alloc.
class RunList {
 public:
  // Runs come in order; what touches the run before it is joined to it, and an empty one adds nothing.
  void append(int32_t y, int32_t begin, int32_t end) {
    if (begin >= end) return;
    VlixRun* const last = count_ == 0 ? nullptr : runs_.get() + (count_ - 1);
    if (last != nullptr && last->y == y && last->end == begin) {
      last->end = end;
      return;
    }
    if (count_ == capacity_) grow();
    runs_.get()[count_++] = {y, begin, end};
  }

  // Size of the buffer that was asked for last.
  int64_t asked_bytes() const { return asked_bytes_; }

  // The region's own runs are freed.
  void move_to(VlixRegion& region) noexcept {
    if (region.capacity > 0) std::free(region.runs);
    region = {runs_.release(), count_, capacity_};
    count_ = 0;
    capacity_ = 0;
  }

 private:
  void grow() {
    constexpr int64_t kFirst = 64;
    const int64_t capacity = capacity_ == 0 ? kFirst : 2 * capacity_;
    asked_bytes_ = capacity * static_cast<int64_t>(sizeof(VlixRun));
    void* const moved = std::realloc(runs_.get(), static_cast<std::size_t>(asked_bytes_));
    if (moved == nullptr) throw std::bad_alloc();
    static_cast<void>(runs_.release());
    runs_.reset(static_cast<VlixRun*>(moved));
    capacity_ = capacity;
  }

  struct Free {
    void operator()(VlixRun* runs) const noexcept { std::free(runs); }
  };
  std::unique_ptr<VlixRun, Free> runs_;
  int64_t count_ = 0;
  int64_t capacity_ = 0;
  int64_t asked_bytes_ = 0;
};

// True for runs in order; the record may have been filled by hand.
inline bool is_well_formed(const VlixRegion& region) noexcept {
  if (region.count < 0 || (region.runs == nullptr && region.count > 0)) return false;
  const VlixRun* before = nullptr;
  for (const VlixRun* run = region.runs; run != region.runs + region.count; before = run++) {
    if (run->begin >= run->end) return false;
    if (before != nullptr && (run->y < before->y || (run->y == before->y && run->begin < before->end))) return false;
  }
  return true;
}

}  // namespace vlix::util
