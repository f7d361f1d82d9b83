// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "optim/cross_corr.h"

namespace vlix::optim::cross_corr {

// Levels of float pixels between `low` and `high`. Subtracting the value nearest to zero never makes a magnitude
// larger.
Levels make_levels(float low, float high, bool finite);

// Of an image some of whose pixels are not finite.
Levels levels_of_finite_pixels(Rows<const float> source);

}  // namespace vlix::optim::cross_corr
