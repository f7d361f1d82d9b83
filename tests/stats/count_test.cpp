// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "stats/count_twin.h"
#include "stats/formats.h"
#include "support/recording_platform.h"
#include "support/test_image.h"
#include "vlix/meas.h"

namespace vlix::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr uint32_t kUntouched = 0xDEADBEEF;
constexpr int32_t kLowestInt = std::numeric_limits<int32_t>::min();
constexpr int32_t kHighestInt = std::numeric_limits<int32_t>::max();
const std::string kLevelCall = "VlixOptimGetLevel()";

constexpr Format kCountable[] = {kU8, kS8, kU16, kS16, kF32, kRgba8, kColour20, kColour21, kColour30, kColour36};

uint32_t count_non_zero(const VlixImage& image, int32_t level) {
  const LevelScope scope(level);
  uint32_t count = kUntouched;
  EXPECT_EQ(vlix_countPix(&image, &count), 0);
  return count;
}

uint32_t count_between(const VlixImage& image, int32_t level, int32_t low, int32_t high) {
  const LevelScope scope(level);
  uint32_t count = kUntouched;
  EXPECT_EQ(vlix_countThreshPix(&image, &count, low, high), 0);
  return count;
}

// ---- Checks and reports ----

TEST(CountPix, OtherTypesAreRefusedUnderOneNameByBoth) {
  for (uint32_t type : {0u,  5u,  8u,  9u,  12u, 13u, 14u, 15u, 16u,         18u,        22u,
                        24u, 29u, 31u, 35u, 37u, 39u, 44u, 70u, 0x80000006u, 0xFFFFFFFFu}) {
    RecordingPlatform platform;
    RawImage image(kF64, 3, 2);
    image.record.type = type;
    const Report expected = {1, "countPix", VlixObjGetName(static_cast<int32_t>(type))};
    uint32_t count = kUntouched;
    EXPECT_EQ(platform.call(vlix_countPix, &image.record, &count), platform.report_result) << type;
    EXPECT_EQ(platform.call(vlix_countThreshPix, &image.record, &count, 5, 1), platform.report_result) << type;
    EXPECT_THAT(platform.reports(), ElementsAre(expected, expected));
    // The type comes before the null pointer.
    platform.clear();
    EXPECT_EQ(platform.call(vlix_countPix, &image.record, nullptr), platform.report_result);
    EXPECT_EQ(platform.call(vlix_countThreshPix, &image.record, nullptr, 0, 0), platform.report_result);
    EXPECT_THAT(platform.reports(), ElementsAre(expected, expected));
    EXPECT_EQ(count, kUntouched);
  }
}

TEST(CountPix, NullCountOnlyValidates) {
  for (const Format& format : kCountable) {
    for (int32_t level : {0, 1, 2}) {
      RecordingPlatform platform;
      platform.level = level;
      RawImage image(format, 3, 2);
      image.record.data = nullptr;
      EXPECT_EQ(platform.call(vlix_countPix, &image.record, nullptr), 0);
      EXPECT_EQ(platform.call(vlix_countThreshPix, &image.record, nullptr, 1, 2), 0);
      EXPECT_THAT(platform.calls(), IsEmpty());
      EXPECT_THAT(platform.reports(), IsEmpty());
    }
  }
}

// ---- Platform calls ----

TEST(CountPix, OnlyUnsignedBytesGoToThePrimitive) {
  for (const Format& format : kCountable) {
    for (int32_t level : {0, 1, 2, -1}) {
      RecordingPlatform platform;
      platform.level = level;
      RawImage image(format, 11, 7);
      image.crop(3, 2, 3, 1);
      platform.name(image.record.data, image.bytes(), "pixels");
      uint32_t count = kUntouched;
      EXPECT_EQ(platform.call(vlix_countPix, &image.record, &count), 0);
      if (format.code == 10 && level != 0) {
        EXPECT_THAT(platform.calls(),
                    ElementsAre(kLevelCall, "vlix_ippiCountInRange_8u_C1R(pixels+25, 11, 5x4, 1, 255)"));
      } else {
        EXPECT_THAT(platform.calls(), ElementsAre(kLevelCall)) << format;
      }
      EXPECT_EQ(count, count_non_zero_twin(format, image));
      platform.clear();
      EXPECT_EQ(platform.call(vlix_countThreshPix, &image.record, &count, 9, 200), 0);
      if (format.code == 10 && level != 0) {
        EXPECT_THAT(platform.calls(),
                    ElementsAre(kLevelCall, "vlix_ippiCountInRange_8u_C1R(pixels+25, 11, 5x4, 10, 200)"));
      } else {
        EXPECT_THAT(platform.calls(), ElementsAre(kLevelCall)) << format;
      }
      EXPECT_EQ(count, count_between_twin(format, image, 9, 200));
      EXPECT_THAT(platform.reports(), IsEmpty());
      EXPECT_THAT(platform.heap_requests(), IsEmpty());
    }
  }
}

TEST(CountPix, BoundsReachThePrimitiveModulo256) {
  struct Row {
    int32_t low, high;
    std::string bounds;
  };
  const Row rows[] = {{255, 255, "0, 255)"},
                      {254, 256, "255, 0)"},
                      {-1, 255, "0, 255)"},
                      {-2, 511, "255, 255)"},
                      {256, 300, "1, 44)"},
                      {kHighestInt, kLowestInt, "0, 0)"},
                      {kLowestInt, kHighestInt, "1, 255)"}};
  for (const Row& row : rows) {
    RecordingPlatform platform;
    platform.level = 1;
    RawImage image(kU8, 40, 40);
    platform.name(image.record.data, image.bytes(), "pixels");
    uint32_t count = kUntouched;
    EXPECT_EQ(platform.call(vlix_countThreshPix, &image.record, &count, row.low, row.high), 0);
    EXPECT_THAT(platform.calls(),
                ElementsAre(kLevelCall, "vlix_ippiCountInRange_8u_C1R(pixels, 40, 40x40, " + row.bounds));
    EXPECT_EQ(count, count_by_primitive_twin(image, row.low, row.high));
  }
}

TEST(CountPix, FailingPrimitiveIsReplacedInSilence) {
  for (int32_t result : {-8, 1}) {
    RecordingPlatform platform;
    platform.level = 1;
    platform.fail("vlix_ippiCountInRange_8u_C1R", 1, result);
    RawImage image(kU8, 40, 40);
    uint32_t count = kUntouched;
    EXPECT_EQ(platform.call(vlix_countPix, &image.record, &count), 0);
    EXPECT_EQ(count, count_non_zero_twin(kU8, image));
    // Without the primitive nothing is taken modulo 256.
    platform.fail("vlix_ippiCountInRange_8u_C1R", 1, result);
    EXPECT_EQ(platform.call(vlix_countThreshPix, &image.record, &count, 255, 300), 0);
    EXPECT_EQ(count, 0u);
    EXPECT_THAT(platform.reports(), IsEmpty());
    EXPECT_EQ(platform.calls_of("vlix_ippiCountInRange_8u_C1R").size(), 2u);
  }
}

// ---- Values known beforehand ----

TEST(CountPix, AllZerosAndAllOnes) {
  for (int32_t level : {0, 1, 2}) {
    for (const Format& format : kCountable) {
      RawImage image(format, 30, 20);
      image.crop(1, 2, 3, 4);
      std::memset(image.record.data, 0, image.bytes());
      EXPECT_EQ(count_non_zero(image.record, level), 0u) << format;
      std::memset(image.record.data, 255, image.bytes());
      EXPECT_EQ(count_non_zero(image.record, level), 26u * 14u) << format;
    }
  }
}

TEST(CountPix, NegativeZeroIsZeroAndNotANumberIsNot) {
  RawImage image(kF32, 37, 3);
  for (int32_t level : {0, 1, 2}) {
    for (int32_t y = 0; y < 3; ++y) {
      for (int32_t x = 0; x < 37; ++x) image.put(x, y, -0.0f);
    }
    EXPECT_EQ(count_non_zero(image.record, level), 0u);
    image.put(36, 2, std::numeric_limits<float>::quiet_NaN());
    image.put(5, 1, std::numeric_limits<float>::denorm_min());
    image.put(0, 0, -std::numeric_limits<float>::infinity());
    EXPECT_EQ(count_non_zero(image.record, level), 3u);
    EXPECT_EQ(count_between(image.record, level, -1, 0), 108u);
    EXPECT_EQ(count_between(image.record, level, 0, kHighestInt), 1u);
    EXPECT_EQ(count_between(image.record, level, kLowestInt, kHighestInt), 109u);
  }
}

// 16777217 and 2147483647 become 2^24 and 2^31 in 32-bit floats.
TEST(CountThreshPix, FloatThresholdsAreRounded) {
  RawImage image(kF32, 4, 1);
  const float values[] = {0x1p24f, 16777218.0f, 0x1p31f, 0x1p32f};
  for (int32_t x = 0; x < 4; ++x) image.put(x, 0, values[x]);
  for (int32_t level : {0, 1, 2}) {
    EXPECT_EQ(count_between(image.record, level, 16777215, 16777217), 1u);
    EXPECT_EQ(count_between(image.record, level, 16777217, kHighestInt), 2u);
  }
}

TEST(CountPix, UnusedBitsOfColoursDoNotCount) {
  for (const Format& format : kCountable) {
    if (format.channels == 1) continue;
    const uint32_t unused = format.code == 36 ? 0xC0000000u : 0xFF000000u;
    RawImage image(format, 19, 1);
    for (int32_t level : {0, 1, 2}) {
      for (int32_t x = 0; x < 19; ++x) image.put(x, 0, unused);
      EXPECT_EQ(count_non_zero(image.record, level), 0u) << format;
      for (uint32_t bit = 1; (bit & unused) == 0; bit <<= 1) {
        image.put(18, 0, unused | bit);
        EXPECT_EQ(count_non_zero(image.record, level), 1u) << format << " " << bit;
      }
    }
  }
}

TEST(CountThreshPix, EachChannelHasBoundsOfItsOwn) {
  RawImage bytes(kRgba8, 3, 1), words(kColour36, 3, 1);
  const auto packed_bytes = [](uint32_t a, uint32_t b, uint32_t c, uint32_t d) {
    return static_cast<int32_t>(d << 24 | c << 16 | b << 8 | a);
  };
  const auto packed_words = [](uint32_t a, uint32_t b, uint32_t c, uint32_t d) {
    return static_cast<int32_t>(d << 30 | c << 20 | b << 10 | a);
  };
  bytes.put(0, 0, packed_bytes(11, 200, 255, 0));
  bytes.put(1, 0, packed_bytes(10, 200, 255, 9));   // channel 0 at its lower threshold
  bytes.put(2, 0, packed_bytes(20, 201, 255, 99));  // channel 1 above
  words.put(0, 0, packed_words(11, 700, 1023, 0));
  words.put(1, 0, packed_words(11, 700, 600, 1));   // channel 2 at its lower threshold
  words.put(2, 0, packed_words(21, 700, 1023, 2));  // channel 0 above
  for (int32_t level : {0, 1, 2}) {
    EXPECT_EQ(count_between(bytes.record, level, packed_bytes(10, 100, 254, 255), packed_bytes(20, 200, 255, 0)), 1u);
    EXPECT_EQ(count_between(words.record, level, packed_words(10, 600, 600, 3), packed_words(20, 700, 1023, 0)), 1u);
    // A channel without a value between its bounds lets nothing through.
    EXPECT_EQ(count_between(bytes.record, level, packed_bytes(0, 100, 255, 0), packed_bytes(255, 200, 255, 0)), 0u);
    EXPECT_EQ(count_between(words.record, level, packed_words(0, 0, 600, 0), packed_words(1023, 1023, 600, 0)), 0u);
  }
}

TEST(CountThreshPix, EmptyRangesCountNothing) {
  for (const Format& format : kCountable) {
    RawImage image(format, 50, 3);
    for (const auto& [low, high] :
         {std::pair{100, 100}, {0, 0}, {9, 3}, {kHighestInt, kLowestInt}, {kHighestInt, kHighestInt}}) {
      EXPECT_EQ(count_between(image.record, 0, low, high), 0u) << format << " " << low << " " << high;
    }
  }
}

TEST(CountThreshPix, LowOf255CountsDifferentlyByThePrimitive) {
  RawImage image(kU8, 256, 1);
  for (int32_t x = 0; x < 256; ++x) image.put(x, 0, static_cast<uint8_t>(x));
  for (int32_t high : {0, 77, 255, 256, 300}) {
    EXPECT_EQ(count_between(image.record, 0, 255, high), 0u);
    EXPECT_EQ(count_between(image.record, 1, 255, high), static_cast<uint32_t>(high % 256 + 1));
    EXPECT_EQ(count_between(image.record, 2, 255, high), static_cast<uint32_t>(high % 256 + 1));
  }
}

TEST(CountThreshPix, ThresholdsBeyondTheTypeCutNothingOff) {
  for (const Format& format : {kU8, kS8, kU16, kS16}) {
    RawImage image(format, 60, 4);
    EXPECT_EQ(count_between(image.record, 0, kLowestInt, kHighestInt), 240u) << format;
    EXPECT_EQ(count_between(image.record, 0, -32769, 65535), 240u) << format;
    EXPECT_EQ(count_between(image.record, 0, 65535, kHighestInt), 0u) << format;
    EXPECT_EQ(count_between(image.record, 0, kLowestInt, -32769), 0u) << format;
  }
}

TEST(CountPix, EmptyRegionsCountNothing) {
  for (const Format& format : kCountable) {
    for (int32_t level : {0, 1, 2}) {
      RawImage image(format, 5, 5);
      image.record.roiHeight = 0;
      EXPECT_EQ(count_non_zero(image.record, level), 0u);
      EXPECT_EQ(count_between(image.record, level, -1, 200), 0u);
      image.record.roiHeight = -3;
      EXPECT_EQ(count_non_zero(image.record, level), 0u);
      EXPECT_EQ(count_between(image.record, level, -1, 200), 0u);
    }
  }
}

// ---- Against the twins ----

struct Range {
  int32_t low, high;
};
constexpr Range kRanges[] = {{0, 100},    {-50, 50},     {100, 255},           {99, 100},       {-1, 0},
                             {-129, 127}, {1000, 40000}, {0x204080, 0x70C0FF}, {0, 0x3FFFFFFF}, {-300, 0x7FFFFFFF}};

void expect_twins(const Format& format, const RawImage& image) {
  for (int32_t level : {0, 1, 2}) {
    ASSERT_EQ(count_non_zero(image.record, level), count_non_zero_twin(format, image)) << "level " << level;
    for (const auto& [low, high] : kRanges) {
      const uint32_t expected = format.code == 10 && level != 0 ? count_by_primitive_twin(image, low, high)
                                                                : count_between_twin(format, image, low, high);
      ASSERT_EQ(count_between(image.record, level, low, high), expected)
          << "level " << level << " range " << low << " " << high;
    }
  }
}

TEST(CountTwin, AllWidthsAndOrigins) {
  uint64_t seed = 300;
  for (const Format& format : kCountable) {
    for (int32_t width = 1; width <= 131; ++width) {
      SCOPED_TRACE(testing::Message() << format << " width " << width);
      RawImage image(format, width + 4, 3, Fill::kNoise, ++seed);
      image.crop(width % 5, 1, 4 - width % 5, 0);
      // Noise has few zeros.
      for (int32_t x = 0; x < width; x += 3) std::memset(image.pixel(x, 1), 0, static_cast<std::size_t>(format.bytes));
      expect_twins(format, image);
    }
  }
}

TEST(CountTwin, AllFills) {
  for (const Format& format : kCountable) {
    for (const Fill fill : kFills) {
      SCOPED_TRACE(testing::Message() << format << " " << name_of(fill));
      RawImage image(format, 201, 9, fill, 42);
      expect_twins(format, image);
      image.crop(7, 2, 1, 1);
      expect_twins(format, image);
    }
  }
}

// Such regions are read at several places at once; neither the rows nor their bytes divide by four.
TEST(CountTwin, RegionsOfManyMegabytes) {
  for (const Format& format : {kS8, kF32, kColour36}) {
    SCOPED_TRACE(format.name);
    RawImage image(format, 1237, 6500000 / format.bytes / 1237 + 1, Fill::kNoise, 11);
    EXPECT_EQ(count_non_zero(image.record, 0), count_non_zero_twin(format, image));
    image.crop(1, 0, 1, 0);
    EXPECT_EQ(count_between(image.record, 0, 9, 100), count_between_twin(format, image, 9, 100));
  }
}

// Lanes of bytes are emptied after 255 vectors, lanes of words after 65535.
TEST(CountTwin, LanesAreEmptiedInTime) {
  for (const Format& format : {kU8, kS8}) {
    for (int32_t vectors : {254, 255, 256, 511, 1000}) {
      RawImage image(format, vectors * 64 + 3, 1, Fill::kHighest, 1);
      EXPECT_EQ(count_non_zero(image.record, 0), static_cast<uint32_t>(vectors * 64 + 3));
      EXPECT_EQ(count_between(image.record, 0, 0, 255), static_cast<uint32_t>(vectors * 64 + 3));
    }
  }
  for (const Format& format : {kU16, kF32}) {
    const int32_t width = 65537 * (64 / format.bytes) + 3;
    RawImage image(format, width, 1, Fill::kHighest, 1);
    EXPECT_EQ(count_non_zero(image.record, 0), static_cast<uint32_t>(width));
    EXPECT_EQ(count_between(image.record, 0, 0, kHighestInt), static_cast<uint32_t>(width));
  }
}

// ---- Laws ----

RC_GTEST_PROP(CountLaws, NeighbouringRangesAddUp, ()) {
  const Format format = *rc::gen::element(kU8, kS8, kU16, kS16, kF32);
  RawImage image(format, *rc::gen::inRange(1, 200), *rc::gen::inRange(1, 4), Fill::kNoise,
                 *rc::gen::arbitrary<uint64_t>());
  auto bounds = *rc::gen::container<std::vector<int32_t>>(3, rc::gen::inRange(-70000, 70000));
  std::sort(bounds.begin(), bounds.end());
  RC_ASSERT(count_between(image.record, 0, bounds[0], bounds[1]) +
                count_between(image.record, 0, bounds[1], bounds[2]) ==
            count_between(image.record, 0, bounds[0], bounds[2]));
}

}  // namespace
}  // namespace vlix::test
