// SPDX-License-Identifier: Apache-2.0
// Images: buffers, views, regions of interest.

#include <cinttypes>

#include "object/registry.h"
#include "object/report.h"
#include "object/shape.h"
#include "object/type_info.h"
#include "vlix/object.h"

namespace {

using namespace vlix::object;

void describe(VlixImage& image, int32_t type, void* data, int32_t width, int32_t height) {
  image = {static_cast<uint32_t>(type), data, width, height, 0, 0, width, height};
}

}  // namespace

int32_t VlixImageAlloc(VlixImage* image, int32_t type, int32_t width, int32_t height) {
  if (image == nullptr) return VLIX_STATUS_MESSAGE;
  *image = {};
  const auto bytes = image_bytes(type, width, height);
  if (!bytes) return VLIX_STATUS_MESSAGE;
  void* data = allocate_buffer(*bytes);
  if (data == nullptr) return VLIX_STATUS_OUT_OF_MEMORY;
  describe(*image, type, data, width, height);
  return 0;
}

void VlixImageRelease(VlixImage* image, int32_t /*flag*/) {
  if (image == nullptr) return;
  release_buffer(image->data);
  *image = {};
}

int32_t VlixImageTryUseReservedMem(VlixImage* image, int32_t type, int32_t width, int32_t height,
                                   const char* operation) {
  if (image == nullptr) return report_message("%s: no image record\n", operation);
  const auto bytes = image_bytes(type, width, height);
  if (!bytes) {
    return report_message("%s: cannot make an image of %d x %d pixels of type %s\n", operation, width, height,
                          type_info(type).name);
  }
  const int64_t described = image_bytes(static_cast<int32_t>(image->type), image->width, image->height).value_or(0);
  switch (fit(image->data, described, *bytes)) {
    case Fit::kRefuse:
      return report_message("%s: the image's own memory is too small for %d x %d pixels of type %s\n", operation, width,
                            height, type_info(type).name);
    case Fit::kReplace: {
      void* data = allocate_buffer(*bytes);
      if (data == nullptr) return report_out_of_memory(operation, *bytes);
      release_buffer(image->data);
      describe(*image, type, data, width, height);
      return 0;
    }
    case Fit::kReuse: describe(*image, type, image->data, width, height); return 0;
  }
  return VLIX_STATUS_MESSAGE;
}

int32_t VlixImageWrap(VlixImage* image, int32_t type, void* data, int32_t width, int32_t height) {
  if (image == nullptr || data == nullptr) return report_message("imageWrap: no image record or no memory\n");
  const auto bytes = image_bytes(type, width, height);
  if (!bytes) {
    return report_message("imageWrap: cannot make an image of %d x %d pixels of type %s\n", width, height,
                          type_info(type).name);
  }
  if (!register_view(data, *bytes)) return report_message("imageWrap: the memory is a buffer of this library\n");
  describe(*image, type, data, width, height);
  return 0;
}

int32_t VlixImageSetRoi(VlixImage* image, int32_t x, int32_t y, int32_t width, int32_t height) {
  if (image == nullptr) return report_message("imageSetRoi: no image record\n");
  const bool inside = x >= 0 && y >= 0 && width >= 1 && height >= 1 && int64_t{x} + width <= image->width &&
                      int64_t{y} + height <= image->height;
  if (!inside) {
    return report_message("imageSetRoi: region %d,%d,%d,%d lies outside the image of %d x %d pixels\n", x, y, width,
                          height, image->width, image->height);
  }
  image->roiX = x;
  image->roiY = y;
  image->roiWidth = width;
  image->roiHeight = height;
  return 0;
}

void VlixImageResetRoi(VlixImage* image) {
  if (image == nullptr) return;
  image->roiX = 0;
  image->roiY = 0;
  image->roiWidth = image->width;
  image->roiHeight = image->height;
}
