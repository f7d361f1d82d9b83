// SPDX-License-Identifier: Apache-2.0
#include "images/mapping.h"

#include <fmt/format.h>

#include "errors.h"
#include "vlix/types.h"

namespace {

const char* sample_name(VipsBandFormat format) {
  switch (format) {
    case VIPS_FORMAT_UCHAR: return "unsigned 8-bit samples";
    case VIPS_FORMAT_CHAR: return "signed 8-bit samples";
    case VIPS_FORMAT_USHORT: return "unsigned 16-bit samples";
    case VIPS_FORMAT_SHORT: return "signed 16-bit samples";
    case VIPS_FORMAT_UINT: return "unsigned 32-bit samples";
    case VIPS_FORMAT_INT: return "signed 32-bit samples";
    case VIPS_FORMAT_FLOAT: return "32-bit float samples";
    case VIPS_FORMAT_DOUBLE: return "64-bit float samples";
    case VIPS_FORMAT_COMPLEX:
    case VIPS_FORMAT_DPCOMPLEX: return "complex samples";
    default: return "samples of an unknown kind";
  }
}

std::string colour_name(const vips::VImage& image) {
  switch (image.interpretation()) {
    case VIPS_INTERPRETATION_CMYK: return "CMYK colour";
    case VIPS_INTERPRETATION_LAB:
    case VIPS_INTERPRETATION_LABQ:
    case VIPS_INTERPRETATION_LABS: return "L*a*b* colour";
    case VIPS_INTERPRETATION_XYZ: return "XYZ colour";
    default: break;
  }
  switch (image.bands()) {
    case 1: return "grey";
    case 2: return "grey with alpha";
    case 3: return "colour";
    case 4: return "colour with alpha";
    default: return fmt::format("{} channels", image.bands());
  }
}

uint32_t grey_type(VipsBandFormat format) {
  switch (format) {
    case VIPS_FORMAT_UCHAR: return ObjType_U8;
    case VIPS_FORMAT_CHAR: return ObjType_S8;
    case VIPS_FORMAT_USHORT: return ObjType_U16;
    case VIPS_FORMAT_SHORT: return ObjType_S16;
    case VIPS_FORMAT_FLOAT: return ObjType_F32;
    default: return 0;
  }
}

uint32_t colour_type(VipsBandFormat format) {
  switch (format) {
    case VIPS_FORMAT_UCHAR: return ObjType_Rgba8;
    case VIPS_FORMAT_USHORT: return ObjType_Colour39;
    default: return 0;
  }
}

bool is_rgb(const vips::VImage& image) {
  switch (image.interpretation()) {
    case VIPS_INTERPRETATION_sRGB:
    case VIPS_INTERPRETATION_RGB:
    case VIPS_INTERPRETATION_RGB16: return image.bands() == 3 || image.bands() == 4;
    case VIPS_INTERPRETATION_MULTIBAND: return image.bands() == 3;
    default: return false;
  }
}

}  // namespace

uint32_t mapped_type(const vips::VImage& image) {
  uint32_t type = 0;
  if (image.coding() == VIPS_CODING_NONE) {
    if (image.bands() == 1) type = grey_type(image.format());
    if (is_rgb(image)) type = colour_type(image.format());
  }
  if (type != 0) return type;
  throw FileError(
      fmt::format("{} with {} cannot be measured (8- and 16-bit grey, RGB and RGBA, and 32-bit float grey can)",
                  colour_name(image), sample_name(image.format())));
}

vips::VImage with_mapped_bands(const vips::VImage& image) {
  if (image.bands() != 3) return image;
  return image.bandjoin_const({image.format() == VIPS_FORMAT_UCHAR ? 255.0 : 65535.0});
}
