// SPDX-License-Identifier: Apache-2.0
#include "fourier/real_columns.h"

#include <algorithm>

namespace vlix::fourier {
namespace {

// Whole cache lines, and an odd number of them: lengths are powers of two all too often, and columns that lie such a
// distance apart would share a few sets of the cache.
template <class Complex>
std::ptrdiff_t padded(int32_t length) {
  constexpr std::ptrdiff_t kLine = kAlignment / sizeof(Complex);
  const std::ptrdiff_t lines = (length + kLine - 1) / kLine;
  return (lines | 1) * kLine;
}

template <class Real>
std::complex<Real> times_i(std::complex<Real> z) {
  return {-z.imag(), z.real()};
}

template <class Real>
std::complex<Real> halved_over_i(std::complex<Real> z) {
  return {z.imag() * Real(0.5), z.real() * Real(-0.5)};
}

}  // namespace

template <class Real>
RealColumns<Real>::RealColumns(int32_t length)
    : length_(length), stride_(padded<Complex>(length)), transform_(Transform<Real>::of(length)) {
  if (transform_ == nullptr) throw std::bad_alloc();
  in_ = aligned_array<Complex>(static_cast<std::size_t>(kPairs * stride_));
  out_ = aligned_array<Complex>(static_cast<std::size_t>(kPairs * stride_));
}

template <class Real>
void RealColumns<Real>::clear_rows(int32_t first) {
  for (int32_t pair = 0; pair < kPairs; ++pair) std::fill(in_pair(pair) + first, in_pair(pair) + length_, Complex());
}

template <class Real>
void RealColumns<Real>::forward(Complex* out, std::ptrdiff_t stride) {
  for (int32_t pair = 0; pair < kPairs; ++pair) transform_->forward(in_pair(pair), out_pair(pair));
  // a + i b has the spectrum A + i B; the spectra of reals are conjugate at k and -k, which tells A and B apart.
  for (int32_t k = 0; k < half_length(); ++k) {
    const int32_t mirrored = k == 0 ? 0 : length_ - k;
    Complex* row = out + k * stride;
    for (int32_t pair = 0; pair < kPairs; ++pair) {
      const Complex z = out_pair(pair)[k];
      const Complex w = std::conj(out_pair(pair)[mirrored]);
      row[2 * pair] = (z + w) * Real(0.5);
      row[2 * pair + 1] = halved_over_i(z - w);
    }
  }
}

template <class Real>
void RealColumns<Real>::inverse(const Complex* in, std::ptrdiff_t stride) {
  for (int32_t k = 0; k < half_length(); ++k) {
    const int32_t mirrored = k == 0 ? 0 : length_ - k;
    const Complex* row = in + k * stride;
    for (int32_t pair = 0; pair < kPairs; ++pair) {
      const Complex a = row[2 * pair];
      const Complex b = row[2 * pair + 1];
      in_pair(pair)[mirrored] = std::conj(a) + times_i(std::conj(b));
      in_pair(pair)[k] = mirrored == k ? Complex(a.real(), b.real()) : a + times_i(b);
    }
  }
  for (int32_t pair = 0; pair < kPairs; ++pair) transform_->inverse(in_pair(pair), out_pair(pair));
}

template class RealColumns<float>;
template class RealColumns<double>;

}  // namespace vlix::fourier
