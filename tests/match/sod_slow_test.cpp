// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "match/scores.h"
#include "match/sod_twin.h"
#include "support/test_image.h"
#include "vlix/meas.h"

namespace vlix::test {
namespace {

template <class Target, class Template>
void expect_twin(int32_t level, int32_t width, int32_t height, int32_t target_width, int32_t target_height, Fill fill,
                 uint64_t seed) {
  const LevelScope scope(level);
  FramedImage<Target> target(target_width, target_height, {5, 3, 0, 0}, fill, seed);
  FramedImage<Template> templ(width, height, {1, 2, 3, 4}, fill, seed + 1);
  OutputImage dst;
  ASSERT_EQ(vlix_sod(&target.record, &templ.record, &dst.record), 0);
  ASSERT_EQ(region_values<uint16_t>(dst), sod_twin(target, templ)) << "seed " << seed << " level " << level;
}

TEST(SodSlow, LargeImagesOfEveryPairOfTypes) {
  uint64_t seed = 100;
  for_all_pairs([&]<class Target, class Template>() {
    for (Fill fill : {Fill::kNoise, Fill::kNearConstant, Fill::kOneHot}) {
      expect_twin<Target, Template>(0, 31, 13, 317, 101, fill, seed++);
    }
  });
}

TEST(SodSlow, LargeImagesOfBytesAtEveryLevel) {
  for (int32_t level : {0, 1, 2}) {
    for (Fill fill : kFills) {
      expect_twin<uint8_t, uint8_t>(level, 33, 30, 251, 130, fill, 200);
      expect_twin<uint8_t, uint8_t>(level, 8, 8, 512, 200, fill, 201);
    }
  }
  expect_twin<uint8_t, uint8_t>(0, 129, 65, 700, 301, Fill::kNoise, 202);
}

}  // namespace
}  // namespace vlix::test
