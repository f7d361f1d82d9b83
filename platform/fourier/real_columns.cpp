// SPDX-License-Identifier: Apache-2.0
#include "fourier/real_columns.h"

#include <algorithm>
#include <new>

#include "fourier/pairs.h"

namespace vlix::fourier {
namespace {

// Whole cache lines, and an odd number of them: lengths are powers of two all too often, and columns that lie such a
// distance apart would share a few sets of the cache.
template <class Complex>
std::ptrdiff_t padded(int32_t length) {
  constexpr std::ptrdiff_t kLine = memory::kAlignment / sizeof(Complex);
  const std::ptrdiff_t lines = (length + kLine - 1) / kLine;
  return (lines | 1) * kLine;
}

template <class Real>
Pairs<Real> as_pairs(std::complex<Real>* first, std::ptrdiff_t stride, int32_t length) {
  return {reinterpret_cast<Real*>(first), 2 * stride, length};
}

}  // namespace

template <class Real>
RealColumns<Real>::RealColumns(int32_t length)
    : length_(length), stride_(padded<Complex>(length)), transform_(Transform<Real>::of(length)) {
  if (transform_ == nullptr) throw std::bad_alloc();
  in_ = memory::aligned_array<Complex>(static_cast<std::size_t>(kPairs * stride_));
  out_ = memory::aligned_array<Complex>(static_cast<std::size_t>(kPairs * stride_));
}

template <class Real>
void RealColumns<Real>::put_rows(int32_t first, int32_t count, const Real* rows, std::ptrdiff_t stride) {
  fourier::put_rows(as_pairs(in_.get(), stride_, length_), first, count, rows, stride);
}

template <class Real>
void RealColumns<Real>::clear_rows(int32_t first) {
  for (int32_t pair = 0; pair < kPairs; ++pair) std::fill(in_pair(pair) + first, in_pair(pair) + length_, Complex());
}

template <class Real>
void RealColumns<Real>::forward(Complex* out, std::ptrdiff_t stride) {
  for (int32_t pair = 0; pair < kPairs; ++pair) transform_->forward(in_pair(pair), out_pair(pair));
  split(as_pairs(out_.get(), stride_, length_), reinterpret_cast<Real*>(out), 2 * stride);
}

template <class Real>
void RealColumns<Real>::inverse(const Complex* in, std::ptrdiff_t stride) {
  merge(reinterpret_cast<const Real*>(in), 2 * stride, as_pairs(in_.get(), stride_, length_));
  for (int32_t pair = 0; pair < kPairs; ++pair) transform_->inverse(in_pair(pair), out_pair(pair));
}

template <class Real>
void RealColumns<Real>::get_rows(int32_t first, int32_t count, Real* rows, std::ptrdiff_t stride) const {
  fourier::get_rows(as_pairs(out_.get(), stride_, length_), first, count, rows, stride);
}

template class RealColumns<float>;
template class RealColumns<double>;

}  // namespace vlix::fourier
