// SPDX-License-Identifier: Apache-2.0
#include "analysis/placements.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>

namespace {

// Not worse than its neighbours, and better than those before it in order, so that of a plateau the first remains.
bool is_peak(const Scores& scores, int32_t x, int32_t y) {
  const double score = scores.at(x, y);
  for (int32_t dy = -1; dy <= 1; ++dy) {
    for (int32_t dx = -1; dx <= 1; ++dx) {
      const int32_t nx = x + dx, ny = y + dy;
      if ((dx == 0 && dy == 0) || nx < 0 || ny < 0 || nx >= scores.width || ny >= scores.height) continue;
      const bool before = dy < 0 || (dy == 0 && dx < 0);
      if (before ? scores.at(nx, ny) >= score : scores.at(nx, ny) > score) return false;
    }
  }
  return true;
}

std::vector<Placement> peaks_of(const Scores& scores, std::optional<double> threshold) {
  std::vector<Placement> peaks;
  for (int32_t y = 0; y < scores.height; ++y) {
    for (int32_t x = 0; x < scores.width; ++x) {
      const double score = scores.at(x, y);
      if (std::isnan(score) || (threshold && score < *threshold) || !is_peak(scores, x, y)) continue;
      peaks.push_back({x, y, score, static_cast<double>(x), static_cast<double>(y)});
    }
  }
  std::stable_sort(peaks.begin(), peaks.end(),
                   [](const Placement& a, const Placement& b) { return a.score > b.score; });
  return peaks;
}

// Least squares of z = c + bx x + by y + (axx x^2 + ayy y^2) / 2 + axy x y over the 3 x 3 neighbourhood. At the border,
// and where the surface has no maximum within a pixel, the placement stays where it is.
void refine(const Scores& scores, Placement& place) {
  if (place.x < 1 || place.y < 1 || place.x > scores.width - 2 || place.y > scores.height - 2) return;
  double bx = 0, by = 0, axx = 0, ayy = 0, axy = 0;
  for (int32_t dy = -1; dy <= 1; ++dy) {
    for (int32_t dx = -1; dx <= 1; ++dx) {
      const double z = scores.at(place.x + dx, place.y + dy) - place.score;
      bx += dx * z / 6;
      by += dy * z / 6;
      axx += (3 * dx * dx - 2) * z / 3;
      ayy += (3 * dy * dy - 2) * z / 3;
      axy += dx * dy * z / 4;
    }
  }
  const double determinant = axx * ayy - axy * axy;
  if (!(axx < 0 && determinant > 0)) return;
  const double x = (axy * by - ayy * bx) / determinant;
  const double y = (axy * bx - axx * by) / determinant;
  if (!(std::fabs(x) <= 1 && std::fabs(y) <= 1)) return;
  place.refined_x += x;
  place.refined_y += y;
}

// The placements kept so far, by cells as wide as the least distance: whatever is too close to a placement lies in its
// cell or in one of the eight around it.
class Neighbourhood {
 public:
  explicit Neighbourhood(double least_distance)
      : least_distance_(least_distance), cell_(std::clamp(least_distance, 1.0, kWidestCell)) {}

  bool is_free(const Placement& place) const {
    for (int64_t row = cell_of(place.y) - 1; row <= cell_of(place.y) + 1; ++row) {
      for (int64_t column = cell_of(place.x) - 1; column <= cell_of(place.x) + 1; ++column) {
        const auto found = cells_.find(key(column, row));
        if (found != cells_.end() && !are_far(found->second, place)) return false;
      }
    }
    return true;
  }

  void add(const Placement& place) { cells_[key(cell_of(place.x), cell_of(place.y))].push_back(place); }

 private:
  static constexpr double kWidestCell = 4294967296.0;  // wider than any image

  static int64_t key(int64_t column, int64_t row) { return row * (int64_t{1} << 32) + column; }
  int64_t cell_of(int32_t position) const { return static_cast<int64_t>(position / cell_); }

  bool are_far(const std::vector<Placement>& others, const Placement& place) const {
    return std::all_of(others.begin(), others.end(), [&](const Placement& other) {
      return std::hypot(place.x - other.x, place.y - other.y) >= least_distance_;
    });
  }

  double least_distance_, cell_;
  std::unordered_map<int64_t, std::vector<Placement>> cells_;
};

}  // namespace

std::vector<Placement> best_placements(const Scores& scores, std::size_t count, double least_distance,
                                       std::optional<double> threshold) {
  std::vector<Placement> kept;
  Neighbourhood neighbourhood(least_distance);
  for (const Placement& peak : peaks_of(scores, threshold)) {
    if (kept.size() == count) break;
    if (!neighbourhood.is_free(peak)) continue;
    neighbourhood.add(peak);
    kept.push_back(peak);
    refine(scores, kept.back());
  }
  return kept;
}
