// SPDX-License-Identifier: Apache-2.0
// Reports that the histograms of images share.
#pragma once

namespace vlix::histogram_text {

inline constexpr const char* kColour = "histogram: not supported for color images\n";
inline constexpr const char* kBins = "histogram: invalid number of bins, must be greater than 0\n";
// With two doubles from the float histogram and with two 32-bit integers, as they stand, from the integer ones; kept on
// purpose.
inline constexpr const char* kRange = "histogram: invalid value range %g..%g\n";
inline constexpr const char* kDivisor = "histogram: invalid number of bins, must be a divisor of %d\n";

}  // namespace vlix::histogram_text
