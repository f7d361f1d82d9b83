// SPDX-License-Identifier: Apache-2.0
// Values of an image at real-valued positions, in image coordinates. No kernel checks bounds: the position lies inside
// the image.
#pragma once

#include <cstdint>

#include "vlix/types.h"

namespace vlix {

inline constexpr int32_t kNearest = 0;
inline constexpr int32_t kBilinear = 1;

using GreyKernel = float (*)(const VlixImage& image, float x, float y);
// Steps around pixels that hold the invalid value.
using InvalidAwareKernel = float (*)(const VlixImage& image, float x, float y, const VlixInvalidValue& invalid);
// result[k] is channel k, byte k of the pixel.
using ColourKernel = void (*)(float (&result)[3], const VlixImage& image, float x, float y);
// Many positions at once; each result is that of the grey kernel.
using GreyRunKernel = void (*)(const VlixImage& image, const float* x, const float* y, int32_t count, float* results);

// The table of kernels: null for a type that has none. Any mode but bilinear means nearest.
GreyKernel grey_kernel(uint32_t type, int32_t mode);
InvalidAwareKernel invalid_aware_kernel(uint32_t type, int32_t mode);
ColourKernel colour_kernel(int32_t mode);
GreyRunKernel grey_run_kernel(uint32_t type, int32_t mode);

}  // namespace vlix
