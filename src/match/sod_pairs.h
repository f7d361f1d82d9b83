// SPDX-License-Identifier: Apache-2.0
// Sums of absolute differences for every pair of monochrome pixel types.
#pragma once

#include <cstdint>

#include "frame/region.h"
#include "vlix/types.h"

namespace vlix {

// Scores every placement of a template, the first `template_size` pixels of the region of `templ`: scores(x, y) belongs
// to the patch of the target's region whose first pixel is (x, y). Does nothing for types that are not monochrome.
void sum_differences(const VlixImage& target, const VlixImage& templ, VlixSize template_size, Region<uint16_t> scores);

}  // namespace vlix
