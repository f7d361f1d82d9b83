// SPDX-License-Identifier: Apache-2.0
// The loops of RealColumns around its transforms, as plain numbers: a complex number is two reals in a row.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vlix::fourier {

// Eight complex columns, one after the other.
template <class Real>
struct Pairs {
  Real* first;
  std::ptrdiff_t stride;  // reals from column to column
  int32_t length;         // complex numbers of a column
};

// Real columns j and j + 8 of each row become the parts of row y of complex column j.
template <class Real>
void put_rows(const Pairs<Real>& pairs, int32_t y, int32_t count, const Real* rows, std::ptrdiff_t stride);

// The reverse of put_rows.
template <class Real>
void get_rows(const Pairs<Real>& pairs, int32_t y, int32_t count, Real* rows, std::ptrdiff_t stride);

// From the spectra of eight complex columns to the half spectra of the sixteen real ones; stride in reals.
template <class Real>
void split(const Pairs<Real>& pairs, Real* half, std::ptrdiff_t stride);

// The reverse of split.
template <class Real>
void merge(const Real* half, std::ptrdiff_t stride, const Pairs<Real>& pairs);

}  // namespace vlix::fourier
