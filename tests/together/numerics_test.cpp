// SPDX-License-Identifier: Apache-2.0
// The examples of docs/numerics.md about images: expected values come from closed forms or from the arithmetic written
// out here, and the document states what the library returns.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "stats/variance_twin.h"
#include "together/numerics_examples.h"
#include "vlix/meas.h"
#include "vlix/util.h"

namespace vlix::test {
namespace {

template <class Pixel>
std::vector<Pixel> each_value(int from, int to) {
  std::vector<Pixel> values;
  for (int v = from; v <= to; ++v) values.push_back(static_cast<Pixel>(v));
  return values;
}

std::vector<int32_t> counts_of(const OutputVector& hist) {
  std::vector<int32_t> counts;
  if (hist.record.type == ObjType_PointI32) {
    for (const PointI32 bin : hist.values<PointI32>()) counts.push_back(bin.y);
  } else {
    for (const PointF32 bin : hist.values<PointF32>()) counts.push_back(static_cast<int32_t>(bin.y));
  }
  return counts;
}

std::vector<int32_t> histogram_int(const VlixImage& image, int32_t bins, int32_t lo, int32_t hi) {
  OutputVector hist;
  EXPECT_EQ(vlix_histogramInt(&image, &hist.record, 0, bins, lo, hi), 0);
  return counts_of(hist);
}

std::vector<int32_t> histogram_inside(VlixImage& image, int32_t bins, float lo, float hi) {
  const float corners[] = {0, 0, static_cast<float>(image.width - 1), static_cast<float>(image.height - 1)};
  const VlixShape shape = {VlixShape_PixelRect, {}, corners};
  const VlixShapeHandle handle = {VlixHandle_Shape53, {}, &shape};
  OutputVector hist;
  EXPECT_EQ(vlix_histRoi(&image, reinterpret_cast<const VlixObj*>(&handle), &hist.record, 0, bins, lo, hi), 0);
  return counts_of(hist);
}

TEST(Numerics, ValuesAtTheLowerEdgeOfABin) {
  const Section text = section("Values at the lower edge of a bin");
  const auto image = image_of<uint8_t>(16, 16, each_value<uint8_t>(0, 255));
  std::vector<int32_t> moved(6, 0);
  const float factor = static_cast<float>(1.0 / 41);
  for (int v = 0; v <= 245; ++v) ++moved[static_cast<std::size_t>(static_cast<float>(v) * factor)];
  for (const int32_t level : {0, 1}) {
    const LevelScope scope(level);
    const std::vector<int32_t> counts = histogram_int(image.record, 6, 0, 245);
    EXPECT_EQ(counts, level == 0 ? moved : std::vector<int32_t>(6, 41));
    EXPECT_TRUE(text.states(figures(counts))) << figures(counts);
  }
}

TEST(Numerics, WidthsWhoseLowerEdgesMove) {
  const LevelScope scope(0);
  const auto image = image_of<uint16_t>(256, 256, each_value<uint16_t>(0, 65535));
  std::vector<int32_t> widths;
  for (int32_t width = 1; width < 100; ++width) {
    const int32_t bins = 65536 / width;
    const std::vector<int32_t> even(static_cast<std::size_t>(bins), width);
    if (histogram_int(image.record, bins, 0, width * bins - 1) != even) widths.push_back(width);
  }
  EXPECT_TRUE(section("Values at the lower edge of a bin").states(figures(widths))) << figures(widths);
}

TEST(Numerics, BinValuesOfColourHistograms) {
  const LevelScope scope(1);
  std::vector<uint32_t> pixels(4, 0x00d26e0au);
  const VlixImage image = {ObjType_Rgba8, pixels.data(), 2, 2, 0, 0, 2, 2};
  const int32_t bins[] = {4, 4, 4}, lo[] = {0, 100, 200, 0}, hi[] = {99, 199, 299};
  VlixVector hists[3] = {};
  ASSERT_EQ(vlix_histogramIntColor(&image, hists, 0, bins, lo, hi), 0);
  for (VlixVector& hist : hists) {
    std::vector<int32_t> x;
    for (int i = 0; i < 4; ++i) x.push_back(static_cast<PointI32*>(hist.data)[i].x);
    EXPECT_EQ(x, (std::vector<int32_t>{0, 100 + 25, 200 + 50, 0 + 75}));
    EXPECT_TRUE(section("Bin values of colour histograms").states(figures(x))) << figures(x);
    VlixVectorRelease(&hist, 0);
  }
}

TEST(Numerics, TheTopEdgeOfRegionHistograms) {
  const Section text = section("The top edge of region histograms");
  auto image = image_of<float>(5, 1, {0, 1, 2, 3, 4});
  const std::vector<int32_t> inside = histogram_inside(image.record, 4, 0, 4);
  EXPECT_EQ(inside, std::vector<int32_t>(4, 1));
  EXPECT_TRUE(text.states(figures(inside)));
  OutputVector hist;
  ASSERT_EQ(vlix_histogram(&image.record, &hist.record, 0, 4, 0, 4), 0);
  EXPECT_EQ(counts_of(hist), (std::vector<int32_t>{1, 1, 1, 2}));
  EXPECT_TRUE(text.states(figures(counts_of(hist))));

  TestImage<uint8_t> large(4096, 4097);
  const std::vector<int32_t> counts = histogram_inside(large.record, 1, 0, 0);
  EXPECT_EQ(counts, std::vector<int32_t>{1 << 24});
  EXPECT_TRUE(text.states(figures(counts)));
}

// {mean, deviation}
std::vector<float> stats_of(const VlixObj* object) {
  float mean = 0, deviation = 0;
  EXPECT_EQ(vlix_stats(object, &mean, &deviation, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                       nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
            0);
  return {mean, deviation};
}

float deviation_of(const VlixImage& image) {
  const VlixImageHandle handle = {VlixHandle_Image, {}, image};
  return stats_of(reinterpret_cast<const VlixObj*>(&handle))[1];
}

float deviation_of(const VlixVector& vector) {
  const VlixVectorHandle handle = {VlixHandle_Vector, {}, vector};
  return stats_of(reinterpret_cast<const VlixObj*>(&handle))[1];
}

template <class Number>
float one_pass_deviation(const std::vector<Number>& values) {
  double sum = 0, squares = 0;
  for (const double value : values) {
    sum += value;
    squares += value * value;
  }
  const double n = static_cast<double>(values.size());
  const double mean = sum / n;
  return static_cast<float>(std::sqrt(squares / n - mean * mean));
}

TEST(Numerics, DeviationsFormedInOnePass) {
  const Section text = section("Deviations formed in one pass");
  const std::vector<float> tenths(100, 0.1f);
  const auto flat = image_of<float>(10, 10, tenths);
  std::vector<float> steps;
  for (int i = 0; i < 100; ++i) steps.push_back(1e7f + static_cast<float>(i % 2));
  const auto stepped = image_of<float>(10, 10, steps);
  for (const int32_t level : {0, 1, 2}) {
    const LevelScope scope(level);
    const bool one_pass = level != 1;
    EXPECT_EQ(std::isnan(deviation_of(flat.record)), one_pass && std::isnan(one_pass_deviation(tenths)));
    EXPECT_TRUE(text.states(figure(deviation_of(flat.record), 4)));
    EXPECT_EQ(deviation_of(stepped.record), one_pass ? one_pass_deviation(steps) : 0.5f);
    EXPECT_TRUE(text.states(figure(deviation_of(stepped.record), 4))) << figure(deviation_of(stepped.record), 4);
  }
  for (const double offset : {1e8, 1e9}) {
    std::vector<double> doubles;
    for (int i = 0; i < 100; ++i) doubles.push_back(offset + i % 2);
    TestVector<double> vector(doubles);
    const float deviation = deviation_of(vector.record);
    EXPECT_EQ(figure(deviation), figure(one_pass_deviation(doubles)));
    EXPECT_TRUE(text.says(figure(offset, 10) + " `" + figure(deviation) + "`") ||
                text.says(figure(offset, 10) + " gives `" + figure(deviation) + "`"));
  }
}

TEST(Numerics, Thresholds) {
  const Section text = section("Thresholds");
  const auto image = image_of<uint8_t>(16, 16, each_value<uint8_t>(0, 255));
  const auto count = [&](int32_t level, int32_t low, int32_t high) {
    const LevelScope scope(level);
    uint32_t counted = 0;
    EXPECT_EQ(vlix_countThreshPix(&image.record, &counted, low, high), 0);
    EXPECT_TRUE(text.states(figure(counted))) << counted;
    return counted;
  };
  for (const int32_t level : {0, 1}) EXPECT_EQ(count(level, 10, 20), 10u);
  EXPECT_EQ(count(0, 10, 300), 245u);
  EXPECT_EQ(count(1, 10, 300), 300u % 256 - 10);
  EXPECT_EQ(count(0, 255, 20), 0u);
  EXPECT_EQ(count(1, 255, 20), 21u);
}

std::vector<float> local_variance(const VlixImage& image, int32_t kernel_width, int32_t kernel_height, bool means,
                                  int32_t row = 0) {
  OutputImage mean, variance;
  EXPECT_EQ(vlix_variance(&image, &mean.record, &variance.record, 0, kernel_width, kernel_height), 0);
  std::vector<float> values;
  for (int32_t x = 0; x < image.roiWidth; ++x) values.push_back((means ? mean : variance).at<float>(x, row));
  return values;
}

TEST(Numerics, LocalVarianceAfterOneHugePixel) {
  const Section text = section("Local variance");
  std::vector<float> pixels(36, 1.0f);
  pixels[3] = 1e9f;
  const auto huge = image_of<float>(12, 3, pixels);
  const std::vector<float> means = local_variance(huge.record, 3, 1, true);
  const std::vector<float> twin = variance_twin(pixels, 12, 3, 3, 1, false).mean;
  EXPECT_EQ(means, std::vector<float>(twin.begin(), twin.begin() + 12));
  EXPECT_EQ(means[11], 0.0f);
  EXPECT_TRUE(text.states(figures(means, 4))) << figures(means, 4);
  pixels[3] = NAN;
  const auto poisoned = image_of<float>(12, 3, pixels);
  for (const int32_t row : {0, 1, 2}) {
    const std::vector<float> values = local_variance(poisoned.record, 3, 1, true, row);
    EXPECT_TRUE(text.states(figures(values, 4))) << figures(values, 4);
  }
}

TEST(Numerics, LocalVarianceOfASmallContrast) {
  const Section text = section("Local variance");
  std::vector<uint16_t> low, high;
  for (int i = 0; i < 9; ++i) {
    low.push_back(static_cast<uint16_t>(201 - i % 2));
    high.push_back(static_cast<uint16_t>(60001 - i % 2));
  }
  for (const std::vector<uint16_t>& pixels : {low, high}) {
    const auto image = image_of<uint16_t>(3, 3, pixels);
    const float variance = local_variance(image.record, 3, 3, false, 1)[1];
    EXPECT_EQ(variance, variance_twin(pixels, 3, 3, 3, 3, false).variance[4]);
    EXPECT_TRUE(text.states(figure(variance, 4))) << variance;
  }
  EXPECT_TRUE(text.says(figure(20.0 / 9 / 8, 4)));  // 5 x 4 / 9 is the sum of squared deviations
}

template <class Pixel>
int background_of(const std::vector<Pixel>& corners) {
  const auto image = image_of<Pixel>(2, 2, corners);
  Pixel value = 0;
  EXPECT_EQ(vlix_background(&image.record, &value), 0);
  return value;
}

TEST(Numerics, BackgroundLevels) {
  const Section text = section("Background levels");
  const int pairs = background_of<uint8_t>({10, 10, 20, 20});
  const int up = background_of<uint8_t>({1, 2, 3, 4});
  const int away = background_of<int8_t>({-1, -2, -3, -4});
  EXPECT_EQ(std::vector<int>({pairs, up, away}), std::vector<int>({15, 3, -3}));
  for (const int level : {pairs, up, away}) EXPECT_TRUE(text.states(figure(level)));
  const TestImage<uint8_t> any(1, 1);
  for (const auto& [value, stored] : {std::pair{2.9f, 2}, {300.0f, 255}}) {
    uint8_t pixel = 0;
    ASSERT_EQ(vlix_background_assignF32(&any.record, &pixel, value), 0);
    EXPECT_EQ(pixel, stored);
    EXPECT_TRUE(text.states(figure(pixel)));
  }
}

TEST(Numerics, Projections) {
  const Section text = section("Projections");
  const auto tenths = image_of<float>(100, 1, std::vector<float>(100, 0.9f));
  const auto thousand = image_of<uint16_t>(1000, 1, std::vector<uint16_t>(1000, 60001));
  const auto many = image_of<uint16_t>(40000, 1, std::vector<uint16_t>(40000, 60001));
  OutputVector fractions, rounded, wrapped;
  ASSERT_EQ(vlix_projection(&tenths.record, &fractions.record, nullptr, 0), 0);
  ASSERT_EQ(vlix_projection(&thousand.record, &rounded.record, nullptr, 0), 0);
  ASSERT_EQ(vlix_projectionInt(&many.record, &wrapped.record, nullptr, 0), 0);
  float sum = 0;
  for (int i = 0; i < 1000; ++i) sum += 60001.0f;
  EXPECT_EQ(fractions.values<float>()[0], 0.0f);
  EXPECT_EQ(rounded.values<float>()[0], sum);
  EXPECT_EQ(wrapped.values<int32_t>()[0], static_cast<int32_t>(40000LL * 60001 - (1LL << 32)));
  EXPECT_TRUE(text.states(figure(fractions.values<float>()[0])));
  EXPECT_TRUE(text.states(figure(rounded.values<float>()[0])));
  EXPECT_TRUE(text.states(figure(wrapped.values<int32_t>()[0], 10)));
}

}  // namespace
}  // namespace vlix::test
