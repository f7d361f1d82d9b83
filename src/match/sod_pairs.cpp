// SPDX-License-Identifier: Apache-2.0
#include "match/sod_pairs.h"

#include <cmath>
#include <cstdlib>
#include <type_traits>

#include "frame/multiversion.h"
#include "frame/visit.h"
#include "match/sod_u8.h"

namespace vlix {
namespace {

// Placements side by side; each is summed in a lane of its own.
constexpr int32_t kLanes = 32;
constexpr uint32_t kMostScore = 65535;
// Fewer columns than this leave most of a kernel's vector unused.
constexpr int32_t kNarrowestForBytes = 8;

// Integers of at most 16 bits differ by at most 65535 + 32768: no overflow.
template <class Target, class Template>
VLIX_INLINE uint32_t difference(Target pixel, Template templ) {
  if constexpr (std::is_integral_v<Target> && std::is_integral_v<Template>) {
    return static_cast<uint32_t>(std::abs(int32_t{templ} - int32_t{pixel}));
  } else {
    // Truncation does not depend on the sign, and what does not fit is -2147483648 before its sign is dropped.
    constexpr float kAbove = 2147483648.0f;
    const float magnitude = std::fabs(static_cast<float>(templ) - static_cast<float>(pixel));
    return static_cast<uint32_t>(static_cast<int32_t>(magnitude < kAbove ? magnitude : -kAbove));
  }
}

VLIX_INLINE uint16_t score_of(uint32_t sum) { return static_cast<uint16_t>(sum < kMostScore ? sum : kMostScore); }

// The scores of kLanes neighbours. Vectorised over the lanes in all versions, sums in registers.
template <class Target, class Template>
VLIX_INLINE void score_lanes(const Region<const Target>& target, const Region<const Template>& templ, int32_t x,
                             int32_t y, uint16_t* scores) {
  uint32_t sums[kLanes] = {};
  for (int32_t v = 0; v < templ.height; ++v) {
    const Target* patch = target.row(std::ptrdiff_t{y} + v) + x;
    const Template* row = templ.row(v);
    for (int32_t u = 0; u < templ.width; ++u) {
      const Template pixel = row[u];
      for (int32_t lane = 0; lane < kLanes; ++lane) sums[lane] += difference(patch[u + lane], pixel);
    }
  }
  for (int32_t lane = 0; lane < kLanes; ++lane) scores[lane] = score_of(sums[lane]);
}

// One score. Vectorised along the template's rows.
template <class Target, class Template>
VLIX_INLINE uint16_t score_one(const Region<const Target>& target, const Region<const Template>& templ, int32_t x,
                               int32_t y) {
  uint32_t sum = 0;
  for (int32_t v = 0; v < templ.height; ++v) {
    const Target* patch = target.row(std::ptrdiff_t{y} + v) + x;
    const Template* row = templ.row(v);
    for (int32_t u = 0; u < templ.width; ++u) sum += difference(patch[u], row[u]);
  }
  return score_of(sum);
}

// Score images with fewer columns than lanes are scored one by one; otherwise the last lanes of a row overlap the ones
// before.
template <class Target, class Template>
VLIX_MULTIVERSION void score_columns(Region<const Target> target, Region<const Template> templ, Region<uint16_t> scores,
                                     int32_t first) {
  for (int32_t y = 0; y < scores.height; ++y) {
    uint16_t* row = scores.row(y);
    int32_t x = first;
    if (scores.width >= kLanes && scores.width - x >= kLanes / 4) {
      for (; x <= scores.width - kLanes; x += kLanes) score_lanes(target, templ, x, y, row + x);
      const int32_t last = scores.width - kLanes;
      if (x < scores.width) score_lanes(target, templ, last, y, row + last);
    } else {
      for (; x < scores.width; ++x) row[x] = score_one(target, templ, x, y);
    }
  }
}

// How many columns a kernel for bytes has scored.
int32_t score_bytes(const Region<const uint8_t>& target, const Region<const uint8_t>& templ,
                    const Region<uint16_t>& scores) {
  const ByteKernel kernel = byte_kernel();
  if (kernel == nullptr || scores.width < kNarrowestForBytes) return 0;
  if (templ.width < 1 || templ.height < 1 || !byte_sums_fit(templ.width, templ.height)) return 0;
  return kernel({target.origin, target.stride, templ.origin, templ.stride, templ.width, templ.height, scores.origin,
                 scores.stride, scores.width, scores.height});
}

template <class Target, class Template>
void score_pair(const Region<const Target>& target, const Region<const Template>& templ,
                const Region<uint16_t>& scores) {
  int32_t done = 0;
  if constexpr (std::is_same_v<Target, uint8_t> && std::is_same_v<Template, uint8_t>) {
    done = score_bytes(target, templ, scores);
  }
  if (done < scores.width) score_columns(target, templ, scores, done);
}

}  // namespace

void sum_differences(const VlixImage& target, const VlixImage& templ, VlixSize template_size, Region<uint16_t> scores) {
  with_pixel_type(target.type, [&]<class Target>() {
    with_pixel_type(templ.type, [&]<class Template>() {
      Region<const Template> region = region_of<const Template>(templ);
      region.width = template_size.width;
      region.height = template_size.height;
      score_pair(region_of<const Target>(target), region, scores);
    });
  });
}

}  // namespace vlix
