// SPDX-License-Identifier: Apache-2.0
#include "fourier/pairs.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "fourier/pairs.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace vlix::fourier::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;
constexpr int32_t kPairs = 8;

// The frequency that is conjugate for reals.
int32_t opposite(int32_t k, int32_t length) { return k == 0 ? 0 : length - k; }

#if HWY_TARGET == HWY_SCALAR

template <class Real>
void put(const Pairs<Real>& pairs, int32_t y, int32_t count, const Real* rows, std::ptrdiff_t stride) {
  for (int32_t row = 0; row < count; ++row, rows += stride) {
    for (int32_t pair = 0; pair < kPairs; ++pair) {
      Real* to = pairs.first + pair * pairs.stride + 2 * (y + row);
      to[0] = rows[pair];
      to[1] = rows[pair + kPairs];
    }
  }
}

template <class Real>
void get(const Pairs<Real>& pairs, int32_t y, int32_t count, Real* rows, std::ptrdiff_t stride) {
  for (int32_t row = 0; row < count; ++row, rows += stride) {
    for (int32_t pair = 0; pair < kPairs; ++pair) {
      const Real* from = pairs.first + pair * pairs.stride + 2 * (y + row);
      rows[pair] = from[0];
      rows[pair + kPairs] = from[1];
    }
  }
}

template <class Real>
void split_rows(const Pairs<Real>& pairs, Real* half, std::ptrdiff_t stride) {
  for (int32_t k = 0; k <= pairs.length / 2; ++k, half += stride) {
    for (int32_t pair = 0; pair < kPairs; ++pair) {
      const Real* z = pairs.first + pair * pairs.stride + 2 * k;
      const Real* w = pairs.first + pair * pairs.stride + 2 * opposite(k, pairs.length);
      Real* a = half + 2 * pair;
      Real* b = half + 2 * (pair + kPairs);
      a[0] = (z[0] + w[0]) * Real(0.5);
      a[1] = (z[1] - w[1]) * Real(0.5);
      b[0] = (z[1] + w[1]) * Real(0.5);
      b[1] = (z[0] - w[0]) * Real(-0.5);
    }
  }
}

template <class Real>
void merge_rows(const Real* half, std::ptrdiff_t stride, const Pairs<Real>& pairs) {
  for (int32_t k = 0; k <= pairs.length / 2; ++k, half += stride) {
    for (int32_t pair = 0; pair < kPairs; ++pair) {
      const Real* a = half + 2 * pair;
      const Real* b = half + 2 * (pair + kPairs);
      Real* z = pairs.first + pair * pairs.stride + 2 * k;
      Real* w = pairs.first + pair * pairs.stride + 2 * opposite(k, pairs.length);
      const Real real = z == w ? a[0] : a[0] - b[1];
      const Real imaginary = z == w ? b[0] : b[0] + a[1];
      w[0] = a[0] + b[1];
      w[1] = b[0] - a[1];
      z[0] = real;
      z[1] = imaginary;
    }
  }
}

#else

// One complex number is two lanes. A vector holds that many of them, of as many columns.
template <class D>
constexpr std::ptrdiff_t kComplex = static_cast<std::ptrdiff_t>(hn::MaxLanes(D()) / 2);

// The same place of neighbouring columns, `apart` reals from one to the next.
template <class D, class Real>
HWY_INLINE hn::Vec<D> load_columns(D d, const Real* from, std::ptrdiff_t apart) {
  if constexpr (kComplex<D> == 1) {
    return hn::LoadU(d, from);
  } else {
    const hn::Half<D> half;
    return hn::Combine(d, load_columns(half, from + kComplex<decltype(half)> * apart, apart),
                       load_columns(half, from, apart));
  }
}

template <class D, class Real>
HWY_INLINE void store_columns(D d, hn::Vec<D> values, Real* to, std::ptrdiff_t apart) {
  if constexpr (kComplex<D> == 1) {
    hn::StoreU(values, d, to);
  } else {
    const hn::Half<D> half;
    store_columns(half, hn::LowerHalf(half, values), to, apart);
    store_columns(half, hn::UpperHalf(half, values), to + kComplex<decltype(half)> * apart, apart);
  }
}

template <class Real>
using Tag = hn::CappedTag<Real, 2 * kPairs>;
// Half a row of reals.
template <class Real>
using RowTag = hn::CappedTag<Real, kPairs>;

template <class Real>
void put(const Pairs<Real>& pairs, int32_t y, int32_t count, const Real* rows, std::ptrdiff_t stride) {
  // 128 bits: two or four reals, as many complex numbers in two vectors.
  const hn::FixedTag<Real, 16 / sizeof(Real)> d;
  constexpr std::ptrdiff_t kLanes = 16 / sizeof(Real);
  for (int32_t row = 0; row < count; ++row, rows += stride) {
    Real* to = pairs.first + 2 * (y + row);
    for (std::ptrdiff_t pair = 0; pair < kPairs; pair += kLanes) {
      const auto real = hn::LoadU(d, rows + pair);
      const auto imaginary = hn::LoadU(d, rows + pair + kPairs);
      store_columns(d, hn::InterleaveLower(d, real, imaginary), to + pair * pairs.stride, pairs.stride);
      store_columns(d, hn::InterleaveUpper(d, real, imaginary), to + (pair + kLanes / 2) * pairs.stride, pairs.stride);
    }
  }
}

template <class Real>
void get(const Pairs<Real>& pairs, int32_t y, int32_t count, Real* rows, std::ptrdiff_t stride) {
  const RowTag<Real> d;
  constexpr std::ptrdiff_t kLanes = hn::MaxLanes(d);
  for (int32_t row = 0; row < count; ++row, rows += stride) {
    const Real* from = pairs.first + 2 * (y + row);
    for (std::ptrdiff_t pair = 0; pair < kPairs; pair += kLanes) {
      const auto low = load_columns(d, from + pair * pairs.stride, pairs.stride);
      const auto high = load_columns(d, from + (pair + kLanes / 2) * pairs.stride, pairs.stride);
      hn::StoreU(hn::ConcatEven(d, high, low), d, rows + pair);
      hn::StoreU(hn::ConcatOdd(d, high, low), d, rows + pair + kPairs);
    }
  }
}

// +1 for real, -1 for imaginary parts, times `factor`.
template <class D, class Real>
HWY_INLINE hn::Vec<D> conjugating(D d, Real factor) {
  return hn::OddEven(hn::Set(d, -factor), hn::Set(d, factor));
}

// a + i b has the spectrum A + i B; the spectra of reals are conjugate at opposite frequencies, which tells A and B
// apart: with z there and w at the opposite, A = (z + conj w) / 2 and B = (z - conj w) / 2i.
template <class Real>
void split_rows(const Pairs<Real>& pairs, Real* half, std::ptrdiff_t stride) {
  const Tag<Real> d;
  const auto conjugate = conjugating(d, Real(1));
  const auto half_conjugate = conjugating(d, Real(0.5));
  const auto one_half = hn::Set(d, Real(0.5));
  for (int32_t k = 0; k <= pairs.length / 2; ++k, half += stride) {
    const Real* here = pairs.first + 2 * k;
    const Real* there = pairs.first + 2 * opposite(k, pairs.length);
    for (std::ptrdiff_t pair = 0; pair < kPairs; pair += kComplex<decltype(d)>) {
      const auto z = load_columns(d, here + pair * pairs.stride, pairs.stride);
      const auto w = hn::Mul(load_columns(d, there + pair * pairs.stride, pairs.stride), conjugate);
      const auto difference = hn::Sub(z, w);
      hn::StoreU(hn::Mul(hn::Add(z, w), one_half), d, half + 2 * pair);
      hn::StoreU(hn::Mul(hn::Reverse2(d, difference), half_conjugate), d, half + 2 * (pair + kPairs));
    }
  }
}

// z = A + i B, w = conj A + i conj B. Where a frequency is its own opposite, w is stored first and z on top: there A
// and B are real, and the imaginary parts they may have do not count.
template <class Real>
void merge_rows(const Real* half, std::ptrdiff_t stride, const Pairs<Real>& pairs) {
  const Tag<Real> d;
  const auto conjugate = conjugating(d, Real(1));
  for (int32_t k = 0; k <= pairs.length / 2; ++k, half += stride) {
    const int32_t mirrored = opposite(k, pairs.length);
    Real* here = pairs.first + 2 * k;
    Real* there = pairs.first + 2 * mirrored;
    for (std::ptrdiff_t pair = 0; pair < kPairs; pair += kComplex<decltype(d)>) {
      auto a = hn::LoadU(d, half + 2 * pair);
      auto b = hn::LoadU(d, half + 2 * (pair + kPairs));
      if (mirrored == k) {
        a = hn::OddEven(hn::Zero(d), a);
        b = hn::OddEven(hn::Zero(d), b);
      }
      const auto swapped = hn::Reverse2(d, b);
      store_columns(d, hn::Add(hn::Mul(a, conjugate), swapped), there + pair * pairs.stride, pairs.stride);
      store_columns(d, hn::Sub(a, hn::Mul(swapped, conjugate)), here + pair * pairs.stride, pairs.stride);
    }
  }
}

#endif

void put_float(const Pairs<float>& pairs, int32_t y, int32_t count, const float* rows, std::ptrdiff_t stride) {
  put(pairs, y, count, rows, stride);
}
void put_double(const Pairs<double>& pairs, int32_t y, int32_t count, const double* rows, std::ptrdiff_t stride) {
  put(pairs, y, count, rows, stride);
}
void get_float(const Pairs<float>& pairs, int32_t y, int32_t count, float* rows, std::ptrdiff_t stride) {
  get(pairs, y, count, rows, stride);
}
void get_double(const Pairs<double>& pairs, int32_t y, int32_t count, double* rows, std::ptrdiff_t stride) {
  get(pairs, y, count, rows, stride);
}
void split_float(const Pairs<float>& pairs, float* half, std::ptrdiff_t stride) { split_rows(pairs, half, stride); }
void split_double(const Pairs<double>& pairs, double* half, std::ptrdiff_t stride) { split_rows(pairs, half, stride); }
void merge_float(const float* half, std::ptrdiff_t stride, const Pairs<float>& pairs) {
  merge_rows(half, stride, pairs);
}
void merge_double(const double* half, std::ptrdiff_t stride, const Pairs<double>& pairs) {
  merge_rows(half, stride, pairs);
}

}  // namespace
}  // namespace vlix::fourier::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace vlix::fourier {
namespace {
HWY_EXPORT(put_float);
HWY_EXPORT(put_double);
HWY_EXPORT(get_float);
HWY_EXPORT(get_double);
HWY_EXPORT(split_float);
HWY_EXPORT(split_double);
HWY_EXPORT(merge_float);
HWY_EXPORT(merge_double);
}  // namespace

template <>
void put_rows(const Pairs<float>& pairs, int32_t y, int32_t count, const float* rows, std::ptrdiff_t stride) {
  HWY_DYNAMIC_DISPATCH(put_float)(pairs, y, count, rows, stride);
}
template <>
void put_rows(const Pairs<double>& pairs, int32_t y, int32_t count, const double* rows, std::ptrdiff_t stride) {
  HWY_DYNAMIC_DISPATCH(put_double)(pairs, y, count, rows, stride);
}
template <>
void get_rows(const Pairs<float>& pairs, int32_t y, int32_t count, float* rows, std::ptrdiff_t stride) {
  HWY_DYNAMIC_DISPATCH(get_float)(pairs, y, count, rows, stride);
}
template <>
void get_rows(const Pairs<double>& pairs, int32_t y, int32_t count, double* rows, std::ptrdiff_t stride) {
  HWY_DYNAMIC_DISPATCH(get_double)(pairs, y, count, rows, stride);
}
template <>
void split(const Pairs<float>& pairs, float* half, std::ptrdiff_t stride) {
  HWY_DYNAMIC_DISPATCH(split_float)(pairs, half, stride);
}
template <>
void split(const Pairs<double>& pairs, double* half, std::ptrdiff_t stride) {
  HWY_DYNAMIC_DISPATCH(split_double)(pairs, half, stride);
}
template <>
void merge(const float* half, std::ptrdiff_t stride, const Pairs<float>& pairs) {
  HWY_DYNAMIC_DISPATCH(merge_float)(half, stride, pairs);
}
template <>
void merge(const double* half, std::ptrdiff_t stride, const Pairs<double>& pairs) {
  HWY_DYNAMIC_DISPATCH(merge_double)(half, stride, pairs);
}

}  // namespace vlix::fourier
#endif
