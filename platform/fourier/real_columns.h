// SPDX-License-Identifier: Apache-2.0
// Transforms of real columns, sixteen side by side. Two columns, eight apart, travel as the real and the imaginary part
// of one complex column, so that eight complex transforms serve all sixteen.
#pragma once

#include <complex>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "fourier/transform.h"
#include "memory/aligned_array.h"

namespace vlix::fourier {

template <class Real>
class RealColumns {
 public:
  using Complex = std::complex<Real>;
  static constexpr int32_t kColumns = 16;

  // Of columns of `length` reals. Throws std::bad_alloc.
  explicit RealColumns(int32_t length);

  int32_t length() const { return length_; }
  // Rows of a half spectrum: frequencies 0 .. length / 2; the others are their conjugates.
  int32_t half_length() const { return length_ / 2 + 1; }

  // Sets rows `first` to first + count - 1 of the sixteen columns.
  void put_rows(int32_t first, int32_t count, const Real* rows, std::ptrdiff_t stride);
  // Sets the rows from `first` on to zero.
  void clear_rows(int32_t first);
  // Half spectra of the columns: frequency k of column c becomes out[k * stride + c]. The rows put stay.
  void forward(Complex* out, std::ptrdiff_t stride);

  // The columns whose half spectra are in[k * stride + c], times the length. Of frequencies that are their own
  // conjugates the real part counts.
  void inverse(const Complex* in, std::ptrdiff_t stride);
  // Rows of the result of inverse().
  void get_rows(int32_t first, int32_t count, Real* rows, std::ptrdiff_t stride) const;

 private:
  static constexpr int32_t kPairs = kColumns / 2;

  Complex* in_pair(int32_t pair) { return in_.get() + pair * stride_; }
  Complex* out_pair(int32_t pair) { return out_.get() + pair * stride_; }

  int32_t length_;
  std::ptrdiff_t stride_;
  std::shared_ptr<const Transform<Real>> transform_;
  memory::AlignedArray<Complex> in_;
  memory::AlignedArray<Complex> out_;
};

extern template class RealColumns<float>;
extern template class RealColumns<double>;

}  // namespace vlix::fourier
