// SPDX-License-Identifier: Apache-2.0
// Scores of all pairs of types against the twin, and the properties of the measure.
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <vector>

#include "match/scores.h"
#include "match/sod_twin.h"
#include "support/test_image.h"
#include "vlix/meas.h"

namespace vlix::test {
namespace {

constexpr int32_t kTemplateWidths[] = {1, 2, 3, 7, 8, 9, 15, 17, 33};
constexpr int32_t kScoreWidths[] = {1, 2, 7, 8, 9, 31, 32, 33, 39, 40, 41, 63, 64, 65, 96, 131};
constexpr int32_t kTemplateHeights[] = {1, 3, 6};

template <class Target, class Template>
void expect_twin(int32_t width, int32_t height, int32_t columns, int32_t rows, uint64_t seed) {
  const Fill fill = kFills[seed % std::size(kFills)];
  const Fill template_fill = kFills[seed / 7 % std::size(kFills)];
  const auto at = [&](uint64_t shift) { return static_cast<int32_t>(seed >> shift & 3); };
  // Every other target ends at the protected page with its region's last pixel.
  const Frame frame = {at(0), at(1), seed % 2 == 0 ? 0 : at(2), seed % 2 == 0 ? 0 : 1};
  FramedImage<Target> target(columns + width - 1, rows + height - 1, frame, fill, seed);
  FramedImage<Template> templ(width, height, {at(3), at(4), 0, 0}, template_fill, seed + 1);
  const std::vector<uint16_t> expected = sod_twin(target, templ);
  const bool has_primitives = std::is_same_v<Target, uint8_t> && std::is_same_v<Template, uint8_t>;
  for (int32_t level = 0; level < (has_primitives ? 3 : 1); ++level) {
    const LevelScope scope(level);
    OutputImage dst;
    ASSERT_EQ(vlix_sod(&target.record, &templ.record, &dst.record), 0);
    ASSERT_EQ(dst.record.roiWidth, columns);
    ASSERT_EQ(dst.record.roiHeight, rows);
    ASSERT_EQ(region_values<uint16_t>(dst), expected)
        << width << "x" << height << " over " << columns << "x" << rows << " level " << level << " seed " << seed
        << " types " << target.record.type << " " << templ.record.type;
  }
}

TEST(SodPairs, EveryPairOfTypesIsItsTwin) {
  uint64_t seed = 1;
  for_all_pairs([&]<class Target, class Template>() {
    for (int32_t width : kTemplateWidths) {
      for (int32_t columns : kScoreWidths) {
        for (int32_t height : kTemplateHeights) {
          expect_twin<Target, Template>(width, height, columns, 1 + static_cast<int32_t>(seed % 3), seed);
          ++seed;
        }
      }
    }
  });
}

TEST(SodPairs, BytesOfEveryWidthAreTheirTwin) {
  uint64_t seed = 9000;
  for (int32_t width = 1; width <= 40; ++width) {
    for (int32_t columns = 1; columns <= 150; columns += columns < 20 ? 1 : 7) {
      expect_twin<uint8_t, uint8_t>(width, 1 + static_cast<int32_t>(seed % 9), columns,
                                    1 + static_cast<int32_t>(seed % 6), seed);
      ++seed;
    }
  }
}

template <class Target, class Template>
std::vector<uint16_t> scores(TestImage<Target>& target, TestImage<Template>& templ) {
  const LevelScope level(0);
  OutputImage dst;
  RC_ASSERT(vlix_sod(&target.record, &templ.record, &dst.record) == 0);
  return region_values<uint16_t>(dst);
}

template <class Pixel>
void add_to_all(TestImage<Pixel>& image, int32_t value) {
  for (int32_t y = 0; y < image.record.height; ++y) {
    for (int32_t x = 0; x < image.record.width; ++x) image.at(x, y) = static_cast<Pixel>(image.at(x, y) + value);
  }
}

RC_GTEST_PROP(SodPairs, ExchangingEqualSizesChangesNothing, ()) {
  const auto width = *rc::gen::inRange(1, 90);
  const auto height = *rc::gen::inRange(1, 6);
  const auto seed = *rc::gen::arbitrary<uint64_t>();
  for_all_pairs([&]<class Target, class Template>() {
    TestImage<Target> a(width, height, Fill::kNoise, seed);
    TestImage<Template> b(width, height, Fill::kNoise, seed + 1);
    RC_ASSERT(scores(a, b) == scores(b, a));
  });
}

RC_GTEST_PROP(SodPairs, CommonOffsetChangesNothing, ()) {
  const auto width = *rc::gen::inRange(1, 20);
  const auto columns = *rc::gen::inRange(1, 90);
  const auto offset = *rc::gen::inRange(1, 1000);
  TestImage<int16_t> target(columns + width - 1, 5, Fill::kRamp, 0);
  TestImage<uint16_t> templ(width, 2, Fill::kRamp, 0);
  const auto before = scores(target, templ);
  add_to_all(target, offset);
  add_to_all(templ, offset);
  RC_ASSERT(scores(target, templ) == before);
}

RC_GTEST_PROP(SodPairs, HalvesOfATemplateAddUp, ()) {
  const auto width = *rc::gen::inRange(1, 16);
  const auto columns = *rc::gen::inRange(1, 90);
  const auto upper = *rc::gen::inRange(1, 5);
  const auto seed = *rc::gen::arbitrary<uint64_t>();
  // At most 15 * 10 * 255 = 38250: nothing saturates.
  TestImage<uint8_t> target(columns + width - 1, 13, Fill::kNoise, seed);
  TestImage<uint8_t> templ(width, 10, Fill::kNoise, seed + 1);
  const auto whole = scores(target, templ);
  templ.set_roi(0, 0, width, upper);
  target.set_roi(0, 0, target.record.width, 13 - 10 + upper);
  const auto top = scores(target, templ);
  templ.set_roi(0, upper, width, 10 - upper);
  target.set_roi(0, upper, target.record.width, 13 - upper);
  const auto bottom = scores(target, templ);
  for (std::size_t i = 0; i < whole.size(); ++i) RC_ASSERT(whole[i] == top[i] + bottom[i]);
}

}  // namespace
}  // namespace vlix::test
