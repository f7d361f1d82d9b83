// SPDX-License-Identifier: Apache-2.0
// Row and column sums as running 32-bit floats.
#pragma once

#include "frame/region.h"

namespace vlix {

// Adds the pixels to one sum per row and per column in the order of rows and columns; either may be null. Float pixels
// lose their fraction first.
template <class Pixel>
void add_projections_in_order(const Region<const Pixel>& region, float* rows, float* columns);

}  // namespace vlix
