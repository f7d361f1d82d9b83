// SPDX-License-Identifier: Apache-2.0
// Float placements that sliding sums cannot decide.
#pragma once

#include "optim/cross_corr.h"

namespace vlix::optim::cross_corr {

// Stands for a score that is still to be found.
inline constexpr double kDoubtful = 2.0;

// A patch is in doubt where its sum of squared deviations is below this part of its sum of squares. Sliding sums are
// good to a few hundred roundings of 2^-53, some 5e-14: above the limit that is at most 2e-6 of the deviations and 1e-6
// of the score, in practice a hundredth of it. 2.5e-8 is a deviation of 1.6e-4 of the magnitude.
inline constexpr double kLeastRelativeDeviation = 2.5e-8;

// Score of the placement (x, y) from its own pixels.
using SingleScore = float (*)(const Problem<float>& problem, std::size_t x, std::size_t y);

// Gives patches that touch a pixel that is not finite the score 0, and doubtful ones their score. Throws
// std::bad_alloc.
void repair_tile(const Problem<float>& problem, const Tile& tile, SingleScore single_score);

}  // namespace vlix::optim::cross_corr
