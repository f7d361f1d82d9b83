// SPDX-License-Identifier: Apache-2.0
// Makes the primitives library believe that the processor is an older one.
//
// The library and the test program share the one libhwy of the process, and with it the set of instruction sets that
// Highway dispatches to: narrowing that set here reaches the very library that users load, hidden symbols and all.
// Tests in tests/platform/optim link libhwy for this.
#pragma once

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <cstdint>
#include <string>
#include <vector>

namespace vlix::test {

// Every instruction set that this processor and Highway know, the best one first; the last is the one that is compiled
// for every processor (Highway's two plain sets share its place in the dispatch).
inline std::vector<int64_t> simd_targets() {
  hwy::SetSupportedTargetsForTest(0);
  std::vector<int64_t> targets;
  for (int64_t left = hwy::SupportedTargets() & ~HWY_EMU128; left != 0; left &= left - 1) {
    targets.push_back(left & -left);
  }
  return targets;
}

// While it lives, `best` is the best instruction set that the library finds. At least one primitive must be dispatched
// meanwhile, so that a build whose library does not listen (a libhwy of its own) cannot pass unnoticed.
class SimdTargetScope {
 public:
  explicit SimdTargetScope(int64_t best) {
    hwy::SetSupportedTargetsForTest(0);
    // Better sets have lower bits.
    hwy::SetSupportedTargetsForTest(hwy::SupportedTargets() & ~(best - 1));
    hwy::GetChosenTarget().DeInit();
  }
  ~SimdTargetScope() {
    EXPECT_TRUE(hwy::GetChosenTarget().IsInitialized()) << "no primitive was dispatched through the shared libhwy";
    hwy::SetSupportedTargetsForTest(0);
    hwy::GetChosenTarget().DeInit();
  }
  SimdTargetScope(const SimdTargetScope&) = delete;
  SimdTargetScope& operator=(const SimdTargetScope&) = delete;
};

// TEST_P of a class derived from this one runs at each instruction set:
//   using Sum8u = SimdTargetTest;
//   VLIX_AT_ALL_TARGETS(Sum8u);
//   TEST_P(Sum8u, EmptyTail) { ... }
class SimdTargetTest : public ::testing::TestWithParam<int64_t> {
 private:
  SimdTargetScope scope_{GetParam()};
};

inline std::string simd_target_name(const ::testing::TestParamInfo<int64_t>& target) {
  return hwy::TargetName(target.param);
}

#define VLIX_AT_ALL_TARGETS(suite)                                                         \
  INSTANTIATE_TEST_SUITE_P(Simd, suite, ::testing::ValuesIn(::vlix::test::simd_targets()), \
                           ::vlix::test::simd_target_name)

}  // namespace vlix::test
