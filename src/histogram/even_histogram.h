// SPDX-License-Identifier: Apache-2.0
// Evenly spaced integer bins, counted by a primitive.
#pragma once

#include <cstdint>

#include "vlix/types.h"

namespace vlix {

// One channel: `bins` bins over the values lo .. hi.
struct EvenChannel {
  PointI32* points;  // the bins; their y receive the counts
  int32_t bins;
  int32_t lo;
  int32_t hi;
};

// Counts one channel (U8, U16, S16) or three (Rgba8). A failure is reported and leaves the points as they are.
VlixStatus count_even(const VlixImage& image, const EvenChannel* channels, int32_t channel_count);

}  // namespace vlix
