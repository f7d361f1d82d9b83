// SPDX-License-Identifier: Apache-2.0
// The C heap as the module uses it, counted per thread. Not available under sanitizers and memory
// checkers, which own malloc.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vlix::test {

class HeapWatch {
 public:
  static bool available();
  // Counting is on between enable and disable; platform functions and test support suspend it.
  static void enable();
  static void disable();
  static bool enabled();
  static void reset();
  static void fail_nth(int nth);  // 0 = none
  static const std::vector<std::size_t>& requests();
  static int64_t live();

  // Switches counting off for a scope.
  class Suspend {
   public:
    Suspend();
    ~Suspend();

   private:
    bool was_;
  };
};

}  // namespace vlix::test
