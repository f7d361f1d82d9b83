// SPDX-License-Identifier: Apache-2.0
// Row and column sums of integer pixels, exact modulo 2^32.
#pragma once

#include <cstdint>

#include "frame/region.h"

namespace vlix {

// Adds the pixels to one sum per row and per column; either may be null. Signed sums are in two's complement.
template <class Pixel>
void add_projections(const Region<const Pixel>& region, uint32_t* rows, uint32_t* columns);

// The same for bytes, with 16-bit partial column sums in one heap block, without which the columns stay as they are.
void add_byte_projections(const Region<const uint8_t>& region, uint32_t* rows, uint32_t* columns);

}  // namespace vlix
