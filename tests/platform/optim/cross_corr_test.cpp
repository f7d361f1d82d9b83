// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <limits>

#include "platform/optim/cross_corr_twin.h"
#include "support/heap_watch.h"
#include "support/simd_targets.h"

namespace vlix::test {
namespace {

// Rounding a score to 32 bits moves it by up to 3e-8; everything before is double precision or exact. (The contract
// allows 2e-6.) Largest error seen: 3.1e-8.
constexpr double kTolerance = 1e-7;

VlixSize scores_of(VlixSize source, VlixSize tpl) {
  return {source.width - tpl.width + 1, source.height - tpl.height + 1};
}

std::string name_of(VlixSize source, VlixSize tpl) {
  return std::to_string(source.width) + "x" + std::to_string(source.height) + " with " + std::to_string(tpl.width) +
         "x" + std::to_string(tpl.height);
}

// --- Arguments

TEST(CrossCorrArguments, WhatIsNoRegionIsRefusedAndNothingWritten) {
  const Region<uint16_t> source(6, 5, 0, Fill::kNoise, 1);
  const Region<uint16_t> tpl(3, 2, 0, Fill::kNoise, 2);
  const Region<float> dst(4, 4, 0, Fill::kConstant, 0);
  const auto before = dst.values();
  const auto* const no_pixels = static_cast<const uint16_t*>(nullptr);
  const auto* s = source.data();
  const auto* t = tpl.data();
  float* d = dst.data();
  EXPECT_NE(cross_corr(no_pixels, 12, {6, 5}, t, 6, {3, 2}, d, 16), 0);
  EXPECT_NE(cross_corr(s, 12, {6, 5}, no_pixels, 6, {3, 2}, d, 16), 0);
  EXPECT_NE(cross_corr(s, 12, {6, 5}, t, 6, {3, 2}, nullptr, 16), 0);
  EXPECT_NE(cross_corr(s, 12, {6, 5}, t, 6, {3, 2}, nullptr, 0), 0);
  EXPECT_NE(cross_corr(s, 10, {6, 5}, t, 6, {3, 2}, d, 16), 0);
  EXPECT_NE(cross_corr(s, 13, {6, 5}, t, 6, {3, 2}, d, 16), 0);
  EXPECT_NE(cross_corr(s, -12, {6, 5}, t, 6, {3, 2}, d, 16), 0);
  EXPECT_NE(cross_corr(s, 12, {6, 5}, t, 4, {3, 2}, d, 16), 0);
  EXPECT_NE(cross_corr(s, 12, {6, 5}, t, 0, {3, 2}, d, 16), 0);
  EXPECT_NE(cross_corr(s, 12, {6, 5}, t, 6, {3, 2}, d, 12), 0);
  EXPECT_NE(cross_corr(s, 12, {6, 5}, t, 6, {3, 2}, d, 18), 0);
  EXPECT_NE(cross_corr(s, 12, {6, 5}, t, 6, {3, 2}, d, 0), 0);
  EXPECT_NE(cross_corr(s, 12, {0, 5}, t, 6, {3, 2}, d, 16), 0);
  EXPECT_NE(cross_corr(s, 12, {6, -1}, t, 6, {3, 2}, d, 16), 0);
  EXPECT_NE(cross_corr(s, 12, {6, 5}, t, 6, {0, 2}, d, 16), 0);
  EXPECT_NE(cross_corr(s, 12, {6, 5}, t, 6, {3, 0}, d, 16), 0);
  EXPECT_EQ(dst.values(), before);
}

TEST(CrossCorrArguments, ATemplateLargerThanTheSourceIsRefused) {
  const Region<uint8_t> source(6, 5, 0, Fill::kNoise, 1);
  const Region<uint8_t> wide(7, 1, 0, Fill::kNoise, 2);
  const Region<uint8_t> high(1, 6, 0, Fill::kNoise, 2);
  const Region<float> dst(10, 10);
  EXPECT_NE(cross_corr(source, wide, dst), 0);
  EXPECT_NE(cross_corr(source, high, dst), 0);
}

// --- All pixel types at all instruction sets

template <class Pixel>
void expect_exact(const Region<Pixel>& source, const Region<Pixel>& tpl) {
  const VlixSize size = scores_of(source.size, tpl.size);
  const Region<float> dst(size.width, size.height, 3);
  ASSERT_EQ(cross_corr(source, tpl, dst), 0);
  std::vector<Exact> exact;
  for (int32_t y = 0; y < size.height; ++y) {
    for (int32_t x = 0; x < size.width; ++x) exact.push_back(exact_score(source, tpl, x, y));
  }
  expect_scores(dst.values(), exact, size.width, kTolerance);
  EXPECT_TRUE(dst.gaps_are_untouched());
}

template <class Pixel>
void expect_exact_for_fills(VlixSize source, VlixSize tpl) {
  for (const Fill fill : kFills) {
    for (const Fill tpl_fill : {Fill::kNoise, Fill::kNearConstant, Fill::kOneHot, Fill::kConstant}) {
      SCOPED_TRACE(name_of(source, tpl) + ", " + name_of(fill) + ", " + name_of(tpl_fill));
      expect_exact(Region<Pixel>(source.width, source.height, 5, fill, 11),
                   Region<Pixel>(tpl.width, tpl.height, 2, tpl_fill, 12));
    }
  }
}

class CrossCorr : public SimdTargetTest {};
VLIX_AT_ALL_TARGETS(CrossCorr);

constexpr VlixSize kSmallSizes[][2] = {{{1, 1}, {1, 1}},  {{5, 1}, {2, 1}},    {{1, 9}, {1, 4}},   {{7, 6}, {7, 6}},
                                       {{9, 8}, {8, 8}},  {{9, 9}, {1, 1}},    {{30, 20}, {3, 2}}, {{33, 17}, {5, 9}},
                                       {{70, 9}, {4, 4}}, {{17, 40}, {8, 16}}, {{140, 12}, {9, 7}}};

TEST_P(CrossCorr, EveryFillOfUnsignedBytesMeetsTheDefinition) {
  for (const auto& [source, tpl] : kSmallSizes) expect_exact_for_fills<uint8_t>(source, tpl);
}
TEST_P(CrossCorr, EveryFillOfSignedBytesMeetsTheDefinition) {
  for (const auto& [source, tpl] : kSmallSizes) expect_exact_for_fills<int8_t>(source, tpl);
}
TEST_P(CrossCorr, EveryFillOfWordsMeetsTheDefinition) {
  for (const auto& [source, tpl] : kSmallSizes) expect_exact_for_fills<uint16_t>(source, tpl);
}
TEST_P(CrossCorr, EveryFillOfFloatsMeetsTheDefinition) {
  for (const auto& [source, tpl] : kSmallSizes) expect_exact_for_fills<float>(source, tpl);
}

// Widths of templates and of scores around every vector and block border of the direct kernels.
TEST_P(CrossCorr, EveryTemplateWidthAndScoreWidthIsCovered) {
  for (int32_t width = 1; width <= 20; ++width) {
    expect_exact(Region<uint8_t>(width + 40, 9, 1, Fill::kNoise, 1), Region<uint8_t>(width, 3, 0, Fill::kNoise, 2));
    expect_exact(Region<uint16_t>(width + 40, 9, 1, Fill::kNoise, 1), Region<uint16_t>(width, 3, 0, Fill::kNoise, 2));
  }
  for (int32_t width = 1; width <= 131; width += 5) {
    expect_exact(Region<int8_t>(width + 4, 14, 1, Fill::kNoise, 1), Region<int8_t>(5, 7, 0, Fill::kNoise, 2));
    expect_exact(Region<float>(width + 4, 14, 1, Fill::kNoise, 1), Region<float>(5, 7, 0, Fill::kNoise, 2));
  }
}

// The sums of a window are longest here: every product and square at its limit, and a difference of one grey level.
TEST_P(CrossCorr, FullScaleSumsDoNotOverflow) {
  const auto expect_type = []<class Pixel>(Pixel low, Pixel high, int32_t tpl_side) {
    const int32_t side = tpl_side + 7;
    Region<Pixel> source(side, side, 0);
    Region<Pixel> tpl(tpl_side, tpl_side, 0);
    source.assign(std::vector<Pixel>(source.count(), high));
    tpl.assign(std::vector<Pixel>(tpl.count(), high));
    source.at(side / 2, side / 2) = static_cast<Pixel>(high - 1);
    tpl.at(2, 1) = low;
    expect_exact(source, tpl);
    source.assign(std::vector<Pixel>(source.count(), low));
    source.at(side / 2, side / 2) = static_cast<Pixel>(low + 1);
    expect_exact(source, tpl);
  };
  expect_type(uint8_t{0}, uint8_t{255}, 30);
  expect_type(int8_t{-128}, int8_t{127}, 30);
  expect_type(uint16_t{0}, uint16_t{65535}, 22);  // the most that the kernel of words takes
  expect_type(uint16_t{0}, uint16_t{65535}, 23);
}

// One grey level of contrast on an offset, and strong contrast beside it, in one block.
template <class Pixel>
Region<Pixel> nearly_flat_beside_contrast(int32_t width, int32_t height, Pixel offset, uint64_t seed) {
  Region<Pixel> image(width, height, 1);
  std::mt19937_64 random(seed);
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      const bool contrast = (x / 40 + y / 30) % 3 == 0;
      image.at(x, y) = contrast ? random_value<Pixel>(random) : static_cast<Pixel>(offset + (random() % 50 == 0));
    }
  }
  return image;
}

template <class Pixel>
Region<Pixel> cut(const Region<Pixel>& image, int32_t x, int32_t y, VlixSize size) {
  Region<Pixel> part(size.width, size.height, 2);
  for (int32_t v = 0; v < size.height; ++v) {
    for (int32_t u = 0; u < size.width; ++u) part.at(u, v) = image.at(x + u, y + v);
  }
  return part;
}

template <class Pixel>
void expect_all_exact(const Region<Pixel>& source, const Region<Pixel>& tpl) {
  const VlixSize size = scores_of(source.size, tpl.size);
  const Region<float> dst(size.width, size.height, 1);
  ASSERT_EQ(cross_corr(source, tpl, dst), 0);
  expect_scores(dst.values(), exact_scores(source, tpl), size.width, kTolerance);
}

TEST_P(CrossCorr, NearlyFlatPatchesKeepTheirScore) {
  const auto bytes = nearly_flat_beside_contrast<uint8_t>(200, 120, 200, 1);
  expect_all_exact(bytes, cut(bytes, 50, 10, {12, 9}));
  const auto words = nearly_flat_beside_contrast<uint16_t>(200, 120, 60000, 2);
  expect_all_exact(words, cut(words, 50, 10, {12, 9}));
  expect_all_exact(words, cut(words, 45, 0, {30, 28}));
}

// --- Block transforms (large templates), at the best instruction set and the plainest one

std::vector<int64_t> best_and_plainest_target() {
  const std::vector<int64_t> targets = simd_targets();
  if (targets.size() == 1) return targets;
  return {targets.front(), targets.back()};
}

class CrossCorrBlocks : public SimdTargetTest {};
INSTANTIATE_TEST_SUITE_P(Simd, CrossCorrBlocks, ::testing::ValuesIn(best_and_plainest_target()), simd_target_name);

TEST_P(CrossCorrBlocks, NearlyFlatPatchesKeepTheirScore) {
  const auto bytes = nearly_flat_beside_contrast<uint8_t>(330, 290, 200, 3);
  expect_all_exact(bytes, cut(bytes, 0, 0, {70, 64}));
  expect_all_exact(bytes, cut(bytes, 60, 35, {18, 80}));
  const auto words = nearly_flat_beside_contrast<uint16_t>(330, 290, 60000, 4);
  expect_all_exact(words, cut(words, 0, 0, {70, 64}));
}

// As a camera sees a scene: uneven light, discs with blurred edges in front of one another, a clipped lamp, and noise
// that grows with the brightness.
template <class Pixel>
Region<Pixel> photograph(int32_t width, int32_t height, double black, double white) {
  std::mt19937_64 random(21);
  std::uniform_real_distribution<double> unit(0, 1);
  std::normal_distribution<double> noise(0, 1);
  std::vector<double> scene(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), 0.35);
  for (int disc = 0; disc < 60; ++disc) {
    const double x = width * unit(random);
    const double y = height * unit(random);
    const double radius = 3 + 40 * unit(random) * unit(random);
    const double shade = disc == 59 ? 1.4 : unit(random);
    for (int32_t v = 0; v < height; ++v) {
      for (int32_t u = 0; u < width; ++u) {
        double& pixel = scene[static_cast<std::size_t>(v * width + u)];
        pixel += (shade - pixel) / (1 + std::exp(std::hypot(u - x, v - y) - radius));
      }
    }
  }
  Region<Pixel> image(width, height, 2);
  for (int32_t v = 0; v < height; ++v) {
    for (int32_t u = 0; u < width; ++u) {
      const double light = (0.4 + 0.6 * u / width) * scene[static_cast<std::size_t>(v * width + u)];
      const double seen = std::clamp(light + 0.02 * std::sqrt(light) * noise(random), 0.0, 1.0);
      image.at(u, v) = static_cast<Pixel>(std::floor(black + (white - black) * seen));
    }
  }
  return image;
}

TEST_P(CrossCorrBlocks, PhotographsMeetTheDefinitionOnBothRoutes) {
  const auto expect_type = []<class Pixel>(Pixel, double black, double white) {
    const auto image = photograph<Pixel>(220, 180, black, white);
    for (const VlixSize tpl : {VlixSize{8, 8}, VlixSize{17, 12}, VlixSize{64, 70}}) {
      expect_all_exact(image, cut(image, 91, 60, tpl));
    }
  };
  expect_type(uint8_t{}, 0, 255);
  expect_type(int8_t{}, -128, 127);
  expect_type(uint16_t{}, 0, 65535);
  expect_type(uint16_t{}, 60000, 60200);
}

// Blocks of several sizes, in both directions, with remainders.
TEST_P(CrossCorrBlocks, NothingHappensAtBlockBorders) {
  const VlixSize sizes[][2] = {
      {{700, 300}, {49, 45}}, {{300, 700}, {45, 49}}, {{257, 255}, {64, 64}}, {{513, 130}, {30, 90}}};
  for (const auto& [size, tpl] : sizes) {
    SCOPED_TRACE(name_of(size, tpl));
    const Region<uint8_t> source(size.width, size.height, 3, Fill::kNoise, 5);
    expect_all_exact(source, cut(source, size.width / 3, size.height / 4, tpl));
  }
}

TEST_P(CrossCorrBlocks, OneBlockMayHoldEverything) {
  const Region<uint16_t> source(150, 140, 0, Fill::kNoise, 6);
  expect_all_exact(source, cut(source, 20, 30, {100, 100}));
  const Region<int8_t> signed_source(150, 140, 0, Fill::kNoise, 7);
  expect_all_exact(signed_source, cut(signed_source, 20, 30, {60, 70}));
}

// --- Floats

// Scores of random placements.
void expect_sampled(const Region<float>& source, const Region<float>& tpl, double tolerance, int samples = 300) {
  const VlixSize size = scores_of(source.size, tpl.size);
  const Region<float> dst(size.width, size.height, 0);
  ASSERT_EQ(cross_corr(source, tpl, dst), 0);
  std::mt19937_64 random(5);
  for (int i = 0; i < samples; ++i) {
    const auto x = static_cast<int32_t>(random() % static_cast<uint64_t>(size.width));
    const auto y = static_cast<int32_t>(random() % static_cast<uint64_t>(size.height));
    const double exact = exact_score(source, tpl, x, y).score;
    ASSERT_NEAR(dst.at(x, y), exact, tolerance) << x << "," << y;
    ASSERT_LE(std::fabs(dst.at(x, y)), 1.0F);
  }
}

Region<float> bright_and_faint(int32_t width, int32_t height, float offset, float contrast) {
  Region<float> image(width, height, 0);
  std::mt19937_64 random(8);
  std::uniform_real_distribution<float> uniform(-1, 1);
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) image.at(x, y) = offset + contrast * uniform(random);
  }
  return image;
}

constexpr VlixSize kFloatTemplates[] = {{8, 8}, {40, 50}};

TEST(CrossCorrFloat, Photographs) {
  for (const VlixSize tpl : {VlixSize{8, 8}, VlixSize{64, 70}}) {
    for (const double black : {0.0, -3000.0, 500.0}) {
      const auto image = photograph<float>(220, 180, black, black + 4000.0);
      expect_sampled(image, cut(image, 91, 60, tpl), kTolerance, 1000);
    }
  }
}

TEST(CrossCorrFloat, SmallContrastOnALargeOffset) {
  for (const VlixSize tpl : kFloatTemplates) {
    const auto image = bright_and_faint(300, 250, 0.9F, 0.004F);
    expect_sampled(image, cut(image, 100, 90, tpl), kTolerance);
    const auto negative = bright_and_faint(300, 250, -70000.0F, 100.0F);
    expect_sampled(negative, cut(negative, 100, 90, tpl), kTolerance);
  }
}

// Deviations of a thousandth of the patch's magnitude, and of a hundred-thousandth, which the contract leaves open.
TEST(CrossCorrFloat, OffsetsWithinAnImageWhoseLowestPixelIsZero) {
  for (const VlixSize tpl : kFloatTemplates) {
    for (const float contrast : {2e-3F, 2e-5F}) {
      auto image = bright_and_faint(300, 250, 1.0F, contrast);
      image.at(3, 3) = 0.0F;
      image.at(200, 140) = -1.0F;
      expect_sampled(image, cut(image, 100, 90, tpl), kTolerance, 1000);
    }
  }
}

// A lamp ten million times brighter than the scene passes through the sums and the transforms.
TEST(CrossCorrFloat, ALampDoesNotOutshineItsSurroundings) {
  for (const VlixSize tpl : kFloatTemplates) {
    auto image = bright_and_faint(300, 250, 1.0F, 0.05F);
    const auto pattern = cut(image, 20, 30, tpl);
    for (int32_t y = 120; y < 130; ++y) {
      for (int32_t x = 150; x < 162; ++x) image.at(x, y) = 1e7F + static_cast<float>(x);
    }
    expect_sampled(image, pattern, kTolerance, 1000);
  }
}

TEST(CrossCorrFloat, FlatPatchesScoreExactlyZero) {
  for (const VlixSize tpl : kFloatTemplates) {
    auto image = bright_and_faint(300, 250, 0.3F, 0.2F);
    for (int32_t y = 60; y < 160; ++y) {
      for (int32_t x = 50; x < 200; ++x) image.at(x, y) = 0.1F;  // no multiple of a power of two
    }
    for (int32_t y = 160; y < 230; ++y) {
      for (int32_t x = 50; x < 200; ++x) image.at(x, y) = 1000.7F;
    }
    const VlixSize size = scores_of(image.size, tpl);
    const Region<float> dst(size.width, size.height, 0);
    const auto pattern = cut(image, 1, 1, tpl);
    ASSERT_EQ(cross_corr(image, pattern, dst), 0);
    for (int32_t x = 50; x + tpl.width <= 200; ++x) {
      for (int32_t y = 60; y + tpl.height <= 160; ++y) ASSERT_EQ(dst.at(x, y), 0.0F) << x << "," << y;
      for (int32_t y = 160; y + tpl.height <= 230; ++y) ASSERT_EQ(dst.at(x, y), 0.0F) << x << "," << y;
    }
    expect_sampled(image, pattern, kTolerance, 1000);
    const Region<float> flat(tpl.width, tpl.height, 0, std::vector<float>(pattern.count(), 0.1F));
    ASSERT_EQ(cross_corr(image, flat, dst), 0);
    for (const float score : dst.values()) ASSERT_EQ(score, 0.0F);
  }
}

TEST(CrossCorrFloat, PixelsThatAreNotFiniteZeroTheirPlacementsAndNoOthers) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  for (const VlixSize tpl : kFloatTemplates) {
    const auto clean = bright_and_faint(300, 250, 1.0F, 0.5F);
    auto image = cut(clean, 0, 0, {300, 250});
    const auto pattern = cut(clean, 20, 30, tpl);
    const std::pair<int32_t, int32_t> strange[] = {{60, 70}, {200, 100}, {201, 180}};
    image.at(60, 70) = std::numeric_limits<float>::quiet_NaN();
    image.at(200, 100) = kInfinity;
    image.at(201, 180) = -kInfinity;
    const VlixSize size = scores_of(image.size, tpl);
    const Region<float> dst(size.width, size.height, 0);
    ASSERT_EQ(cross_corr(image, pattern, dst), 0);
    std::mt19937_64 random(3);
    for (int32_t y = 0; y < size.height; ++y) {
      for (int32_t x = 0; x < size.width; ++x) {
        bool touched = false;
        for (const auto& [u, v] : strange)
          touched = touched || (u >= x && u < x + tpl.width && v >= y && v < y + tpl.height);
        if (touched) {
          ASSERT_EQ(dst.at(x, y), 0.0F) << x << "," << y;
        } else if (random() % 64 == 0) {
          ASSERT_NEAR(dst.at(x, y), exact_score(clean, pattern, x, y).score, kTolerance) << x << "," << y;
        }
      }
    }
  }
}

TEST(CrossCorrFloat, TemplatesThatAreNotFiniteCorrelateWithNothing) {
  const auto image = bright_and_faint(40, 40, 1.0F, 0.5F);
  auto pattern = cut(image, 3, 3, {5, 5});
  const Region<float> dst(36, 36, 0);
  for (const float strange : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()}) {
    pattern.at(2, 2) = strange;
    ASSERT_EQ(cross_corr(image, pattern, dst), 0);
    for (const float score : dst.values()) ASSERT_EQ(score, 0.0F);
  }
}

TEST(CrossCorrFloat, NothingButNonFinitePixels) {
  const Region<float> image(30, 30, 0, std::vector<float>(900, std::numeric_limits<float>::quiet_NaN()));
  const auto pattern = bright_and_faint(6, 6, 1.0F, 0.5F);
  const Region<float> dst(25, 25, 0);
  ASSERT_EQ(cross_corr(image, pattern, dst), 0);
  for (const float score : dst.values()) ASSERT_EQ(score, 0.0F);
}

TEST(CrossCorrFloat, TheEndsOfTheExponentRange) {
  for (const VlixSize tpl : kFloatTemplates) {
    for (const float scale : {std::numeric_limits<float>::max() / 2, std::numeric_limits<float>::min() / 64}) {
      const auto image = bright_and_faint(200, 190, 0.0F, scale);
      expect_sampled(image, cut(image, 40, 50, tpl), kTolerance);
    }
  }
}

// --- Properties

TEST(CrossCorrProperties, ATemplateFindsItselfAndItsNegativeTheOpposite) {
  for (const VlixSize tpl : {VlixSize{6, 7}, VlixSize{60, 50}}) {
    const Region<uint8_t> image(260, 240, 0, Fill::kNoise, 9);
    const auto pattern = cut(image, 77, 99, tpl);
    Region<uint8_t> negative(tpl.width, tpl.height, 0);
    for (int32_t y = 0; y < tpl.height; ++y) {
      for (int32_t x = 0; x < tpl.width; ++x) negative.at(x, y) = static_cast<uint8_t>(255 - pattern.at(x, y));
    }
    const VlixSize size = scores_of(image.size, tpl);
    const Region<float> dst(size.width, size.height, 0);
    ASSERT_EQ(cross_corr(image, pattern, dst), 0);
    EXPECT_EQ(dst.at(77, 99), 1.0F);
    ASSERT_EQ(cross_corr(image, negative, dst), 0);
    EXPECT_EQ(dst.at(77, 99), -1.0F);
  }
}

TEST(CrossCorrProperties, GainAndOffsetDoNotMatter) {
  const Region<uint8_t> bytes(150, 130, 0, Fill::kNoise, 10);
  Region<uint16_t> words(150, 130, 0);
  Region<float> floats(150, 130, 0);
  for (int32_t y = 0; y < 130; ++y) {
    for (int32_t x = 0; x < 150; ++x) {
      words.at(x, y) = static_cast<uint16_t>(300 + 200 * bytes.at(x, y));
      floats.at(x, y) = 0.25F * static_cast<float>(bytes.at(x, y)) - 1000.0F;
    }
  }
  for (const VlixSize tpl : {VlixSize{9, 5}, VlixSize{50, 60}}) {
    const VlixSize size = scores_of(bytes.size, tpl);
    const Region<float> a(size.width, size.height, 0);
    const Region<float> b(size.width, size.height, 0);
    const Region<float> c(size.width, size.height, 0);
    ASSERT_EQ(cross_corr(bytes, cut(bytes, 31, 17, tpl), a), 0);
    ASSERT_EQ(cross_corr(words, cut(words, 31, 17, tpl), b), 0);
    ASSERT_EQ(cross_corr(floats, cut(floats, 31, 17, tpl), c), 0);
    for (int32_t y = 0; y < size.height; ++y) {
      for (int32_t x = 0; x < size.width; ++x) {
        ASSERT_NEAR(a.at(x, y), b.at(x, y), kTolerance);
        ASSERT_NEAR(a.at(x, y), c.at(x, y), kTolerance);
      }
    }
  }
}

TEST(CrossCorrProperties, ThePositionInTheImageDoesNotMatter) {
  const Region<uint16_t> image(400, 300, 0, Fill::kNoise, 13);
  const auto pattern = cut(image, 10, 10, {64, 48});
  const Region<float> whole(337, 253, 0);
  ASSERT_EQ(cross_corr(image, pattern, whole), 0);
  const auto part = cut(image, 91, 57, {200, 180});
  const Region<float> dst(137, 133, 0);
  ASSERT_EQ(cross_corr(part, pattern, dst), 0);
  for (int32_t y = 0; y < 133; ++y) {
    for (int32_t x = 0; x < 137; ++x) ASSERT_NEAR(dst.at(x, y), whole.at(x + 91, y + 57), kTolerance);
  }
}

// --- Memory

// Fails each request for small memory in turn. Transforms are left out: their planner ends the process.
TEST(CrossCorrMemory, EveryFailedRequestIsReportedAndNothingLeaks) {
  if (!HeapWatch::available()) GTEST_SKIP() << "the sanitizers own malloc";
  const auto image = bright_and_faint(60, 50, 1.0F, 0.5F);
  for (const VlixSize tpl : {VlixSize{7, 6}, VlixSize{60, 50}}) {
    const auto pattern = cut(image, 0, 0, tpl);
    const VlixSize size = scores_of(image.size, tpl);
    const Region<float> dst(size.width, size.height, 0);
    ASSERT_EQ(cross_corr(image, pattern, dst), 0);
    int refused = 0;
    for (int nth = 1;; ++nth) {
      HeapWatch::reset();
      HeapWatch::fail_nth(nth);
      HeapWatch::enable();
      const int32_t result = cross_corr(image, pattern, dst);
      HeapWatch::disable();
      ASSERT_EQ(HeapWatch::live(), 0) << "request " << nth;
      if (result == 0) break;
      ++refused;
    }
    HeapWatch::reset();
    EXPECT_GE(refused, 1);
  }
}

}  // namespace
}  // namespace vlix::test
