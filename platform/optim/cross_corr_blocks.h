// SPDX-License-Identifier: Apache-2.0
// Scores whose products come from Fourier transforms of blocks of the image (overlap-save).
#pragma once

#include "optim/cross_corr.h"

namespace vlix::optim::cross_corr {

struct BlockPlan {
  int32_t width = 0;  // of the transform; 0: there is none
  int32_t height = 0;
  double cost_ns = 0;
};

// The transform size that costs least. The cost of the scores themselves is left out.
BlockPlan plan_in_blocks(std::size_t tpl_width, std::size_t tpl_height, std::size_t score_width,
                         std::size_t score_height);

// Writes all scores. Throws std::bad_alloc.
template <class Pixel>
void score_in_blocks(const Problem<Pixel>& problem, const BlockPlan& plan);

extern template void score_in_blocks(const Problem<uint8_t>&, const BlockPlan&);
extern template void score_in_blocks(const Problem<uint16_t>&, const BlockPlan&);
extern template void score_in_blocks(const Problem<float>&, const BlockPlan&);

}  // namespace vlix::optim::cross_corr
