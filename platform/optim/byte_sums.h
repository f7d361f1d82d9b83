// SPDX-License-Identifier: Apache-2.0
// Exact sums of bytes and of their squares.
#pragma once

#include <cstdint>

#include "optim/rows.h"

namespace vlix::optim {

struct ByteSums {
  uint64_t sum = 0;
  uint64_t squares = 0;
};

// No address space holds enough pixels to overflow the 64-bit sums: 255^2 * 2^47 < 2^63.
static_assert((uint64_t{255} * 255) < (uint64_t{1} << (63 - 47)));

// Of the bytes xor `flip`; where has_byte_products().
ByteSums byte_sums_by_products(Rows<const uint8_t> rows, uint8_t flip);

}  // namespace vlix::optim
