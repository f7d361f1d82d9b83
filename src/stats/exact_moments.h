// SPDX-License-Identifier: Apache-2.0
// Moments of integer pixels in exact integers.
#pragma once

#include "frame/region.h"
#include "stats/moments.h"

namespace vlix {

// What a double holds without rounding.
inline constexpr int64_t kExactInDouble = int64_t{1} << 53;

// Sets moments[channel], exactly; without `sums` the extremes alone.
//
// A running sum of squares only grows, and a sum is never further from 0 than it: where the sum of squares ends within
// 2^53, running sums in doubles do not round either and are the same, in whatever order. Returns false, with sums that
// are not to be used, where it does not.
//
// For formats of 8, 10 and 16 bits and regions of at least one pixel and less than 2^31.
template <class Format>
bool exact_moments(const Region<const typename Format::Pixel>& region, bool sums,
                   Moments (&moments)[Format::kChannels]);

}  // namespace vlix
