// SPDX-License-Identifier: Apache-2.0
// Sample images as files.
#pragma once

#include <string>

#include "scenes.h"

namespace samples {

// Throws std::exception.
void write_image(const Sample& sample, const std::string& path);

// An empty text when the file holds exactly the pixels of the sample, else what is different.
std::string difference(const Sample& sample, const std::string& path);

}  // namespace samples
