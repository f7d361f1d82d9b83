// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
#include <cstdint>
#include <type_traits>
#include <vector>

#include "vlix/types.h"

namespace vlix::test {

// What storing a float in a point's coordinate does.
inline float stored_as(float value, float) { return value; }
inline int32_t stored_as(float value, int32_t) {
  const double whole = std::trunc(static_cast<double>(value));
  if (!(whole >= -2147483648.0 && whole <= 2147483647.0)) return -2147483647 - 1;
  return static_cast<int32_t>(whole);
}

// The definition, run by run, with the accepted peaks and the pending candidates in vectors of their own.
template <class Point>
std::vector<Point> hist_peaks_twin(const std::vector<Point>& hist, bool maxima, float min_distance) {
  using Coordinate = decltype(Point::x);
  std::vector<Point> peaks;
  std::vector<Point> pending;
  const auto x = [&](std::size_t i) { return static_cast<float>(hist[i].x); };
  const auto y = [&](std::size_t i) { return static_cast<float>(hist[i].y); };
  const auto beats = [&](float a, float b) { return maxima ? a > b : a < b; };

  std::size_t begin = 0;
  while (begin < hist.size()) {
    std::size_t end = begin;  // last of the run of equal values
    while (end + 1 < hist.size() && y(end + 1) == y(begin)) ++end;
    const bool inside = begin > 0 && end + 1 < hist.size();
    if (inside && beats(y(begin), y(begin - 1)) && beats(y(begin), y(end + 1))) {
      const float sum = x(begin) + x(end);
      const float middle = static_cast<float>(static_cast<double>(sum) / 2);
      const Point point = {stored_as(middle, Coordinate{}), stored_as(y(begin), Coordinate{})};
      const auto near = [&](const Point& p) { return middle - static_cast<float>(p.x) <= min_distance; };
      const auto beats_point = [&](const Point& p) { return beats(y(begin), static_cast<float>(p.y)); };
      if (peaks.empty()) {
        peaks.push_back(point);
      } else if (beats_point(peaks.back()) && near(peaks.back())) {
        peaks.back() = point;
        pending.clear();
      } else {
        while (!pending.empty() && beats_point(pending.back())) pending.pop_back();
        if (near(pending.empty() ? peaks.back() : pending.back())) {
          pending.push_back(point);
        } else {
          peaks.push_back(point);
          pending.clear();
        }
      }
    }
    begin = end + 1;
  }
  return peaks;
}

}  // namespace vlix::test
