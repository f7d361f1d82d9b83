// SPDX-License-Identifier: Apache-2.0
// Owners of the library's records.
#ifndef VLIX_TOOL_RECORDS_H
#define VLIX_TOOL_RECORDS_H

#include <cstddef>
#include <span>
#include <utility>

#include "vlix/object.h"

class Image {
 public:
  Image() = default;
  Image(Image&& other) noexcept : record_(std::exchange(other.record_, {})) {}
  Image& operator=(Image&& other) noexcept {
    std::swap(record_, other.record_);
    return *this;
  }
  ~Image() { VlixImageRelease(&record_, 1); }

  VlixImage* record() { return &record_; }
  const VlixImage* record() const { return &record_; }
  uint32_t type() const { return record_.type; }
  int32_t width() const { return record_.roiWidth; }
  int32_t height() const { return record_.roiHeight; }

  // Row y of the region of interest; the images of this program have regions that start at column 0.
  template <class Pixel>
  const Pixel* row(int32_t y) const {
    return static_cast<const Pixel*>(record_.data) + static_cast<std::ptrdiff_t>(record_.width) * (record_.roiY + y);
  }

 private:
  VlixImage record_ = {};
};

class Vector {
 public:
  Vector() = default;
  Vector(Vector&& other) noexcept : record_(std::exchange(other.record_, {})) {}
  Vector& operator=(Vector&& other) noexcept {
    std::swap(record_, other.record_);
    return *this;
  }
  ~Vector() { VlixVectorRelease(&record_, 1); }

  VlixVector* record() { return &record_; }
  const VlixVector* record() const { return &record_; }

  template <class Element>
  std::span<const Element> elements() const {
    return {static_cast<const Element*>(record_.data), static_cast<std::size_t>(record_.count)};
  }
  template <class Element>
  std::span<Element> elements() {
    return {static_cast<Element*>(record_.data), static_cast<std::size_t>(record_.count)};
  }

 private:
  VlixVector record_ = {};
};

#endif
