// SPDX-License-Identifier: Apache-2.0
// Sums over points that are taken away one by one.
#pragma once

#include <cstdint>

#include "frame/scratch.h"
#include "geometry/line_fit.h"
#include "vlix/types.h"

namespace vlix {

// Adds points to the sums, one after the other: the definition.
void add_in_order(const PointF32* points, int32_t count, LineSums& sums);
void add_in_order(const PointI32* points, int32_t count, LineSums& sums);

// True when no order of additions can round: the coordinates are whole numbers on a common grid of binary digits, and
// so few or small that 53 digits hold every sum.
bool sums_never_round(const PointF32* points, int32_t count);

// Sums in point order, formed again from the first change on. A point that is taken away has to be at the origin from
// then on, where it adds nothing.
class OrderedLineSums {
 public:
  // False without memory.
  bool set(const PointF32* points, int32_t count);
  void has_changed(int32_t index);
  const LineSums& form();

 private:
  static constexpr int32_t kStep = 256;

  const PointF32* points_ = nullptr;
  int32_t count_ = 0;
  int32_t known_ = 0;                // steps in front of which the sums are known
  HeapArray<LineSums> before_step_;  // the last one holds all points
};

// A line near the definition's: by how much the distance of any point can differ.
struct LooseLine {
  Line line;
  double doubt;
};

// Sums in any order, which lose a point by subtraction, with a bound of how far they are from those in point order.
class LooseLineSums {
 public:
  // `exact`: no order of additions rounds.
  void set(const LineSums& sums, int32_t count, bool exact);
  void remove(PointF32 p);
  // Whether these are the sums in point order, bit by bit.
  bool are_exact() const { return exact_; }
  const LineSums& sums() const { return sums_; }

  // Half the width and the height of a box around the points; the largest distance from the origin, and by which part
  // of it the single-precision radius of a point is off.
  struct Extent {
    double half_width, half_height, radius, excess;
  };
  // False where the bounds leave open which form the line has.
  bool fit(int32_t count, const Extent& extent, LooseLine& result) const;

 private:
  // By how much the definition's direction and its means of the coordinates can differ.
  struct Difference {
    double turn, shift;
  };
  bool bound(int32_t count, Difference& difference) const;

  LineSums sums_;
  double squares_ = 0.0;  // bound of the sums of squares since set()
  double roundings_ = 0.0;
  bool exact_ = false;
};

}  // namespace vlix
