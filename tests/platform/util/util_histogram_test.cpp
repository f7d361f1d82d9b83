// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "platform/util/util_histogram_twin.h"
#include "support/heap_watch.h"
#include "support/test_image.h"
#include "vlix/util.h"

namespace vlix::test {
namespace {

using ::testing::ElementsAre;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kLargest = std::numeric_limits<float>::max();
constexpr float kSmallest = std::numeric_limits<float>::denorm_min();

std::vector<PointF32> histogram(const VlixImage& image, int32_t bins, float lo, float hi, int32_t running = 0) {
  OutputVector hist;
  EXPECT_NE(VlixUtilComputeHistogram(&image, &hist.record, running, bins, lo, hi), 0);
  EXPECT_EQ(hist.record.type, static_cast<uint32_t>(ObjType_PointF32));
  return hist.values<PointF32>();
}

std::vector<float> starts_of(const std::vector<PointF32>& points) {
  std::vector<float> starts;
  for (const PointF32& point : points) starts.push_back(point.x);
  return starts;
}

std::vector<float> counts_of(const std::vector<PointF32>& points) {
  std::vector<float> counts;
  for (const PointF32& point : points) counts.push_back(point.y);
  return counts;
}

template <class Pixel>
std::vector<float> counts(const std::vector<Pixel>& pixels, int32_t bins, float lo, float hi, int32_t running = 0) {
  TestImage<Pixel> image(static_cast<int32_t>(pixels.size()), 1);
  image.assign(pixels);
  return counts_of(histogram(image.record, bins, lo, hi, running));
}

TEST(UtilHistogram, BinsHoldTheirLowestValueAndNotTheNextOnes) {
  EXPECT_THAT(counts<uint8_t>({9, 10, 11, 12, 18, 19, 20, 21}, 5, 10, 20), ElementsAre(2, 1, 0, 0, 3));
  EXPECT_THAT(counts<int8_t>({-128, -127, -1, 0, 127}, 2, -128, 128), ElementsAre(3, 2));
  EXPECT_THAT(counts<uint16_t>({0, 32767, 32768, 65535}, 2, 0, 65536), ElementsAre(2, 2));
  EXPECT_THAT(counts<int16_t>({-32768, -1, 0, 32767}, 2, -32768, 32768), ElementsAre(2, 2));
}

TEST(UtilHistogram, TopEdgeBelongsToTheLastBin) {
  EXPECT_THAT(counts<float>({0.0f, 0.5f, 1.0f}, 2, 0, 1), ElementsAre(1, 2));
  EXPECT_THAT(counts<float>({1.0f, std::nextafter(1.0f, 2.0f)}, 3, 0, 1), ElementsAre(0, 0, 1));
}

TEST(UtilHistogram, EqualBoundsCountInTheLastBin) {
  EXPECT_THAT(counts<float>({7.5f, 7.5f, 7.0f, 8.0f}, 3, 7.5f, 7.5f), ElementsAre(0, 0, 2));
  EXPECT_THAT(counts<float>({0.0f, -0.0f, 1.0f}, 2, 0.0f, -0.0f), ElementsAre(0, 2));
  EXPECT_THAT(counts<uint8_t>({0, 0, 1}, 1, 0, 0), ElementsAre(2));
}

TEST(UtilHistogram, DecimalFractionsFallIntoTheBinThatStartsAtThem) {
  std::vector<float> tenths;
  for (int i = 0; i <= 10; ++i) tenths.push_back(static_cast<float>(i / 10.0));
  EXPECT_THAT(counts(tenths, 10, 0, 1), ElementsAre(1, 1, 1, 1, 1, 1, 1, 1, 1, 2));
}

TEST(UtilHistogram, NotANumberAndInfinitiesAreNotCounted) {
  EXPECT_THAT(counts<float>({kNan, -kNan, kInfinity, -kInfinity, 0.0f}, 2, -1, 1), ElementsAre(0, 1));
  EXPECT_THAT(counts<float>({kNan, kInfinity, -kInfinity, 0.0f}, 2, -kLargest, kLargest), ElementsAre(0, 1));
}

TEST(UtilHistogram, ValuesNextToTheBoundsStayOutside) {
  EXPECT_THAT(counts<float>({std::nextafter(10.0f, 0.0f), 10.0f, 20.0f, std::nextafter(20.0f, 30.0f)}, 1, 10, 20),
              ElementsAre(2));
}

TEST(UtilHistogram, BinsNarrowerThanFloatStepsFollowTheFirstOfEqualStarts) {
  // Floats are 2 apart here: starts 0, 0.5, 1 (tie to even) and 1.5 above 2^24 become 0, 0, 0 and 2.
  constexpr float kBase = 16777216.0f;
  EXPECT_THAT(starts_of(histogram(TestImage<uint8_t>(1, 1).record, 4, kBase, kBase + 2)),
              ElementsAre(kBase, kBase, kBase, kBase + 2));
  EXPECT_THAT(counts<float>({kBase, kBase + 2, kBase + 4}, 4, kBase, kBase + 2), ElementsAre(1, 0, 0, 1));
  EXPECT_THAT(counts<float>({0.0f, kSmallest}, 4, 0, kSmallest), ElementsAre(1, 0, 0, 1));
}

TEST(UtilHistogram, RunningSums) {
  EXPECT_THAT(counts<uint8_t>({1, 1, 3, 5, 200}, 4, 0, 8, 1), ElementsAre(2, 3, 4, 4));
  EXPECT_THAT(counts<uint8_t>({1, 1, 3, 5, 200}, 4, 0, 8, -1), ElementsAre(2, 3, 4, 4));
}

TEST(UtilHistogram, CountsAndRunningSumsStayIntegersAbove2To24) {
  // 2^24 + 1 rounds to 2^24 when it is stored; with one more the running sum is representable again.
  constexpr int32_t kOnes = 16777217;
  TestImage<uint8_t> image(4097, 4097);
  std::fill_n(image.data(), 4097 * 4097, uint8_t{200});
  std::fill_n(image.data(), kOnes, uint8_t{1});
  image.data()[kOnes] = 5;
  EXPECT_THAT(counts_of(histogram(image.record, 2, 0, 8)), ElementsAre(16777216.0f, 1.0f));
  EXPECT_THAT(counts_of(histogram(image.record, 2, 0, 8, 1)), ElementsAre(16777216.0f, 16777218.0f));
}

TEST(UtilHistogram, EmptyRegionCountsNothing) {
  TestImage<float> image(3, 3);
  image.set_roi(1, 1, 0, 0);
  EXPECT_THAT(counts_of(histogram(image.record, 3, 0, 1)), ElementsAre(0, 0, 0));
}

TEST(UtilHistogram, RefusedCallsLeaveTheVectorAlone) {
  TestImage<uint8_t> image(2, 2);
  TestImage<Rgba> colour(2, 2);
  VlixImage empty = image.record;
  empty.data = nullptr;
  OutputVector hist;
  const auto refused = [&](const VlixImage* from, int32_t bins, float lo, float hi) {
    return VlixUtilComputeHistogram(from, &hist.record, 0, bins, lo, hi) == 0 && hist.record.data == nullptr;
  };
  EXPECT_TRUE(refused(nullptr, 1, 0, 1));
  EXPECT_TRUE(refused(&empty, 1, 0, 1));
  EXPECT_TRUE(refused(&colour.record, 1, 0, 1));
  EXPECT_TRUE(refused(&image.record, 0, 0, 1));
  EXPECT_TRUE(refused(&image.record, -1, 0, 1));
  EXPECT_TRUE(refused(&image.record, 1, 1, 0));
  for (const float bound : {kNan, kInfinity, -kInfinity}) {
    EXPECT_TRUE(refused(&image.record, 1, bound, 1));
    EXPECT_TRUE(refused(&image.record, 1, 0, bound));
  }
  EXPECT_EQ(VlixUtilComputeHistogram(&image.record, nullptr, 0, 1, 0, 1), 0);
}

TEST(UtilHistogram, VectorIsReusedAndWrappedMemoryIsNotOutgrown) {
  TestImage<uint8_t> image(4, 4);
  OutputVector hist;
  ASSERT_NE(VlixUtilComputeHistogram(&image.record, &hist.record, 0, 100, 0, 1), 0);
  const void* const data = hist.record.data;
  ASSERT_NE(VlixUtilComputeHistogram(&image.record, &hist.record, 0, 50, 0, 1), 0);
  EXPECT_EQ(hist.record.data, data);
  EXPECT_EQ(hist.record.count, 50);

  PointF32 memory[2] = {{1, 2}, {3, 4}};
  OutputVector wrapped;
  ASSERT_EQ(VlixVectorWrap(&wrapped.record, ObjType_PointF32, memory, 2), 0);
  EXPECT_EQ(VlixUtilComputeHistogram(&image.record, &wrapped.record, 0, 3, 0, 1), 0);
  EXPECT_EQ(memory[1].y, 4);
  EXPECT_NE(VlixUtilComputeHistogram(&image.record, &wrapped.record, 0, 2, 0, 1), 0);
  EXPECT_EQ(memory[0].y, 16);
}

TEST(UtilHistogram, EveryFailedAllocationIsAFailureAndNothingLeaks) {
  if (!HeapWatch::available()) GTEST_SKIP() << "a sanitizer owns the heap";
  TestImage<uint8_t> bytes(400, 400);
  TestImage<uint16_t> words(400, 400);
  TestImage<float> floats(8, 8);
  for (const VlixImage& image : {bytes.record, words.record, floats.record}) {
    int failures = 0;
    for (int n = 1;; ++n) {
      OutputVector hist;
      HeapWatch::reset();
      HeapWatch::enable();
      HeapWatch::fail_nth(n);
      const int32_t done = VlixUtilComputeHistogram(&image, &hist.record, 0, 16, 0, 1);
      HeapWatch::disable();
      if (done != 0) break;
      ++failures;
      EXPECT_EQ(HeapWatch::live(), 0) << "allocation " << n;
      EXPECT_EQ(hist.record.data, nullptr) << "allocation " << n;
    }
    EXPECT_GE(failures, 2);
  }
}

struct Range {
  int32_t bins;
  float lo;
  float hi;
};

std::ostream& operator<<(std::ostream& out, const Range& r) {
  return out << r.bins << " bins over [" << r.lo << ", " << r.hi << "]";
}

template <class Pixel>
void expect_twin(const VlixImage& image, const Range& r) {
  SCOPED_TRACE(::testing::Message() << VlixObjGetName(code_of<Pixel>()) << ", " << r << ", " << image.roiWidth << " x "
                                    << image.roiHeight);
  const std::vector<PointF32> hist = histogram(image, r.bins, r.lo, r.hi);
  ASSERT_EQ(hist.size(), static_cast<std::size_t>(r.bins));
  for (int32_t i = 0; i < r.bins; ++i) {
    // The double that is rounded is within 2^-52 of the exact start, in terms of the larger bound: the float is a
    // neighbour of the exact start.
    const long double exact = r.lo + i * (static_cast<long double>(r.hi) - r.lo) / r.bins;
    const float start = hist[static_cast<std::size_t>(i)].x;
    ASSERT_LE(std::nextafter(start, -kInfinity), exact) << "bin " << i;
    ASSERT_GE(std::nextafter(start, kInfinity), exact) << "bin " << i;
  }
  EXPECT_EQ(hist.front().x, r.lo);
  const std::vector<uint64_t> expected = histogram_twin<Pixel>(image, starts_of(hist), r.lo, r.hi);
  for (std::size_t i = 0; i < hist.size(); ++i) ASSERT_EQ(hist[i].y, static_cast<float>(expected[i])) << "bin " << i;
}

template <class Pixel>
class UtilHistogramTwin : public ::testing::Test {};
using Pixels = ::testing::Types<uint8_t, int8_t, uint16_t, int16_t, float>;
TYPED_TEST_SUITE(UtilHistogramTwin, Pixels);

TYPED_TEST(UtilHistogramTwin, AllFillsAndWidthsUpToTwoVectors) {
  for (const Fill fill : kFills) {
    for (int32_t width = 1; width <= 35; ++width) {
      TestImage<TypeParam> image(width + 3, 5, fill, 77);
      image.set_roi(3, 1, width, 4);
      expect_twin<TypeParam>(image.record, {11, -50.5f, 200.25f});
    }
  }
}

TYPED_TEST(UtilHistogramTwin, RangesOfEverySearch) {
  TestImage<TypeParam> image(67, 31, Fill::kNoise, 5);
  for (const Range& r :
       {Range{1, 0, 255}, Range{256, 0, 255}, Range{255, 0, 255}, Range{1000, -1, 1}, Range{2048, -40000, 70000},
        Range{2049, -40000, 70000}, Range{70000, -100, 100}, Range{3, -kLargest, kLargest}, Range{100, -1e-39f, 1e-39f},
        Range{10000, 254, 255.5f}, Range{1 << 17, 100, 101}, Range{7, 20, 20}}) {
    expect_twin<TypeParam>(image.record, r);
  }
}

TYPED_TEST(UtilHistogramTwin, LargeImagesWithOddOrigins) {
  TestImage<TypeParam> image(403, 380, Fill::kNoise, 6);
  image.set_roi(5, 3, 397, 377);
  ASSERT_GE(397 * 377, 1 << 17);
  for (const Range& r : {Range{100, 0, 255}, Range{17, -200, 900.5f}, Range{256, -32768, 32767}}) {
    expect_twin<TypeParam>(image.record, r);
  }
}

TEST(UtilHistogram, FloatsAroundEveryBinStart) {
  for (const Range& r : {Range{10, 0, 1}, Range{1000, -0.3f, 0.7f}, Range{257, 1e6f, 1.1e6f}, Range{65536, 0, 1},
                         Range{20000, 1, 1.005f}, Range{300, 1e-30f, 3e-30f}}) {
    std::vector<float> pixels;
    for (const float start : starts_of(histogram(TestImage<uint8_t>(1, 1).record, r.bins, r.lo, r.hi))) {
      if (pixels.size() > 3000) break;
      for (const float v : {std::nextafter(start, -kInfinity), start, std::nextafter(start, kInfinity)}) {
        pixels.push_back(v);
      }
    }
    TestImage<float> image(static_cast<int32_t>(pixels.size()), 1);
    image.assign(pixels);
    expect_twin<float>(image.record, r);
  }
}

}  // namespace
}  // namespace vlix::test
