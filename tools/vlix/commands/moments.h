// SPDX-License-Identifier: Apache-2.0
#ifndef VLIX_TOOL_COMMANDS_MOMENTS_H
#define VLIX_TOOL_COMMANDS_MOMENTS_H

#include <array>

#include "records.h"

struct Moments {
  float mean, deviation, min, max;
};

// Throw FileError.
Moments grey_moments(const Image& image);
std::array<Moments, 3> colour_moments(const Image& image);

#endif
