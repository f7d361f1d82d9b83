// SPDX-License-Identifier: Apache-2.0
// Image files made out of bytes, as they come from standard input: an image or one FileError, whatever the bytes are.
// The first byte chooses whether a region is asked for.
#include <cstdint>
#include <string>

#include "errors.h"
#include "images/image_files.h"

extern "C" ImageFiles* vlix_image_files();

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  static ImageFiles* const files = vlix_image_files();
  if (size < 2) return 0;
  ImageSource source;
  source.bytes.assign(reinterpret_cast<const char*>(data + 1), size - 1);
  ReadRequest request;
  request.byte_limit = uint64_t{1} << 24;
  if (data[0] % 2 == 1) request.region = Rect{data[0] / 64, data[0] / 32, 1 + data[0] / 16, 1 + data[0] / 8};
  try {
    const ImageHeader header = files->header(source);
    Image image;
    files->read(source, request, image);
    const bool whole = !request.region;
    const int32_t width = whole ? header.width : request.region->width;
    const int32_t height = whole ? header.height : request.region->height;
    if (image.type() != header.type || image.width() != width || image.height() != height) __builtin_trap();
  } catch (const FileError& error) {
    if (std::string(error.what()).find('\n') != std::string::npos) __builtin_trap();
  }
  return 0;
}
