// SPDX-License-Identifier: Apache-2.0
#include "analysis/placements.h"

#include <algorithm>
#include <cmath>

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

bool is_far_from(const std::vector<Placement>& kept, const Placement& place, double least_distance) {
  return std::all_of(kept.begin(), kept.end(), [&](const Placement& other) {
    return std::hypot(place.x - other.x, place.y - other.y) >= least_distance;
  });
}

}  // namespace

std::vector<Placement> best_placements(const Scores& scores, std::size_t count, double least_distance,
                                       std::optional<double> threshold) {
  std::vector<Placement> kept;
  for (const Placement& peak : peaks_of(scores, threshold)) {
    if (kept.size() == count) break;
    if (!is_far_from(kept, peak, least_distance)) continue;
    kept.push_back(peak);
    refine(scores, kept.back());
  }
  return kept;
}
