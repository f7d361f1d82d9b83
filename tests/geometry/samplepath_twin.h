// SPDX-License-Identifier: Apache-2.0
// Sampling along a poly-line straight from the definition.
#pragma once

#include <cmath>
#include <cstdint>
#include <functional>
#include <vector>

#include "vlix/types.h"

namespace vlix::test {

struct PathTwin {
  int32_t count = 0;
  std::vector<float> values;  // one or three per sample
  std::vector<PointF32> positions;
};

// `read` gives the channels of a position in the order in which they are stored.
inline PathTwin samplepath_twin(int32_t width, int32_t height, const std::vector<PointF32>& path, float spacing,
                                int32_t count_on_entry, int channels,
                                const std::function<std::vector<float>(float, float)>& read) {
  const std::size_t segments = path.size() - 1;
  std::vector<int32_t> start(segments);
  std::vector<float> offset(segments);
  const auto length = [&](std::size_t k) {
    const float dx = path[k + 1].x - path[k].x;
    const float dy = path[k + 1].y - path[k].y;
    if (path[k].x != path[k + 1].x && path[k].y == path[k + 1].y) return std::abs(dx);
    if (path[k].x == path[k + 1].x) return std::abs(dy);
    const float sum = dx * dx + dy * dy;
    return static_cast<float>(std::sqrt(static_cast<double>(sum)));
  };
  const auto at = [&](std::size_t k, float t) {
    const float len = length(k);
    const float ux = (path[k + 1].x - path[k].x) / len;
    const float uy = (path[k + 1].y - path[k].y) / len;
    return PointF32{path[k].x + ux * t, path[k].y + uy * t};
  };
  const auto inside = [&](PointF32 p) {
    return p.x >= 0 && p.x <= static_cast<float>(width - 1) && p.y >= 0 && p.y <= static_cast<float>(height - 1);
  };

  float t = 0;
  float total = 0;
  int32_t m = 0;
  for (std::size_t k = 0; k < segments; ++k) {
    if (k > 0) t = t - length(k - 1);
    offset[k] = t;
    start[k] = m;
    total = total + length(k);
    while (t <= length(k) && m < count_on_entry) {
      if (inside(at(k, t))) m = m + 1;
      t = t + spacing;
    }
  }

  PathTwin result;
  const float steps = total / spacing;
  const bool adds_end = steps - std::trunc(steps) >= 0.5f;
  result.count = static_cast<int32_t>(steps) + 1 + (adds_end ? 1 : 0);
  result.values.assign(static_cast<std::size_t>(result.count * channels), 0.0f);
  result.positions.assign(static_cast<std::size_t>(result.count), PointF32{0, 0});
  const auto write = [&](int32_t i, PointF32 p) {
    const std::vector<float> value = read(p.x, p.y);
    for (std::size_t c = 0; c < value.size(); ++c) {
      result.values[static_cast<std::size_t>(i) * value.size() + c] = value[c];
    }
    result.positions[static_cast<std::size_t>(i)] = p;
  };
  int32_t i = 0;
  for (std::size_t k = 0; k < segments; ++k) {
    i = start[k];
    for (t = offset[k]; t <= length(k) && i < result.count; t = t + spacing) {
      const PointF32 p = at(k, t);
      if (inside(p)) write(i++, p);
    }
  }
  if (adds_end && i < result.count && inside(path.back())) write(i, path.back());
  return result;
}

}  // namespace vlix::test
