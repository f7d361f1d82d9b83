// SPDX-License-Identifier: Apache-2.0
#include "geometry/line_rejection.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include "frame/scratch.h"
#include "geometry/farthest_point.h"
#include "geometry/line_distance.h"
#include "geometry/line_sums.h"

namespace vlix {
namespace {

// ---- The definition: every distance of every round ----

int32_t farthest_plainly(const Line& line, const PointF32* points, int32_t count) {
  const LineDistance distance(line);
  float largest = 0.0f;
  int32_t farthest = 0;
  for (int32_t i = 0; i < count; ++i) {
    const auto stored = static_cast<float>(distance(points[i]));
    if (stored > largest) {
      largest = stored;
      farthest = i;
    }
  }
  return farthest;
}

Line reject_plainly(PointF32* points, int32_t count, int32_t discard) {
  for (;; --discard, --count) {
    LineSums sums;
    add_in_order(points, count, sums);
    const Line line = fit_line(sums, count, points[0]);
    if (discard == 0) return line;
    PointF32* farthest = points + farthest_plainly(line, points, count);
    std::copy(farthest + 1, points + count, farthest);
  }
}

// ---- The same with few stated distances ----

// Fewer points are faster done with than prepared.
constexpr int32_t kWorthwhile = 24;

// Points in their places, of which some are gone.
class Survivors {
 public:
  Survivors() = default;
  Survivors(PointF32* points, int32_t count, HeapArray<uint8_t> gone)
      : points_(points), count_(count), gone_(std::move(gone)) {}

  PointF32 first() {
    while (gone_[static_cast<std::size_t>(first_)] != 0) ++first_;
    return points_[first_];
  }
  // A removed point lies at the origin, where it adds nothing to any sum.
  void remove(int32_t i) {
    gone_[static_cast<std::size_t>(i)] = 1;
    points_[i] = {0.0f, 0.0f};
  }
  void close_gaps() {
    int32_t kept = 0;
    for (int32_t i = 0; i < count_; ++i) {
      if (gone_[static_cast<std::size_t>(i)] == 0) points_[kept++] = points_[i];
    }
  }

 private:
  PointF32* points_ = nullptr;
  int32_t count_ = 0;
  HeapArray<uint8_t> gone_;
  int32_t first_ = 0;
};

// Rounds of removal. Sums in point order take a pass over the points; most rounds do with sums that are near them.
class Rejection {
 public:
  Rejection(PointF32* points, int32_t count) : points_(points), count_(count), left_(count) {}

  // False without memory, or for points without a cheap distance.
  bool set() {
    auto gone = HeapArray<uint8_t>::zeroed(static_cast<std::size_t>(count_));
    if (!gone || !ordered_.set(points_, count_) || !search_.set(points_, count_)) return false;
    survivors_ = Survivors(points_, count_, std::move(gone));
    loose_.set(ordered_.form(), count_, sums_never_round(points_, count_));
    return true;
  }

  void remove_farthest() {
    const int32_t farthest = find();
    search_.remove_found();
    loose_.remove(points_[farthest]);
    survivors_.remove(farthest);
    ordered_.has_changed(farthest);
    --left_;
  }

  Line finish() {
    const Line line = fit();
    survivors_.close_gaps();
    return line;
  }

 private:
  // Where bounds were of no use, the next try waits for more removals.
  int32_t find() {
    constexpr int32_t kLongestWait = 64;
    if (!loose_.are_exact() && --patience_ <= 0) {
      LooseLine line;
      const int32_t farthest = loose_.fit(left_, search_.extent(), line) ? search_.find(line) : -1;
      wait_ = farthest >= 0 ? 1 : std::min(2 * wait_, kLongestWait);
      patience_ = wait_;
      if (farthest >= 0) return farthest;
    }
    return search_.find(fit());
  }

  Line fit() {
    if (!loose_.are_exact()) loose_.set(ordered_.form(), left_, false);
    return fit_line(loose_.sums(), left_, survivors_.first());
  }

  PointF32* points_;
  int32_t count_;
  int32_t left_;
  int32_t wait_ = 1;
  int32_t patience_ = 1;
  Survivors survivors_;
  OrderedLineSums ordered_;
  LooseLineSums loose_;
  FarthestPoint search_;
};

template <class Point>
float sum_in_order(const Line& line, const Point* points, int32_t count) {
  const LineDistance distance(line);
  const CheapLine cheap(line);
  float sum = 0.0f;
  for (int32_t i = 0; i < count; ++i) {
    const PointF32 p = float_point(points[i]);
    if (has_cheap_distance(p)) {
      const double guess = std::sqrt(cheap.squared(p.x, p.y, radius_excess(p)));
      sum += stored_distance(distance, p, guess, cheap.error(radius_bound(p.x, p.y)));
    } else {
      sum += static_cast<float>(distance(p));
    }
  }
  return sum;
}

}  // namespace

Line reject_farthest(PointF32* points, int32_t count, int32_t discard) {
  // Scratch memory serves speed only: without it the definition does the work, unnoticed.
  Rejection rejection(points, count);
  if (count >= kWorthwhile && rejection.set()) {
    for (; discard > 0; --discard) rejection.remove_farthest();
    return rejection.finish();
  }
  return reject_plainly(points, count, discard);
}

float sum_of_distances(const Line& line, const PointF32* points, int32_t count) {
  return sum_in_order(line, points, count);
}

float sum_of_distances(const Line& line, const PointI32* points, int32_t count) {
  return sum_in_order(line, points, count);
}

}  // namespace vlix
