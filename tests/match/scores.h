// SPDX-License-Identifier: Apache-2.0
// What the tests of the matching operations share.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "support/generators.h"
#include "support/test_image.h"

namespace vlix::test {

template <class Pixel>
std::vector<Pixel> region_values(const OutputImage& image) {
  std::vector<Pixel> values;
  for (int32_t y = 0; y < image.record.roiHeight; ++y) {
    for (int32_t x = 0; x < image.record.roiWidth; ++x) values.push_back(image.at<Pixel>(x, y));
  }
  return values;
}

// Calls visitor.operator()<Target, Template>() for all 25 pairs of monochrome types.
template <class Visitor>
void for_all_pairs(Visitor&& visitor) {
  const auto with_target = [&]<class Target>() {
    visitor.template operator()<Target, uint8_t>();
    visitor.template operator()<Target, int8_t>();
    visitor.template operator()<Target, uint16_t>();
    visitor.template operator()<Target, int16_t>();
    visitor.template operator()<Target, float>();
  };
  with_target.template operator()<uint8_t>();
  with_target.template operator()<int8_t>();
  with_target.template operator()<uint16_t>();
  with_target.template operator()<int16_t>();
  with_target.template operator()<float>();
}

// An image of which a region is used. The region's last row ends with the buffer when right and bottom are 0.
struct Frame {
  int32_t left = 0, top = 0, right = 0, bottom = 0;
};

template <class Pixel>
struct FramedImage : TestImage<Pixel> {
  FramedImage(int32_t width, int32_t height, Frame frame, Fill fill, uint64_t seed)
      : TestImage<Pixel>(frame.left + width + frame.right, frame.top + height + frame.bottom, fill, seed) {
    this->set_roi(frame.left, frame.top, width, height);
  }
};

}  // namespace vlix::test
