// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <array>

#include "platform/optim/heap_blocks.h"
#include "platform/optim/region.h"
#include "platform/optim/twins.h"
#include "support/simd_targets.h"
#include "support/types.h"
#include "vlix/optim.h"

namespace vlix::test {
namespace {

constexpr int32_t kUntouched = -77;

class ColourHistogram {
 public:
  explicit ColourHistogram(const std::array<Levels, 3>& asked) {
    for (std::size_t c = 0; c < 3; ++c) {
      counts_[c].resize(static_cast<std::size_t>(asked[c].count - 1), kUntouched);
      levels_[c].resize(static_cast<std::size_t>(asked[c].count), kUntouched);
      count[c] = asked[c].count;
      lower[c] = asked[c].lower;
      upper[c] = asked[c].upper;
      counts[c] = counts_[c].data();
      levels[c] = levels_[c].data();
    }
  }
  int32_t call(const Region<Rgba>& region) {
    return vlix_ippiHistogramEven_8u_AC4R(region.data()->channel, region.step, region.size, counts, levels, count,
                                          lower, upper);
  }
  const std::vector<int32_t>& counts_of(std::size_t c) const { return counts_[c]; }
  const std::vector<int32_t>& levels_of(std::size_t c) const { return levels_[c]; }

  int32_t count[3], lower[3], upper[3];
  int32_t* counts[3];
  int32_t* levels[3];

 private:
  std::vector<int32_t> counts_[3], levels_[3];
};

Region<Rgba> colour_region(int32_t width, int32_t height, int32_t gap, Fill fill) {
  const std::size_t count = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  std::vector<Rgba> pixels(count);
  for (std::size_t c = 0; c < 4; ++c) {
    std::vector<uint8_t> plane(count);
    fill_with(plane, fill, 40 + c);
    for (std::size_t i = 0; i < count; ++i) pixels[i].channel[c] = plane[i];
  }
  return Region<Rgba>(width, height, gap, pixels);
}

constexpr std::array<Levels, 3> kColourLevels = {{{257, 0, 256}, {5, 40, 200}, {12, -3, 96}}};

void expect_colour_twin(const Region<Rgba>& region, const std::array<Levels, 3>& asked) {
  ColourHistogram found(asked);
  ASSERT_EQ(found.call(region), 0);
  const auto pixels = region.values();
  for (std::size_t c = 0; c < 3; ++c) {
    std::vector<uint8_t> plane;
    for (const Rgba& pixel : pixels) plane.push_back(pixel.channel[c]);
    const HistogramTwin expected(plane, asked[c]);
    ASSERT_EQ(found.counts_of(c), expected.counts) << "channel " << c;
    ASSERT_EQ(found.levels_of(c), expected.levels) << "channel " << c;
  }
}

using HistogramEvenColour = SimdTargetTest;
VLIX_AT_ALL_TARGETS(HistogramEvenColour);

TEST_P(HistogramEvenColour, EqualsTheTwinForEveryShape) {
  for_each_shape<Rgba>([](int32_t width, int32_t height, int32_t gap) {
    for (const Fill fill : {Fill::kNoise, Fill::kHighest, Fill::kConstant, Fill::kOneHot}) {
      SCOPED_TRACE(testing::Message() << width << " x " << height << ", gap " << gap << ", " << name_of(fill));
      expect_colour_twin(colour_region(width, height, gap, fill), kColourLevels);
    }
  });
}

TEST_P(HistogramEvenColour, LargeRegionsEqualTheTwin) {
  expect_colour_twin(colour_region(211, 199, 0, Fill::kNoise), kColourLevels);
  expect_colour_twin(colour_region(211, 199, 3, Fill::kNoise), kColourLevels);
  expect_colour_twin(colour_region(3, 14000, 1, Fill::kHighest), kColourLevels);
}

TEST(HistogramEvenColourArguments, RefusesEachBadChannelAndWritesNothing) {
  const Region<Rgba> region = colour_region(5, 2, 0, Fill::kNoise);
  for (std::size_t c = 0; c < 3; ++c) {
    const auto refuses = [&](auto spoil) {
      ColourHistogram histogram(kColourLevels);
      spoil(histogram);
      EXPECT_NE(histogram.call(region), 0) << c;
      for (std::size_t k = 0; k < 3; ++k) {
        EXPECT_EQ(histogram.counts_of(k)[0], kUntouched);
        EXPECT_EQ(histogram.levels_of(k)[0], kUntouched);
      }
    };
    refuses([&](ColourHistogram& histogram) { histogram.counts[c] = nullptr; });
    refuses([&](ColourHistogram& histogram) { histogram.levels[c] = nullptr; });
    refuses([&](ColourHistogram& histogram) { histogram.count[c] = 1; });
    refuses([&](ColourHistogram& histogram) { histogram.upper[c] = histogram.lower[c]; });
  }
  ColourHistogram good(kColourLevels);
  const uint8_t* first = region.data()->channel;
  const auto call = [&](const uint8_t* from, int32_t step, VlixSize size) {
    return vlix_ippiHistogramEven_8u_AC4R(from, step, size, good.counts, good.levels, good.count, good.lower,
                                          good.upper);
  };
  EXPECT_NE(call(nullptr, 20, {5, 2}), 0);
  EXPECT_NE(call(first, 19, {5, 2}), 0);
  EXPECT_NE(call(first, 20, {0, 2}), 0);
  EXPECT_NE(vlix_ippiHistogramEven_8u_AC4R(first, 20, {5, 2}, nullptr, good.levels, good.count, good.lower, good.upper),
            0);
  EXPECT_NE(vlix_ippiHistogramEven_8u_AC4R(first, 20, {5, 2}, good.counts, nullptr, good.count, good.lower, good.upper),
            0);
  EXPECT_NE(
      vlix_ippiHistogramEven_8u_AC4R(first, 20, {5, 2}, good.counts, good.levels, nullptr, good.lower, good.upper), 0);
  EXPECT_NE(
      vlix_ippiHistogramEven_8u_AC4R(first, 20, {5, 2}, good.counts, good.levels, good.count, nullptr, good.upper), 0);
  EXPECT_NE(
      vlix_ippiHistogramEven_8u_AC4R(first, 20, {5, 2}, good.counts, good.levels, good.count, good.lower, nullptr), 0);
  EXPECT_EQ(good.counts_of(0)[0], kUntouched);
}

TEST(HistogramEvenColourMemory, CountsAreTheSameWithoutMemoryForTables) {
  if (!HeapWatch::available()) GTEST_SKIP() << "a sanitizer owns the heap";
  const Region<Rgba> region = colour_region(300, 200, 1, Fill::kNoise);
  ColourHistogram whole(kColourLevels);
  ColourHistogram frugal(kColourLevels);
  EXPECT_EQ(blocks_asked(0, [&] { return whole.call(region); }), 1u);
  EXPECT_EQ(blocks_asked(1, [&] { return frugal.call(region); }), 1u);
  for (std::size_t c = 0; c < 3; ++c) EXPECT_EQ(whole.counts_of(c), frugal.counts_of(c));
}

}  // namespace
}  // namespace vlix::test
