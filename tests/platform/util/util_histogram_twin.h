// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <vector>

#include "vlix/types.h"

namespace vlix::test {

// Pixels per bin, one pixel at a time: the bin with the greatest start that is not above the value, the first of those
// that start there, the last one for the top edge. `starts` are the x of a histogram.
template <class Pixel>
std::vector<uint64_t> histogram_twin(const VlixImage& image, const std::vector<float>& starts, float lo, float hi) {
  std::vector<uint64_t> counts(starts.size());
  for (int32_t y = image.roiY; y < image.roiY + image.roiHeight; ++y) {
    for (int32_t x = image.roiX; x < image.roiX + image.roiWidth; ++x) {
      const auto value = static_cast<float>(static_cast<const Pixel*>(image.data)[int64_t{y} * image.width + x]);
      if (!(value >= lo) || !(value <= hi)) continue;
      std::size_t bin = 0;
      for (std::size_t i = 1; i < starts.size(); ++i) {
        if (starts[i] <= value && starts[i] > starts[bin]) bin = i;
      }
      counts[value == hi ? starts.size() - 1 : bin] += 1;
    }
  }
  return counts;
}

}  // namespace vlix::test
