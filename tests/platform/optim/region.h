// SPDX-License-Identifier: Apache-2.0
// Regions of pixels with a step, as the primitives take them: the last pixel ends at a protected page, and whatever
// lies between the rows must neither be counted nor written.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "support/generators.h"
#include "support/guarded_memory.h"
#include "vlix/types.h"

namespace vlix::test {

template <class Pixel>
class Region {
 public:
  Region(int32_t width, int32_t height, int32_t gap = 0)
      : size{width, height},
        step((width + gap) * static_cast<int32_t>(sizeof(Pixel))),
        stride_(static_cast<std::size_t>(width + gap)),
        memory_(height == 0 ? 0
                            : (stride_ * static_cast<std::size_t>(height - 1) + static_cast<std::size_t>(width)) *
                                  sizeof(Pixel)) {
    if (gap == 0) return;
    // Extremes between the rows show up in every result they enter.
    before_.resize(memory_.bytes() / sizeof(Pixel));
    constexpr int kBytes[] = {0x00, 0xFF, 0x7F};
    for (std::size_t i = 0; i < before_.size(); ++i) std::memset(&before_[i], kBytes[i % 3], sizeof(Pixel));
    std::memcpy(memory_.data(), before_.data(), memory_.bytes());
  }
  Region(int32_t width, int32_t height, int32_t gap, Fill fill, uint64_t seed) : Region(width, height, gap) {
    std::vector<Pixel> values(count());
    fill_with(values, fill, seed);
    assign(values);
  }
  Region(int32_t width, int32_t height, int32_t gap, const std::vector<Pixel>& values) : Region(width, height, gap) {
    assign(values);
  }

  std::size_t count() const { return static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height); }
  Pixel* data() const { return static_cast<Pixel*>(memory_.data()); }
  Pixel& at(int32_t x, int32_t y) const {
    return data()[static_cast<std::size_t>(y) * stride_ + static_cast<std::size_t>(x)];
  }

  // Row by row.
  void assign(const std::vector<Pixel>& values) {
    ASSERT_EQ(values.size(), count());
    std::size_t i = 0;
    for (int32_t y = 0; y < size.height; ++y) {
      for (int32_t x = 0; x < size.width; ++x) at(x, y) = values[i++];
    }
  }
  std::vector<Pixel> values() const {
    std::vector<Pixel> all;
    all.reserve(count());
    for (int32_t y = 0; y < size.height; ++y) {
      for (int32_t x = 0; x < size.width; ++x) all.push_back(at(x, y));
    }
    return all;
  }
  // Nothing between the rows has changed since construction.
  bool gaps_are_untouched() const {
    for (std::size_t i = 0; i < before_.size(); ++i) {
      if (i % stride_ >= static_cast<std::size_t>(size.width) &&
          std::memcmp(data() + i, &before_[i], sizeof(Pixel)) != 0) {
        return false;
      }
    }
    return true;
  }

  VlixSize size;
  int32_t step;

 private:
  std::size_t stride_;
  GuardedMemory memory_;
  std::vector<Pixel> before_;
};

// Calls test(width, height, gap) for all widths from 1 to two of the widest vectors and three, and some larger ones.
template <class Pixel, class Test>
void for_each_shape(Test test) {
  constexpr int32_t kWidestVector = 64 / static_cast<int32_t>(sizeof(Pixel));
  for (int32_t width = 1; width <= 2 * kWidestVector + 3; ++width) {
    test(width, 1, 0);
    test(width, 2, 0);
    test(width, 3, 1);
  }
  test(257, 5, 7);
  test(1000, 9, 0);
  test(4099, 3, 5);
}

}  // namespace vlix::test
