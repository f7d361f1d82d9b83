// SPDX-License-Identifier: Apache-2.0
// Absolute differences, pixel by pixel.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "optim/abs_diff.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "optim/part-inl.h"
#include "optim/rows.h"
#include "vlix/optim.h"

HWY_BEFORE_NAMESPACE();
namespace vlix::optim::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR

// dst may be a or b.
void abs_diff_row(const uint8_t* a, const uint8_t* b, uint8_t* dst, std::size_t width) {
  for (std::size_t x = 0; x < width; ++x) {
    dst[x] = static_cast<uint8_t>(a[x] > b[x] ? a[x] - b[x] : b[x] - a[x]);
  }
}

#else

template <class V>
HWY_INLINE V abs_diff(V a, V b) {
  return hn::Or(hn::SaturatedSub(a, b), hn::SaturatedSub(b, a));
}

// Each vector is loaded before it is stored, so that dst may be a or b.
void abs_diff_row(const uint8_t* a, const uint8_t* b, uint8_t* dst, std::size_t width) {
  const hn::ScalableTag<uint8_t> d;
  const std::size_t lanes = hn::Lanes(d);
  std::size_t x = 0;
  for (; x + lanes <= width; x += lanes) {
    hn::StoreU(abs_diff(hn::LoadU(d, a + x), hn::LoadU(d, b + x)), d, dst + x);
  }
  const std::size_t rest = width - x;
  if (rest == 0) return;
  const auto difference = abs_diff(load_part(d, a + x, rest, uint8_t{0}), load_part(d, b + x, rest, uint8_t{0}));
  store_part(difference, d, dst + x, rest);
}

#endif

void abs_diff_rows(Rows<const uint8_t> a, Rows<const uint8_t> b, Rows<uint8_t> dst) {
  for (std::size_t y = 0; y < dst.height; ++y) abs_diff_row(a.row(y), b.row(y), dst.row(y), dst.width);
}

}  // namespace vlix::optim::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace vlix::optim {
HWY_EXPORT(abs_diff_rows);
}

int32_t vlix_ippiAbsDiff_8u_C1R(const uint8_t* a, int32_t aStep, const uint8_t* b, int32_t bStep, uint8_t* dst,
                                int32_t dstStep, VlixSize size) {
  using namespace vlix::optim;
  if (!is_region(a, aStep, size) || !is_region(b, bStep, size) || !is_region(dst, dstStep, size)) return kRefused;
  Rows<const uint8_t> from_a(a, aStep, size);
  Rows<const uint8_t> from_b(b, bStep, size);
  Rows<uint8_t> to(dst, dstStep, size);
  const bool gapless = from_a.is_gapless() && from_b.is_gapless() && to.is_gapless();
  HWY_DYNAMIC_DISPATCH(abs_diff_rows)(from_a, from_b, gapless ? joined(to) : to);
  return 0;
}
#endif
