// SPDX-License-Identifier: Apache-2.0
#include "geometry/line_rejection.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include "frame/scratch.h"
#include "geometry/exact_line_sums.h"
#include "geometry/farthest_point.h"
#include "geometry/line_distance.h"

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
  ExactLineSums exact;
  const bool is_exact = exact.set(points, count);
  for (;; --discard, --count) {
    const Line line = fit_line(is_exact ? exact.rounded() : sum_points(points, count), count, points[0]);
    if (discard == 0) return line;
    PointF32* farthest = points + farthest_plainly(line, points, count);
    if (is_exact) exact.remove(*farthest);
    std::copy(farthest + 1, points + count, farthest);
  }
}

// ---- The same with few stated distances ----

// Fewer points are faster done with than prepared.
constexpr int32_t kWorthwhile = 24;

// Points in their places, of which some are gone.
class Survivors {
 public:
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
  PointF32* points_;
  int32_t count_;
  HeapArray<uint8_t> gone_;
  int32_t first_ = 0;
};

Line reject_screened(PointF32* points, int32_t count, int32_t discard, FarthestPoint& search, Survivors survivors) {
  // Sums are the same in any order, or formed anew.
  ExactLineSums exact;
  const bool is_exact = exact.set(points, count);
  for (int32_t left = count;; --discard, --left) {
    const Line line = fit_line(is_exact ? exact.rounded() : sum_points(points, count), left, survivors.first());
    if (discard == 0) {
      survivors.close_gaps();
      return line;
    }
    const int32_t farthest = search.find(line);
    search.remove_found();
    if (is_exact) exact.remove(points[farthest]);
    survivors.remove(farthest);
  }
}

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
  if (discard == 0) return fit_line(sum_points(points, count), count, points[0]);
  // Scratch memory serves speed only: without it the definition does the work, unnoticed.
  if (count >= kWorthwhile) {
    FarthestPoint search;
    auto gone = HeapArray<uint8_t>::zeroed(static_cast<std::size_t>(count));
    if (gone && search.set(points, count)) {
      return reject_screened(points, count, discard, search, Survivors(points, count, std::move(gone)));
    }
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
