// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <rapidcheck/gtest.h>

#include <cerrno>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>

#include "stats/variance_twin.h"
#include "support/recording_platform.h"
#include "support/test_image.h"
#include "vlix/meas.h"

namespace vlix::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr int32_t kLowest = std::numeric_limits<int32_t>::min();
constexpr int32_t kHighest = std::numeric_limits<int32_t>::max();
const std::string kTypeTest = "VlixObjCheckEqList(10, 5, 10, 6, 11, 7, 17)";
const std::string kKernelFormat = "variance: kernel %dx%d, both dimensions must be greater than 0\n";
const std::string kWidthFormat = "variance: kernel width larger than ROI (max.: %d)\n";
const std::string kHeightFormat = "variance: kernel height larger than ROI (max.: %d)\n";

struct Kernel {
  int32_t width, height;
};

std::ostream& operator<<(std::ostream& out, const Kernel& kernel) {
  return out << kernel.width << "x" << kernel.height;
}

std::string width_text(int32_t most) {
  return "variance: kernel width larger than ROI (max.: " + std::to_string(most) + ")\n";
}
std::string height_text(int32_t most) {
  return "variance: kernel height larger than ROI (max.: " + std::to_string(most) + ")\n";
}

template <class Pixel>
std::vector<Pixel> roi_pixels(TestImage<Pixel>& image) {
  std::vector<Pixel> pixels;
  for (int32_t y = 0; y < image.record.roiHeight; ++y) {
    for (int32_t x = 0; x < image.record.roiWidth; ++x) pixels.push_back(image.roi_at(x, y));
  }
  return pixels;
}

std::vector<float> roi_values(const OutputImage& image) {
  std::vector<float> values;
  for (int32_t y = 0; y < image.record.roiHeight; ++y) {
    for (int32_t x = 0; x < image.record.roiWidth; ++x) values.push_back(image.at<float>(x, y));
  }
  return values;
}

// Bit by bit; all not-a-numbers are one.
bool same(float a, float b) { return (std::isnan(a) && std::isnan(b)) || std::memcmp(&a, &b, sizeof(a)) == 0; }

void expect_same(const std::vector<float>& got, const std::vector<float>& wanted, int32_t width, const char* what) {
  ASSERT_EQ(got.size(), wanted.size()) << what;
  for (std::size_t i = 0; i < got.size(); ++i) {
    ASSERT_TRUE(same(got[i], wanted[i])) << what << " at " << i % static_cast<std::size_t>(width) << ", "
                                         << i / static_cast<std::size_t>(width) << ": " << got[i] << " instead of "
                                         << wanted[i];
  }
}

template <class Pixel>
void expect_like_twin(TestImage<Pixel>& image, const Kernel& kernel, bool deviation) {
  OutputImage mean;
  OutputImage variance;
  ASSERT_EQ(vlix_variance(&image.record, &mean.record, &variance.record, deviation, kernel.width, kernel.height), 0);
  const int32_t width = image.record.roiWidth;
  const VarianceTwin twin =
      variance_twin(roi_pixels(image), width, image.record.roiHeight, kernel.width, kernel.height, deviation);
  expect_same(roi_values(mean), twin.mean, width, "mean");
  expect_same(roi_values(variance), twin.variance, width, deviation ? "deviation" : "variance");
}

// ---- Checks and reports ----

struct Refusal {
  int32_t width, height;  // of the region
  Kernel kernel;
  Report report;
};

TEST(VarianceChecks, TypeIsReportedFirstAndEvenWithoutOutputs) {
  for (uint32_t type : {0u, 8u, 9u, 12u, 13u, 16u, 18u, 19u, 20u, 21u, 24u, 29u, 30u, 36u, 39u, 44u, 0xFFFFFFFFu}) {
    for (bool outputs : {false, true}) {
      RecordingPlatform platform;
      TestImage<double> image(2, 2);
      image.record.type = type;
      OutputImage mean;
      EXPECT_EQ(platform.call(vlix_variance, &image.record, outputs ? &mean.record : nullptr, nullptr, 0, 0, -1),
                platform.report_result);
      EXPECT_THAT(platform.reports(), ElementsAre(Report{1, "variance", VlixObjGetName(static_cast<int32_t>(type))}));
      EXPECT_THAT(platform.calls(), ElementsAre("VlixObjCheckEqList(" + std::to_string(static_cast<int32_t>(type)) +
                                                ", 5, 10, 6, 11, 7, 17)"));
      EXPECT_EQ(mean.record.data, nullptr);
      EXPECT_THAT(platform.heap_requests(), IsEmpty());
    }
  }
}

TEST(VarianceChecks, WithoutOutputsNotEvenTheKernelIsLookedAt) {
  for (const Kernel& kernel : {Kernel{3, 3}, Kernel{0, -1}, Kernel{100, 100}, Kernel{kLowest, kHighest}}) {
    RecordingPlatform platform;
    TestImage<uint8_t> image(4, 4);
    EXPECT_EQ(platform.call(vlix_variance, &image.record, nullptr, nullptr, 1, kernel.width, kernel.height), 0);
    EXPECT_THAT(platform.calls(), ElementsAre(kTypeTest));
    EXPECT_THAT(platform.reports(), IsEmpty());
    EXPECT_THAT(platform.heap_requests(), IsEmpty());
  }
}

TEST(VarianceChecks, KernelsAreRefusedInTheStatedOrder) {
  const Refusal refusals[] = {
      {4, 4, {0, 1}, {100, kKernelFormat, "variance: kernel 0x1, both dimensions must be greater than 0\n"}},
      {4, 4, {1, 0}, {100, kKernelFormat, "variance: kernel 1x0, both dimensions must be greater than 0\n"}},
      {4, 4, {-3, 99}, {100, kKernelFormat, "variance: kernel -3x99, both dimensions must be greater than 0\n"}},
      {4, 4, {99, 0}, {100, kKernelFormat, "variance: kernel 99x0, both dimensions must be greater than 0\n"}},
      {4,
       4,
       {kLowest, kLowest},
       {100, kKernelFormat, "variance: kernel -2147483648x-2147483648, both dimensions must be greater than 0\n"}},
      {2, 9, {3, 3}, {100, kWidthFormat, width_text(1)}},
      {9, 2, {3, 3}, {100, kHeightFormat, height_text(4)}},  // half the width, not half the height
      {2, 2, {3, 3}, {100, kWidthFormat, width_text(1)}},
      {1, 9, {1, 1}, {100, kWidthFormat, width_text(0)}},
      {9, 1, {1, 1}, {100, kHeightFormat, height_text(4)}},
      {7, 9, {13, 3}, {100, kWidthFormat, width_text(3)}},
      {9, 7, {3, 13}, {100, kHeightFormat, height_text(4)}},
      {7, 9, {14, 3}, {100, kWidthFormat, width_text(3)}},
      {7, 9, {kHighest, kHighest}, {100, kWidthFormat, width_text(3)}},
      {9, 9, {3, kHighest}, {100, kHeightFormat, height_text(4)}},
      {0, 0, {1, 1}, {100, kWidthFormat, width_text(0)}},
      {5, 0, {1, 1}, {100, kHeightFormat, height_text(2)}},
  };
  for (const Refusal& refusal : refusals) {
    RecordingPlatform platform;
    TestImage<uint8_t> image(9, 9);
    image.set_roi(0, 0, refusal.width, refusal.height);
    OutputImage variance;
    EXPECT_EQ(platform.call(vlix_variance, &image.record, nullptr, &variance.record, 0, refusal.kernel.width,
                            refusal.kernel.height),
              platform.report_result)
        << refusal.kernel;
    EXPECT_THAT(platform.reports(), ElementsAre(refusal.report));
    EXPECT_THAT(platform.calls(), ElementsAre(kTypeTest));
    EXPECT_EQ(variance.record.data, nullptr);
    EXPECT_THAT(platform.heap_requests(), IsEmpty());
  }
}

TEST(VarianceChecks, LargestKernelsThatFitAreAccepted) {
  TestImage<uint8_t> image(7, 5, Fill::kNoise, 1);
  for (const Kernel& kernel : {Kernel{12, 8}, Kernel{11, 7}, Kernel{1, 8}, Kernel{12, 1}}) {
    expect_like_twin(image, kernel, false);
  }
}

// ---- Calls, memory and releases ----

TEST(VarianceFrame, OutputsAreShapedMeanFirstAndTheLevelIsNotAsked) {
  RecordingPlatform platform;
  platform.level = 1;
  TestImage<uint8_t> image(9, 9, Fill::kNoise, 2);
  image.set_roi(1, 2, 7, 5);
  OutputImage mean;
  OutputImage variance;
  platform.name(mean.record, "mean");
  platform.name(variance.record, "variance");
  EXPECT_EQ(platform.call(vlix_variance, &image.record, &mean.record, &variance.record, 0, 3, 3), 0);
  EXPECT_THAT(platform.calls(), ElementsAre(kTypeTest, "VlixImageTryUseReservedMem(mean, F32, 7, 5, \"variance\")",
                                            "VlixImageTryUseReservedMem(variance, F32, 7, 5, \"variance\")"));
  EXPECT_THAT(platform.reports(), IsEmpty());
}

TEST(VarianceFrame, AskedForOneOutputItShapesOnlyThat) {
  for (bool is_mean : {false, true}) {
    RecordingPlatform platform;
    TestImage<int16_t> image(6, 4, Fill::kNoise, 3);
    OutputImage out;
    platform.name(out.record, "out");
    EXPECT_EQ(platform.call(vlix_variance, &image.record, is_mean ? &out.record : nullptr,
                            is_mean ? nullptr : &out.record, 0, 3, 3),
              0);
    EXPECT_THAT(platform.calls_of("VlixImageTryUseReservedMem"),
                ElementsAre("VlixImageTryUseReservedMem(out, F32, 6, 4, \"variance\")"));
  }
}

TEST(VarianceFrame, ThreeHeapBlocksOfTheStatedSizesAreFreed) {
  if (!RecordingPlatform::heap_is_watched()) GTEST_SKIP();
  for (const Kernel& kernel : {Kernel{3, 5}, Kernel{200, 1}, Kernel{290, 20}}) {
    RecordingPlatform platform;
    TestImage<float> image(160, 33, Fill::kNoise, 4);
    OutputImage mean;
    OutputImage variance;
    EXPECT_EQ(
        platform.call(vlix_variance, &image.record, &mean.record, &variance.record, 1, kernel.width, kernel.height), 0);
    EXPECT_THAT(platform.heap_requests(),
                ElementsAre(8u * static_cast<std::size_t>(kernel.height), 4u * 160u, 4u * 160u));
    EXPECT_EQ(platform.heap_live(), 0);
  }
}

TEST(VarianceFrame, EachHeapBlockThatCannotBeHadIsReportedWithItsBytes) {
  if (!RecordingPlatform::heap_is_watched()) GTEST_SKIP();
  const std::string bytes[] = {"40", "28", "28"};
  for (int nth = 1; nth <= 3; ++nth) {
    RecordingPlatform platform;
    platform.fail_heap(nth);
    TestImage<uint16_t> image(7, 9);
    OutputImage mean;
    OutputImage variance;
    EXPECT_EQ(platform.call(vlix_variance, &image.record, &mean.record, &variance.record, 0, 3, 5),
              platform.report_result);
    EXPECT_THAT(platform.reports(), ElementsAre(Report{0, "variance", bytes[nth - 1]}));
    EXPECT_THAT(platform.calls(), ElementsAre("VlixObjCheckEqList(11, 5, 10, 6, 11, 7, 17)"));
    EXPECT_EQ(platform.heap_requests().size(), static_cast<std::size_t>(nth));
    EXPECT_EQ(platform.heap_live(), 0);
    EXPECT_EQ(mean.record.data, nullptr);
  }
}

TEST(VarianceFrame, StatusOfTheMeanImageIsReturnedAsItIs) {
  RecordingPlatform platform;
  platform.fail("VlixImageTryUseReservedMem", 1, -77);
  TestImage<uint8_t> image(7, 5);
  OutputImage mean;
  OutputImage variance;
  platform.name(mean.record, "mean");
  EXPECT_EQ(platform.call(vlix_variance, &image.record, &mean.record, &variance.record, 0, 3, 3), -77);
  EXPECT_THAT(platform.calls(), ElementsAre(kTypeTest, "VlixImageTryUseReservedMem(mean, F32, 7, 5, \"variance\")"));
  EXPECT_THAT(platform.reports(), IsEmpty());
  EXPECT_EQ(platform.heap_live(), 0);
}

TEST(VarianceFrame, EmptyMeanImageIsReleasedWhenTheVarianceImageFails) {
  RecordingPlatform platform;
  platform.fail("VlixImageTryUseReservedMem", 2, 123);
  TestImage<uint8_t> image(7, 5);
  OutputImage mean;
  OutputImage variance;
  platform.name(mean.record, "mean");
  platform.name(variance.record, "variance");
  EXPECT_EQ(platform.call(vlix_variance, &image.record, &mean.record, &variance.record, 0, 3, 3), 123);
  EXPECT_THAT(platform.calls(), ElementsAre(kTypeTest, "VlixImageTryUseReservedMem(mean, F32, 7, 5, \"variance\")",
                                            "VlixImageTryUseReservedMem(variance, F32, 7, 5, \"variance\")",
                                            "VlixImageRelease(mean, 1)"));
  EXPECT_THAT(platform.live_buffers(), IsEmpty());
  EXPECT_EQ(platform.heap_live(), 0);
}

TEST(VarianceFrame, MeanImageThatHadDataIsKeptWhenTheVarianceImageFails) {
  OutputImage mean;
  ASSERT_EQ(VlixImageAlloc(&mean.record, ObjType_F32, 3, 3), 0);
  RecordingPlatform platform;
  platform.fail("VlixImageTryUseReservedMem", 2, 123);
  TestImage<uint8_t> image(7, 5);
  OutputImage variance;
  EXPECT_EQ(platform.call(vlix_variance, &image.record, &mean.record, &variance.record, 0, 3, 3), 123);
  EXPECT_THAT(platform.calls_of("VlixImageRelease"), IsEmpty());
  EXPECT_NE(mean.record.data, nullptr);
}

TEST(VarianceFrame, VarianceImageAloneFailsWithoutARelease) {
  RecordingPlatform platform;
  platform.fail("VlixImageTryUseReservedMem", 1, 123);
  TestImage<uint8_t> image(7, 5);
  OutputImage variance;
  EXPECT_EQ(platform.call(vlix_variance, &image.record, nullptr, &variance.record, 0, 3, 3), 123);
  EXPECT_THAT(platform.calls_of("VlixImageRelease"), IsEmpty());
  EXPECT_EQ(platform.heap_live(), 0);
}

TEST(VarianceFrame, OutputsWiderThanTheRegionAreWrittenInTheirOwnRegion) {
  RecordingPlatform platform;
  platform.output_margins = {3, 2, 5, 1};
  TestImage<int8_t> image(150, 21, Fill::kNoise, 5);
  image.set_roi(3, 1, 140, 19);
  OutputImage mean;
  OutputImage variance;
  ASSERT_EQ(platform.call(vlix_variance, &image.record, &mean.record, &variance.record, 0, 5, 4), 0);
  ASSERT_EQ(mean.record.width, 148);
  const VarianceTwin twin = variance_twin(roi_pixels(image), 140, 19, 5, 4, false);
  expect_same(roi_values(mean), twin.mean, 140, "mean");
  expect_same(roi_values(variance), twin.variance, 140, "variance");
}

// ---- Values ----

TEST(Variance, WindowsAreClippedAtTheRegion) {
  TestImage<uint8_t> image(5, 5, Fill::kHighest, 0);
  image.set_roi(1, 1, 3, 3);
  for (int32_t i = 0; i < 9; ++i) image.roi_at(i % 3, i / 3) = static_cast<uint8_t>(10 * i);
  OutputImage mean;
  OutputImage variance;
  ASSERT_EQ(vlix_variance(&image.record, &mean.record, &variance.record, 0, 3, 3), 0);
  // Corners hold 2 x 2 of 0 10 20 / 30 40 50 / 60 70 80, edges 2 x 3, the centre all of them.
  EXPECT_THAT(roi_values(mean), ElementsAre(20, 25, 30, 35, 40, 45, 50, 55, 60));
  EXPECT_EQ(variance.at<float>(0, 0), static_cast<float>(1000.0 / 3.0));  // 400 + 100 + 100 + 400
  EXPECT_EQ(variance.at<float>(1, 1), 750.0f);                            // 2 (1600 + 900 + 400 + 100) / 8
}

TEST(Variance, EvenKernelsReachFurtherToTheLeftAndUp) {
  TestImage<uint8_t> image(9, 9);
  image.at(4, 4) = 16;
  OutputImage mean;
  ASSERT_EQ(vlix_variance(&image.record, &mean.record, nullptr, 0, 4, 2), 0);
  for (int32_t y = 0; y < 9; ++y) {
    for (int32_t x = 0; x < 9; ++x) {
      const bool covers = x - 2 <= 4 && 4 <= x + 1 && y - 1 <= 4 && 4 <= y;
      EXPECT_EQ(mean.at<float>(x, y), covers ? 2.0f : 0.0f) << x << ", " << y;
    }
  }
}

// Both reach one pixel to the left and up; only the odd one reaches to the right and down.
TEST(Variance, EvenAndOddKernelsOfOneHalfSizeEndDifferently) {
  TestImage<uint8_t> image(6, 5);
  image.at(5, 4) = 36;
  OutputImage even;
  OutputImage odd;
  ASSERT_EQ(vlix_variance(&image.record, &even.record, nullptr, 0, 2, 2), 0);
  ASSERT_EQ(vlix_variance(&image.record, &odd.record, nullptr, 0, 3, 3), 0);
  EXPECT_EQ(even.at<float>(5, 4), 9.0f);
  EXPECT_EQ(odd.at<float>(5, 4), 9.0f);  // clipped to 2 x 2
  EXPECT_EQ(even.at<float>(4, 3), 0.0f);
  EXPECT_EQ(odd.at<float>(4, 3), 4.0f);
  EXPECT_EQ(even.at<float>(5, 3), 0.0f);
  EXPECT_EQ(odd.at<float>(5, 3), 6.0f);  // 2 x 3
}

// Windows of up to 16 x 16 bytes have sums of squares below 2^24: the means are the exact ones, rounded.
TEST(Variance, SmallWindowsOfBytesAreExact) {
  TestImage<uint8_t> image(150, 40, Fill::kNoise, 6);
  for (const Kernel& kernel : {Kernel{3, 3}, Kernel{7, 7}, Kernel{16, 16}, Kernel{2, 9}}) {
    OutputImage mean;
    OutputImage variance;
    ASSERT_EQ(vlix_variance(&image.record, &mean.record, &variance.record, 0, kernel.width, kernel.height), 0);
    for (int32_t y = 0; y < 40; ++y) {
      for (int32_t x = 0; x < 150; ++x) {
        int64_t n = 0, sum = 0, square = 0;
        for (int32_t v = y - kernel.height / 2; v < y - kernel.height / 2 + kernel.height; ++v) {
          for (int32_t u = x - kernel.width / 2; u < x - kernel.width / 2 + kernel.width; ++u) {
            if (u < 0 || v < 0 || u >= 150 || v >= 40) continue;
            ++n;
            sum += image.at(u, v);
            square += image.at(u, v) * image.at(u, v);
          }
        }
        ASSERT_EQ(mean.at<float>(x, y), static_cast<float>(sum) / static_cast<float>(n));
        // mean * n * mean is off by at most 5 roundings, the difference and the quotient by one more each.
        const double exact = (static_cast<double>(square) - static_cast<double>(sum * sum) / static_cast<double>(n)) /
                             static_cast<double>(n - 1);
        ASSERT_NEAR(variance.at<float>(x, y), exact,
                    7.0 * std::ldexp(static_cast<double>(square), -24) / static_cast<double>(n - 1));
      }
    }
  }
}

TEST(Variance, OnePixelHasNoVariance) {
  TestImage<uint16_t> image(6, 5, Fill::kNoise, 7);
  for (auto& pixel : {&image.at(2, 2), &image.at(3, 3)}) *pixel = 0;
  for (int32_t i = 0; i < 30; ++i) image.data()[i] = static_cast<uint16_t>(image.data()[i] % 4096);  // exact squares
  for (int32_t deviation : {0, 1}) {
    OutputImage mean;
    OutputImage variance;
    ASSERT_EQ(vlix_variance(&image.record, &mean.record, &variance.record, deviation, 1, 1), 0);
    for (int32_t y = 0; y < 5; ++y) {
      for (int32_t x = 0; x < 6; ++x) {
        EXPECT_EQ(mean.at<float>(x, y), image.at(x, y));
        EXPECT_TRUE(std::isnan(variance.at<float>(x, y)));
      }
    }
  }
}

// Tenths are no floats: squares and sums round, and some variances come out below 0.
TEST(Variance, RootsOfNegativeVariancesAreNotANumberAndADomainError) {
  bool any_negative = false;
  for (int32_t tenths = 1; tenths < 30; ++tenths) {
    TestImage<float> image(40, 20);
    std::fill(image.data(), image.data() + 800, static_cast<float>(tenths) / 10.0f);
    OutputImage variance;
    OutputImage deviation;
    errno = 0;
    ASSERT_EQ(vlix_variance(&image.record, nullptr, &variance.record, 0, 5, 5), 0);
    EXPECT_EQ(errno, 0);
    ASSERT_EQ(vlix_variance(&image.record, nullptr, &deviation.record, 1, 5, 5), 0);
    bool negative = false;
    for (int32_t y = 0; y < 20; ++y) {
      for (int32_t x = 0; x < 40; ++x) {
        const float v = variance.at<float>(x, y);
        negative |= v < 0.0f;
        ASSERT_EQ(std::isnan(deviation.at<float>(x, y)), v < 0.0f) << v;
      }
    }
    EXPECT_EQ(errno, negative ? EDOM : 0) << tenths;
    any_negative |= negative;
  }
  EXPECT_TRUE(any_negative);
}

TEST(Variance, RootsOfNumbersFromZeroOnReportNothing) {
  TestImage<uint8_t> image(40, 20, Fill::kNoise, 8);
  OutputImage deviation;
  errno = 0;
  ASSERT_EQ(vlix_variance(&image.record, nullptr, &deviation.record, 1, 5, 5), 0);
  EXPECT_EQ(errno, 0);
}

TEST(Variance, AnyFlagButZeroMeansDeviation) {
  TestImage<int16_t> image(30, 20, Fill::kNoise, 9);
  for (int32_t flag : {-1, 1, 2, kLowest}) {
    OutputImage variance;
    ASSERT_EQ(vlix_variance(&image.record, nullptr, &variance.record, flag, 3, 5), 0);
    expect_same(roi_values(variance), variance_twin(roi_pixels(image), 30, 20, 3, 5, true).variance, 30, "deviation");
  }
}

TEST(Variance, OneOutputIsTheSameAsBoth) {
  TestImage<float> image(300, 21, Fill::kNoise, 10);
  for (const Kernel& kernel : {Kernel{5, 3}, Kernel{201, 4}}) {
    for (int32_t deviation : {0, 1}) {
      OutputImage mean, variance, mean_alone, variance_alone;
      ASSERT_EQ(vlix_variance(&image.record, &mean.record, &variance.record, deviation, kernel.width, kernel.height),
                0);
      ASSERT_EQ(vlix_variance(&image.record, &mean_alone.record, nullptr, deviation, kernel.width, kernel.height), 0);
      ASSERT_EQ(vlix_variance(&image.record, nullptr, &variance_alone.record, deviation, kernel.width, kernel.height),
                0);
      expect_same(roi_values(mean_alone), roi_values(mean), 300, "mean");
      expect_same(roi_values(variance_alone), roi_values(variance), 300, "variance");
    }
  }
}

TEST(Variance, BuffersAreReused) {
  TestImage<uint8_t> image(30, 20, Fill::kNoise, 11);
  OutputImage mean;
  OutputImage variance;
  ASSERT_EQ(vlix_variance(&image.record, &mean.record, &variance.record, 0, 3, 3), 0);
  const void* before[] = {mean.record.data, variance.record.data};
  image.set_roi(2, 3, 20, 10);
  ASSERT_EQ(vlix_variance(&image.record, &mean.record, &variance.record, 0, 3, 3), 0);
  EXPECT_EQ(mean.record.data, before[0]);
  EXPECT_EQ(variance.record.data, before[1]);
  expect_same(roi_values(mean), variance_twin(roi_pixels(image), 20, 10, 3, 3, false).mean, 20, "mean");
}

// Not-a-number and infinity spread along the rest of row and column, as the sliding sums carry them.
TEST(Variance, NotANumberStaysInTheSumsItEntered) {
  for (float odd : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(), -0.0f, 3e38f}) {
    TestImage<float> image(140, 24, Fill::kNoise, 12);
    image.at(60, 9) = odd;
    image.at(61, 9) = -0.0f;
    for (const Kernel& kernel : {Kernel{3, 3}, Kernel{6, 5}, Kernel{130, 3}}) expect_like_twin(image, kernel, false);
  }
}

TEST(Variance, NegativeZerosGiveAMeanOfZero) {
  TestImage<float> image(20, 12);
  std::fill(image.data(), image.data() + 240, -0.0f);
  for (const Kernel& kernel : {Kernel{3, 3}, Kernel{1, 1}}) expect_like_twin(image, kernel, false);
}

template <class Pixel>
class VarianceOfType : public ::testing::Test {};
using Pixels = ::testing::Types<uint8_t, int8_t, uint16_t, int16_t, float>;
TYPED_TEST_SUITE(VarianceOfType, Pixels);

TYPED_TEST(VarianceOfType, EqualsItsTwinBitByBitForAllFills) {
  const Kernel kernels[] = {{1, 1}, {2, 2}, {3, 3}, {4, 7}, {31, 9}, {128, 2}, {129, 3}, {200, 17}, {300, 40}};
  for (Fill fill : kFills) {
    TestImage<TypeParam> image(171, 31, fill, 13);
    image.set_roi(5, 3, 163, 27);
    for (const Kernel& kernel : kernels) {
      SCOPED_TRACE(name_of(fill) + " " + std::to_string(kernel.width) + "x" + std::to_string(kernel.height));
      expect_like_twin(image, kernel, fill == Fill::kRamp);
      if (this->HasFatalFailure()) return;
    }
  }
}

TYPED_TEST(VarianceOfType, EqualsItsTwinForAllSmallRegionsAndKernels) {
  for (int32_t width : {2, 3, 5, 8, 17}) {
    for (int32_t height : {2, 3, 7, 8, 9, 16, 17}) {
      TestImage<TypeParam> image(width, height, Fill::kNoise, static_cast<uint64_t>(100 * width + height));
      for (int32_t kw = 1; kw <= 2 * (width - 1); kw += width > 8 ? 3 : 1) {
        for (int32_t kh = 1; kh <= 2 * (height - 1); kh += height > 8 ? 5 : 1) {
          SCOPED_TRACE(std::to_string(width) + "x" + std::to_string(height) + " kernel " + std::to_string(kw) + "x" +
                       std::to_string(kh));
          expect_like_twin(image, {kw, kh}, false);
          if (this->HasFatalFailure()) return;
        }
      }
    }
  }
}

TYPED_TEST(VarianceOfType, EqualsItsTwinForWidthsAroundTheSteps) {
  for (int32_t width : {127, 128, 129, 255, 256, 257, 383, 385}) {
    TestImage<TypeParam> image(width + 3, 11, Fill::kNoise, static_cast<uint64_t>(width));
    image.set_roi(3, 1, width, 10);  // the last row ends where the memory does
    for (int32_t kw : {1, 3, 8, 127, 128, 129, 2 * (width - 1)}) {
      SCOPED_TRACE(std::to_string(width) + " kernel " + std::to_string(kw));
      expect_like_twin(image, {std::min(kw, 2 * (width - 1)), 3}, kw == 8);
      if (this->HasFatalFailure()) return;
    }
  }
}

TYPED_TEST(VarianceOfType, ResultsDoNotDependOnTheLevel) {
  TestImage<TypeParam> image(90, 33, Fill::kNoise, 14);
  for (int32_t level : {0, 1, 2}) {
    const LevelScope scope(level);
    expect_like_twin(image, {7, 6}, true);
  }
}

RC_GTEST_PROP(VarianceProperty, EqualsItsTwin, ()) {
  const int32_t width = *rc::gen::inRange(2, 180);
  const int32_t height = *rc::gen::inRange(2, 40);
  const int32_t left = *rc::gen::inRange(0, 9);
  const int32_t top = *rc::gen::inRange(0, 3);
  TestImage<float> image(width + left + *rc::gen::inRange(0, 5), height + top, Fill::kNoise,
                         *rc::gen::arbitrary<uint64_t>());
  image.set_roi(left, top, width, height);
  const Kernel kernel = {*rc::gen::inRange(1, 2 * width - 1), *rc::gen::inRange(1, 2 * height - 1)};
  expect_like_twin(image, kernel, *rc::gen::arbitrary<bool>());
  RC_ASSERT(!::testing::Test::HasFatalFailure());
}

// Mirrored images have mirrored results where all sums are exact and the kernel is symmetric.
RC_GTEST_PROP(VarianceProperty, MirroringTheImageMirrorsTheResult, ()) {
  const int32_t width = *rc::gen::inRange(8, 150);
  const int32_t height = *rc::gen::inRange(8, 30);
  TestImage<uint8_t> image(width, height, Fill::kNoise, *rc::gen::arbitrary<uint64_t>());
  TestImage<uint8_t> mirrored(width, height);
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) mirrored.at(width - 1 - x, height - 1 - y) = image.at(x, y);
  }
  const int32_t kernel = 2 * *rc::gen::inRange(1, 7) + 1;
  OutputImage a, b;
  RC_ASSERT(vlix_variance(&image.record, nullptr, &a.record, 0, kernel, 5) == 0);
  RC_ASSERT(vlix_variance(&mirrored.record, nullptr, &b.record, 0, kernel, 5) == 0);
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      RC_ASSERT(a.at<float>(x, y) == b.at<float>(width - 1 - x, height - 1 - y));
    }
  }
}

}  // namespace
}  // namespace vlix::test
