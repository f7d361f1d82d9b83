// SPDX-License-Identifier: Apache-2.0
// Which pixels of image files have a counterpart among the library's types.
#ifndef VLIX_TOOL_IMAGES_MAPPING_H
#define VLIX_TOOL_IMAGES_MAPPING_H

#include <cstdint>
#include <vips/vips8>

// The ObjType that takes the image's pixels: one band of 8- or 16-bit integers or 32-bit floats as it is, 8-bit RGB and
// RGBA as Rgba8, 16-bit RGB and RGBA as Colour39; alpha takes the place of the unused channel. Anything else is refused
// by name with a FileError.
uint32_t mapped_type(const vips::VImage& image);

// The image with as many bands as a pixel of its mapped type has channels, used or not.
vips::VImage with_mapped_bands(const vips::VImage& image);

#endif
