// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "stats/background_twin.h"
#include "stats/formats.h"
#include "support/recording_platform.h"
#include "support/test_image.h"
#include "vlix/meas.h"

namespace vlix::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr Format kAccepted[] = {kU8, kS8, kU16, kS16, kF32, kRgba8, kColour20, kColour21, kColour30};
constexpr uint32_t kRefused[] = {0, 5, 8, 9, 12, 13, 14, 15, 16, 18, 22, 24, 29, 31, 36, 39, 44, 53, 70, 0x80000006};
constexpr uint8_t kFence = 0xA5;

// One pixel, and whether bytes behind it were written.
struct PixelOut {
  PixelOut() { std::memset(bytes, kFence, sizeof(bytes)); }
  template <class T>
  T get() const {
    T value;
    std::memcpy(&value, bytes, sizeof(value));
    for (std::size_t i = sizeof(T); i < sizeof(bytes); ++i) EXPECT_EQ(bytes[i], kFence) << "byte " << i;
    return value;
  }
  bool untouched() const {
    for (uint8_t byte : bytes) {
      if (byte != kFence) return false;
    }
    return true;
  }
  uint8_t bytes[16];
};

// The corners of a region that lies inside an image of other values.
template <class T>
PixelOut background(const Format& format, T top_left, T top_right, T bottom_left, T bottom_right) {
  RawImage image(format, 9, 8, Fill::kNoise, 9);
  image.crop(2, 1, 3, 2);
  image.put(0, 0, top_left);
  image.put(3, 0, top_right);
  image.put(0, 4, bottom_left);
  image.put(3, 4, bottom_right);
  PixelOut out;
  EXPECT_EQ(vlix_background(&image.record, out.bytes), 0);
  return out;
}

PixelOut assigned(uint32_t type, float value) {
  const VlixImage image = {type, nullptr, 0, 0, 0, 0, 0, 0};
  PixelOut out;
  EXPECT_EQ(vlix_background_assignF32(&image, out.bytes, value), 0);
  return out;
}

// ---- Checks and reports ----

TEST(Background, OtherTypesAreRefusedBeforeTheNullPointer) {
  for (uint32_t type : kRefused) {
    RecordingPlatform platform;
    RawImage image(kF64, 2, 2);
    image.record.type = type;
    PixelOut out;
    const Report expected = {1, "background", VlixObjGetName(static_cast<int32_t>(type))};
    EXPECT_EQ(platform.call(vlix_background, &image.record, out.bytes), platform.report_result) << type;
    EXPECT_EQ(platform.call(vlix_background, &image.record, nullptr), platform.report_result) << type;
    EXPECT_THAT(platform.reports(), ElementsAre(expected, expected));
    EXPECT_TRUE(out.untouched());
  }
}

TEST(Background, NullPixelOnlyValidates) {
  for (const Format& format : kAccepted) {
    RecordingPlatform platform;
    RawImage image(format, 3, 3);
    EXPECT_EQ(platform.call(vlix_background, &image.record, nullptr), 0);
    EXPECT_THAT(platform.reports(), IsEmpty());
  }
}

TEST(Background, NoHeapNoLevelNoPrimitives) {
  for (const Format& format : kAccepted) {
    for (int32_t level : {0, 1, 2}) {
      RecordingPlatform platform;
      platform.level = level;
      RawImage image(format, 3, 3);
      PixelOut out;
      EXPECT_EQ(platform.call(vlix_background, &image.record, out.bytes), 0);
      EXPECT_EQ(platform.call(vlix_background_assignF32, &image.record, out.bytes, 3.0f), 0);
      EXPECT_THAT(platform.calls(), IsEmpty());
      EXPECT_THAT(platform.heap_requests(), IsEmpty());
      EXPECT_THAT(platform.reports(), IsEmpty());
    }
  }
}

// ---- Choice of the level ----

TEST(Background, ThreeEqualCornersWinWhereverTheFourthIs) {
  EXPECT_EQ(background<uint8_t>(kU8, 10, 10, 10, 50).get<uint8_t>(), 10);
  EXPECT_EQ(background<uint8_t>(kU8, 10, 10, 50, 10).get<uint8_t>(), 10);
  EXPECT_EQ(background<uint8_t>(kU8, 10, 50, 10, 10).get<uint8_t>(), 10);
  EXPECT_EQ(background<uint8_t>(kU8, 10, 50, 50, 50).get<uint8_t>(), 50);
  EXPECT_EQ(background<uint8_t>(kU8, 10, 10, 10, 10).get<uint8_t>(), 10);
}

TEST(Background, TwoEqualPairsGiveTheMean) {
  EXPECT_EQ(background<uint8_t>(kU8, 10, 10, 50, 50).get<uint8_t>(), 30);
  EXPECT_EQ(background<uint8_t>(kU8, 10, 50, 10, 50).get<uint8_t>(), 30);
  EXPECT_EQ(background<uint8_t>(kU8, 10, 50, 50, 10).get<uint8_t>(), 30);
}

TEST(Background, SignedLevelsRoundHalfAwayFromZero) {
  EXPECT_EQ(background<int8_t>(kS8, -1, -2, -3, -4).get<int8_t>(), -3);  // -2.5
  EXPECT_EQ(background<int8_t>(kS8, 1, 2, 3, 4).get<int8_t>(), 3);
  EXPECT_EQ(background<int8_t>(kS8, 0, 0, -1, -1).get<int8_t>(), -1);  // -0.5
  EXPECT_EQ(background<int8_t>(kS8, 0, 1, -1, 0).get<int8_t>(), 0);
  EXPECT_EQ(background<int8_t>(kS8, -128, -128, -128, -127).get<int8_t>(), -128);
  EXPECT_EQ(background<int8_t>(kS8, -128, -127, -127, -128).get<int8_t>(), -128);
  EXPECT_EQ(background<int16_t>(kS16, -32768, -32768, -32767, -32767).get<int16_t>(), -32768);
  EXPECT_EQ(background<int16_t>(kS16, 32767, 32766, 32767, 32766).get<int16_t>(), 32767);
}

TEST(Background, UnsignedLevelsRoundHalfUp) {
  EXPECT_EQ(background<uint8_t>(kU8, 1, 2, 3, 4).get<uint8_t>(), 3);  // 2.5
  EXPECT_EQ(background<uint8_t>(kU8, 1, 2, 3, 3).get<uint8_t>(), 2);  // 2.25
  EXPECT_EQ(background<uint8_t>(kU8, 255, 255, 254, 254).get<uint8_t>(), 255);
  EXPECT_EQ(background<uint16_t>(kU16, 65535, 65535, 65534, 65534).get<uint16_t>(), 65535);
  EXPECT_EQ(background<uint16_t>(kU16, 0, 0, 1, 0).get<uint16_t>(), 0);
}

TEST(Background, FloatLevelsAreStoredAsTheyAre) {
  constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(background(kF32, 1.0f, 2.0f, 3.0f, 4.5f).get<float>(), 2.625f);
  EXPECT_EQ(background(kF32, 1e30f, 7.0f, 1e30f, 1e30f).get<float>(), 1e30f);
  // Not-a-numbers are not equal, and three others still win.
  EXPECT_TRUE(std::isnan(background(kF32, kNaN, kNaN, kNaN, 1.0f).get<float>()));
  EXPECT_EQ(background(kF32, kNaN, 3.0f, 3.0f, 3.0f).get<float>(), 3.0f);
  // Equal zeros: the first of them.
  EXPECT_TRUE(std::signbit(background(kF32, -0.0f, 0.0f, 0.0f, 5.0f).get<float>()));
  // The sum is taken in 32-bit floats, top right first.
  EXPECT_EQ(background(kF32, 1.0f, 0x1p24f, 1.0f, -0x1p24f).get<float>(), 0.0f);
  EXPECT_TRUE(std::isinf(background(kF32, 3e38f, 3.1e38f, 0.0f, 1.0f).get<float>()));
}

TEST(Background, ColoursAreComparedWholeAndAveragedByChannel) {
  for (const Format& format : {kRgba8, kColour20, kColour21, kColour30}) {
    // Three equal colours; the fourth byte does not matter and is not stored.
    EXPECT_EQ((background<uint32_t>(format, 0x11030201, 0x22030201, 0x33030201, 0x44FFFFFF).get<uint32_t>()),
              0x030201u);
    EXPECT_EQ((background<uint32_t>(format, 0xFFFFFFFF, 0x22030201, 0x33030201, 0x44030201).get<uint32_t>()),
              0x030201u);
    // Corners that differ in one channel only: no colour has a majority, the others' means are what they were.
    EXPECT_EQ((background<uint32_t>(format, 0x0A1401, 0x0A1402, 0x0A1403, 0x0A1404).get<uint32_t>()), 0x0A1403u);
    // Each channel has a majority of its own, but no colour has.
    EXPECT_EQ((background<uint32_t>(format, 0x000004, 0x000400, 0x040000, 0x000000).get<uint32_t>()), 0x010101u);
    EXPECT_EQ((background<uint32_t>(format, 0xFFFEFF, 0xFFFEFE, 0xFEFFFF, 0xFEFFFE).get<uint32_t>()), 0xFFFFFFu);
  }
}

TEST(Background, OnePixelIsAllFourCorners) {
  for (const Format& format : kAccepted) {
    RawImage image(format, 3, 3, Fill::kNoise, 5);
    image.crop(2, 2, 0, 0);
    uint8_t expected[4] = {};
    std::memcpy(expected, image.pixel(0, 0), static_cast<std::size_t>(format.bytes));
    if (format.channels == 3) expected[3] = 0;
    PixelOut out;
    EXPECT_EQ(vlix_background(&image.record, out.bytes), 0);
    EXPECT_EQ(std::memcmp(out.bytes, expected, static_cast<std::size_t>(format.bytes)), 0) << format;
  }
}

template <class T>
void expect_twin(const Format& format) {
  uint64_t seed = 600;
  for (const Fill fill : kFills) {
    for (int32_t width = 1; width <= 5; ++width) {
      for (int32_t height = 1; height <= 5; ++height) {
        RawImage image(format, width + 2, height + 1, fill, ++seed);
        image.crop(2, 1, 0, 0);
        PixelOut out;
        ASSERT_EQ(vlix_background(&image.record, out.bytes), 0);
        const auto corner = [&](int32_t x, int32_t y, int32_t channel) {
          return static_cast<float>(format.read(image.pixel(x, y), channel));
        };
        if (format.channels == 1) {
          const float level = background_level_twin(corner(0, 0, 0), corner(width - 1, 0, 0), corner(0, height - 1, 0),
                                                    corner(width - 1, height - 1, 0));
          const double stored = format.code == 17 ? static_cast<double>(level) : rounded_level_twin(level);
          ASSERT_EQ(static_cast<double>(out.get<T>()), stored) << format << " " << name_of(fill);
        }
      }
    }
  }
}

TEST(Background, AllFillsEqualTheTwin) {
  expect_twin<uint8_t>(kU8);
  expect_twin<int8_t>(kS8);
  expect_twin<uint16_t>(kU16);
  expect_twin<int16_t>(kS16);
  expect_twin<float>(kF32);
}

TEST(Background, EveryLevelOfFourBytesIsRoundedLikeTheTwin) {
  for (int32_t sum = 0; sum <= 4 * 255; ++sum) {
    // Four different corners with this sum, where there are any.
    const int32_t base = sum / 4;
    const int32_t corners[4] = {base - 2, base - 1, base + 1, sum - 3 * base + 2};
    bool fits = true;
    for (int32_t corner : corners) fits = fits && corner >= 0 && corner <= 255;
    if (!fits || corners[3] == corners[2]) continue;
    const auto byte = [&](int i) { return static_cast<uint8_t>(corners[i]); };
    const auto expected = static_cast<uint8_t>((sum + 2) / 4);
    EXPECT_EQ(background<uint8_t>(kU8, byte(0), byte(1), byte(2), byte(3)).get<uint8_t>(), expected) << sum;
    const auto colour = [&](int i) { return static_cast<uint32_t>(corners[i]) * 0x010101u; };
    EXPECT_EQ(background<uint32_t>(kRgba8, colour(0), colour(1), colour(2), colour(3)).get<uint32_t>(),
              expected * 0x010101u);
  }
}

// ---- Conversion of a level ----

TEST(BackgroundAssign, ClampedThenTruncated) {
  EXPECT_EQ(assigned(10, 300.7f).get<uint8_t>(), 255);
  EXPECT_EQ(assigned(10, 254.99f).get<uint8_t>(), 254);
  EXPECT_EQ(assigned(10, -0.7f).get<uint8_t>(), 0);
  EXPECT_EQ(assigned(6, 127.9f).get<int8_t>(), 127);
  EXPECT_EQ(assigned(6, -127.9f).get<int8_t>(), -127);
  EXPECT_EQ(assigned(6, -500.0f).get<int8_t>(), -128);
  EXPECT_EQ(assigned(11, -1.0f).get<uint16_t>(), 0);
  EXPECT_EQ(assigned(11, 65534.9f).get<uint16_t>(), 65534);
  EXPECT_EQ(assigned(11, 1e9f).get<uint16_t>(), 65535);
  EXPECT_EQ(assigned(7, -1e9f).get<int16_t>(), -32768);
  EXPECT_EQ(assigned(7, 1e9f).get<int16_t>(), 32767);
  EXPECT_EQ(assigned(7, -2.9f).get<int16_t>(), -2);
  for (uint32_t type : {19u, 20u, 21u, 30u}) {
    EXPECT_EQ(assigned(type, 12.9f).get<uint32_t>(), 0x0C0C0Cu);
    EXPECT_EQ(assigned(type, 1e30f).get<uint32_t>(), 0xFFFFFFu);
    EXPECT_EQ(assigned(type, -5.0f).get<uint32_t>(), 0u);
  }
}

TEST(BackgroundAssign, InfinitiesSaturate) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  EXPECT_EQ(assigned(10, kInfinity).get<uint8_t>(), 255);
  EXPECT_EQ(assigned(7, -kInfinity).get<int16_t>(), -32768);
  EXPECT_EQ(assigned(11, kInfinity).get<uint16_t>(), 65535);
  EXPECT_EQ(assigned(20, -kInfinity).get<uint32_t>(), 0u);
}

// -2147483648, cut to the pixel's width.
TEST(BackgroundAssign, NotANumberIsZero) {
  constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(assigned(10, kNaN).get<uint8_t>(), 0);
  EXPECT_EQ(assigned(6, kNaN).get<int8_t>(), 0);
  EXPECT_EQ(assigned(11, kNaN).get<uint16_t>(), 0);
  EXPECT_EQ(assigned(7, kNaN).get<int16_t>(), 0);
  EXPECT_EQ(assigned(19, kNaN).get<uint32_t>(), 0u);
}

TEST(BackgroundAssign, FloatsAreStoredAsTheyAre) {
  for (const uint32_t bits : {0x00000001u, 0x80000000u, 0x7F800000u, 0x7FC00123u, 0x49742400u}) {
    EXPECT_EQ(assigned(17, std::bit_cast<float>(bits)).get<uint32_t>(), bits);
  }
}

TEST(BackgroundAssign, OtherTypesWriteAndReportNothing) {
  for (uint32_t type : kRefused) {
    RecordingPlatform platform;
    const VlixImage image = {type, nullptr, 0, 0, 0, 0, 0, 0};
    PixelOut out;
    EXPECT_EQ(platform.call(vlix_background_assignF32, &image, out.bytes, 3.0f), 0);
    EXPECT_TRUE(out.untouched()) << type;
    EXPECT_THAT(platform.calls(), IsEmpty());
    EXPECT_THAT(platform.reports(), IsEmpty());
  }
}

}  // namespace
}  // namespace vlix::test
