// SPDX-License-Identifier: Apache-2.0
// Circles of the next passes of a rejection, formed side by side before it is certain which points go.
#pragma once

#include <cstdint>

#include "geometry/circle.h"

namespace vlix {

// The definition's sums wait for their additions: those of eight passes side by side take two to four times as long as
// those of one.
class ForeseenCircles {
 public:
  static constexpr int32_t kPasses = 8;
  // Removals from which on forming them together pays.
  static constexpr int32_t kFewest = 3;

  // For the points, and for what remains when `removals`, at most kPasses - 1, are taken away one after the other.
  void form(const PointF32* points, int32_t count, const int32_t* removals, int32_t removal_count);
  // Whether the circle of the points that remain is known; then circle() is fit_in_order of them.
  bool is_known() const { return at_ < known_; }
  bool circle(Circle& circle) const;
  // The point is no longer there; the others keep their indices.
  void remove(int32_t index);
  void clear() { known_ = 0; }

 private:
  int32_t at_ = 0;
  int32_t known_ = 0;
  int32_t removals_[kPasses];
  bool exists_[kPasses];
  Circle circle_[kPasses];
};

}  // namespace vlix
