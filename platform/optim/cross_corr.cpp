// SPDX-License-Identifier: Apache-2.0
// Normalised cross-correlation over the valid placements: arguments, and the choice of the route.
#include "optim/cross_corr.h"

#include <algorithm>
#include <new>

#include "optim/cross_corr_blocks.h"
#include "optim/cross_corr_direct.h"
#include "optim/cross_corr_pattern.h"
#include "optim/cross_corr_score.h"
#include "vlix/optim.h"

namespace vlix::optim::cross_corr {
namespace {

// Nanoseconds per template pixel of a placement that is computed by itself.
constexpr double kSingleCost = 0.2;
// A transform is not worth considering below this.
constexpr double kSmallWork = 20000;

template <class Pixel>
void score(const Problem<Pixel>& problem) {
  const Pattern& pattern = problem.pattern;
  const auto placements = static_cast<double>(problem.scores.count());
  const DirectPlan direct =
      plan_directly<Pixel>(pattern.width, pattern.height, problem.scores.width, problem.scores.height);
  const double single_cost = kSingleCost * placements * static_cast<double>(pattern.count());
  if (single_cost < direct.cost_ns && single_cost < kSmallWork) return score_singly(problem);
  if (direct.cost_ns < kSmallWork) return score_directly(problem, direct.kind);
  const BlockPlan blocks = plan_in_blocks(pattern.width, pattern.height, problem.scores.width, problem.scores.height);
  const double least = std::min(single_cost, direct.cost_ns);
  if (blocks.width > 0 && blocks.cost_ns < least) return score_in_blocks(problem, blocks);
  if (single_cost < direct.cost_ns) return score_singly(problem);
  score_directly(problem, direct.kind);
}

Levels levels_of(Rows<const uint8_t>, uint8_t flip) { return {.flip = flip}; }
Levels levels_of(Rows<const uint16_t>, uint8_t) { return {}; }
Levels levels_of(Rows<const float> source, uint8_t) { return float_levels(source); }

template <class Pixel>
int32_t run(Rows<const Pixel> source, Rows<const Pixel> tpl, Rows<float> scores, uint8_t flip) try {
  const Levels levels = levels_of(source, flip);
  const Problem<Pixel> problem = {source, tpl, scores, levels, make_pattern(tpl, levels)};
  if (problem.pattern.norm > 0) {
    score(problem);
  } else {
    for (std::size_t y = 0; y < scores.height; ++y) std::fill_n(scores.row(y), scores.width, 0.0F);
  }
  return 0;
} catch (const std::bad_alloc&) {
  return kRefused;
}

template <class Pixel>
int32_t checked(const Pixel* src, int32_t step, VlixSize size, const Pixel* tpl, int32_t tpl_step, VlixSize tpl_size,
                float* dst, int32_t dst_step) {
  if (!is_region(src, step, size) || !is_region(tpl, tpl_step, tpl_size)) return kRefused;
  if (tpl_size.width > size.width || tpl_size.height > size.height) return kRefused;
  const VlixSize dst_size = {size.width - tpl_size.width + 1, size.height - tpl_size.height + 1};
  if (!is_region(dst, dst_step, dst_size)) return kRefused;
  const Rows<const Pixel> source(src, step, size);
  const Rows<const Pixel> pattern(tpl, tpl_step, tpl_size);
  const Rows<float> scores(dst, dst_step, dst_size);
  if constexpr (std::is_same_v<Pixel, int8_t>) {
    return run(unsigned_bits(source), unsigned_bits(pattern), scores, 0x80);
  } else {
    return run(source, pattern, scores, 0);
  }
}

}  // namespace
}  // namespace vlix::optim::cross_corr

int32_t vlix_ippiCrossCorrValid_NormLevel_8u32f_C1R(const uint8_t* src, int32_t step, VlixSize size, const uint8_t* tpl,
                                                    int32_t tplStep, VlixSize tplSize, float* dst, int32_t dstStep) {
  return vlix::optim::cross_corr::checked(src, step, size, tpl, tplStep, tplSize, dst, dstStep);
}

int32_t vlix_ippiCrossCorrValid_NormLevel_8s32f_C1R(const int8_t* src, int32_t step, VlixSize size, const int8_t* tpl,
                                                    int32_t tplStep, VlixSize tplSize, float* dst, int32_t dstStep) {
  return vlix::optim::cross_corr::checked(src, step, size, tpl, tplStep, tplSize, dst, dstStep);
}

int32_t vlix_ippiCrossCorrValid_NormLevel_16u32f_C1R(const uint16_t* src, int32_t step, VlixSize size,
                                                     const uint16_t* tpl, int32_t tplStep, VlixSize tplSize, float* dst,
                                                     int32_t dstStep) {
  return vlix::optim::cross_corr::checked(src, step, size, tpl, tplStep, tplSize, dst, dstStep);
}

int32_t vlix_ippiCrossCorrValid_NormLevel_32f_C1R(const float* src, int32_t step, VlixSize size, const float* tpl,
                                                  int32_t tplStep, VlixSize tplSize, float* dst, int32_t dstStep) {
  return vlix::optim::cross_corr::checked(src, step, size, tpl, tplStep, tplSize, dst, dstStep);
}
