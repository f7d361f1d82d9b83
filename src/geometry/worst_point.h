// SPDX-License-Identifier: Apache-2.0
// Finds the point of the largest radial error again and again while points go and the circle drifts.
#pragma once

#include <cstdint>

#include "geometry/circle.h"
#include "geometry/circle_sums.h"

namespace vlix {

// The definition: the first of the largest errors, or point 0 where no error is above 0. Blocks of points that cannot
// hold a larger error are passed over.
int32_t find_worst(const PointF32* points, int32_t count, const Circle& circle);

// The places of the largest errors against one circle, each with the first of its points, and a ceiling for the errors
// of all others. An error changes by little when centre and radius move, so that against a circle near by the worst
// point is still among them as long as its error is above the lifted ceiling.
class WorstPoints {
 public:
  // Collects from all points.
  void collect(const PointF32* points, int32_t count, const Circle& circle);
  // Index of the worst of all points, or -1 where it is not proved to be one of those collected.
  int32_t find(const Circle& circle) const;
  // The same for a circle that is known to lie between two: -1 also where it could be any of several places.
  int32_t find(const NearCircle& near) const;
  // The point is no longer there; the others keep their indices. Equal points, which have equal errors, are removed in
  // their order.
  void remove(const PointF32* points, int32_t count, int32_t index);
  // The points have moved down over those at `removed`, which is sorted.
  void renumber(const int32_t* removed, int32_t removed_count);
  void clear() { count_ = -1; }

 private:
  static constexpr int32_t kKept = 512;
  static constexpr int32_t kCapacity = 2 * kKept;
  struct Candidate {
    double error;
    int32_t index;
    bool has_equals;  // behind it
  };
  struct Box {
    double left, right, top, bottom;
  };
  class Places;

  double largest_error(const Circle& circle) const;
  bool may_overflow(const Circle& circle) const;
  double change_to(const Circle& circle) const;
  double ceiling_under(const Circle& circle) const;
  int32_t pick(const Circle& circle, double least) const;

  int32_t count_ = -1;  // -1: nothing is known
  Circle circle_;
  Box box_ = {};  // around all points
  double ceiling_ = 0.0;
  int32_t index_[kCapacity];
  PointF32 point_[kCapacity];
  bool has_equals_[kCapacity];
};

}  // namespace vlix
