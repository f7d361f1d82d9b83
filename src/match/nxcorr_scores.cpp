// SPDX-License-Identifier: Apache-2.0
#include "match/nxcorr_scores.h"

#include "frame/multiversion.h"

namespace vlix {
namespace {

// Placements side by side. Each adds its terms in memory order in a lane of its own, so that the result does not depend
// on how many there are. Fewer than 32 are unrolled before they are vectorised, at half the speed.
constexpr int32_t kLanes = 32;
constexpr int32_t kFewLanes = 8;

template <int32_t kCount>
VLIX_INLINE void score_lanes(const Region<const float>& target, const Region<const float>& templ,
                             const Coefficient& coefficient, int32_t x, int32_t y, float* scores) {
  double sum[kCount] = {};
  double squares[kCount] = {};
  double products[kCount] = {};
  for (int32_t v = 0; v < templ.height; ++v) {
    const float* patch = target.row(std::ptrdiff_t{y} + v) + x;
    const float* row = templ.row(v);
    for (int32_t u = 0; u < templ.width; ++u) {
      const double weight = row[u];
      for (int32_t lane = 0; lane < kCount; ++lane) {
        const double pixel = patch[u + lane];
        sum[lane] += pixel;
        squares[lane] += pixel * pixel;
        products[lane] += pixel * weight;
      }
    }
  }
  for (int32_t lane = 0; lane < kCount; ++lane) {
    scores[lane] = coefficient.score(sum[lane], squares[lane], products[lane]);
  }
}

// Vectorised over the lanes in all versions.
VLIX_MULTIVERSION void score_rows(Region<const float> target, Region<const float> templ, Coefficient coefficient,
                                  Region<float> scores) {
  for (int32_t y = 0; y < scores.height; ++y) {
    float* row = scores.row(y);
    int32_t x = 0;
    for (; x <= scores.width - kLanes; x += kLanes) score_lanes<kLanes>(target, templ, coefficient, x, y, row + x);
    for (; x <= scores.width - kFewLanes; x += kFewLanes) {
      score_lanes<kFewLanes>(target, templ, coefficient, x, y, row + x);
    }
    for (; x < scores.width; ++x) score_lanes<1>(target, templ, coefficient, x, y, row + x);
  }
}

}  // namespace

TemplateSums sums_of(Region<const float> templ) {
  TemplateSums sums = {0.0, 0.0};
  for (int32_t v = 0; v < templ.height; ++v) {
    const float* row = templ.row(v);
    for (int32_t u = 0; u < templ.width; ++u) {
      const double pixel = row[u];
      sums.sum += pixel;
      sums.squares += pixel * pixel;
    }
  }
  return sums;
}

void correlate(Region<const float> target, Region<const float> templ, Coefficient coefficient, Region<float> scores) {
  score_rows(target, templ, coefficient, scores);
}

}  // namespace vlix
