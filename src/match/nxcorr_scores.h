// SPDX-License-Identifier: Apache-2.0
// Correlation coefficients of a template and the patches of a target, in the single-pass form of their definition.
#pragma once

#include <cmath>

#include "frame/multiversion.h"
#include "frame/region.h"

namespace vlix {

struct TemplateSums {
  double sum;
  double squares;
};

// Added up in memory order.
TemplateSums sums_of(Region<const float> templ);

// The coefficient of a patch whose sums are known.
struct Coefficient {
  double count;
  double template_sum;
  double template_spread;

  Coefficient(double pixels, TemplateSums sums)
      : count(pixels), template_sum(sums.sum), template_spread(pixels * sums.squares - sums.sum * sums.sum) {}

  // 0 where the patch or the template is flat, and where the denominator is negative or not a number.
  VLIX_INLINE float score(double sum, double squares, double products) const {
    const double denominator = (count * squares - sum * sum) * template_spread;
    const double numerator = count * products - sum * template_sum;
    return denominator > 0.0 ? static_cast<float>(numerator / std::sqrt(denominator)) : 0.0f;
  }
};

// Scores every placement: scores(x, y) belongs to the patch of the target whose first pixel is (x, y). The sums of each
// patch are added up in memory order.
void correlate(Region<const float> target, Region<const float> templ, Coefficient coefficient, Region<float> scores);

// The same scores, faster, for pixels that are integers and small enough: then all sums are exact in any order. False,
// with nothing scored, for other pixels and for score images narrower than a vector.
bool correlate_integers(Region<const float> target, Region<const float> templ, Coefficient coefficient,
                        Region<float> scores);

}  // namespace vlix
