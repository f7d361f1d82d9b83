// SPDX-License-Identifier: Apache-2.0
// The definition costs one pass over all points for every removal. Here a removal costs a few hundred operations while
// two proofs hold: that sums updated by the removed point give the same floats as the definition's sums
// (circle_sums.h), and that the worst point is among a few hundred candidates (worst_point.h). Where a proof fails, all
// points are visited: for new sums, for new candidates, and in the end by the definition itself, several passes at a
// time (circle_foreseen.h). Most of the passes before the last one need no proof of the floats: a circle near the
// definition's tells the worst point, too.

#include "geometry/circle_rejection.h"

#include <algorithm>

#include "geometry/circle_foreseen.h"
#include "geometry/circle_sums.h"
#include "geometry/thinned_points.h"
#include "geometry/worst_point.h"

namespace vlix {
namespace {

// For fewer points the definition is the fastest way.
constexpr int32_t kFewPoints = 48;

class Rejection {
 public:
  Rejection(PointF32* points, int32_t count) : points_(points, count), coordinates_(count) {}

  enum class Pass { kFitted, kFailed, kSkipped };

  // Where the circle's floats are open but the worst point is not, nobody needs them: the point is removed at once.
  // Then the next pass surely finds a circle, so that this one is not the result.
  Pass fit(Circle& circle, int32_t left) {
    if (points_.count() > kFewPoints) {
      const Fitted fitted = fit_by_sums(circle);
      if (fitted != Fitted::kUndecided) return fitted == Fitted::kCircle ? Pass::kFitted : Pass::kFailed;
      if (left > 0 && remove_worst_of_near()) return Pass::kSkipped;
      if (!foreseen_.is_known()) foresee(left);
    }
    bool exists;
    if (foreseen_.is_known()) {
      exists = foreseen_.circle(circle);
    } else {
      close_gaps();
      exists = fit_in_order(points_.data(), points_.count(), coordinates_, circle);
    }
    return exists ? Pass::kFitted : Pass::kFailed;
  }

  void remove_worst(const Circle& circle) { remove(find(circle)); }

  void close_gaps() {
    if (points_.has_gaps()) coordinates_.have_changed(points_.gaps()[0]);
    worst_.renumber(points_.gaps(), points_.gap_count());
    foreseen_.clear();
    points_.close_gaps();
  }

 private:
  // New sums have tighter bounds than those that many points, or one from far away, have left. Where they are of no use
  // either, the next ones wait for more removals.
  Fitted fit_by_sums(Circle& circle) {
    if (sums_.count > 0) {
      const Fitted fitted = fit_from_sums(sums_, circle, near_);
      if (fitted != Fitted::kUndecided || --patience_ > 0) return fitted;
    }
    close_gaps();
    const bool first = sums_.count <= 0;
    sums_ = form_circle_sums(points_.data(), points_.count(), sums_);
    Fitted fitted = fit_from_sums(sums_, circle, near_);
    if (first && fitted == Fitted::kUndecided) {
      sums_ = form_circle_sums(points_.data(), points_.count(), sums_);
      fitted = fit_from_sums(sums_, circle, near_);
    }
    wait_ = fitted == Fitted::kUndecided ? std::min(2 * wait_, kLongestWait) : 1;
    patience_ = wait_;
    return fitted;
  }

  bool remove_worst_of_near() {
    const int32_t worst = worst_.find(near_);
    if (worst < 0) return false;
    CircleSums rest = sums_;
    remove_from(rest, points_.data()[worst]);
    if (!surely_has_circle(rest)) return false;
    remove(worst);
    return true;
  }

  // The removals that circles near the definition's tell, where they are enough to be worth their while.
  void foresee(int32_t left) {
    if (left < ForeseenCircles::kFewest) return;
    close_gaps();
    int32_t removals[ForeseenCircles::kPasses];
    const int32_t most = std::min(left, ForeseenCircles::kPasses - 1);
    int32_t known = 0;
    CircleSums sums = sums_;
    NearCircle near = near_;
    WorstPoints worst = worst_;
    while (known < most && near.exists) {
      const int32_t index = worst.find(near.middle);
      if (index < 0) break;
      removals[known++] = index;
      worst.remove(points_.data(), points_.count(), index);
      remove_from(sums, points_.data()[index]);
      Circle unused;
      fit_from_sums(sums, unused, near);
    }
    if (known >= ForeseenCircles::kFewest) foreseen_.form(points_.data(), points_.count(), removals, known);
  }

  // The index holds until the gaps are closed.
  void remove(int32_t index) {
    foreseen_.remove(index);
    remove_from(sums_, points_.data()[index]);
    worst_.remove(points_.data(), points_.stored(), index);
    points_.remove(index);
    if (points_.is_full()) close_gaps();
  }

  int32_t find(const Circle& circle) {
    int32_t worst = worst_.find(circle);
    if (worst >= 0) return worst;
    close_gaps();
    worst_.collect(points_.data(), points_.count(), circle);
    worst = worst_.find(circle);
    return worst >= 0 ? worst : find_worst(points_.data(), points_.count(), circle);
  }

  static constexpr int32_t kLongestWait = 256;

  ThinnedPoints points_;
  OrderedCoordinates coordinates_;
  CircleSums sums_;
  NearCircle near_ = {};
  WorstPoints worst_;
  ForeseenCircles foreseen_;
  int32_t wait_ = 1;
  int32_t patience_ = 1;
};

}  // namespace

RejectionResult fit_with_rejection(PointF32* points, int32_t count, int32_t discard) {
  RejectionResult result;
  Rejection rejection(points, count);
  for (int32_t left = discard;; --left) {
    const Rejection::Pass pass = rejection.fit(result.circle, left);
    if (pass == Rejection::Pass::kSkipped) continue;
    result.all_fitted = pass == Rejection::Pass::kFitted;
    result.any_fitted = result.any_fitted || result.all_fitted;
    if (!result.all_fitted || left == 0) break;
    rejection.remove_worst(result.circle);
  }
  rejection.close_gaps();
  return result;
}

}  // namespace vlix
