// SPDX-License-Identifier: Apache-2.0
#include "optim/cross_corr_spectrum.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "optim/cross_corr_spectrum.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace vlix::optim::HWY_NAMESPACE {
namespace {

void multiply_interleaved(const double* HWY_RESTRICT a, const double* HWY_RESTRICT b, std::size_t count,
                          double* HWY_RESTRICT product) {
  for (std::size_t i = 0; i < count; ++i) {
    const double real = a[2 * i] * b[2 * i] - a[2 * i + 1] * b[2 * i + 1];
    const double imaginary = a[2 * i] * b[2 * i + 1] + a[2 * i + 1] * b[2 * i];
    product[2 * i] = real;
    product[2 * i + 1] = imaginary;
  }
}

}  // namespace
}  // namespace vlix::optim::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace vlix::optim {
namespace {
HWY_EXPORT(multiply_interleaved);
}

void cross_corr::multiply(const std::complex<double>* a, const std::complex<double>* b, std::size_t count,
                          std::complex<double>* product) {
  HWY_DYNAMIC_DISPATCH(multiply_interleaved)
  (reinterpret_cast<const double*>(a), reinterpret_cast<const double*>(b), count, reinterpret_cast<double*>(product));
}

}  // namespace vlix::optim
#endif
