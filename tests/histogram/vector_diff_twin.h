// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
#include <cstdint>
#include <vector>

namespace vlix::test {

// One element at a time, straight from the definition.
inline double vector_diff_twin(const std::vector<double>& a, const std::vector<double>& b, int32_t op,
                               int32_t normalise) {
  double acc = 0.0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    const double d = a[i] - b[i];
    if (op == 0) acc += d;
    if (op == 1) acc += std::abs(d);
    if (op == 2 || op == 3) acc += d * d;
    if (op == 4 && std::abs(d) > std::abs(acc)) acc = d;
  }
  if (normalise == 1 && op == 4) return acc;
  if (normalise == 1) acc = acc / static_cast<double>(a.size());
  return op == 3 ? std::sqrt(acc) : acc;
}

}  // namespace vlix::test
