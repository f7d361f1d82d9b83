// SPDX-License-Identifier: Apache-2.0
// Images and vectors for tests: the pixels live in guarded memory that ends right behind the last pixel, and the record
// points at them without the object library.
#pragma once

#include <cstddef>
#include <cstring>
#include <vector>

#include "support/generators.h"
#include "support/guarded_memory.h"
#include "support/types.h"
#include "vlix/object.h"

namespace vlix::test {

template <class Pixel>
class TestImage {
 public:
  TestImage(int32_t width, int32_t height)
      : memory_(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * sizeof(Pixel)),
        record{code_of<Pixel>(), memory_.data(), width, height, 0, 0, width, height} {
    if (memory_.bytes() > 0) std::memset(memory_.data(), 0, memory_.bytes());
  }
  TestImage(int32_t width, int32_t height, Fill fill, uint64_t seed) : TestImage(width, height) {
    std::vector<Pixel> values(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    fill_with(values, fill, seed);
    assign(values);
  }
  // The whole image is `width` x `height`; the region is what lies inside these margins.
  void set_roi(int32_t x, int32_t y, int32_t width, int32_t height) {
    record.roiX = x;
    record.roiY = y;
    record.roiWidth = width;
    record.roiHeight = height;
  }
  void assign(const std::vector<Pixel>& values) {
    if (!values.empty()) std::memcpy(memory_.data(), values.data(), values.size() * sizeof(Pixel));
  }
  Pixel* data() { return static_cast<Pixel*>(memory_.data()); }
  // Whole-image coordinates.
  Pixel& at(int32_t x, int32_t y) { return data()[static_cast<std::ptrdiff_t>(y) * record.width + x]; }
  // Coordinates relative to the region of interest.
  Pixel& roi_at(int32_t x, int32_t y) { return at(record.roiX + x, record.roiY + y); }

 private:
  GuardedMemory memory_;

 public:
  VlixImage record;
};

template <class Element>
class TestVector {
 public:
  explicit TestVector(const std::vector<Element>& values)
      : memory_(values.size() * sizeof(Element)),
        record{code_of<Element>(), memory_.data(), static_cast<int32_t>(values.size()), 0} {
    if (!values.empty()) std::memcpy(memory_.data(), values.data(), memory_.bytes());
  }
  Element* data() { return static_cast<Element*>(memory_.data()); }

 private:
  GuardedMemory memory_;

 public:
  VlixVector record;
};

// An output record that starts empty and is released at the end.
class OutputVector {
 public:
  OutputVector() = default;
  OutputVector(const OutputVector&) = delete;
  OutputVector& operator=(const OutputVector&) = delete;
  ~OutputVector() { VlixVectorRelease(&record, 0); }
  template <class Element>
  std::vector<Element> values() const {
    const auto* first = static_cast<const Element*>(record.data);
    return first == nullptr ? std::vector<Element>() : std::vector<Element>(first, first + record.count);
  }
  VlixVector record = {};
};

class OutputImage {
 public:
  OutputImage() = default;
  OutputImage(const OutputImage&) = delete;
  OutputImage& operator=(const OutputImage&) = delete;
  ~OutputImage() { VlixImageRelease(&record, 0); }
  template <class Pixel>
  Pixel at(int32_t x, int32_t y) const {
    return static_cast<const Pixel*>(
        record.data)[static_cast<std::ptrdiff_t>(record.roiY + y) * record.width + record.roiX + x];
  }
  VlixImage record = {};
};

// Sets the process-wide level for a scope.
class LevelScope {
 public:
  explicit LevelScope(int32_t level) : before_(VlixOptimGetLevel()) { VlixOptimSetLevel(level); }
  ~LevelScope() { VlixOptimSetLevel(before_); }
  LevelScope(const LevelScope&) = delete;
  LevelScope& operator=(const LevelScope&) = delete;

 private:
  int32_t before_;
};

}  // namespace vlix::test
