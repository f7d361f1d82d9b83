// SPDX-License-Identifier: Apache-2.0

#include "geometry/worst_point.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

#include "frame/multiversion.h"
#include "geometry/lanes.h"

namespace vlix {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// The square of a difference of floats is exact in double, their sum q is off by 2^-53 of itself, and a hypot within
// two units in the last place by 2^-51; so sqrt(q) and the distance of radial_error differ by less than 2^-50 of the
// distance, and the errors against the half diameter h by less than 2^-49 (error + 2 h).
constexpr double kMargin = 0x1p-46;
double slack(double error, double half) { return kMargin * (error + 2.0 * half); }

VLIX_INLINE double square(PointF32 point, const Circle& circle) {
  const float dx = point.x - circle.centre.x;
  const float dy = point.y - circle.centre.y;
  return static_cast<double>(dx) * static_cast<double>(dx) + static_cast<double>(dy) * static_cast<double>(dy);
}

// Squared distances whose radial error is surely not above a level.
struct Quiet {
  Quiet(double level, double half) {
    const double outer = (half + level) * (1.0 - kMargin);
    const double inner = (half - level) * (1.0 + kMargin);
    high = outer * outer;
    low = half > level ? inner * inner : -1.0;
  }
  double low, high;
};

constexpr int32_t kBlock = 256;

// Whether all of them are quiet; not-a-number never is.
VLIX_MULTIVERSION bool is_quiet(const PointF32* points, int32_t count, const Circle& circle, const Quiet& quiet) {
  int64_t loud = 0;
  for (int32_t i = 0; i < count; ++i) {
    const double q = square(points[i], circle);
    loud |= !(q >= quiet.low) | !(q <= quiet.high);
  }
  return loud == 0;
}

// Smallest and largest squared distance; points come in whole steps.
constexpr int32_t kStep = 8;

VLIX_MULTIVERSION void extreme_squares(const PointF32* points, int32_t count, const Circle& circle, double& smallest,
                                       double& largest) {
  using Pairs = Lanes<double, 2 * kStep>;
  using FloatPairs = Lanes<float, 2 * kStep>;
  const float x = circle.centre.x;
  const float y = circle.centre.y;
  const FloatPairs centre = {x, y, x, y, x, y, x, y, x, y, x, y, x, y, x, y};
  Pairs low = Pairs{} + kInfinity;
  Pairs high = Pairs{} - 1.0;
  for (int32_t i = 0; i < count; i += kStep) {
    FloatPairs xy;
    std::memcpy(&xy, points + i, sizeof(xy));
    const Pairs d = __builtin_convertvector(xy - centre, Pairs);
    const Pairs dd = d * d;
    const Pairs q = dd + __builtin_shufflevector(dd, dd, 1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14);
    low = q < low ? q : low;
    high = q > high ? q : high;
  }
  smallest = low[0];
  largest = high[0];
  for (int32_t lane = 2; lane < 2 * kStep; lane += 2) {
    smallest = std::min(smallest, low[lane]);
    largest = std::max(largest, high[lane]);
  }
}

// Of points whose coordinates are finite.
VLIX_MULTIVERSION void bounding_box(const PointF32* points, int32_t count, PointF32& low, PointF32& high) {
  using FloatPairs = Lanes<float, 2 * kStep>;
  const float x = points[0].x;
  const float y = points[0].y;
  FloatPairs lows = {x, y, x, y, x, y, x, y, x, y, x, y, x, y, x, y};
  FloatPairs highs = lows;
  int32_t i = 0;
  for (; i <= count - kStep; i += kStep) {
    FloatPairs xy;
    std::memcpy(&xy, points + i, sizeof(xy));
    lows = xy < lows ? xy : lows;
    highs = xy > highs ? xy : highs;
  }
  low = high = points[0];
  for (int32_t k = 0; k < 2 * kStep; k += 2) {
    low = {std::min(low.x, lows[k]), std::min(low.y, lows[k + 1])};
    high = {std::max(high.x, highs[k]), std::max(high.y, highs[k + 1])};
  }
  for (; i < count; ++i) {
    low = {std::min(low.x, points[i].x), std::min(low.y, points[i].y)};
    high = {std::max(high.x, points[i].x), std::max(high.y, points[i].y)};
  }
}

double width_of(float low, float high) { return static_cast<double>(high) - static_cast<double>(low); }

// What the radial error can be.
struct ErrorRange {
  double low, high;
};

// Rounding keeps the order: float differences from all centres lie between those from both ends.
ErrorRange error_range(PointF32 point, const NearCircle& near) {
  const auto magnitudes = [](float a, float b) {
    const double larger = std::max(std::fabs(a), std::fabs(b));
    const double smaller = std::min(std::fabs(a), std::fabs(b));
    return ErrorRange{(a < 0.0f) == (b < 0.0f) ? smaller : 0.0, larger};
  };
  const ErrorRange dx = magnitudes(point.x - near.low.centre.x, point.x - near.high.centre.x);
  const ErrorRange dy = magnitudes(point.y - near.low.centre.y, point.y - near.high.centre.y);
  const double shortest = std::sqrt(dx.low * dx.low + dy.low * dy.low);
  const double longest = std::sqrt(dx.high * dx.high + dy.high * dy.high);
  const double above = longest - half_diameter(near.low);
  const double below = half_diameter(near.high) - shortest;
  // One of both is positive, as far as there is an error at all.
  const double off = slack(std::max(above, below), half_diameter(near.high));
  return {std::max(-above, -below) - off, std::max(above, below) + off};
}

bool same_place(PointF32 a, PointF32 b) { return a.x == b.x && a.y == b.y; }

// The first point behind `index` in the same place, or `count`.
int32_t next_equal(const PointF32* points, int32_t count, int32_t index) {
  int32_t next = index + 1;
  while (next < count && !same_place(points[next], points[index])) ++next;
  return next;
}

}  // namespace

int32_t find_worst(const PointF32* points, int32_t count, const Circle& circle) {
  if (std::isnan(circle.diameter)) return 0;  // no error is a number
  const double half = half_diameter(circle);
  double largest = 0.0;
  int32_t worst = 0;
  Quiet quiet(largest, half);
  for (int32_t first = 0; first < count; first += kBlock) {
    const int32_t end = first + std::min(kBlock, count - first);
    if (is_quiet(points + first, end - first, circle, quiet)) continue;
    for (int32_t i = first; i < end; ++i) {
      // Equal points have equal errors, and the earlier one stays.
      if (i > 0 && same_place(points[i], points[worst])) continue;
      const double error = radial_error(points[i], circle);
      if (!(error > largest)) continue;
      largest = error;
      worst = i;
    }
    quiet = Quiet(largest, half);
    if (count - first <= kBlock) break;
  }
  return worst;
}

// Which of the candidates lie where: an open table of their numbers.
class WorstPoints::Places {
 public:
  Places(const PointF32* points, const Candidate* candidates) : points_(points), candidates_(candidates) { clear(); }

  void clear() { std::memset(table_, 0, sizeof(table_)); }
  // The number of the candidate in the place of this point, or `next` and the place is taken by it.
  int32_t find_or_add(int32_t index, int32_t next) {
    const PointF32 point = points_[index];
    // Zeros of both signs are the same place.
    const auto bits = std::bit_cast<uint64_t>(PointF32{point.x + 0.0f, point.y + 0.0f});
    for (std::size_t at = bits * 0x9E3779B97F4A7C15u >> (64 - kBits);; at = (at + 1) % kSize) {
      if (table_[at] == 0) {
        table_[at] = static_cast<int16_t>(next + 1);
        return next;
      }
      const int32_t number = table_[at] - 1;
      if (same_place(points_[candidates_[number].index], point)) return number;
    }
  }

 private:
  static constexpr int kBits = 12;
  static constexpr std::size_t kSize = std::size_t{1} << kBits;
  static_assert(kSize >= 4 * kCapacity);

  const PointF32* points_;
  const Candidate* candidates_;
  int16_t table_[kSize];
};

void WorstPoints::collect(const PointF32* points, int32_t count, const Circle& circle) {
  Candidate candidates[kCapacity];
  const double half = half_diameter(circle);
  const auto worse = [](const Candidate& a, const Candidate& b) { return a.error > b.error; };
  double ceiling = -1.0;
  Quiet quiet(ceiling, half);
  int32_t n = 0;
  bool is_complete = true;
  Places places(points, candidates);
  clear();
  for (int32_t first = 0; first < count; first += kBlock) {
    const int32_t end = first + std::min(kBlock, count - first);
    if (!is_quiet(points + first, end - first, circle, quiet)) {
      for (int32_t i = first; i < end; ++i) {
        const double error = std::fabs(std::sqrt(square(points[i], circle)) - half);
        if (!(error < kInfinity)) return;
        if (error <= ceiling) continue;
        const int32_t number = places.find_or_add(i, n);
        if (number < n) {
          candidates[number].has_equals = true;
          continue;
        }
        candidates[n++] = {error, i, false};
        if (n < kCapacity) continue;
        std::nth_element(candidates, candidates + kKept, candidates + n, worse);
        ceiling = candidates[kKept].error;
        quiet = Quiet(ceiling, half);
        n = kKept;
        is_complete = false;
        places.clear();
        for (int32_t k = 0; k < n; ++k) places.find_or_add(candidates[k].index, k);
      }
    }
    if (count - first <= kBlock) break;
  }
  for (int32_t k = 0; k < n; ++k) {
    index_[k] = candidates[k].index;
    point_[k] = points[candidates[k].index];
    has_equals_[k] = candidates[k].has_equals;
  }
  ceiling_ = is_complete ? -kInfinity : ceiling + slack(ceiling, half);
  PointF32 low;
  PointF32 high;
  bounding_box(points, count, low, high);
  box_ = {static_cast<double>(low.x), static_cast<double>(high.x), static_cast<double>(low.y),
          static_cast<double>(high.y)};
  circle_ = circle;
  count_ = n;
}

// Whether the float difference of some coordinate in the box and the centre's is infinite: no bound holds there.
bool WorstPoints::may_overflow(const Circle& circle) const {
  const auto reaches = [](double from, double to, float centre) {
    return std::isfinite(static_cast<float>(from) - centre) && std::isfinite(static_cast<float>(to) - centre);
  };
  return !reaches(box_.left, box_.right, circle.centre.x) || !reaches(box_.top, box_.bottom, circle.centre.y);
}

// By how much |distance - h| of a point in the box changes at most from one circle to the other: no more than centre
// and radius move (triangle inequality), and on an arc, where they move together, by less. The change has the gradient
// n1 - n0, n the directions from the centres; |n1 - n0| <= |c1 - c0| / d with d the shorter distance from a centre. So
// it is the change in the middle of the box and at most |c1 - c0| / d for each unit of the way from there.
double WorstPoints::change_to(const Circle& circle) const {
  const auto distance = [](double x, double y, PointF32 centre) {
    return std::hypot(x - static_cast<double>(centre.x), y - static_cast<double>(centre.y));
  };
  const double dh = half_diameter(circle) - half_diameter(circle_);
  const double dc = distance(circle.centre.x, circle.centre.y, circle_.centre);
  const double anywhere = dc + std::fabs(dh);
  const double x = (box_.left + box_.right) / 2.0;
  const double y = (box_.top + box_.bottom) / 2.0;
  const double before = distance(x, y, circle_.centre);
  const double after = distance(x, y, circle.centre);
  const double way = std::hypot(box_.right - box_.left, box_.bottom - box_.top) / 2.0;
  const double nearest = std::min(before, after) - way;
  if (!(nearest > 0.0)) return anywhere;
  return std::min(anywhere, std::fabs(after - before - dh) + dc / nearest * way + kMargin * (before + after));
}

// The float differences of both circles are off by 2^-24 of themselves: with the distance at most h + ceiling, and
// nearer or farther by the move, 2^-21 covers them and the roundings in double.
double WorstPoints::ceiling_under(const Circle& circle) const {
  if (may_overflow(circle)) return kInfinity;
  const double dx = std::fabs(static_cast<double>(circle.centre.x) - static_cast<double>(circle_.centre.x));
  const double dy = std::fabs(static_cast<double>(circle.centre.y) - static_cast<double>(circle_.centre.y));
  const double dh = std::fabs(half_diameter(circle) - half_diameter(circle_));
  const double move = dx + dy + dh;
  if (move == 0.0) return ceiling_;
  return ceiling_ + change_to(circle) + 0x1p-21 * (half_diameter(circle_) + std::fabs(ceiling_) + move);
}

// Of all candidates, by the cheap formula.
double WorstPoints::largest_error(const Circle& circle) const {
  // Repeats of the last point fill the last step.
  const int32_t whole = count_ / kStep * kStep;
  double smallest;
  double largest;
  extreme_squares(point_, whole, circle, smallest, largest);
  if (whole < count_) {
    PointF32 rest[kStep];
    for (int32_t k = 0; k < kStep; ++k) rest[k] = point_[std::min(whole + k, count_ - 1)];
    double low;
    double high;
    extreme_squares(rest, kStep, circle, low, high);
    smallest = std::min(smallest, low);
    largest = std::max(largest, high);
  }
  const double half = half_diameter(circle);
  return std::max(std::sqrt(largest) - half, half - std::sqrt(smallest));
}

int32_t WorstPoints::find(const Circle& circle) const {
  if (count_ <= 0) return -1;
  const double error = largest_error(circle);
  const double off = slack(error, half_diameter(circle));
  if (ceiling_ == -kInfinity) {
    if (!(error < kInfinity)) return -1;
  } else if (!(error - off > ceiling_under(circle))) {
    return -1;
  }
  return pick(circle, error - 4.0 * off);
}

// Only places within the doubt of the largest error are looked at closely: `off` covers the move of centre and radius
// and, as in ceiling_under, the roundings of the float differences.
int32_t WorstPoints::find(const NearCircle& near) const {
  if (count_ <= 0 || !near.exists || may_overflow(near.low) || may_overflow(near.high)) return -1;
  const Circle& circle = near.middle;
  const double error = largest_error(circle);
  const double half = half_diameter(circle);
  const double move =
      2.0 * (width_of(near.low.centre.x, near.high.centre.x) + width_of(near.low.centre.y, near.high.centre.y) +
             width_of(near.low.diameter, near.high.diameter));
  const double off = slack(error, half) + move + 0x1p-21 * (half + std::fabs(error) + move);
  const double least = error - 4.0 * off;
  if (!(least > 0.0) || (ceiling_ != -kInfinity && !(least > ceiling_under(circle)))) return -1;
  const Quiet quiet(least, half);
  int32_t worst = -1;
  ErrorRange largest = {-1.0, -1.0};
  double others = -1.0;
  for (int32_t k = 0; k < count_; ++k) {
    const double q = square(point_[k], circle);
    if (q >= quiet.low && q <= quiet.high) continue;
    const ErrorRange range = error_range(point_[k], near);
    if (range.low > largest.low) {
      others = std::max(others, largest.high);
      largest = range;
      worst = index_[k];
    } else {
      others = std::max(others, range.high);
    }
  }
  return largest.low > others ? worst : -1;
}

// The first of the largest errors; a point whose error is below `least` is not it.
int32_t WorstPoints::pick(const Circle& circle, double least) const {
  const Quiet quiet(std::max(least, 0.0), half_diameter(circle));
  double largest = -1.0;
  int32_t worst = -1;
  for (int32_t k = 0; k < count_; ++k) {
    const double q = square(point_[k], circle);
    if (least > 0.0 && q >= quiet.low && q <= quiet.high) continue;
    const double error = radial_error(point_[k], circle);
    if (error > largest || (error == largest && index_[k] < worst)) {
      largest = error;
      worst = index_[k];
    }
  }
  return worst;
}

void WorstPoints::remove(const PointF32* points, int32_t count, int32_t index) {
  for (int32_t k = 0; k < count_; ++k) {
    if (index_[k] != index) continue;
    if (has_equals_[k]) {
      index_[k] = next_equal(points, count, index);
      if (index_[k] < count) return;
    }
    --count_;
    index_[k] = index_[count_];
    point_[k] = point_[count_];
    has_equals_[k] = has_equals_[count_];
    return;
  }
}

void WorstPoints::renumber(const int32_t* removed, int32_t removed_count) {
  for (int32_t k = 0; k < count_; ++k) {
    index_[k] -= static_cast<int32_t>(std::lower_bound(removed, removed + removed_count, index_[k]) - removed);
  }
}

}  // namespace vlix
