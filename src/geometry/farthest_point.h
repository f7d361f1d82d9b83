// SPDX-License-Identifier: Apache-2.0
// Finds the point with the largest stated distance to a line that moves a little from one search to the next.
#pragma once

#include <cstdint>

#include "frame/scratch.h"
#include "geometry/line_distance.h"
#include "geometry/line_sums.h"
#include "vlix/types.h"

namespace vlix {

// Equal points have equal distances: they are one place, at which the first of them stands for all.
//
// The places are kept in two groups: a few in front, and the rest, of which each had a cheap distance of at most
// `limit_` to the line of the last sorting. As long as the line has moved by less than the difference between the
// largest distance in front and the limit, the farthest point is in front. Whatever the cheap distance leaves open is
// decided by the stated one.
class FarthestPoint {
 public:
  // False without memory, or when a coordinate is no number or too large for the bound of the error.
  bool set(const PointF32* points, int32_t count);

  // Index of the point in the original order; the points that were removed are out of the game. At least one is left.
  int32_t find(const Line& line);
  // The same for a line of which the distances are known up to a doubt; -1 where more than one place may be meant.
  int32_t find(const LooseLine& line);
  void remove_found();

  LooseLineSums::Extent extent() const { return {half_width_, half_height_, radius_, excess_magnitude_}; }

 private:
  struct Best {
    float distance;
    int32_t slot;
  };

  PointF32 place(int32_t slot) const {
    return {x_[static_cast<std::size_t>(slot)], y_[static_cast<std::size_t>(slot)]};
  }
  bool make_places(const PointF32* points, int32_t count);
  double evaluate_front(const CheapLine& line);
  bool limit_holds(const CheapLine& line, double largest) const;
  double drift_to(const CheapLine& line) const;
  void sort_out(const CheapLine& line);
  double choose_limit(double largest, double error) const;
  void swap_slots(int32_t a, int32_t b);
  Best decide(const Line& line, const CheapLine& cheap, double largest);
  int32_t slot_of_largest_stored() const;

  int32_t count_ = 0;  // places
  int32_t front_ = 0;
  int32_t found_ = 0;  // slot
  double limit_ = -1.0;
  CheapLine sorted_for_{{0.0, 0.0}};

  // Bounds over all points.
  double radius_ = 0.0;
  double excess_magnitude_ = 0.0;
  double centre_x_ = 0.0, centre_y_ = 0.0;
  double half_width_ = 0.0, half_height_ = 0.0;

  HeapArray<float> x_, y_;
  HeapArray<double> excess_;
  HeapArray<double> squared_;  // cheap distances of the last evaluation
  HeapArray<int32_t> index_;   // the first point of each place
  HeapArray<int32_t> next_;    // for every point the next one of its place, or -1
  // Stated distances of all places to this line, when the last search needed them all.
  HeapArray<float> stored_;
  Line stored_for_ = {0.0, 0.0};
  bool all_stored_ = false;
};

}  // namespace vlix
