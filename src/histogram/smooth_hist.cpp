// SPDX-License-Identifier: Apache-2.0
// Moving average of a histogram, over a window given in units of its x.

#include <cmath>
#include <cstring>

#include "frame/convert.h"
#include "frame/output.h"
#include "frame/region.h"
#include "frame/report.h"
#include "frame/scratch.h"
#include "frame/wrap.h"
#include "histogram/moving_average.h"
#include "vlix/meas.h"

namespace vlix {
namespace {

// What differs between the float and the integer form; integer arithmetic wraps in 32 bits.
template <class Point>
struct Form;

template <>
struct Form<PointF32> {
  static constexpr ObjType kType = ObjType_PointF32;
  static float increment(const PointF32* points) { return points[1].x - points[0].x; }
  static VlixStatus report_increment(float dx) {
    return report("smoothHist: histogram increment error (dx = %f)\n", static_cast<double>(dx));
  }
  static VlixStatus report_width(float width, int32_t n, float dx) {
    return report("smoothHist: width %f, must be less than histogram range, %f\n", static_cast<double>(width),
                  static_cast<double>(static_cast<float>(n) * dx));
  }
};

template <>
struct Form<PointI32> {
  static constexpr ObjType kType = ObjType_PointI32;
  static int32_t increment(const PointI32* points) { return wrap_subtract(points[1].x, points[0].x); }
  static VlixStatus report_increment(int32_t dx) {
    return report("smoothHist: histogram increment error (dx = %d)\n", dx);
  }
  static VlixStatus report_width(float width, int32_t n, int32_t dx) {
    return report("smoothHist: width %f, must be less than histogram range, %d\n", static_cast<double>(width),
                  wrap_multiply(n, dx));
  }
};

// The odd number of elements that a width of `ratio` elements stands for; negative for a ratio of 0. Wraps in 32 bits:
// not-a-number gives the largest number.
int32_t window_length(float ratio) {
  const int32_t nearest = truncate_to_int32(std::floor(static_cast<double>(ratio) + 0.5));
  if (nearest % 2 != 0) return nearest;
  return wrap_add(nearest, ratio > static_cast<float>(nearest) ? 1 : -1);
}

// Checks the histogram and the width; on success `length` is the window's number of elements, at most hist.count.
template <class Point>
VlixStatus find_window(const VlixVector& hist, float width, int32_t& length) {
  const int32_t n = hist.count;
  // Two elements are enough in spite of the text; kept on purpose.
  if (n < 2) return report("smoothHist: vector size %d, must be > 2\n", n);
  const auto dx = Form<Point>::increment(elements<const Point>(hist));
  if (dx <= 0) return Form<Point>::report_increment(dx);
  length = window_length(width / static_cast<float>(dx));
  if (length > n) return Form<Point>::report_width(width, n, dx);
  return kSuccess;
}

template <class Point>
VlixStatus smooth_hist(const VlixVector& hist, VlixVector* smoothed, float width) {
  int32_t length = 0;
  if (const VlixStatus status = find_window<Point>(hist, width, length); status != kSuccess) return status;
  if (smoothed == nullptr) return kSuccess;

  const int32_t n = hist.count;
  if (!shape(smoothed, Form<Point>::kType, n, op::smoothHist)) return kVectorNotShaped;
  const auto* from = elements<const Point>(hist);
  auto* to = elements<Point>(*smoothed);
  if (length > 0) {
    moving_average(from, to, n, length);
  } else {
    std::memcpy(to, from, static_cast<std::size_t>(n) * sizeof(Point));
  }
  return kSuccess;
}

template <class Point>
VlixStatus smooth_hist_consume(VlixVector& hist, float width) {
  int32_t length = 0;
  if (const VlixStatus status = find_window<Point>(hist, width, length); status != kSuccess) return status;

  ScratchVector scratch(1);
  if (VlixVectorCopy(&hist, scratch.record()) == 0) return report("smoothHist: cannot copy vector\n");
  scratch.own();
  if (length > 0) {
    auto* points = elements<Point>(hist);
    moving_average(points, elements<Point>(*scratch), hist.count, length);
    std::memcpy(points, scratch->data, static_cast<std::size_t>(hist.count) * sizeof(Point));
  } else {
    // The copy of a histogram that stays as it is is never given back; kept on purpose.
    scratch.leak();
  }
  return kSuccess;
}

}  // namespace
}  // namespace vlix

extern "C" VlixStatus vlix_smoothHist(const VlixVector* hist, VlixVector* smoothed, float width) {
  return vlix::smooth_hist<PointF32>(*hist, smoothed, width);
}

extern "C" VlixStatus vlix_smoothHistInt(const VlixVector* hist, VlixVector* smoothed, float width) {
  return vlix::smooth_hist<PointI32>(*hist, smoothed, width);
}

extern "C" VlixStatus vlix_smoothHist_consume(VlixVector* hist, float width) {
  return vlix::smooth_hist_consume<PointF32>(*hist, width);
}

extern "C" VlixStatus vlix_smoothHistInt_consume(VlixVector* hist, float width) {
  return vlix::smooth_hist_consume<PointI32>(*hist, width);
}
