// SPDX-License-Identifier: Apache-2.0
// The one-dimensional Fourier transform that everything else is made of. What stands behind it is chosen when the
// platform is built: FFTW or KissFFT.
#pragma once

#include <complex>
#include <cstdint>
#include <memory>

namespace vlix::fourier {

// Transforms of a length, shared by all threads. Lengths in recent use are kept, each ready-made for both directions.
// Which algorithm serves a length depends on nothing but the length: results are the same on every thread and in every
// run.
template <class Real>
class Transform {
 public:
  using Complex = std::complex<Real>;

  // Null when there is no memory or `length` is below 1.
  static std::shared_ptr<const Transform> of(int32_t length) noexcept;

  virtual ~Transform() = default;
  Transform(const Transform&) = delete;
  Transform& operator=(const Transform&) = delete;

  // out[k] = sum of in[i] exp(-2 pi i k / length). Both are aligned to memory::kAlignment and do not overlap. May throw
  // std::bad_alloc.
  virtual void forward(const Complex* in, Complex* out) const = 0;
  // The same with exp(+2 pi i k / length); not divided by the length.
  virtual void inverse(const Complex* in, Complex* out) const = 0;

 protected:
  Transform() = default;
};

extern template class Transform<float>;
extern template class Transform<double>;

// The next length that transforms well: 4, 5 or 6 times a power of two, and a multiple of `unit`, which is a power of
// two. 0 when it does not fit 32 bits.
int32_t fast_length(int64_t at_least, int32_t unit = 1) noexcept;

// Nanoseconds of one transform of `length` double-precision numbers on the machine the cost rules were measured on.
double transform_cost(int32_t length) noexcept;

}  // namespace vlix::fourier
