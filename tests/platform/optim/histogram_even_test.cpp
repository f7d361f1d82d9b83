// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <numeric>

#include "platform/optim/heap_blocks.h"
#include "platform/optim/region.h"
#include "platform/optim/twins.h"
#include "support/simd_targets.h"
#include "vlix/optim.h"

namespace vlix::test {
namespace {

constexpr int32_t kLowest = std::numeric_limits<int32_t>::min();
constexpr int32_t kUntouched = -77;
constexpr int32_t kHighest = std::numeric_limits<int32_t>::max();

int32_t histogram_even(const uint8_t* first, int32_t step, VlixSize size, int32_t* counts, int32_t* levels,
                       int32_t level_count, int32_t lower, int32_t upper) {
  return vlix_ippiHistogramEven_8u_C1R(first, step, size, counts, levels, level_count, lower, upper);
}
int32_t histogram_even(const uint16_t* first, int32_t step, VlixSize size, int32_t* counts, int32_t* levels,
                       int32_t level_count, int32_t lower, int32_t upper) {
  return vlix_ippiHistogramEven_16u_C1R(first, step, size, counts, levels, level_count, lower, upper);
}
int32_t histogram_even(const int16_t* first, int32_t step, VlixSize size, int32_t* counts, int32_t* levels,
                       int32_t level_count, int32_t lower, int32_t upper) {
  return vlix_ippiHistogramEven_16s_C1R(first, step, size, counts, levels, level_count, lower, upper);
}

// Both arrays end at protected pages.
class Histogram {
 public:
  explicit Histogram(int32_t level_count)
      : counts_(level_count - 1, 1, 0, std::vector<int32_t>(static_cast<std::size_t>(level_count - 1), kUntouched)),
        levels_(level_count, 1, 0, std::vector<int32_t>(static_cast<std::size_t>(level_count), kUntouched)) {}
  template <class Pixel>
  Histogram(const Region<Pixel>& region, Levels asked) : Histogram(asked.count) {
    EXPECT_EQ(histogram_even(region.data(), region.step, region.size, counts_.data(), levels_.data(), asked.count,
                             asked.lower, asked.upper),
              0);
  }
  int32_t* counts_data() { return counts_.data(); }
  int32_t* levels_data() { return levels_.data(); }
  std::vector<int32_t> counts() const { return counts_.values(); }
  std::vector<int32_t> levels() const { return levels_.values(); }

 private:
  Region<int32_t> counts_;
  Region<int32_t> levels_;
};

template <class Pixel>
void expect_twin(const Region<Pixel>& region, Levels asked) {
  SCOPED_TRACE(testing::Message() << asked.count << " levels from " << asked.lower << " to " << asked.upper);
  const Histogram found(region, asked);
  const HistogramTwin expected(region.values(), asked);
  ASSERT_EQ(found.levels(), expected.levels);
  ASSERT_EQ(found.counts(), expected.counts);
}

template <class Pixel>
void expect_refusals() {
  const Region<Pixel> region(5, 2);
  constexpr int32_t kRow = 5 * sizeof(Pixel);
  std::array<int32_t, 4> counts;
  std::array<int32_t, 5> levels;
  counts.fill(kUntouched);
  levels.fill(kUntouched);
  const auto refuses = [&](const Pixel* first, int32_t step, VlixSize size, int32_t* c, int32_t* l, Levels asked) {
    return histogram_even(first, step, size, c, l, asked.count, asked.lower, asked.upper) != 0;
  };
  const Levels good = {5, 0, 8};
  EXPECT_TRUE(refuses(nullptr, kRow, {5, 2}, counts.data(), levels.data(), good));
  EXPECT_TRUE(refuses(region.data(), kRow - 1, {5, 2}, counts.data(), levels.data(), good));
  EXPECT_TRUE(refuses(region.data(), -kRow, {5, 2}, counts.data(), levels.data(), good));
  EXPECT_TRUE(refuses(region.data(), kRow, {0, 2}, counts.data(), levels.data(), good));
  EXPECT_TRUE(refuses(region.data(), kRow, {5, 0}, counts.data(), levels.data(), good));
  EXPECT_TRUE(refuses(region.data(), kRow, {5, -1}, counts.data(), levels.data(), good));
  EXPECT_TRUE(refuses(region.data(), kRow, {5, 2}, nullptr, levels.data(), good));
  EXPECT_TRUE(refuses(region.data(), kRow, {5, 2}, counts.data(), nullptr, good));
  for (const Levels bad : {Levels{1, 0, 8},
                           {0, 0, 8},
                           {-3, 0, 8},
                           {kLowest, 0, 8},
                           {5, 0, 3},
                           {5, 8, 0},
                           {5, 3, 3},
                           {5, kHighest, kLowest}}) {
    EXPECT_TRUE(refuses(region.data(), kRow, {5, 2}, counts.data(), levels.data(), bad));
  }
  EXPECT_EQ(counts, (std::array<int32_t, 4>{kUntouched, kUntouched, kUntouched, kUntouched}));
  EXPECT_EQ(levels[0], kUntouched);
}

TEST(HistogramEvenArguments, WhatIsNoRegionOrHasNoLevelsIsRefused) {
  expect_refusals<uint8_t>();
  expect_refusals<uint16_t>();
  expect_refusals<int16_t>();
}

using HistogramEven = SimdTargetTest;
VLIX_AT_ALL_TARGETS(HistogramEven);

template <class Pixel>
void expect_twin_for_all_shapes(const std::vector<Levels>& asked) {
  for_each_shape<Pixel>([&](int32_t width, int32_t height, int32_t gap) {
    for (const Fill fill : {Fill::kNoise, Fill::kNearConstant}) {
      SCOPED_TRACE(testing::Message() << width << " x " << height << ", gap " << gap << ", " << name_of(fill));
      const Region<Pixel> region(width, height, gap, fill, 31);
      for (const Levels levels : asked) expect_twin(region, levels);
    }
  });
}

TEST_P(HistogramEven, EqualsTheTwinForEveryShape) {
  expect_twin_for_all_shapes<uint8_t>({{257, 0, 256}, {4, 10, 40}});
  expect_twin_for_all_shapes<uint16_t>({{129, 0, 65536}, {4, 10, 40}});
  expect_twin_for_all_shapes<int16_t>({{101, -30000, 30000}});
}

// Above the number of pixels from which pairs are counted; odd widths leave a pixel without a partner.
template <class Pixel>
void expect_twin_for_large(Levels asked) {
  for (const auto& [width, height, gap] : {std::tuple{211, 199, 0}, {211, 199, 3}, {41003, 1, 0}, {3, 14000, 1}}) {
    for (const Fill fill : {Fill::kNoise, Fill::kConstant, Fill::kHighest, Fill::kOneHot}) {
      SCOPED_TRACE(testing::Message() << width << " x " << height << ", gap " << gap << ", " << name_of(fill));
      expect_twin(Region<Pixel>(width, height, gap, fill, 32), asked);
    }
  }
}

TEST_P(HistogramEven, LargeRegionsEqualTheTwin) {
  expect_twin_for_large<uint8_t>({257, 0, 256});
  expect_twin_for_large<uint16_t>({257, 0, 65536});
  expect_twin_for_large<int16_t>({201, -10000, 10000});
  expect_twin_for_large<uint16_t>({4097, 0, 65536});
}

template <class Pixel>
Region<Pixel> every_value() {
  constexpr int32_t kSide = sizeof(Pixel) == 1 ? 16 : 256;
  std::vector<Pixel> values(static_cast<std::size_t>(kSide * kSide));
  std::iota(values.begin(), values.end(), std::numeric_limits<Pixel>::min());
  return {kSide, kSide, 0, values};
}

template <class Pixel>
void expect_twin_for_odd_levels() {
  const Region<Pixel> region = every_value<Pixel>();
  const std::vector<Levels> levels = {// Widths that are powers of two and others, whole and not.
                                      {257, 0, 256},
                                      {2, 0, 256},
                                      {86, 0, 255},
                                      {52, 0, 255},
                                      {11, 0, 255},
                                      {101, 0, 256},
                                      {200, 0, 255},
                                      // One value, the first, the last, beside the type.
                                      {2, 0, 1},
                                      {2, 255, 256},
                                      {2, 256, 257},
                                      {2, -1, 0},
                                      {2, -32768, -32767},
                                      {2, 32767, 32768},
                                      {2, 65535, 65536},
                                      // Partly outside the type.
                                      {11, -5, 5},
                                      {11, 250, 260},
                                      {5, -100, 300},
                                      {6, 65530, 65540},
                                      {7, -32771, -32764},
                                      {4, 32766, 32769},
                                      {257, -50, 206},
                                      {3, -70000, 70000},
                                      {8, -70000, 70000},
                                      {4, -50000, 100000},
                                      {300, -40000, 80000},
                                      // Outside.
                                      {10, 100000, 200000},
                                      {10, -200000, -100000},
                                      {3, kHighest - 2, kHighest},
                                      {3, kLowest, kLowest + 2},
                                      // As far as 32 bits go: the range itself takes 33.
                                      {2, kLowest, kHighest},
                                      {4, kLowest, kHighest},
                                      {6, kLowest, kHighest},
                                      {257, kLowest, kHighest},
                                      {1001, kLowest, kHighest},
                                      {70000, -2000000000, 2000000000},
                                      {70001, -2000000000, 2000000000},
                                      {3, kLowest, 100},
                                      {3, 100, kHighest},
                                      // More than 256 bins.
                                      {65537, 0, 65536},
                                      {65537, -32768, 32768},
                                      {1025, 0, 65536},
                                      {301, -300, 300},
                                      {1000, 3, 65000},
                                      {1000, -20000, 20007},
                                      {100001, -50000, 50000}};
  for (const Levels asked : levels) expect_twin(region, asked);
}

TEST_P(HistogramEven, AnyLevelsCountEveryValueOnce) {
  expect_twin_for_odd_levels<uint8_t>();
  expect_twin_for_odd_levels<uint16_t>();
  expect_twin_for_odd_levels<int16_t>();
}

// The same levels on few pixels, where no table is worth its memory.
TEST(HistogramEvenOfWords, SmallRegionsWithManyBins) {
  const Region<int16_t> region(50, 20, 1, Fill::kNoise, 33);
  for (const Levels asked :
       {Levels{1025, -32768, 32768}, {1000, -20000, 20007}, {65537, -32768, 32768}, {1001, kLowest, kHighest}}) {
    expect_twin(region, asked);
  }
}

// Every width from 1 to 65536: the values on both sides of each border between bins.
TEST_P(HistogramEven, BinOfSixteenBitsIsExactForEveryWidth) {
  const int32_t lower = 3;
  for (int32_t width = 1; width <= 65536; ++width) {
    const int32_t bins = std::min(256, std::max(1, (65536 - lower) / width));
    const int32_t upper = lower + bins * width;
    std::vector<uint16_t> values;
    std::vector<int32_t> expected(static_cast<std::size_t>(bins), 0);
    for (int32_t i = 0; i < bins; ++i) {
      for (const int32_t v : {lower + i * width, lower + (i + 1) * width - 1}) {
        if (v > 65535) continue;
        values.push_back(static_cast<uint16_t>(v));
        ++expected[static_cast<std::size_t>(i)];
      }
    }
    values.push_back(static_cast<uint16_t>(lower - 1));
    if (upper <= 65535) values.push_back(static_cast<uint16_t>(upper));
    std::vector<int32_t> counts(expected.size());
    std::vector<int32_t> levels(expected.size() + 1);
    const auto count = static_cast<int32_t>(values.size());
    ASSERT_EQ(vlix_ippiHistogramEven_16u_C1R(values.data(), 2 * count, {count, 1}, counts.data(), levels.data(),
                                             bins + 1, lower, upper),
              0);
    ASSERT_EQ(counts, expected) << width;
  }
}

TEST_P(HistogramEven, PixelsOutsideTheLevelsNeverCount) {
  // All but a few pixels are outside, of every lane.
  for (const int32_t size : {40, 300}) {
    Region<uint16_t> region(size, size, 1, Fill::kHighest, 0);
    region.at(3, 2) = 500;
    region.at(size - 1, size - 1) = 999;
    expect_twin(region, {11, 0, 1000});
    expect_twin(region, {251, 0, 1000});
    expect_twin(region, {11, 20, 40});
  }
}

template <class Pixel>
void expect_same_without_memory(Levels asked) {
  const Region<Pixel> region(300, 200, 1, Fill::kNoise, 50);
  const HistogramTwin expected(region.values(), asked);
  for (const int failing : {0, 1}) {
    Histogram found(asked.count);
    EXPECT_EQ(blocks_asked(failing,
                           [&] {
                             return histogram_even(region.data(), region.step, region.size, found.counts_data(),
                                                   found.levels_data(), asked.count, asked.lower, asked.upper);
                           }),
              1u);
    EXPECT_EQ(found.counts(), expected.counts);
  }
}

TEST(HistogramEvenMemory, CountsAreTheSameWithoutMemoryForTables) {
  if (!HeapWatch::available()) GTEST_SKIP() << "a sanitizer owns the heap";
  expect_same_without_memory<uint8_t>({257, 0, 256});
  expect_same_without_memory<uint16_t>({257, 0, 65536});
  expect_same_without_memory<int16_t>({257, -100, 412});
  expect_same_without_memory<uint16_t>({4097, 0, 65536});
  expect_same_without_memory<int16_t>({4097, -32768, 32768});
}

TEST(HistogramEvenMemory, SmallRegionsAskForNone) {
  if (!HeapWatch::available()) GTEST_SKIP() << "a sanitizer owns the heap";
  const Region<uint16_t> region(60, 60, 1, Fill::kNoise, 51);
  Histogram few(257);
  Histogram many(4097);
  const auto call = [&](Histogram& histogram, int32_t levels) {
    return histogram_even(region.data(), region.step, region.size, histogram.counts_data(), histogram.levels_data(),
                          levels, 0, 65536);
  };
  EXPECT_EQ(blocks_asked(0, [&] { return call(few, 257); }), 0u);
  EXPECT_EQ(blocks_asked(0, [&] { return call(many, 4097); }), 0u);
}

}  // namespace
}  // namespace vlix::test
