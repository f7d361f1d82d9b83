// SPDX-License-Identifier: Apache-2.0
#ifndef VLIX_TOOL_IMAGES_REFUSAL_H
#define VLIX_TOOL_IMAGES_REFUSAL_H

#include <string>

#include "images/image_files.h"

// One line that tells a user why a file cannot be read, made of what libvips reported about it.
std::string refusal(const ImageSource& source, const std::string& report);

#endif
