// SPDX-License-Identifier: Apache-2.0
// A point list from which points are removed one by one, while the others move down only now and then.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "vlix/types.h"

namespace vlix {

class ThinnedPoints {
 public:
  ThinnedPoints(PointF32* points, int32_t count) : points_(points), stored_(count) {}

  PointF32* data() const { return points_; }
  int32_t count() const { return stored_ - removed_count_; }
  // Points and gaps.
  int32_t stored() const { return stored_; }
  bool has_gaps() const { return removed_count_ > 0; }
  bool is_full() const { return removed_count_ == kMostGaps; }
  const int32_t* gaps() const { return removed_; }
  int32_t gap_count() const { return removed_count_; }

  // `index` is one of the stored points, gaps included.
  void remove(int32_t index) {
    last_[removed_count_] = points_[last_index()];
    int32_t* const place = std::lower_bound(removed_, removed_ + removed_count_, index);
    std::memmove(place + 1, place, static_cast<std::size_t>(removed_ + removed_count_ - place) * sizeof(*place));
    *place = index;
    ++removed_count_;
  }

  // Closes the gaps. Moving all later points down at each removal would have left, behind the points that remained, the
  // last point of that moment.
  void close_gaps() {
    if (!has_gaps()) return;
    int32_t to = removed_[0];
    for (int32_t k = 0; k < removed_count_; ++k) {
      const int32_t from = removed_[k] + 1;
      const int32_t end = k + 1 < removed_count_ ? removed_[k + 1] : stored_;
      std::memmove(points_ + to, points_ + from, static_cast<std::size_t>(end - from) * sizeof(*points_));
      to += end - from;
    }
    for (int32_t k = 0; k < removed_count_; ++k) points_[stored_ - 1 - k] = last_[k];
    stored_ = to;
    removed_count_ = 0;
  }

 private:
  static constexpr int32_t kMostGaps = 512;

  int32_t last_index() const {
    int32_t last = stored_ - 1;
    for (int32_t k = removed_count_ - 1; k >= 0 && removed_[k] == last; --k) --last;
    return last;
  }

  PointF32* points_;
  int32_t stored_;
  int32_t removed_count_ = 0;
  int32_t removed_[kMostGaps];  // sorted
  PointF32 last_[kMostGaps];    // in the order of removal
};

}  // namespace vlix
