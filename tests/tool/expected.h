// SPDX-License-Identifier: Apache-2.0
// Independent computations on pictures.
#ifndef VLIX_TESTS_TOOL_EXPECTED_H
#define VLIX_TESTS_TOOL_EXPECTED_H

#include <algorithm>
#include <cmath>

#include "picture.h"

struct Box {
  int x, y, width, height;
};

inline Box whole(const Picture& picture) { return {0, 0, picture.width, picture.height}; }

struct ExpectedMoments {
  double mean = 0, deviation = 0, min = INFINITY, max = -INFINITY;
};

// Two passes in long double.
inline ExpectedMoments moments_of(const Picture& picture, const Box& box, int channel = 0) {
  ExpectedMoments moments;
  const long double count = static_cast<long double>(box.width) * box.height;
  long double sum = 0, squares = 0;
  const auto each = [&](auto&& use) {
    for (int y = box.y; y < box.y + box.height; ++y) {
      for (int x = box.x; x < box.x + box.width; ++x) use(picture.at(x, y, channel));
    }
  };
  each([&](double v) {
    sum += static_cast<long double>(v);
    moments.min = std::min(moments.min, v);
    moments.max = std::max(moments.max, v);
  });
  const long double mean = sum / count;
  each([&](double v) { squares += (static_cast<long double>(v) - mean) * (static_cast<long double>(v) - mean); });
  moments.mean = static_cast<double>(mean);
  moments.deviation = static_cast<double>(std::sqrt(squares / count));
  return moments;
}

#endif
