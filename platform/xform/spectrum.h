// SPDX-License-Identifier: Apache-2.0
// Two-dimensional transforms between a real image and its full spectrum. Rows lie without padding.
#pragma once

#include <complex>
#include <cstdint>

namespace vlix::xform {

struct Grid {
  int32_t width;
  int32_t height;
};

// Grid widths of the forward transform are multiples of this.
inline constexpr int32_t kWidthUnit = 16;

// The spectrum of an image of `size`, continued by zeros to `grid`. Throws std::bad_alloc.
void forward(const float* image, Grid size, std::complex<float>* spectrum, Grid grid);

// The real part of the inverse of any spectrum, divided by the number of grid points. Throws std::bad_alloc.
void inverse(const std::complex<float>* spectrum, Grid grid, float* image);

}  // namespace vlix::xform
