// SPDX-License-Identifier: Apache-2.0
// Counting the pixels of a region into bins.
#pragma once

#include <cstdint>
#include <vector>

#include "util/bins.h"
#include "vlix/types.h"

namespace vlix::util {

// Pixels per bin. Not-a-number and values outside the range are left out. Throws std::bad_alloc.
// The image is monochrome; see is_countable.
std::vector<uint64_t> tally(const VlixImage& image, const Bins& bins);

// True for the five monochrome types.
bool is_countable(uint32_t type) noexcept;

}  // namespace vlix::util
