// SPDX-License-Identifier: Apache-2.0
// The statistics of every format at every level against the twin.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "stats/formats.h"
#include "stats/stats_call.h"
#include "stats/stats_twin.h"
#include "support/test_image.h"
#include "vlix/meas.h"

namespace vlix::test {
namespace {

// The primitive for floats sums deviations from the first sample, the twin the samples. N additions, N roundings of
// squares and a few operations more leave each sum of squares at most (N + 4) 2^-53 of itself away, the squared mean
// twice that, and the stored deviation another 2^-24 of itself.
void expect_near(const StatsResults& results, const StatsTwin& twin, const std::vector<double>& samples) {
  const auto n = static_cast<double>(samples.size());
  double squares = 0.0;
  double magnitude = 0.0;
  for (const double x : samples) {
    squares += x * x + (x - samples[0]) * (x - samples[0]);
    magnitude += std::abs(x) + std::abs(x - samples[0]);
  }
  const double rounding = (n + 4) * 0x1p-53;
  const double mean = static_cast<double>(twin.mean);
  EXPECT_NEAR(static_cast<double>(results.value[0][0]), mean, rounding * magnitude / n + 0x1p-23 * std::abs(mean));
  const double variance = std::isnan(twin.deviation) ? 0.0 : std::pow(static_cast<double>(twin.deviation), 2);
  EXPECT_NEAR(std::pow(static_cast<double>(results.value[0][1]), 2), variance,
              3 * rounding * squares / n + 0x1p-21 * variance);
  EXPECT_TRUE(same_value(results.value[0][2], twin.min));
  EXPECT_TRUE(same_value(results.value[0][3], twin.max));
}

template <class Raw>
void expect_twin(const Format& format, const Raw& input, bool is_image) {
  const unsigned wanted = format.channels == 1 ? kMonochromeValues : kColourValues;
  for (int32_t channel = 0; channel < format.channels; ++channel) {
    const std::vector<double> samples = samples_of(format, input, channel);
    const StatsTwin twin = stats_twin(samples);
    for (int32_t level : {0, 1, 2}) {
      const LevelScope scope(level);
      StatsResults results;
      ASSERT_EQ(call_stats(handle_of(input.record), results, wanted), 0);
      if (is_image && format.code == ObjType_F32 && level == 1) {
        expect_near(results, twin, samples);
      } else {
        expect_values(results, format.channels == 1 ? 0 : 1 + channel, twin);
      }
    }
  }
}

// Two vectors of 64 bytes and three more of the narrowest samples, at odd places of odd rows.
TEST(StatsTwinTest, AllWidthsOfImages) {
  uint64_t seed = 100;
  const auto check = [&](const Format& format) {
    for (int32_t width = 1; width <= 131; ++width) {
      SCOPED_TRACE(testing::Message() << format << " width " << width);
      RawImage image(format, width + 4, 4, Fill::kNoise, ++seed);
      image.crop(3, 1, 1, 0);
      expect_twin(format, image, true);
    }
  };
  for (const Format& format : kMonochromeImageFormats) check(format);
  for (const Format& format : kColourFormats) check(format);
}

TEST(StatsTwinTest, RegionsThatEndWithTheImageOrFillIt) {
  uint64_t seed = 5000;
  const auto check = [&](const Format& format) {
    for (int32_t size : {1, 2, 7, 21, 64, 85}) {
      SCOPED_TRACE(testing::Message() << format << " size " << size);
      RawImage image(format, size + 5, size + 2, Fill::kNoise, ++seed);
      expect_twin(format, image, true);
      image.crop(5, 2, 0, 0);
      expect_twin(format, image, true);
    }
  };
  for (const Format& format : kMonochromeImageFormats) check(format);
  for (const Format& format : kColourFormats) check(format);
}

TEST(StatsTwinTest, AllFillsOfImages) {
  const auto check = [&](const Format& format) {
    for (const Fill fill : kFills) {
      for (const auto& [width, height] : {std::pair{67, 5}, {300, 40}}) {
        SCOPED_TRACE(testing::Message() << format << " " << name_of(fill) << " width " << width);
        RawImage image(format, width, height, fill, 77);
        expect_twin(format, image, true);
        image.crop(1, 1, 2, 0);
        expect_twin(format, image, true);
      }
    }
  };
  for (const Format& format : kMonochromeImageFormats) check(format);
  for (const Format& format : kColourFormats) check(format);
}

// A vector of Colour30 reads its channels 1 and 2 as signed.
constexpr Format kSigned30 = {30, "Colour30", 4, 3, read_signed_from_channel_1, fill_as<uint8_t>};

template <class Check>
void for_all_vector_formats(Check&& check) {
  for (const Format& format : kMonochromeVectorFormats) check(format);
  for (const Format& format : kColourFormats) check(format.code == kSigned30.code ? kSigned30 : format);
}

TEST(StatsTwinTest, AllLengthsOfVectors) {
  uint64_t seed = 9000;
  for_all_vector_formats([&](const Format& format) {
    for (int32_t count = 1; count <= 131; ++count) {
      SCOPED_TRACE(testing::Message() << format << " count " << count);
      expect_twin(format, RawVector(format, count, Fill::kNoise, ++seed), false);
    }
    expect_twin(format, RawVector(format, 20011, Fill::kNoise, ++seed), false);
  });
}

TEST(StatsTwinTest, AllFillsOfVectors) {
  for_all_vector_formats([&](const Format& format) {
    for (const Fill fill : kFills) {
      SCOPED_TRACE(testing::Message() << format << " " << name_of(fill));
      expect_twin(format, RawVector(format, 3001, fill, 78), false);
    }
  });
}

// Such regions are read at several places at once; neither the rows nor their bytes divide by four.
TEST(StatsTwinTest, RegionsOfManyMegabytes) {
  for (const Format& format : {kS8, kU16, kColour36, kColour39, kColour44}) {
    RawImage image(format, 1237, 7 * 1024 * 1024 / format.bytes / 1237 + 3, Fill::kNoise, 12);
    SCOPED_TRACE(testing::Message() << format << " height " << image.record.height);
    expect_twin(format, image, true);
    image.crop(3, 1, 2, 1);
    expect_twin(format, image, true);
  }
}

// Where lanes of 8, 16 and 32 bits are emptied: runs of 255, 256, 4096 and 65536 vectors of 64 bytes, and one more.
TEST(StatsTwinTest, LanesAreEmptiedInTime) {
  for (const Format& format : {kU8, kS8, kU16, kS16}) {
    for (const Fill fill : {Fill::kHighest, Fill::kLowest, Fill::kNoise}) {
      for (int32_t vectors : {255, 256, 257, 4097}) {
        SCOPED_TRACE(testing::Message() << format << " " << name_of(fill) << " vectors " << vectors);
        expect_twin(format, RawImage(format, vectors * 64 / format.bytes + 5, 1, fill, 5), true);
      }
    }
  }
  for (const Format& format : {kRgba8, kColour36, kColour39, kColour44}) {
    for (int32_t vectors : {256, 4097}) {
      SCOPED_TRACE(testing::Message() << format << " vectors " << vectors);
      expect_twin(format, RawImage(format, vectors * 64 / format.bytes + 5, 1, Fill::kHighest, 5), true);
    }
  }
}

// The packed path of level 2 ends at 65536 columns, the join of its rows at 65535 pixels.
TEST(StatsTwinTest, WideRowsOfBytes) {
  for (const Format& format : {kU8, kS8}) {
    for (int32_t width : {65535, 65536, 65537}) {
      for (const Fill fill : {Fill::kNoise, Fill::kHighest, Fill::kLowest}) {
        expect_twin(format, RawImage(format, width, 2, fill, 3), true);
      }
    }
    expect_twin(format, RawImage(format, 257, 255, Fill::kHighest, 3), true);
    expect_twin(format, RawImage(format, 256, 256, Fill::kLowest, 3), true);
  }
  for (int32_t count : {65535, 65536}) expect_twin(kU8, RawVector(kU8, count, Fill::kHighest), false);
}

// Levels 0, 1 and 2 are the same bit by bit for integers, whatever the origin's alignment.
TEST(StatsTwinTest, EveryAlignmentOfTheFirstSample) {
  for (const Format& format : {kU8, kS8, kU16, kRgba8, kColour44}) {
    for (int32_t left = 0; left < 17; ++left) {
      RawImage image(format, 60, 3, Fill::kNoise, 11);
      image.crop(left, 0, 3, 0);
      expect_twin(format, image, true);
    }
  }
}

}  // namespace
}  // namespace vlix::test
