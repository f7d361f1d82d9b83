// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <tuple>

#include "match/scores.h"
#include "match/sod_twin.h"
#include "support/test_image.h"
#include "vlix/meas.h"

namespace vlix::test {
namespace {

using ::testing::Each;

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

TEST(SodSlow, BytesWrapOnThePlainRouteAndAreLimitedByTheDoubleOnTheOther) {
  // 16843010 * 255 = 2^32 + 254.
  TestImage<uint8_t> target(1684301 + 39, 10);
  TestImage<uint8_t> templ(1684301, 10, Fill::kHighest, 0);
  for (const auto& [columns, level, expected] :
       {std::tuple<int32_t, int32_t, int>{1, 0, 254}, {40, 0, 254}, {1, 1, 65535}}) {
    const LevelScope scope(level);
    target.record.roiWidth = 1684301 + columns - 1;
    OutputImage dst;
    ASSERT_EQ(vlix_sod(&target.record, &templ.record, &dst.record), 0);
    EXPECT_THAT(region_values<uint16_t>(dst), Each(expected));
  }
}

TEST(SodSlow, LargestByteSumsBelowTheWrapSaturate) {
  // 16843009 * 255 = 2^32 - 1; 16843009 = 257 * 65537.
  const LevelScope scope(0);
  TestImage<uint8_t> target(65537 + 9, 257);
  TestImage<uint8_t> templ(65537, 257, Fill::kHighest, 0);
  OutputImage dst;
  ASSERT_EQ(vlix_sod(&target.record, &templ.record, &dst.record), 0);
  EXPECT_THAT(region_values<uint16_t>(dst), Each(65535));
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
