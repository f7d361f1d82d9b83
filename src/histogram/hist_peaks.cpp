// SPDX-License-Identifier: Apache-2.0
// Local extrema of a histogram, thinned out to a minimum distance.

#include <algorithm>
#include <type_traits>

#include "frame/convert.h"
#include "frame/multiversion.h"
#include "frame/region.h"
#include "frame/report.h"
#include "frame/type_sets.h"
#include "vlix/meas.h"

namespace vlix {
namespace {

// Everything is compared and subtracted as 32-bit floats; integer points are truncated when they are stored.
template <class Point>
PointF32 as_float(const Point& point) {
  return {static_cast<float>(point.x), static_cast<float>(point.y)};
}

void store(PointF32 extremum, PointF32& point) { point = extremum; }
void store(PointF32 extremum, PointI32& point) {
  point = {truncate_to_int32(extremum.x), truncate_to_int32(extremum.y)};
}

template <bool kMaxima>
VLIX_INLINE bool better(float v, float than) {
  return kMaxima ? v > than : v < than;
}

// The accepted peaks, and behind the last of them a run of pending candidates: each too close to the one before it and
// no better. They only keep later candidates away.
template <class Point, bool kMaxima>
class PeakList {
 public:
  PeakList(Point* points, float min_distance) : points_(points), min_distance_(min_distance) {}

  void offer(PointF32 extremum) {
    if (count_ == 0) {
      accept(0, extremum);
    } else if (too_close(last(), extremum) && better_than(last(), extremum)) {
      store(extremum, points_[last()]);
      pending_ = 0;
    } else {
      while (pending_ > 0 && better_than(last() + pending_, extremum)) --pending_;
      if (too_close(last() + pending_, extremum)) {
        ++pending_;
        store(extremum, points_[last() + pending_]);
      } else {
        accept(count_, extremum);
      }
    }
  }

  int32_t count() const { return count_; }

 private:
  int32_t last() const { return count_ - 1; }
  bool better_than(int32_t i, PointF32 extremum) const { return better<kMaxima>(extremum.y, as_float(points_[i]).y); }
  bool too_close(int32_t i, PointF32 extremum) const { return extremum.x - as_float(points_[i]).x <= min_distance_; }
  void accept(int32_t i, PointF32 extremum) {
    store(extremum, points_[i]);
    count_ = i + 1;
    pending_ = 0;
  }

  Point* points_;
  float min_distance_;
  int32_t count_ = 0;
  int32_t pending_ = 0;
};

constexpr int32_t kBlock = 256;

// Where an extremum can begin: better than the element before it and not worse than the one behind it. Writes such
// indices of [first, first + count) to `found` and returns how many there are. Free of branches, since in a noisy
// histogram every third element is one.
template <bool kMaxima, class Point>
VLIX_MULTIVERSION int32_t find_beginnings(const Point* hist, int32_t first, int32_t count, int32_t* found) {
  int32_t flags[kBlock];
  const Point* at = hist + first;
  for (int32_t i = 0; i < count; ++i) {
    const auto before = static_cast<float>(at[i - 1].y);
    const auto v = static_cast<float>(at[i].y);
    const auto behind = static_cast<float>(at[i + 1].y);
    flags[i] = (better<kMaxima>(v, before) ? 1 : 0) & (better<kMaxima>(behind, v) ? 0 : 1);
  }
  int32_t n = 0;
  for (int32_t i = 0; i < count; ++i) {
    found[n] = first + i;
    n += flags[i];
  }
  return n;
}

// The extremum that begins here is offered, unless its plateau ends at something better or at the end of the histogram.
template <bool kMaxima, class Point>
void offer_plateau(const Point* hist, int32_t begin, int32_t n, PeakList<Point, kMaxima>& list) {
  const PointF32 first = as_float(hist[begin]);
  int32_t end = begin;
  while (end < n - 1 && as_float(hist[end + 1]).y == first.y) ++end;
  if (end == n - 1 || !better<kMaxima>(first.y, as_float(hist[end + 1]).y)) return;
  const float sum = first.x + as_float(hist[end]).x;
  list.offer({static_cast<float>(static_cast<double>(sum) * 0.5), first.y});
}

// Writes the peaks to `peaks`, which has room for n, and returns how many there are.
template <bool kMaxima, class Point>
int32_t find_peaks(const Point* hist, int32_t n, Point* peaks, float min_distance) {
  PeakList<Point, kMaxima> list(peaks, min_distance);
  int32_t found[kBlock];
  for (int64_t i = 1; i < n - 1; i += kBlock) {
    const auto first = static_cast<int32_t>(i);
    const int32_t count = find_beginnings<kMaxima>(hist, first, std::min(kBlock, n - 1 - first), found);
    for (int32_t k = 0; k < count; ++k) offer_plateau(hist, found[k], n, list);
  }
  return list.count();
}

template <class Point>
VlixStatus hist_peaks(const VlixVector& hist, VlixVector* peaks, int32_t maxima, float min_distance) {
  constexpr bool kFloat = std::is_same_v<Point, PointF32>;
  constexpr ObjType kType = kFloat ? ObjType_PointF32 : ObjType_PointI32;
  if (!accepts(kFloat ? kFloatPoints : kIntegerPoints, hist.type)) return report_type(op::histPeaks, hist.type);
  if (peaks == nullptr) return kSuccess;

  const int32_t n = hist.count;
  if (VlixVectorAlloc(peaks, kType, n) < 0) return report_memory(op::histPeaks, int64_t{VlixObjGetSize(kType)} * n);

  const auto* from = elements<const Point>(hist);
  auto* to = elements<Point>(*peaks);
  const int32_t count =
      maxima != 0 ? find_peaks<true>(from, n, to, min_distance) : find_peaks<false>(from, n, to, min_distance);
  VlixVectorResize(peaks, count);
  return kSuccess;
}

}  // namespace
}  // namespace vlix

extern "C" VlixStatus vlix_histPeaks(const VlixVector* hist, VlixVector* peaks, int32_t maxima, float minDist) {
  return vlix::hist_peaks<PointF32>(*hist, peaks, maxima, minDist);
}

extern "C" VlixStatus vlix_histPeaksInt(const VlixVector* hist, VlixVector* peaks, int32_t maxima, float minDist) {
  return vlix::hist_peaks<PointI32>(*hist, peaks, maxima, minDist);
}
