// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <array>
#include <limits>
#include <random>
#include <string>

#include "histogram/histogram_int_twin.h"
#include "histogram/point_values.h"
#include "support/recording_platform.h"
#include "support/test_image.h"
#include "vlix/meas.h"

namespace vlix::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Triple = std::array<int32_t, 3>;

constexpr int32_t kLowest = std::numeric_limits<int32_t>::min();
constexpr int32_t kHighest = std::numeric_limits<int32_t>::max();
const std::string kBinsText = "histogram: invalid number of bins, must be greater than 0\n";
const std::string kRangeFormat = "histogram: invalid value range %g..%g\n";
const std::string kDivisorFormat = "histogram: invalid number of bins, must be a divisor of %d\n";
const std::string kErrorText = "histogram: error computing histogram";
const std::string kLevelText = "histogram: only works with IPP support\n";
const std::string kPlatformText = "histogram: color supported only on x86 or x64 platform\n";
const std::string kPrimitive = "vlix_ippiHistogramEven_8u_AC4R";

// Three outputs side by side.
struct Outputs {
  Outputs() = default;
  Outputs(const Outputs&) = delete;
  Outputs& operator=(const Outputs&) = delete;
  ~Outputs() {
    for (VlixVector& record : records) VlixVectorRelease(&record, 0);
  }
  std::vector<PointI32> values(int channel) const {
    const VlixVector& record = records[channel];
    const auto* first = static_cast<const PointI32*>(record.data);
    return first == nullptr ? std::vector<PointI32>() : std::vector<PointI32>(first, first + record.count);
  }
  VlixVector records[3] = {};
};

// Arguments of a call; `lo` has an entry for each bin.
struct Arguments {
  Triple bins, lo, hi;
  std::vector<int32_t> all_lo() const {
    std::vector<int32_t> values(lo.begin(), lo.end());
    // Absurd numbers of bins do not get as far as the bins.
    const int32_t most = std::min(1000, std::max({bins[0], bins[1], bins[2], 3}));
    for (int32_t i = 3; i < most; ++i) values.push_back(1000 + 7 * i);
    return values;
  }
};

VlixStatus call(RecordingPlatform& platform, const VlixImage& image, VlixVector* outputs, bool cumulative,
                const Arguments& a) {
  const auto lo = a.all_lo();
  return platform.call(vlix_histogramIntColor, &image, outputs, cumulative ? 1 : 0, a.bins.data(), lo.data(),
                       a.hi.data());
}

struct NoiseImage : TestImage<Rgba> {
  NoiseImage(int32_t width, int32_t height, uint64_t seed) : TestImage(width, height) {
    std::mt19937_64 random(seed);
    for (int32_t i = 0; i < width * height; ++i) {
      for (uint8_t& value : data()[i].channel) value = static_cast<uint8_t>(random());
    }
  }
};

// The x of every bin comes from the list of lower bounds, by the number of the bin.
std::vector<PointI32> twin(TestImage<Rgba>& image, int channel, const Arguments& a, bool cumulative) {
  std::vector<int32_t> values;
  for (int32_t y = 0; y < image.record.roiHeight; ++y) {
    for (int32_t x = 0; x < image.record.roiWidth; ++x) values.push_back(image.roi_at(x, y).channel[channel]);
  }
  const auto c = static_cast<std::size_t>(channel);
  auto hist = histogram_int_twin(values, a.bins[c], a.lo[c], a.hi[c], cumulative, Rule::kExact);
  const auto lo = a.all_lo();
  const int64_t width = (int64_t{a.hi[c]} - a.lo[c] + 1) / a.bins[c];
  for (std::size_t i = 0; i < hist.size(); ++i) {
    hist[i].x = static_cast<int32_t>(wrapped(lo[i] + static_cast<int64_t>(i) * width));
  }
  return hist;
}

// ---- Checks and reports ----

void expect_refused(uint32_t type, const Arguments& arguments, const Report& report) {
  for (bool validate_only : {false, true}) {
    RecordingPlatform platform;
    platform.integer_ranges = true;
    TestImage<Rgba> image(4, 2);
    image.record.type = type;
    Outputs out;
    EXPECT_EQ(call(platform, image.record, validate_only ? nullptr : out.records, false, arguments),
              platform.report_result);
    EXPECT_THAT(platform.reports(), ElementsAre(report));
    EXPECT_THAT(platform.calls(), IsEmpty());
    for (const VlixVector& record : out.records) EXPECT_EQ(record.data, nullptr);
  }
}

Report divisor_report(const std::string& range) {
  return {100, kDivisorFormat, "histogram: invalid number of bins, must be a divisor of " + range + "\n"};
}

TEST(HistogramIntColor, OnlyOneColourTypeIsAccepted) {
  for (uint32_t type : {6u, 7u, 10u, 11u, 17u, 18u, 20u, 21u, 24u, 30u, 36u, 39u, 44u, 0xFFFFFFFFu}) {
    expect_refused(type, {{0, 0, 0}, {2, 2, 2}, {1, 1, 1}},
                   {1, "histogram", VlixObjGetName(static_cast<int32_t>(type))});
  }
}

TEST(HistogramIntColor, RangeThenBinsChannelByChannel) {
  const Report bins = {100, kBinsText, kBinsText};
  expect_refused(ObjType_Rgba8, {{0, 0, 0}, {9, 9, 9}, {8, 7, 6}}, {100, kRangeFormat, "9..8"});
  expect_refused(ObjType_Rgba8, {{0, 0, 0}, {9, 9, 9}, {9, 7, 6}}, bins);
  expect_refused(ObjType_Rgba8, {{1, 0, 0}, {9, 9, 9}, {9, 7, 6}}, {100, kRangeFormat, "9..7"});
  expect_refused(ObjType_Rgba8, {{1, -3, 0}, {9, 9, 9}, {9, 9, 6}}, bins);
  expect_refused(ObjType_Rgba8, {{1, 1, 0}, {9, 9, kHighest}, {9, 9, kLowest}},
                 {100, kRangeFormat, "2147483647..-2147483648"});
  expect_refused(ObjType_Rgba8, {{1, 1, kLowest}, {9, 9, 9}, {9, 9, 9}}, bins);
}

TEST(HistogramIntColor, DivisorsAreCheckedAfterAllRangesAndBins) {
  expect_refused(ObjType_Rgba8, {{3, 1, 0}, {0, 0, 0}, {9, 9, 9}}, {100, kBinsText, kBinsText});
  expect_refused(ObjType_Rgba8, {{3, 3, 3}, {0, 0, 0}, {9, 19, 29}}, divisor_report("10"));
  expect_refused(ObjType_Rgba8, {{5, 3, 3}, {0, 0, 0}, {9, 19, 28}}, divisor_report("20"));
  expect_refused(ObjType_Rgba8, {{5, 5, 4}, {0, 0, 0}, {9, 19, 29}}, divisor_report("30"));
  expect_refused(ObjType_Rgba8, {{5, 5, 3}, {0, 0, -2000000000}, {9, 19, 2000000000}}, divisor_report("-294967295"));
}

TEST(HistogramIntColor, NullOutputOnlyValidates) {
  RecordingPlatform platform;
  platform.level = 0;
  TestImage<Rgba> image(4, 2);
  EXPECT_EQ(call(platform, image.record, nullptr, true, {{5, 5, 5}, {0, 0, 0}, {9, 9, 9}}), 0);
  EXPECT_THAT(platform.calls(), IsEmpty());
  EXPECT_THAT(platform.reports(), IsEmpty());
}

// ---- Outputs, failures ----

TEST(HistogramIntColor, EarlierChannelsAreReleasedWhenOneCannotBeShaped) {
  for (int failing = 1; failing <= 3; ++failing) {
    RecordingPlatform platform;
    platform.fail("VlixVectorTryUseReservedMem", failing);
    TestImage<Rgba> image(4, 2);
    Outputs out;
    for (int c = 0; c < 3; ++c) platform.name(out.records[c], "out" + std::to_string(c));
    EXPECT_EQ(call(platform, image.record, out.records, false, {{5, 2, 1}, {0, 0, 0}, {9, 9, 9}}), 1);
    EXPECT_THAT(platform.reports(), IsEmpty());
    std::vector<std::string> expected;
    for (int c = 0; c < failing; ++c) {
      const char* bins[] = {"5", "2", "1"};
      expected.push_back("VlixVectorTryUseReservedMem(out" + std::to_string(c) + ", PointI32, " + bins[c] +
                         ", \"histogramInt\")");
    }
    for (int c = 0; c + 1 < failing; ++c) expected.push_back("VlixVectorRelease(out" + std::to_string(c) + ", 1)");
    EXPECT_EQ(platform.calls(), expected);
    EXPECT_THAT(platform.live_buffers(), IsEmpty());
  }
}

// x set, counts zero: what every failure behind the outputs leaves.
void expect_placed_bins(const Outputs& out) {
  EXPECT_THAT(out.values(0), ElementsAre(PointI32{1, 0}, PointI32{12, 0}));
  EXPECT_THAT(out.values(1), ElementsAre(PointI32{1, 0}));
  EXPECT_THAT(out.values(2), ElementsAre(PointI32{1, 0}, PointI32{7, 0}, PointI32{13, 0}, PointI32{1036, 0}));
}
const Arguments kPlaced = {{2, 1, 4}, {1, 2, 3}, {20, 2, 22}};

TEST(HistogramIntColor, LevelZeroIsReportedAfterTheOutputs) {
  RecordingPlatform platform;
  platform.level = 0;
  NoiseImage image(4, 2, 1);
  Outputs out;
  EXPECT_EQ(call(platform, image.record, out.records, true, kPlaced), platform.report_result);
  EXPECT_THAT(platform.reports(), ElementsAre(Report{100, kLevelText, kLevelText}));
  EXPECT_EQ(platform.calls_of("VlixVectorTryUseReservedMem").size(), 3u);
  EXPECT_EQ(platform.calls().size(), 4u);
  EXPECT_THAT(platform.heap_requests(), IsEmpty());
  expect_placed_bins(out);
}

TEST(HistogramIntColor, FailedPrimitiveIsReportedTwice) {
  for (int32_t level : {1, 2}) {
    RecordingPlatform platform;
    platform.level = level;
    platform.fail(kPrimitive, 1, level == 1 ? 1 : -8);
    NoiseImage image(4, 2, 1);
    Outputs out;
    EXPECT_EQ(call(platform, image.record, out.records, true, kPlaced), platform.report_result);
    EXPECT_THAT(platform.reports(),
                ElementsAre(Report{100, kErrorText, kErrorText}, Report{100, kPlatformText, kPlatformText}));
    EXPECT_EQ(platform.heap_live(), 0);
    EXPECT_EQ(platform.live_buffers().size(), 3u);
    expect_placed_bins(out);
  }
}

TEST(HistogramIntColor, EveryMissingArrayIsReportedTwiceAndFreesTheOthers) {
  if (!RecordingPlatform::heap_is_watched()) GTEST_SKIP();
  const char* bytes[] = {"8", "12", "4", "8", "16", "20"};
  for (int nth = 1; nth <= 6; ++nth) {
    RecordingPlatform platform;
    platform.level = 1;
    platform.fail_heap(nth);
    NoiseImage image(4, 2, 1);
    Outputs out;
    EXPECT_EQ(call(platform, image.record, out.records, false, kPlaced), platform.report_result);
    EXPECT_THAT(platform.reports(),
                ElementsAre(Report{0, "histogram", bytes[nth - 1]}, Report{100, kPlatformText, kPlatformText}));
    EXPECT_THAT(platform.calls_of(kPrimitive), IsEmpty());
    EXPECT_EQ(platform.heap_requests().size(), static_cast<std::size_t>(nth));
    EXPECT_EQ(platform.heap_live(), 0);
    expect_placed_bins(out);
  }
}

TEST(HistogramIntColor, PrimitiveReceivesOneLevelMoreThanBinsPerChannel) {
  RecordingPlatform platform;
  platform.level = 1;
  NoiseImage image(9, 7, 1);
  image.set_roi(2, 3, 5, 4);
  Outputs out;
  platform.name(image.data(), 9 * 7 * 4, "pixels");
  EXPECT_EQ(call(platform, image.record, out.records, false, {{5, 10, 1}, {10, 20, 30}, {19, 49, 99}}), 0);
  EXPECT_THAT(platform.calls_of(kPrimitive),
              ElementsAre(kPrimitive + "(pixels+116, 36, 5x4, [6 10 20][11 20 50][2 30 100])"));
  if (platform.heap_is_watched()) {
    EXPECT_THAT(platform.heap_requests(), ElementsAre(20u, 24u, 40u, 44u, 4u, 8u));
  }
  EXPECT_EQ(platform.heap_live(), 0);
}

TEST(HistogramIntColor, UpperLevelWrapsBehindTheHighestInteger) {
  RecordingPlatform platform;
  platform.level = 1;
  TestImage<Rgba> image(2, 2);
  Outputs out;
  EXPECT_EQ(call(platform, image.record, out.records, false, {{1, 1, 1}, {0, 0, kHighest}, {9, 9, kHighest}}),
            platform.report_result);
  EXPECT_THAT(platform.calls_of(kPrimitive)[0], ::testing::HasSubstr("[2 2147483647 -2147483648]"));
}

// ---- Values ----

TEST(HistogramIntColor, EveryValueHasItsBinAndTheFourthByteIsIgnored) {
  const LevelScope scope(1);
  TestImage<Rgba> image(16, 16);
  for (int i = 0; i < 256; ++i) {
    image.data()[i] = {{static_cast<uint8_t>(i), static_cast<uint8_t>(255 - i), 7, static_cast<uint8_t>(i * 3)}};
  }
  const Triple bins = {256, 256, 256}, hi = {255, 255, 255};
  const std::vector<int32_t> lo(256, 0);
  Outputs out;
  ASSERT_EQ(vlix_histogramIntColor(&image.record, out.records, 0, bins.data(), lo.data(), hi.data()), 0);
  for (int32_t i = 0; i < 256; ++i) {
    const auto at = static_cast<std::size_t>(i);
    EXPECT_EQ(out.values(0)[at], (PointI32{i, 1}));
    EXPECT_EQ(out.values(1)[at], (PointI32{i, 1}));
    EXPECT_EQ(out.values(2)[at], (PointI32{i, i == 7 ? 256 : 0}));
  }
}

TEST(HistogramIntColor, LowerBoundsOfBinsAreTakenByTheNumberOfTheBin) {
  const LevelScope scope(1);
  TestImage<Rgba> image(1, 1);
  const int32_t bins[] = {1, 2, 4}, hi[] = {9, 39, 59};
  const int32_t lo[] = {10 - 1, 20, 40, 77};  // behind the third there is no page, were it not for the fourth
  Outputs out;
  ASSERT_EQ(vlix_histogramIntColor(&image.record, out.records, 0, bins, lo, hi), 0);
  EXPECT_THAT(out.values(0), ElementsAre(PointI32{9, 0}));
  EXPECT_THAT(out.values(1), ElementsAre(PointI32{9, 0}, PointI32{20 + 10, 0}));
  EXPECT_THAT(out.values(2),
              ElementsAre(PointI32{9, 0}, PointI32{20 + 5, 0}, PointI32{40 + 10, 0}, PointI32{77 + 15, 0}));
}

// The list of lower bounds ends at a protected page.
TEST(HistogramIntColor, NoMoreLowerBoundsAreReadThanThereAreBins) {
  const LevelScope scope(1);
  NoiseImage image(3, 3, 5);
  for (int32_t most : {1, 2, 3, 4, 16}) {
    GuardedMemory memory(sizeof(int32_t) * static_cast<std::size_t>(std::max(most, 3)));
    auto* lo = static_cast<int32_t*>(memory.data());
    std::fill_n(lo, std::max(most, 3), 0);
    const Triple bins = {1, most, 1}, hi = {0, most - 1, 0};
    Outputs out;
    EXPECT_EQ(vlix_histogramIntColor(&image.record, out.records, 0, bins.data(), lo, hi.data()), 0);
    EXPECT_EQ(out.values(1).back().x, most - 1);
  }
}

TEST(HistogramIntColor, NoiseEqualsTheTwin) {
  const Arguments cases[] = {{{256, 256, 256}, {0, 0, 0}, {255, 255, 255}},
                             {{1, 64, 7}, {5, 0, -20}, {5, 255, 119}},
                             {{10, 41, 3}, {100, -41, 250}, {199, 286, 258}}};
  for (int32_t level : {1, 2, -3}) {
    for (int32_t width : {1, 3, 17, 64, 131}) {
      NoiseImage image(width + 3, 6, static_cast<uint64_t>(width));
      image.set_roi(2, 1, width, 4);
      for (const Arguments& arguments : cases) {
        for (bool cumulative : {false, true}) {
          RecordingPlatform platform;
          platform.level = level;
          Outputs out;
          ASSERT_EQ(call(platform, image.record, out.records, cumulative, arguments), 0);
          for (int c = 0; c < 3; ++c) {
            ASSERT_EQ(first_difference(out.values(c), twin(image, c, arguments, cumulative)), -1) << width << " " << c;
          }
        }
      }
    }
  }
}

}  // namespace
}  // namespace vlix::test
