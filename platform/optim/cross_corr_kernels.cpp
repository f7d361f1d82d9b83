// SPDX-License-Identifier: Apache-2.0
#include "optim/cross_corr_kernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "optim/cross_corr_kernels.cpp"
#include <hwy/cache_control.h>
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "optim/cross_corr_load-inl.h"
#include "optim/unroll.h"

HWY_BEFORE_NAMESPACE();
namespace vlix::optim::HWY_NAMESPACE {
namespace {

using cross_corr::BlockJob;
using cross_corr::kBlockRows;
using cross_corr::KernelPlan;

// Sixteen registers hold 6 x 2 sums, an image vector or two and a weight; thirty-two hold 6 x 4.
constexpr std::size_t kVectors = HWY_TARGET == HWY_AVX3 ? 4 : 2;

struct DoubleOps {
  using D = hn::ScalableTag<double>;
  using Image = double;
  using Weight = double;
  using Vector = hn::Vec<D>;
  static constexpr std::size_t kLoads = kVectors;
  static constexpr std::size_t kStep = 1;
  static constexpr std::size_t kWidth = kLoads * hn::MaxLanes(D());

  static HWY_INLINE Vector load(const double* image, std::size_t i) {
    return hn::LoadU(D(), image + i * hn::Lanes(D()));
  }
  static HWY_INLINE Vector repeat(double weight) { return hn::Set(D(), weight); }
  static HWY_INLINE Vector multiply_add(Vector image, Vector weight, Vector sum) {
    return hn::MulAdd(image, weight, sum);
  }
  static HWY_INLINE Vector zero() { return hn::Zero(D()); }
  HWY_INLINE void store(const Vector (&sums)[kLoads], double* to) const {
    VLIX_UNROLL
    for (std::size_t i = 0; i < kLoads; ++i) hn::StoreU(sums[i], D(), to + i * hn::Lanes(D()));
  }
};

// Highway leaves open which products of words a lane adds up; on x86 it is those of neighbours, which is what counts
// here.
#undef VLIX_HAS_WORDS
#define VLIX_HAS_WORDS (HWY_ARCH_X86 && HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128)

#if VLIX_HAS_WORDS

struct WordOps {
  using D16 = hn::ScalableTag<int16_t>;
  using D32 = hn::ScalableTag<int32_t>;
  using Image = int16_t;
  using Weight = int32_t;
  using Vector = hn::Vec<D32>;
  // Lane j of an even load begins at word 2 j, of an odd one at word 2 j + 1: these are their placements.
  static constexpr std::size_t kLoads = kVectors;
  static constexpr std::size_t kStep = 2;
  static constexpr std::size_t kWidth = kLoads / 2 * hn::MaxLanes(D16());

  double scale;
  bool add;  // to what is there

  static HWY_INLINE Vector load(const int16_t* image, std::size_t i) {
    return hn::BitCast(D32(), hn::LoadU(D16(), image + i / 2 * hn::Lanes(D16()) + i % 2));
  }
  static HWY_INLINE Vector repeat(int32_t weight) { return hn::Set(D32(), weight); }
  static HWY_INLINE Vector multiply_add(Vector image, Vector weight, Vector sum) {
    Vector unused = hn::Zero(D32());
    return hn::ReorderWidenMulAccumulate(D32(), hn::BitCast(D16(), image), hn::BitCast(D16(), weight), sum, unused);
  }
  static HWY_INLINE Vector zero() { return hn::Zero(D32()); }
  HWY_INLINE void store(const Vector (&sums)[kLoads], double* to) const {
    HWY_ALIGN int32_t integers[kWidth];
    VLIX_UNROLL
    for (std::size_t i = 0; i < kLoads; i += 2) {
      hn::StoreInterleaved2(sums[i], sums[i + 1], D32(), integers + i / 2 * hn::Lanes(D16()));
    }
    if (add) {
      for (std::size_t x = 0; x < kWidth; ++x) to[x] += scale * integers[x];
    } else {
      for (std::size_t x = 0; x < kWidth; ++x) to[x] = scale * integers[x];
    }
  }
};

#endif

#include "optim/cross_corr_kernel.inc"

void correlate_doubles(const BlockJob<double, double>& job) { correlate_blocks(job, DoubleOps()); }

void correlate_words([[maybe_unused]] const BlockJob<int16_t, int32_t>& job, [[maybe_unused]] double scale,
                     [[maybe_unused]] bool add) {
#if VLIX_HAS_WORDS
  correlate_blocks(job, WordOps{scale, add});
#endif
}

// Products per nanosecond: measured, see docs/performance.md.
KernelPlan words_plan() {
#if VLIX_HAS_WORDS
  const double rate = HWY_TARGET == HWY_AVX3 ? 210 : HWY_TARGET == HWY_AVX2 ? 115 : 50;
  return {WordOps::kWidth, rate};
#else
  return {};
#endif
}

KernelPlan doubles_plan() {
  const double rate = HWY_TARGET == HWY_AVX3 ? 60 : HWY_TARGET == HWY_AVX2 ? 32 : VLIX_HAS_WORDS ? 12 : 6;
  return {DoubleOps::kWidth, rate};
}

// --- Image tiles as the kernels take them

void centre_row_8u(const uint8_t* from, std::size_t count, const cross_corr::Levels& levels, int16_t* to) {
  for (std::size_t x = 0; x < count; ++x)
    to[x] = static_cast<int16_t>(static_cast<uint8_t>(from[x] ^ levels.flip) - 128);
}

void centre_row_16u(const uint16_t* from, std::size_t count, const cross_corr::Levels&, int16_t* to) {
  for (std::size_t x = 0; x < count; ++x) to[x] = static_cast<int16_t>(from[x] - 32768);
}

template <class Loader, class Pixel>
void widen_row(const Pixel* from, std::size_t count, const cross_corr::Levels& levels, double* to) {
  const hn::ScalableTag<double> d;
  const std::size_t lanes = hn::Lanes(d);
  const Loader loader(levels);
  std::size_t x = 0;
  for (; x + lanes <= count; x += lanes) hn::StoreU(load_centred(d, from + x, loader), d, to + x);
  if (x < count) hn::StoreU(load_centred_part(d, from + x, count - x, loader), d, to + x);
}

void widen_row_8u(const uint8_t* from, std::size_t count, const cross_corr::Levels& levels, double* to) {
  widen_row<CentredLoader<uint8_t>>(from, count, levels, to);
}
void widen_row_16u(const uint16_t* from, std::size_t count, const cross_corr::Levels& levels, double* to) {
  widen_row<CentredLoader<uint16_t>>(from, count, levels, to);
}
void widen_row_32f(const float* from, std::size_t count, const cross_corr::Levels& levels, double* to) {
  if (levels.finite) return widen_row<RawFloatLoader>(from, count, levels, to);
  widen_row<CentredLoader<float>>(from, count, levels, to);
}

constexpr std::size_t kGroup = 16;

template <class Loader, class Pixel>
void widen_group(const Pixel* from, std::ptrdiff_t stride, std::size_t present, std::size_t rows,
                 const cross_corr::Levels& levels, double* to) {
  const hn::CappedTag<double, kGroup> d;
  const Loader loader(levels);
  for (std::size_t y = 0; y < rows; ++y, from += stride, to += kGroup) {
    // Rows lie too far apart for the processor to foresee the next group.
    hwy::Prefetch(from + kGroup);
    if (present == kGroup) {
      for (std::size_t x = 0; x < kGroup; x += hn::Lanes(d)) hn::Store(load_centred(d, from + x, loader), d, to + x);
    } else {
      for (std::size_t x = 0; x < kGroup; ++x) to[x] = x < present ? cross_corr::centred(from[x], levels) : 0.0;
    }
  }
}

void widen_group_8u(const uint8_t* from, std::ptrdiff_t stride, std::size_t present, std::size_t rows,
                    const cross_corr::Levels& levels, double* to) {
  widen_group<CentredLoader<uint8_t>>(from, stride, present, rows, levels, to);
}
void widen_group_16u(const uint16_t* from, std::ptrdiff_t stride, std::size_t present, std::size_t rows,
                     const cross_corr::Levels& levels, double* to) {
  widen_group<CentredLoader<uint16_t>>(from, stride, present, rows, levels, to);
}
void widen_group_32f(const float* from, std::ptrdiff_t stride, std::size_t present, std::size_t rows,
                     const cross_corr::Levels& levels, double* to) {
  if (levels.finite) return widen_group<RawFloatLoader>(from, stride, present, rows, levels, to);
  widen_group<CentredLoader<float>>(from, stride, present, rows, levels, to);
}

}  // namespace
}  // namespace vlix::optim::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace vlix::optim {
namespace {

HWY_EXPORT(correlate_doubles);
HWY_EXPORT(correlate_words);
HWY_EXPORT(words_plan);
HWY_EXPORT(doubles_plan);
HWY_EXPORT(centre_row_8u);
HWY_EXPORT(centre_row_16u);
HWY_EXPORT(widen_row_8u);
HWY_EXPORT(widen_row_16u);
HWY_EXPORT(widen_row_32f);
HWY_EXPORT(widen_group_8u);
HWY_EXPORT(widen_group_16u);
HWY_EXPORT(widen_group_32f);

}  // namespace

namespace cross_corr {

KernelPlan plan_of_words() { return HWY_DYNAMIC_DISPATCH(words_plan)(); }
KernelPlan plan_of_doubles() { return HWY_DYNAMIC_DISPATCH(doubles_plan)(); }

void correlate_words(const BlockJob<int16_t, int32_t>& job, double scale, bool add) {
  HWY_DYNAMIC_DISPATCH(correlate_words)(job, scale, add);
}
void correlate_doubles(const BlockJob<double, double>& job) { HWY_DYNAMIC_DISPATCH(correlate_doubles)(job); }

void fill_row(const uint8_t* from, std::size_t count, const Levels& levels, int16_t* to) {
  HWY_DYNAMIC_DISPATCH(centre_row_8u)(from, count, levels, to);
}
void fill_row(const uint16_t* from, std::size_t count, const Levels& levels, int16_t* to) {
  HWY_DYNAMIC_DISPATCH(centre_row_16u)(from, count, levels, to);
}
void fill_row(const uint8_t* from, std::size_t count, const Levels& levels, double* to) {
  HWY_DYNAMIC_DISPATCH(widen_row_8u)(from, count, levels, to);
}
void fill_row(const uint16_t* from, std::size_t count, const Levels& levels, double* to) {
  HWY_DYNAMIC_DISPATCH(widen_row_16u)(from, count, levels, to);
}
void fill_row(const float* from, std::size_t count, const Levels& levels, double* to) {
  HWY_DYNAMIC_DISPATCH(widen_row_32f)(from, count, levels, to);
}

void fill_group(const uint8_t* from, std::ptrdiff_t stride, std::size_t present, std::size_t rows, const Levels& levels,
                double* to) {
  HWY_DYNAMIC_DISPATCH(widen_group_8u)(from, stride, present, rows, levels, to);
}
void fill_group(const uint16_t* from, std::ptrdiff_t stride, std::size_t present, std::size_t rows,
                const Levels& levels, double* to) {
  HWY_DYNAMIC_DISPATCH(widen_group_16u)(from, stride, present, rows, levels, to);
}
void fill_group(const float* from, std::ptrdiff_t stride, std::size_t present, std::size_t rows, const Levels& levels,
                double* to) {
  HWY_DYNAMIC_DISPATCH(widen_group_32f)(from, stride, present, rows, levels, to);
}

}  // namespace cross_corr
}  // namespace vlix::optim
#endif
