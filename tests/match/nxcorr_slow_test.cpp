// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <random>

#include "match/nxcorr_twin.h"
#include "match/scores.h"
#include "support/test_image.h"
#include "vlix/meas.h"

namespace vlix::test {
namespace {

template <class Target, class Template>
void expect_twin_bits(TestImage<Target>& target, TestImage<Template>& templ) {
  const LevelScope level(0);
  OutputImage dst;
  ASSERT_EQ(vlix_nxcorr(&target.record, &templ.record, &dst.record), 0);
  for (int32_t y = 0; y < dst.record.roiHeight; ++y) {
    for (int32_t x = 0; x < dst.record.roiWidth; ++x) {
      ASSERT_EQ(std::bit_cast<uint32_t>(dst.at<float>(x, y)),
                std::bit_cast<uint32_t>(nxcorr_twin_at(target, templ, x, y)))
          << x << " " << y << ", types " << target.record.type << " " << templ.record.type;
    }
  }
}

TEST(NxcorrSlow, LargeImagesOfEveryPairOfTypes) {
  uint64_t seed = 300;
  for_all_pairs([&]<class Target, class Template>() {
    for (Fill fill : {Fill::kNoise, Fill::kNearConstant, Fill::kHighest}) {
      FramedImage<Target> target(201, 90, {5, 3, 0, 0}, fill, seed++);
      FramedImage<Template> templ(37, 23, {1, 2, 3, 4}, Fill::kNoise, seed++);
      expect_twin_bits(target, templ);
    }
  });
}

TEST(NxcorrSlow, SumsOf16BitPixelsBeyond53BitsAreAddedInOrder) {
  // 65535 squared times 1448 * 1448 pixels is just below 2^53, times 1500 * 1500 above: there the order of additions
  // shows, most of all where the spread is small.
  for (int32_t side : {1448, 1500}) {
    TestImage<uint16_t> target(side + 63, side + 1);
    TestImage<uint16_t> templ(side, side);
    std::mt19937_64 random(3);
    const auto high = [&] { return static_cast<uint16_t>(65534 + random() % 2); };
    std::generate_n(target.data(), (side + 63) * (side + 1), high);
    std::generate_n(templ.data(), side * side, high);
    expect_twin_bits(target, templ);
  }
}

// Rows of the template longer than what a float can hold the products of.
TEST(NxcorrSlow, WideTemplatesOfBytes) {
  TestImage<uint8_t> target(1100, 9, Fill::kHighest, 1);
  TestImage<uint8_t> templ(1000, 5, Fill::kHighest, 2);
  for (int32_t x = 0; x < 1000; x += 3) templ.at(x, x % 5) = 250;
  for (int32_t x = 0; x < 1100; x += 7) target.at(x, x % 9) = 251;
  expect_twin_bits(target, templ);
}

}  // namespace
}  // namespace vlix::test
