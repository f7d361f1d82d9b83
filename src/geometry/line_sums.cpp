// SPDX-License-Identifier: Apache-2.0
#include "geometry/line_sums.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>

#include "geometry/line_distance.h"

namespace vlix {

namespace {

// Products of two floats are exact in double.
template <class Point>
void add_points(const Point* points, int32_t count, LineSums& sums) {
  LineSums s = sums;
  for (int32_t i = 0; i < count; ++i) {
    const double x = coordinate(points[i].x);
    const double y = coordinate(points[i].y);
    s.x += x;
    s.y += y;
    s.xy += x * y;
    s.xx += x * x;
    s.yy += y * y;
  }
  sums = s;
}

}  // namespace

void add_in_order(const PointF32* points, int32_t count, LineSums& sums) { add_points(points, count, sums); }
void add_in_order(const PointI32* points, int32_t count, LineSums& sums) { add_points(points, count, sums); }

bool sums_never_round(const PointF32* points, int32_t count) {
  constexpr int kDigits = 53;
  int lowest = 128;
  int highest = -149;
  for (int32_t i = 0; i < count; ++i) {
    for (const float v : {points[i].x, points[i].y}) {
      const uint32_t bits = std::bit_cast<uint32_t>(v) & 0x7FFFFFFFu;
      if (bits == 0) continue;
      if (bits >= 0x7F800000u) return false;
      const auto exponent = static_cast<int>(bits >> 23);
      const uint32_t digits = (bits & 0x7FFFFFu) | (exponent > 0 ? 0x800000u : 0u);
      const int unit = std::max(exponent, 1) - 150;
      lowest = std::min(lowest, unit + std::countr_zero(digits));
      highest = std::max(highest, unit + static_cast<int>(std::bit_width(digits)));
    }
  }
  // On the grid |x| < 2^width: sums of products stay below count 2^(2 width).
  const int width = std::max(highest - lowest, 0);
  return 2 * width + static_cast<int>(std::bit_width(static_cast<uint32_t>(count))) <= kDigits;
}

bool OrderedLineSums::set(const PointF32* points, int32_t count) {
  points_ = points;
  count_ = count;
  known_ = 0;
  before_step_ = HeapArray<LineSums>::zeroed(static_cast<std::size_t>(count / kStep) + 2);
  return static_cast<bool>(before_step_);
}

void OrderedLineSums::has_changed(int32_t index) { known_ = std::min(known_, index / kStep); }

const LineSums& OrderedLineSums::form() {
  const int32_t steps = (count_ + kStep - 1) / kStep;
  for (; known_ < steps; ++known_) {
    const auto step = static_cast<std::size_t>(known_);
    before_step_[step + 1] = before_step_[step];
    const int32_t first = known_ * kStep;
    add_in_order(points_ + first, std::min(kStep, count_ - first), before_step_[step + 1]);
  }
  return before_step_[static_cast<std::size_t>(steps)];
}

void LooseLineSums::set(const LineSums& sums, int32_t count, bool exact) {
  sums_ = sums;
  exact_ = exact;
  // Their relative error is far below this.
  squares_ = (sums.xx + sums.yy) * 1.00001;
  // Both these sums and the definition's of any later moment have at most one rounding for each of their points.
  roundings_ = 2.0 * count;
}

void LooseLineSums::remove(PointF32 p) {
  const double x = p.x;
  const double y = p.y;
  sums_.x -= x;
  sums_.y -= y;
  sums_.xy -= x * y;
  sums_.xx -= x * x;
  sums_.yy -= y * y;
  roundings_ += 1.0;
}

// A rounding is at most u = 2^-53 of the sum of magnitudes: with S the sum of all squares, at most u S for sums of
// products and, by the inequality of Cauchy and Schwarz, u sqrt(n S) for those of coordinates, which are themselves at
// most sqrt(n S). So cxx, cyy and cxy differ by less than 3.1 S u for each rounding.
bool LooseLineSums::bound(int32_t count, Difference& difference) const {
  const double n = count;
  const double off = (roundings_ + 16.0) * 0x1p-53;
  const double error = 4.0 * off * squares_;
  const double cxx = sums_.xx - sums_.x * sums_.x / n;
  const double cyy = sums_.yy - sums_.y * sums_.y / n;
  const double along = std::max(cxx, cyy) - error;
  if (!(std::fabs(cxx - cyy) > 2.0 * error && along > kEqualWhenFlat && along > kEqualWhenSteep)) return false;
  // A slope is at most 1: its numerator and its denominator count once each. A spare factor of 2 for all roundings.
  difference = {2.0 * (2.0 * error / along) + 0x1p-48, 2.0 * (2.0 * off * std::sqrt(squares_ / n))};
  return difference.turn < 1.0;
}

// With the means (mx, my) and the slope a of a flat line, the definition's distance of a point is
// (y - my - a (x - mx)) cos(phi) and roundings, which are those of a distance all over again. phi changes by no more
// than a. For a steep line x and y change places.
bool LooseLineSums::fit(int32_t count, const Extent& extent, LooseLine& result) const {
  Difference difference;
  if (!bound(count, difference)) return false;
  result.line = fit_line(sums_, count, {});
  const double reach = 4.0 * (extent.half_width + extent.half_height) + extent.excess * extent.radius;
  result.doubt = difference.shift + difference.turn * reach + CheapLine(result.line).error(extent.radius);
  return true;
}

}  // namespace vlix
