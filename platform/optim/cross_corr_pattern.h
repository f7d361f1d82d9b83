// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "optim/cross_corr.h"

namespace vlix::optim::cross_corr {

// Throws std::bad_alloc.
template <class Pixel>
Pattern make_pattern(Rows<const Pixel> tpl, const Levels& levels);

extern template Pattern make_pattern(Rows<const uint8_t>, const Levels&);
extern template Pattern make_pattern(Rows<const uint16_t>, const Levels&);
extern template Pattern make_pattern(Rows<const float>, const Levels&);

}  // namespace vlix::optim::cross_corr
