// SPDX-License-Identifier: Apache-2.0
// A region of interest as a value; the one place where pixel addresses are computed.
#pragma once

#include <cstddef>
#include <cstdint>

#include "vlix/types.h"

namespace vlix {

template <class Pixel>
struct Region {
  Pixel* origin = nullptr;
  std::ptrdiff_t stride = 0;  // in elements
  int32_t width = 0;
  int32_t height = 0;

  Pixel* row(std::ptrdiff_t y) const { return origin + y * stride; }
  int32_t stride_bytes() const { return static_cast<int32_t>(stride * static_cast<std::ptrdiff_t>(sizeof(Pixel))); }
  int64_t pixels() const { return int64_t{width} * height; }
  bool is_contiguous() const { return stride == width; }
};

// Row y, column x of the whole image. Offsets are formed in 64 bits.
template <class Pixel>
Pixel* pixel_address(const VlixImage& image, std::ptrdiff_t x, std::ptrdiff_t y) {
  return static_cast<Pixel*>(image.data) + y * image.width + x;
}

// Region<const Pixel> for inputs, Region<Pixel> for outputs.
template <class Pixel>
Region<Pixel> region_of(const VlixImage& image) {
  return {pixel_address<Pixel>(image, image.roiX, image.roiY), image.width, image.roiWidth, image.roiHeight};
}

template <class Element>
Element* elements(const VlixVector& vector) {
  return static_cast<Element*>(vector.data);
}

}  // namespace vlix
