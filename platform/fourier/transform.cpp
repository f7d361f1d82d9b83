// SPDX-License-Identifier: Apache-2.0
#include "fourier/transform.h"

#include <limits>

namespace vlix::fourier {

int32_t fast_length(int64_t at_least, int32_t unit) noexcept {
  constexpr int64_t kMost = std::numeric_limits<int32_t>::max();
  if (at_least > kMost) return 0;
  for (int64_t quarter = 1;; quarter *= 2) {
    for (const int64_t factor : {4, 5, 6}) {
      const int64_t length = quarter * factor;
      if (length < at_least || length % unit != 0) continue;
      return length > kMost ? 0 : static_cast<int32_t>(length);
    }
  }
}

}  // namespace vlix::fourier
