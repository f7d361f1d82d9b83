// SPDX-License-Identifier: Apache-2.0
// Scores whose products are multiplied out.
#pragma once

#include "optim/cross_corr.h"

namespace vlix::optim::cross_corr {

enum class DirectKind { kBytes, kWords, kDoubles };

struct DirectPlan {
  DirectKind kind;
  double cost_ns;
};

// The fastest kernel for a problem of this size, with what it takes.
template <class Pixel>
DirectPlan plan_directly(std::size_t tpl_width, std::size_t tpl_height, std::size_t score_width,
                         std::size_t score_height);

// Writes all scores. Throws std::bad_alloc.
template <class Pixel>
void score_directly(const Problem<Pixel>& problem, DirectKind kind);

}  // namespace vlix::optim::cross_corr
