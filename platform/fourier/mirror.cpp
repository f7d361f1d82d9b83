// SPDX-License-Identifier: Apache-2.0
#include "fourier/mirror.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "fourier/mirror.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <cstdint>
#include <type_traits>

HWY_BEFORE_NAMESPACE();
namespace vlix::fourier::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;
using Complex = std::complex<float>;

#if HWY_TARGET == HWY_SCALAR

void mirror(const Complex* row, std::size_t width, Complex* opposite) {
  opposite[0] = std::conj(row[0]);
  for (std::size_t x = 1; x < width; ++x) opposite[x] = std::conj(row[width - x]);
}

void hermitian(const Complex* row, const Complex* opposite, std::size_t width, float factor, Complex* out) {
  out[0] = (row[0] + std::conj(opposite[0])) * factor;
  for (std::size_t x = 1; x < width; ++x) out[x] = (row[x] + std::conj(opposite[width - x])) * factor;
}

#else

// Complex numbers as lanes of 64 bits; the imaginary part's sign is the highest bit.
using D = hn::ScalableTag<uint64_t>;

template <class Float>
auto* bits_of(Float* values) {
  return reinterpret_cast<std::conditional_t<std::is_const_v<Float>, const uint64_t, uint64_t>*>(values);
}

// The conjugates of values[last], values[last - 1], ...
HWY_INLINE hn::Vec<D> reversed_conjugates(D d, const Complex* values, std::size_t last) {
  const auto reversed = hn::Reverse(d, hn::LoadU(d, bits_of(values + last + 1 - hn::Lanes(d))));
  return hn::Xor(reversed, hn::Set(d, uint64_t{1} << 63));
}

void mirror(const Complex* row, std::size_t width, Complex* opposite) {
  const D d;
  opposite[0] = std::conj(row[0]);
  std::size_t x = 1;
  for (; x + hn::Lanes(d) <= width; x += hn::Lanes(d)) {
    hn::StoreU(reversed_conjugates(d, row, width - x), d, bits_of(opposite + x));
  }
  for (; x < width; ++x) opposite[x] = std::conj(row[width - x]);
}

void hermitian(const Complex* row, const Complex* opposite, std::size_t width, float factor, Complex* out) {
  const D d;
  const hn::Repartition<float, D> parts;
  const auto scale = hn::Set(parts, factor);
  out[0] = (row[0] + std::conj(opposite[0])) * factor;
  std::size_t x = 1;
  for (; x + hn::Lanes(d) <= width; x += hn::Lanes(d)) {
    const auto here = hn::BitCast(parts, hn::LoadU(d, bits_of(row + x)));
    const auto there = hn::BitCast(parts, reversed_conjugates(d, opposite, width - x));
    hn::StoreU(hn::BitCast(d, hn::Mul(hn::Add(here, there), scale)), d, bits_of(out + x));
  }
  for (; x < width; ++x) out[x] = (row[x] + std::conj(opposite[width - x])) * factor;
}

#endif

}  // namespace
}  // namespace vlix::fourier::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace vlix::fourier {
namespace {
HWY_EXPORT(mirror);
HWY_EXPORT(hermitian);
}  // namespace

void mirror_row(const std::complex<float>* row, std::size_t width, std::complex<float>* opposite) {
  HWY_DYNAMIC_DISPATCH(mirror)(row, width, opposite);
}

void hermitian_row(const std::complex<float>* row, const std::complex<float>* opposite, std::size_t width, float factor,
                   std::complex<float>* out) {
  HWY_DYNAMIC_DISPATCH(hermitian)(row, opposite, width, factor, out);
}

}  // namespace vlix::fourier
#endif
