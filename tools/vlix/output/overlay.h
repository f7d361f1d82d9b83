// SPDX-License-Identifier: Apache-2.0
// Drawings over a picture.
#ifndef VLIX_TOOL_OUTPUT_OVERLAY_H
#define VLIX_TOOL_OUTPUT_OVERLAY_H

#include "analysis/circle_gauge.h"
#include "records.h"

// The image as 8-bit colour; other pixels than U8 and Rgba8 are stretched from their least to their greatest value.
Image as_picture(const Image& image);

// A circle, its centre and its edge points, in colour.
void draw_circle(Image& picture, const GaugedCircle& circle);

#endif
