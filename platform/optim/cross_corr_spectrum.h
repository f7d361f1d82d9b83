// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <complex>
#include <cstddef>

namespace vlix::optim::cross_corr {

// Products of complex numbers. All three are aligned to 64 bytes.
void multiply(const std::complex<double>* a, const std::complex<double>* b, std::size_t count,
              std::complex<double>* product);

}  // namespace vlix::optim::cross_corr
