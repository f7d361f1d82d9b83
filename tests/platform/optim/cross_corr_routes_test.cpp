// SPDX-License-Identifier: Apache-2.0
// Each route by itself, whatever the cost rule would choose: links the objects of the primitives library.
#include <gtest/gtest.h>

#include "optim/cross_corr_blocks.h"
#include "optim/cross_corr_direct.h"
#include "optim/cross_corr_pattern.h"
#include "optim/cross_corr_score.h"
#include "platform/optim/cross_corr_twin.h"
#include "support/simd_targets.h"

namespace vlix::test {
namespace {

using namespace optim::cross_corr;
using optim::Rows;

constexpr double kTolerance = 1e-7;  // see cross_corr_test.cpp

template <class Pixel>
Levels levels_of(const Rows<const Pixel>&) {
  return {};
}
Levels levels_of(const Rows<const float>& source) { return float_levels(source); }

// A source and a template cut out of it, both with one grey level of contrast in places, and the exact scores.
template <class Pixel>
struct Case {
  Case(VlixSize size, VlixSize tpl_size)
      : source(size.width, size.height, 3),
        tpl(tpl_size.width, tpl_size.height, 1),
        dst(size.width - tpl_size.width + 1, size.height - tpl_size.height + 1, 2) {
    std::mt19937_64 random(17);
    for (int32_t y = 0; y < size.height; ++y) {
      for (int32_t x = 0; x < size.width; ++x) {
        const auto level = static_cast<int32_t>(sizeof(Pixel) == 1 ? random() % 256 : random() % 65536);
        const auto faint = static_cast<int32_t>((sizeof(Pixel) == 1 ? 200 : 60000) + (random() % 40 == 0));
        source.at(x, y) = static_cast<Pixel>((x / 30 + y / 30) % 3 == 0 ? level : faint);
      }
    }
    for (int32_t y = 0; y < tpl_size.height; ++y) {
      for (int32_t x = 0; x < tpl_size.width; ++x)
        tpl.at(x, y) = source.at(x + dst.size.width / 3, y + dst.size.height / 2);
    }
    tpl.at(0, 0) = static_cast<Pixel>(tpl.at(0, 0) == Pixel{0} ? 1 : tpl.at(0, 0) - 1);  // never flat
    exact = exact_scores(source, tpl);
  }

  Problem<Pixel> problem() const {
    const Rows<const Pixel> from(source.data(), source.step, source.size);
    const Rows<const Pixel> pattern(tpl.data(), tpl.step, tpl.size);
    const Levels levels = levels_of(from);
    return {from, pattern, Rows<float>(dst.data(), dst.step, dst.size), levels, make_pattern(pattern, levels)};
  }

  template <class Run>
  void expect(Run run) const {
    for (int32_t y = 0; y < dst.size.height; ++y) {
      for (int32_t x = 0; x < dst.size.width; ++x) dst.at(x, y) = 77.0F;
    }
    run(problem());
    expect_scores(dst.values(), exact, dst.size.width, kTolerance);
    EXPECT_TRUE(dst.gaps_are_untouched());
  }

  Region<Pixel> source;
  Region<Pixel> tpl;
  Region<float> dst;
  std::vector<Exact> exact;
};

class CrossCorrRoutes : public SimdTargetTest {};
VLIX_AT_ALL_TARGETS(CrossCorrRoutes);

constexpr VlixSize kSizes[][2] = {{{150, 140}, {40, 30}}, {{64, 64}, {64, 64}}, {{97, 200}, {20, 64}},
                                  {{200, 97}, {64, 20}},  {{130, 65}, {1, 7}},  {{90, 130}, {49, 1}},
                                  {{65, 66}, {17, 50}},   {{33, 30}, {2, 2}}};

// Transforms just large enough, larger than needed, and ones that cover everything; many blocks and bands, or one.
template <class Pixel>
void expect_blocks() {
  for (const auto& [size, tpl] : kSizes) {
    const Case<Pixel> test(size, tpl);
    for (const int32_t width : {64, 112, 256}) {
      for (const int32_t height : {50, 65, 256}) {
        const bool covers_width = width >= size.width;
        if (!covers_width && width < tpl.width + 15) continue;
        if (height < tpl.height) continue;
        SCOPED_TRACE(testing::Message() << size.width << "x" << size.height << " with " << tpl.width << "x"
                                        << tpl.height << " by " << width << "x" << height);
        test.expect([&](const Problem<Pixel>& problem) { score_in_blocks(problem, {width, height, 0}); });
      }
    }
  }
}

TEST_P(CrossCorrRoutes, BlocksOfBytes) { expect_blocks<uint8_t>(); }
TEST_P(CrossCorrRoutes, BlocksOfWords) { expect_blocks<uint16_t>(); }
TEST_P(CrossCorrRoutes, BlocksOfFloats) { expect_blocks<float>(); }

template <class Pixel>
void expect_direct(DirectKind kind) {
  for (const auto& [size, tpl] : kSizes) {
    SCOPED_TRACE(testing::Message() << size.width << "x" << size.height << " with " << tpl.width << "x" << tpl.height);
    Case<Pixel>(size, tpl).expect([kind](const Problem<Pixel>& problem) { score_directly(problem, kind); });
  }
}

// The fastest kernel of bytes at this instruction set, and the one that every instruction set has.
TEST_P(CrossCorrRoutes, DirectBytes) {
  expect_direct<uint8_t>(plan_directly<uint8_t>(9, 9, 50, 50).kind);
  expect_direct<uint8_t>(DirectKind::kDoubles);
}

TEST_P(CrossCorrRoutes, DirectWords) {
  if (plan_directly<uint16_t>(9, 9, 50, 50).kind == DirectKind::kWords) {
    // Its sums hold templates of up to 511 pixels.
    for (const VlixSize tpl : {VlixSize{73, 7}, VlixSize{7, 73}, VlixSize{22, 23}, VlixSize{5, 3}}) {
      Case<uint16_t>({130, 120}, tpl).expect([](const auto& problem) { score_directly(problem, DirectKind::kWords); });
    }
  }
  expect_direct<uint16_t>(DirectKind::kDoubles);
}

TEST_P(CrossCorrRoutes, DirectFloats) { expect_direct<float>(DirectKind::kDoubles); }

template <class Pixel>
void expect_single() {
  for (const auto& [size, tpl] : kSizes) {
    Case<Pixel>(size, tpl).expect([](const Problem<Pixel>& problem) { score_singly(problem); });
  }
}

TEST_P(CrossCorrRoutes, OneByOne) {
  expect_single<uint8_t>();
  expect_single<uint16_t>();
  expect_single<float>();
}

// Sums too large for 32 bits, and N Q - S^2 too large for 64.
TEST(CrossCorrLimits, LargeTemplates) {
  const Case<uint8_t> bytes({280, 270}, {262, 260});  // 68120 pixels
  bytes.expect([](const auto& problem) { score_in_blocks(problem, {320, 320, 0}); });
  const Case<uint16_t> words({410, 400}, {395, 390});  // 154050 pixels
  words.expect([](const auto& problem) { score_in_blocks(problem, {512, 400, 0}); });
}

// The largest of all deviations: N Q - S^2 just fits 64 bits.
TEST(CrossCorrLimits, HalfBlackHalfWhiteAtTheLimitOf64Bits) {
  constexpr int32_t kWidth = 512;
  constexpr int32_t kHeight = 256;  // 2^17 pixels
  Region<uint16_t> source(kWidth + 3, kHeight + 2);
  Region<uint16_t> tpl(kWidth, kHeight);
  for (int32_t y = 0; y < source.size.height; ++y) {
    for (int32_t x = 0; x < source.size.width; ++x) source.at(x, y) = x % 2 == 0 ? 0 : 65535;
  }
  for (int32_t y = 0; y < kHeight; ++y) {
    for (int32_t x = 0; x < kWidth; ++x) tpl.at(x, y) = x % 2 == 0 ? 0 : 65535;
  }
  const Region<float> dst(4, 3);
  ASSERT_EQ(cross_corr(source, tpl, dst), 0);
  for (int32_t y = 0; y < 3; ++y) {
    for (int32_t x = 0; x < 4; ++x) EXPECT_EQ(dst.at(x, y), x % 2 == 0 ? 1.0F : -1.0F);
  }
}

TEST(CrossCorrPlan, TransformsAlwaysHoldTheTemplateAndAGroupOfPlacements) {
  for (const std::size_t tpl : {1U, 2U, 15U, 16U, 17U, 50U, 64U, 100U, 500U, 1000U, 5000U}) {
    for (const std::size_t scores : {1U, 2U, 30U, 64U, 1000U, 20000U}) {
      const BlockPlan plan = plan_in_blocks(tpl, 7, scores, 20);
      ASSERT_GT(plan.width, 0);
      ASSERT_EQ(plan.width % 16, 0);
      const auto width = static_cast<std::size_t>(plan.width);
      ASSERT_TRUE(width >= tpl + scores - 1 || width >= tpl + 15) << tpl << " " << scores << " " << width;
      const BlockPlan upright = plan_in_blocks(7, tpl, 20, scores);
      ASSERT_GE(static_cast<std::size_t>(upright.height), tpl);
    }
  }
}

// The memory of a plan depends on the template, not on the image.
TEST(CrossCorrPlan, BlocksDoNotGrowWithTheImage) {
  const BlockPlan plan = plan_in_blocks(64, 64, 100000, 100000);
  EXPECT_LE(int64_t{plan.width} * plan.height, 1 << 21);
  const BlockPlan wide = plan_in_blocks(3000, 2, 100000, 100000);
  EXPECT_LE(int64_t{wide.width} * wide.height, 1 << 21);
  const BlockPlan large = plan_in_blocks(3000, 3000, 100000, 100000);
  EXPECT_LE(int64_t{large.width} * large.height, 8 * 3000 * 3000);
}

}  // namespace
}  // namespace vlix::test
