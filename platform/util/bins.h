// SPDX-License-Identifier: Apache-2.0
// Bins of equal width over a range of floats.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "util/multiversion.h"

namespace vlix::util {

// How the bin of a value is found, fastest first.
enum class Search { kFloatQuotient, kDoubleQuotient, kBisection };

// Bin i starts at lowest(i), a float. A value of [lo, hi) belongs to the bin with the greatest start that is not above
// the value, to the first one if several bins start there; hi belongs to the last bin.
struct Bins {
  double lo;
  double hi;
  double width;     // of one bin
  double per_unit;  // bins per unit of value; infinite for lo = hi
  int32_t count;

  Bins(int32_t bin_count, float lower, float upper)
      : lo(lower), hi(upper), width((hi - lo) / bin_count), per_unit(bin_count / (hi - lo)), count(bin_count) {}

  VLIX_UTIL_INLINE float lowest(int32_t i) const { return static_cast<float>(lo + i * width); }

  // Quotients need bins of at least two float steps: rounding then moves no start by more than a quarter of a bin, and
  // there are less than 2^25 bins. Float quotients of up to 2^16 bins are off by less than 2^-5, four roundings of
  // 2^-24 each, while nothing overflows or becomes denormal.
  Search search() const {
    if (lo == hi) return Search::kBisection;
    const double magnitude = std::max(std::fabs(lo), std::fabs(hi));
    const int exponent = std::max(std::ilogb(magnitude), std::numeric_limits<float>::min_exponent - 1);
    const double float_step = std::ldexp(1.0, exponent - (std::numeric_limits<float>::digits - 1));
    if (width < 2.0 * float_step) return Search::kBisection;
    constexpr double kSmall = 0x1p-100;
    constexpr double kLarge = 0x1p100;
    const bool moderate = count <= 65536 && hi - lo > kSmall && hi - lo < kLarge;
    return moderate ? Search::kFloatQuotient : Search::kDoubleQuotient;
  }

  // The bin of a value within [lo, hi]. The quotient of a value of bin i lies within [i - 0.25, i + 1.25], give or take
  // its error; shifted it is truncated to i - 1 or i.
  template <Search kSearch>
  VLIX_UTIL_INLINE int32_t index(float value) const {
    if constexpr (kSearch == Search::kBisection) {
      return bisect(value);
    } else {
      using Real = std::conditional_t<kSearch == Search::kFloatQuotient, float, double>;
      constexpr auto kShift = static_cast<Real>(0.3);
      const Real quotient = (static_cast<Real>(value) - static_cast<Real>(lo)) * static_cast<Real>(per_unit);
      const auto at_most_one_less = static_cast<int32_t>(quotient - kShift);
      const int32_t i = at_most_one_less + (value >= lowest(at_most_one_less + 1) ? 1 : 0);
      return i < count ? i : count - 1;
    }
  }

 private:
  int32_t bisect(float value) const {
    if (static_cast<double>(value) == hi) return count - 1;
    const int32_t behind = first_where([&](int32_t i) { return lowest(i) > value; });
    const float start = lowest(behind - 1);
    return first_where([&](int32_t i) { return lowest(i) >= start; });
  }

  // The first bin for which a monotone condition holds, `count` if there is none.
  template <class Condition>
  int32_t first_where(Condition condition) const {
    int32_t from = 0;
    int32_t to = count;
    while (from < to) {
      const int32_t middle = from + (to - from) / 2;
      if (condition(middle)) {
        to = middle;
      } else {
        from = middle + 1;
      }
    }
    return from;
  }
};

}  // namespace vlix::util
