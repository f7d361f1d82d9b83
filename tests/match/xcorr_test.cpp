// SPDX-License-Identifier: Apache-2.0
// The transform is played by the test: what it is handed is looked at, and what it returns is known.
#include <gmock/gmock.h>

#include <algorithm>
#include <bit>
#include <random>
#include <string>
#include <vector>

#include "match/scores.h"
#include "match/xcorr_twin.h"
#include "support/recording_platform.h"
#include "support/test_image.h"
#include "vlix/meas.h"

namespace vlix::test {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

const std::string kFirstText = "xCorr: failed transforming image 1\n";
const std::string kSecondText = "xCorr: failed transforming image 2\n";
const std::string kInverseText = "xCorr: failed inverse transforming image\n";
const std::string kForward1 = "vlix_fft(?, ?, 0, 0, 0)";
const std::string kForward2 = "vlix_fft(padded, ?, 0, 0, 0)";
const std::string kInverse = "vlix_fft(spectrum1, spectrum2, 1, 0, 1)";

std::string check_of(uint32_t type) { return "VlixObjCheckEqList(" + std::to_string(type) + ", 5, 10, 6, 11, 7, 17)"; }

std::string release_of(const std::string& record) { return "VlixImageRelease(" + record + ", 1)"; }

// A transform whose results are noise on a grid of its own choice. It names the records that it sees.
class PlayedTransform {
 public:
  PlayedTransform(RecordingPlatform& platform, VlixSize grid, int32_t result_width)
      : platform_(platform), grid_(grid), result_width_(result_width), random_(17) {
    platform.fft = [this](const VlixImage* from, VlixImage* to, int32_t direction, int32_t, int32_t) {
      return direction == 0 ? forward(*from, *to) : inverse(*from, *to);
    };
  }

  std::vector<std::vector<float>> padded;   // what came in, twice
  std::vector<std::vector<float>> spectra;  // what went out
  std::vector<float> product;               // what came in
  std::vector<float> result;                // what went out
  VlixSize padded_size = {};

 private:
  static std::vector<float> floats_of(const VlixImage& image, int32_t parts) {
    const auto* first = static_cast<const float*>(image.data);
    return {first, first + std::ptrdiff_t{image.width} * image.height * parts};
  }
  void fill(VlixImage& image, int32_t parts) {
    auto* values = static_cast<float*>(image.data);
    const auto count = std::ptrdiff_t{image.width} * image.height * parts;
    std::generate(values, values + count, [this] { return random_value<float>(random_); });
  }
  int32_t forward(const VlixImage& from, VlixImage& to) {
    EXPECT_EQ(from.type, ObjType_F32);
    EXPECT_EQ(to.data, nullptr);
    padded.push_back(floats_of(from, 1));
    padded_size = {from.width, from.height};
    EXPECT_EQ(VlixImageAlloc(&to, ObjType_ComplexF32, grid_.width, grid_.height), 0);
    fill(to, 2);
    spectra.push_back(floats_of(to, 2));
    if (spectra.size() == 1) platform_.name(from, "padded");
    platform_.name(to, spectra.size() == 1 ? "spectrum1" : "spectrum2");
    return 0;
  }
  int32_t inverse(const VlixImage& from, VlixImage& to) {
    EXPECT_EQ(to.data, nullptr);
    product = floats_of(from, 2);
    EXPECT_EQ(VlixImageAlloc(&to, ObjType_F32, result_width_, grid_.height), 0);
    fill(to, 1);
    result = floats_of(to, 1);
    return 0;
  }

  RecordingPlatform& platform_;
  VlixSize grid_;
  int32_t result_width_;
  std::mt19937_64 random_;
};

// ---- Checks ----

TEST(XCorr, FirstTypeIsTestedBeforeTheSecondAndBothBeforeTheNullDestination) {
  for (uint32_t type : {0u, 8u, 9u, 12u, 13u, 16u, 18u, 19u, 20u, 21u, 24u, 29u, 30u, 36u, 39u, 44u, 70u}) {
    RecordingPlatform platform;
    TestImage<double> bad(3, 3);
    bad.record.type = type;
    TestImage<int16_t> good(2, 2);
    const Report expected{1, "xCorr", VlixObjGetName(static_cast<int32_t>(type))};
    EXPECT_EQ(platform.call(vlix_xCorr, &bad.record, &bad.record, nullptr), platform.report_result);
    EXPECT_EQ(platform.call(vlix_xCorr, &good.record, &bad.record, nullptr), platform.report_result);
    EXPECT_THAT(platform.reports(), ElementsAre(expected, expected));
    EXPECT_THAT(platform.calls(), ElementsAre(check_of(type), check_of(7), check_of(type)));
  }
}

TEST(XCorr, NullDestinationAllocatesNothing) {
  RecordingPlatform platform;
  TestImage<uint8_t> image(3, 3);
  TestImage<float> pattern(9, 9);
  EXPECT_EQ(platform.call(vlix_xCorr, &image.record, &pattern.record, nullptr), 0);
  EXPECT_THAT(platform.calls(), ElementsAre(check_of(10), check_of(17)));
  EXPECT_THAT(platform.reports(), IsEmpty());
}

// ---- Calls and releases ----

struct Call {
  Call() : image(5, 4, Fill::kNoise, 1), pattern(3, 2, Fill::kNoise, 2), transform(platform, {8, 6}, 8) {
    platform.name(dst.record, "dst");
  }
  VlixStatus run() { return platform.call(vlix_xCorr, &image.record, &pattern.record, &dst.record); }
  std::vector<std::string> calls_with(std::vector<std::string> later) {
    std::vector<std::string> calls = {check_of(10), check_of(7), "VlixImageAlloc(?, F32, 7, 5)"};
    calls.insert(calls.end(), later.begin(), later.end());
    return calls;
  }

  RecordingPlatform platform;
  TestImage<uint8_t> image;
  TestImage<int16_t> pattern;
  OutputImage dst;
  PlayedTransform transform;
};

const std::string kShape = "VlixImageTryUseReservedMem(dst, F32, 5, 4, \"crossCorr\")";

TEST(XCorr, EverythingIsReleasedAsSoonAsItIsUsedUp) {
  Call call;
  EXPECT_EQ(call.run(), 0);
  EXPECT_THAT(call.platform.calls(),
              ElementsAreArray(call.calls_with({kForward1, kForward2, release_of("padded"), release_of("spectrum2"),
                                                kInverse, kShape, release_of("spectrum1"), release_of("spectrum2")})));
  EXPECT_THAT(call.platform.reports(), IsEmpty());
  EXPECT_THAT(call.platform.live_buffers(), ElementsAre("VlixImageTryUseReservedMem"));
  EXPECT_THAT(call.platform.heap_requests(), IsEmpty());
}

TEST(XCorr, LevelIsNotAskedFor) {
  for (int32_t level : {0, 1, 2}) {
    Call call;
    call.platform.level = level;
    EXPECT_EQ(call.run(), 0);
    EXPECT_THAT(call.platform.calls_of("VlixOptimGetLevel"), IsEmpty());
  }
}

TEST(XCorr, FailedAllocationIsReportedWithItsBytes) {
  Call call;
  call.platform.fail("VlixImageAlloc", 1, -1);
  EXPECT_EQ(call.run(), call.platform.report_result);
  EXPECT_THAT(call.platform.reports(), ElementsAre(Report{0, "xCorr", "140"}));
  EXPECT_THAT(call.platform.calls(), ElementsAreArray(call.calls_with({})));
}

TEST(XCorr, ReportedBytesComeFromA32BitProduct) {
  struct Case {
    int32_t image, pattern;
    const char* bytes;
  };
  // 79999 squared is 2104872705 modulo 2^32; 50000 squared is -1794967296 as a 32-bit integer.
  for (const Case& sides : {Case{40000, 40000, "8419490820"}, Case{49001, 1000, "-7179869184"}}) {
    RecordingPlatform platform;
    platform.fail("VlixImageAlloc");
    TestImage<uint8_t> image(1, 1);
    TestImage<uint8_t> pattern(1, 1);
    image.set_roi(0, 0, sides.image, sides.image);
    pattern.set_roi(0, 0, sides.pattern, sides.pattern);
    OutputImage dst;
    EXPECT_EQ(platform.call(vlix_xCorr, &image.record, &pattern.record, &dst.record), platform.report_result);
    EXPECT_THAT(platform.reports(), ElementsAre(Report{0, "xCorr", sides.bytes}));
  }
}

TEST(XCorr, FailedTransformOfTheFirstImageGivesThePaddedImageBackFirst) {
  for (int32_t result : {-8, 1}) {
    Call call;
    call.platform.fail("vlix_fft", 1, result);
    EXPECT_EQ(call.run(), call.platform.report_result);
    EXPECT_THAT(call.platform.reports(), ElementsAre(Report{100, kFirstText, kFirstText}));
    EXPECT_THAT(call.platform.calls(), ElementsAreArray(call.calls_with({kForward1, release_of("?")})));
    EXPECT_THAT(call.platform.calls_before_reports(), ElementsAre(5u));
    EXPECT_THAT(call.platform.live_buffers(), IsEmpty());
  }
}

TEST(XCorr, FailedTransformOfTheSecondImageGivesSpectrumAndPaddedImageBack) {
  Call call;
  call.platform.fail("vlix_fft", 2, 1);
  EXPECT_EQ(call.run(), call.platform.report_result);
  EXPECT_THAT(call.platform.reports(), ElementsAre(Report{100, kSecondText, kSecondText}));
  EXPECT_THAT(call.platform.calls(),
              ElementsAreArray(call.calls_with({kForward1, kForward2, release_of("spectrum1"), release_of("padded")})));
  EXPECT_THAT(call.platform.calls_before_reports(), ElementsAre(7u));
  EXPECT_THAT(call.platform.live_buffers(), IsEmpty());
}

TEST(XCorr, FailedInverseGivesOnlyTheFirstSpectrumBack) {
  Call call;
  call.platform.fail("vlix_fft", 3, 1);
  EXPECT_EQ(call.run(), call.platform.report_result);
  EXPECT_THAT(call.platform.reports(), ElementsAre(Report{100, kInverseText, kInverseText}));
  EXPECT_THAT(call.platform.calls(),
              ElementsAreArray(call.calls_with({kForward1, kForward2, release_of("padded"), release_of("spectrum2"),
                                                kInverse, release_of("spectrum1")})));
  EXPECT_THAT(call.platform.calls_before_reports(), ElementsAre(9u));
  EXPECT_THAT(call.platform.live_buffers(), IsEmpty());
}

TEST(XCorr, FailedShapingIsReturnedWithoutAReport) {
  Call call;
  call.platform.fail("VlixImageTryUseReservedMem", 1, -9);
  EXPECT_EQ(call.run(), -9);
  EXPECT_THAT(call.platform.reports(), IsEmpty());
  EXPECT_THAT(call.platform.calls(),
              ElementsAreArray(call.calls_with({kForward1, kForward2, release_of("padded"), release_of("spectrum2"),
                                                kInverse, kShape, release_of("spectrum1"), release_of("spectrum2")})));
  EXPECT_THAT(call.platform.live_buffers(), IsEmpty());
}

TEST(XCorr, ImageWithoutRowsEndsAfterTheShaping) {
  Call call;
  call.image.record.roiHeight = 0;
  call.pattern.record.roiHeight = 2;
  call.platform.fail("VlixImageTryUseReservedMem", 1, 0);
  EXPECT_EQ(call.run(), 0);
  EXPECT_THAT(call.platform.reports(), IsEmpty());
  EXPECT_THAT(call.platform.live_buffers(), IsEmpty());
  EXPECT_EQ(call.dst.record.data, nullptr);
}

TEST(XCorr, PatternWithoutColumnsOrRowsStaysInsideThePaddedImage) {
  for (const auto& [width, height] : {std::pair<int32_t, int32_t>{0, 2}, {3, 0}, {0, 0}}) {
    Call call;
    call.pattern.set_roi(0, 0, width, height);
    EXPECT_EQ(call.run(), 0);
    EXPECT_THAT(call.platform.live_buffers(), ElementsAre("VlixImageTryUseReservedMem"));
    EXPECT_EQ(call.transform.padded_size.width, 4 + width);
    EXPECT_EQ(call.transform.padded_size.height, 3 + height);
  }
}

// ---- What the transform is handed, and what becomes of its results ----

template <class Pixel>
std::vector<float> padded_twin(TestImage<Pixel>& image, VlixSize size) {
  std::vector<float> values;
  for (int32_t y = 0; y < size.height; ++y) {
    for (int32_t x = 0; x < size.width; ++x) {
      const bool inside = x < image.record.roiWidth && y < image.record.roiHeight;
      values.push_back(inside ? static_cast<float>(image.roi_at(x, y)) : 0.0f);
    }
  }
  return values;
}

std::vector<float> cut_out_twin(const std::vector<float>& result, int32_t row_length, VlixSize grid, VlixSize image,
                                VlixSize pattern) {
  std::vector<float> scores;
  for (int32_t y = 0; y < image.height; ++y) {
    for (int32_t x = 0; x < image.width; ++x) {
      int32_t row = (y - pattern.height / 2) % grid.height;
      int32_t column = (x - pattern.width / 2) % grid.width;
      while (row < 0) row += grid.height;
      while (column < 0) column += grid.width;
      scores.push_back(result[static_cast<std::size_t>(row * row_length + column)] /
                       static_cast<float>(image.width * image.height));
    }
  }
  return scores;
}

// (a + ib) times the conjugate of (c + id).
std::vector<float> product_twin(const std::vector<float>& first, const std::vector<float>& second) {
  std::vector<float> product;
  for (std::size_t i = 0; i < first.size(); i += 2) {
    const double a = first[i], b = first[i + 1], c = second[i], d = second[i + 1];
    product.push_back(static_cast<float>(a * c + b * d));
    product.push_back(static_cast<float>(b * c - a * d));
  }
  return product;
}

template <class Image, class Pattern>
void expect_stages(VlixSize image_size, VlixSize pattern_size, VlixSize more, int32_t longer_rows, uint64_t seed) {
  RecordingPlatform platform;
  const VlixSize padded = {image_size.width + pattern_size.width - 1, image_size.height + pattern_size.height - 1};
  const VlixSize grid = {padded.width + more.width, padded.height + more.height};
  PlayedTransform transform(platform, grid, grid.width + longer_rows);
  FramedImage<Image> image(image_size.width, image_size.height, {1, 2, 0, 0}, Fill::kNoise, seed);
  FramedImage<Pattern> pattern(pattern_size.width, pattern_size.height, {2, 0, 3, 1}, Fill::kNoise, seed + 1);
  OutputImage dst;
  ASSERT_EQ(platform.call(vlix_xCorr, &image.record, &pattern.record, &dst.record), 0);
  ASSERT_EQ(transform.padded_size.width, padded.width);
  ASSERT_EQ(transform.padded_size.height, padded.height);
  ASSERT_THAT(transform.padded, ElementsAre(padded_twin(image, padded), padded_twin(pattern, padded)));
  ASSERT_EQ(transform.product, product_twin(transform.spectra[0], transform.spectra[1]));
  ASSERT_EQ(dst.record.roiWidth, image_size.width);
  ASSERT_EQ(dst.record.roiHeight, image_size.height);
  ASSERT_EQ(region_values<float>(dst),
            cut_out_twin(transform.result, grid.width + longer_rows, grid, image_size, pattern_size));
}

TEST(XCorr, StagesAreExactForEveryPairOfTypesAndAnyGrid) {
  uint64_t seed = 1;
  for_all_pairs([&]<class Image, class Pattern>() {
    for (int32_t image : {1, 2, 7, 19, 34}) {
      for (int32_t pattern : {1, 2, 3, 8, 41}) {
        const auto more = static_cast<int32_t>(seed % 4);
        expect_stages<Image, Pattern>({image, 3 + more}, {pattern, 1 + 2 * more}, {more, 3 - more}, more, seed);
        ++seed;
      }
    }
  });
}

TEST(XCorr, ExtremesEnterTheTransformExactly) {
  RecordingPlatform platform;
  PlayedTransform transform(platform, {4, 1}, 4);
  TestImage<int16_t> image(2, 1);
  TestImage<uint16_t> pattern(2, 1);
  image.assign({-32768, 32767});
  pattern.assign({65535, 0});
  OutputImage dst;
  ASSERT_EQ(platform.call(vlix_xCorr, &image.record, &pattern.record, &dst.record), 0);
  EXPECT_THAT(transform.padded, ElementsAre(ElementsAre(-32768.0f, 32767.0f, 0.0f), ElementsAre(65535.0f, 0.0f, 0.0f)));
}

TEST(XCorr, ProductIsFormedInDouble) {
  // In 32 bits a * c + b * d would overflow, and 1 + 2^-24 would be lost before the difference.
  RecordingPlatform platform;
  std::vector<float> product;
  int calls = 0;
  platform.fft = [&](const VlixImage* from, VlixImage* to, int32_t direction, int32_t, int32_t) {
    const std::vector<float> first = {1e30f, 1e30f, 1.0f, 4097.0f};
    const std::vector<float> second = {1e30f, -1e30f, 4097.0f, 4097.0f * 4097.0f};
    if (direction == 1) product.assign(static_cast<float*>(from->data), static_cast<float*>(from->data) + 4);
    EXPECT_EQ(VlixImageAlloc(to, direction == 0 ? ObjType_ComplexF32 : ObjType_F32, 2, 1), 0);
    const std::vector<float>& spectrum = calls++ == 0 ? first : second;
    std::copy_n(spectrum.begin(), direction == 0 ? 4 : 2, static_cast<float*>(to->data));
    return 0;
  };
  TestImage<uint8_t> image(2, 1), pattern(1, 1);
  OutputImage dst;
  ASSERT_EQ(platform.call(vlix_xCorr, &image.record, &pattern.record, &dst.record), 0);
  EXPECT_EQ(product[0], 0.0f);
  EXPECT_EQ(product[2], static_cast<float>(4097.0 + 4097.0 * static_cast<double>(4097.0f * 4097.0f)));
  EXPECT_EQ(product[3], static_cast<float>(4097.0 * 4097.0 - static_cast<double>(4097.0f * 4097.0f)));
}

TEST(XCorr, ScoresGoToTheRegionOfAWiderOutput) {
  constexpr float kUntouched = -77.0f;
  RecordingPlatform platform;
  platform.output_margins = {3, 2, 5, 1};
  PlayedTransform transform(platform, {13, 9}, 13);
  TestImage<uint8_t> image(9, 5, Fill::kNoise, 1);
  TestImage<uint8_t> pattern(5, 3, Fill::kNoise, 2);
  OutputImage dst;
  ASSERT_EQ(VlixImageAlloc(&dst.record, ObjType_F32, 17, 8), 0);
  auto* pixels = static_cast<float*>(dst.record.data);
  std::fill(pixels, pixels + 17 * 8, kUntouched);
  EXPECT_EQ(platform.call(vlix_xCorr, &image.record, &pattern.record, &dst.record), 0);
  ASSERT_EQ(dst.record.data, pixels);
  EXPECT_EQ(region_values<float>(dst), cut_out_twin(transform.result, 13, {13, 9}, {9, 5}, {5, 3}));
  EXPECT_EQ(std::count(pixels, pixels + 17 * 8, kUntouched), 17 * 8 - 9 * 5);
}

TEST(XCorr, EitherInputMayBeTheDestination) {
  for (bool second : {false, true}) {
    RecordingPlatform platform;
    PlayedTransform transform(platform, {12, 8}, 12);
    OutputImage shared;
    ASSERT_EQ(VlixImageAlloc(&shared.record, ObjType_U8, 6, 4), 0);
    std::fill_n(static_cast<uint8_t*>(shared.record.data), 24, uint8_t{3});
    TestImage<float> other(7, 5, Fill::kNoise, 1);
    const VlixImage* image1 = second ? &other.record : &shared.record;
    const VlixImage* image2 = second ? &shared.record : &other.record;
    EXPECT_EQ(platform.call(vlix_xCorr, image1, image2, &shared.record), 0);
    const VlixSize size = second ? VlixSize{7, 5} : VlixSize{6, 4};
    const VlixSize pattern = second ? VlixSize{6, 4} : VlixSize{7, 5};
    EXPECT_EQ(region_values<float>(shared), cut_out_twin(transform.result, 12, {12, 8}, size, pattern));
  }
}

}  // namespace
}  // namespace vlix::test
