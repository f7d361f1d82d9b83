// SPDX-License-Identifier: Apache-2.0
// What the examples of docs/numerics.md share.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "support/document.h"
#include "support/test_image.h"

namespace vlix::test {

inline Section section(const std::string& heading) {
  Section found("numerics.md", heading);
  EXPECT_TRUE(found.is_there()) << heading;
  return found;
}

template <class Pixel>
TestImage<Pixel> image_of(int32_t width, int32_t height, const std::vector<Pixel>& values) {
  TestImage<Pixel> image(width, height);
  image.assign(values);
  return image;
}

}  // namespace vlix::test
