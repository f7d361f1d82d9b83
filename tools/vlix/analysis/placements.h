// SPDX-License-Identifier: Apache-2.0
// The best placements in a score image.
#ifndef VLIX_TOOL_ANALYSIS_PLACEMENTS_H
#define VLIX_TOOL_ANALYSIS_PLACEMENTS_H

#include <cstdint>
#include <optional>
#include <vector>

// Scores as doubles whose larger values are better; width x height, row after row.
struct Scores {
  int32_t width = 0, height = 0;
  std::vector<double> values;

  double at(int32_t x, int32_t y) const {
    return values[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)];
  }
};

struct Placement {
  int32_t x, y;
  double score;
  double refined_x, refined_y;  // the peak of a quadratic surface through the neighbourhood
};

// Up to count placements from the best to the worst, each at least as good as the threshold and at least
// least_distance away from all better ones. Of equal scores the one further up, then further left, comes first.
std::vector<Placement> best_placements(const Scores& scores, std::size_t count, double least_distance,
                                       std::optional<double> threshold);

#endif
