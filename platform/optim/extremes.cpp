// SPDX-License-Identifier: Apache-2.0
// Smallest and largest pixel.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "optim/extremes.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <algorithm>
#include <limits>
#include <type_traits>

#include "optim/part-inl.h"
#include "optim/rows.h"
#include "vlix/optim.h"

#ifndef VLIX_OPTIM_EXTREMES
#define VLIX_OPTIM_EXTREMES
namespace vlix::optim {
template <class Pixel>
struct Extremes {
  Pixel min;
  Pixel max;
};
}  // namespace vlix::optim
#endif

HWY_BEFORE_NAMESPACE();
namespace vlix::optim::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR

// Sixteen columns side by side, which the compiler turns into the vectors that every processor has.
template <class Pixel>
Extremes<Pixel> extremes(Rows<const Pixel> rows) {
  constexpr std::size_t kColumns = 16;
  Pixel min[kColumns];
  Pixel max[kColumns];
  std::fill(min, min + kColumns, rows.first[0]);
  std::fill(max, max + kColumns, rows.first[0]);
  const auto add = [&](const Pixel* pixels, std::size_t count) {
    for (std::size_t k = 0; k < count; ++k) {
      min[k] = pixels[k] < min[k] ? pixels[k] : min[k];
      max[k] = pixels[k] > max[k] ? pixels[k] : max[k];
    }
  };
  for (std::size_t y = 0; y < rows.height; ++y) {
    const Pixel* row = rows.row(y);
    std::size_t x = 0;
    for (; x + kColumns <= rows.width; x += kColumns) add(row + x, kColumns);
    add(row + x, rows.width - x);
  }
  return {*std::min_element(min, min + kColumns), *std::max_element(max, max + kColumns)};
}

#else

// x < so_far ? x : so_far, and so_far also when either is not-a-number or both are zeros. The processor's minimum of
// two floats is just that; elsewhere it must be spelled out.
template <class D>
HWY_INLINE hn::Vec<D> lesser(D, hn::Vec<D> x, hn::Vec<D> so_far) {
#if HWY_ARCH_X86 && HWY_TARGET != HWY_EMU128
  return hn::Min(x, so_far);
#else
  return hn::IfThenElse(hn::Lt(x, so_far), x, so_far);
#endif
}
template <class D>
HWY_INLINE hn::Vec<D> greater(D, hn::Vec<D> x, hn::Vec<D> so_far) {
#if HWY_ARCH_X86 && HWY_TARGET != HWY_EMU128
  return hn::Max(x, so_far);
#else
  return hn::IfThenElse(hn::Gt(x, so_far), x, so_far);
#endif
}

// Running extremes, lane by lane.
template <class Pixel>
class Running {
 public:
  using D = hn::ScalableTag<Pixel>;
  using V = hn::Vec<D>;

  explicit Running(Pixel first) : min_(hn::Set(D(), first)), max_(hn::Set(D(), first)) {}

  HWY_INLINE void add(V pixels) {
    min_ = lesser(D(), pixels, min_);
    max_ = greater(D(), pixels, max_);
  }
  // Integer extremes that span their type cannot move any more.
  HWY_INLINE bool is_final() const {
    if constexpr (std::is_floating_point_v<Pixel>) return false;
    using Limits = std::numeric_limits<Pixel>;
    const D d;
    return !hn::AllFalse(d, hn::Eq(min_, hn::Set(d, Limits::min()))) &&
           !hn::AllFalse(d, hn::Eq(max_, hn::Set(d, Limits::max())));
  }
  Extremes<Pixel> over_lanes() const {
    const D d;
    HWY_ALIGN Pixel min[hn::MaxLanes(d)];
    HWY_ALIGN Pixel max[hn::MaxLanes(d)];
    hn::Store(min_, d, min);
    hn::Store(max_, d, max);
    Extremes<Pixel> found = {min[0], max[0]};
    for (const Pixel v : min) found.min = v < found.min ? v : found.min;
    for (const Pixel v : max) found.max = v > found.max ? v : found.max;
    return found;
  }
  void join(const Running& other) {
    min_ = lesser(D(), other.min_, min_);
    max_ = greater(D(), other.max_, max_);
  }

 private:
  V min_, max_;
};

// The first pixel starts every lane and fills up the last vector of a row: it never replaces what a lane has seen, so
// that a lane of not-a-numbers stays what it is only when the first pixel is one.
template <class Pixel>
Extremes<Pixel> extremes(Rows<const Pixel> rows) {
  const hn::ScalableTag<Pixel> d;
  const std::size_t lanes = hn::Lanes(d);
  constexpr std::size_t kPixelsPerBlock = 65536;
  constexpr std::size_t kPixelsPerLine = 64 / sizeof(Pixel);  // of the cache
  const Pixel first = rows.first[0];
  Running<Pixel> a(first);
  Running<Pixel> b(first);
  for (std::size_t y = rows.height; y-- > 0;) {
    const Pixel* row = rows.row(y);
    std::size_t start = rows.width;
    while (start > 0) {
      const std::size_t end = start;
      start = (start - 1) / kPixelsPerBlock * kPixelsPerBlock;
      std::size_t x = start;
      for (; x + 4 * lanes <= end; x += 4 * lanes) {
        for (std::size_t k = 0; k < 4 * lanes; k += kPixelsPerLine) read_ahead(row + x + k);
        a.add(hn::LoadU(d, row + x));
        b.add(hn::LoadU(d, row + x + lanes));
        a.add(hn::LoadU(d, row + x + 2 * lanes));
        b.add(hn::LoadU(d, row + x + 3 * lanes));
      }
      for (; x + lanes <= end; x += lanes) a.add(hn::LoadU(d, row + x));
      if (x < end) a.add(load_part(d, row + x, end - x, first));
      a.join(b);
      if (a.is_final()) return a.over_lanes();
    }
  }
  return a.over_lanes();
}

#endif

Extremes<uint8_t> extremes_8u(Rows<const uint8_t> rows) { return extremes(rows); }
Extremes<float> extremes_32f(Rows<const float> rows) { return extremes(rows); }

// The zero that comes first in memory: 0 and -0 compare equal, and the first one seen is the answer.
float first_zero(Rows<const float> rows) {
  const hn::ScalableTag<float> d;
  const std::size_t lanes = hn::Lanes(d);
  for (std::size_t y = 0; y < rows.height; ++y) {
    const float* row = rows.row(y);
    std::size_t x = 0;
    while (x + lanes <= rows.width && hn::AllFalse(d, hn::Eq(hn::LoadU(d, row + x), hn::Zero(d)))) x += lanes;
    for (std::size_t end = std::min(rows.width, x + lanes); x < end; ++x) {
      if (row[x] == 0.0f) return row[x];
    }
  }
  return 0.0f;
}

}  // namespace vlix::optim::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace vlix::optim {
namespace {

HWY_EXPORT(extremes_8u);
HWY_EXPORT(extremes_32f);
HWY_EXPORT(first_zero);

Extremes<uint8_t> find_extremes(Rows<const uint8_t> rows) { return HWY_DYNAMIC_DISPATCH(extremes_8u)(rows); }

Extremes<float> find_extremes(Rows<const float> rows) {
  Extremes<float> found = HWY_DYNAMIC_DISPATCH(extremes_32f)(rows);
  if (found.min != 0.0f && found.max != 0.0f) return found;
  const float zero = HWY_DYNAMIC_DISPATCH(first_zero)(rows);
  if (found.min == 0.0f) found.min = zero;
  if (found.max == 0.0f) found.max = zero;
  return found;
}

template <class Pixel>
int32_t min_max(const Pixel* src, int32_t step, VlixSize size, Pixel* min, Pixel* max) {
  if (!is_region(src, step, size)) return kRefused;
  if (min == nullptr && max == nullptr) return 0;
  const Extremes<Pixel> found = find_extremes(joined(Rows<const Pixel>(src, step, size)));
  if (min != nullptr) *min = found.min;
  if (max != nullptr) *max = found.max;
  return 0;
}

}  // namespace
}  // namespace vlix::optim

int32_t vlix_ippiMinMax_8u_C1R(const uint8_t* src, int32_t step, VlixSize size, uint8_t* min, uint8_t* max) {
  return vlix::optim::min_max(src, step, size, min, max);
}

int32_t vlix_ippiMinMax_32f_C1R(const float* src, int32_t step, VlixSize size, float* min, float* max) {
  return vlix::optim::min_max(src, step, size, min, max);
}
#endif
