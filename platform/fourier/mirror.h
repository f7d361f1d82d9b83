// SPDX-License-Identifier: Apache-2.0
// Rows of full spectra and the rows of opposite frequencies: x and (width - x) modulo width.
#pragma once

#include <complex>
#include <cstddef>

namespace vlix::fourier {

// opposite[-x] = conj row[x]
void mirror_row(const std::complex<float>* row, std::size_t width, std::complex<float>* opposite);

// out[x] = (row[x] + conj opposite[-x]) factor: twice the Hermitian part.
void hermitian_row(const std::complex<float>* row, const std::complex<float>* opposite, std::size_t width, float factor,
                   std::complex<float>* out);

}  // namespace vlix::fourier
