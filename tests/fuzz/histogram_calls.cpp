// SPDX-License-Identifier: Apache-2.0
#include "bytes.h"
#include "histogram/hist_peaks_twin.h"
#include "histogram/hist_roi_twin.h"
#include "histogram/histogram_int_twin.h"
#include "histogram/smooth_hist_twin.h"
#include "vlix/meas.h"

namespace vlix::fuzz {
namespace {

Report message(const char* format, const std::string& text) { return {100, format, text}; }

template <class Point>
bool same_points(const VlixVector& vector, const std::vector<Point>& expected) {
  if (vector.count != static_cast<int32_t>(expected.size())) return false;
  const auto* points = static_cast<const Point*>(vector.data);
  for (std::size_t i = 0; i < expected.size(); ++i) {
    if (!same(points[i].x, expected[i].x) || !same(points[i].y, expected[i].y)) return false;
  }
  return true;
}

template <class Pixel>
std::vector<int32_t> values_of(test::TestImage<Pixel>& image) {
  std::vector<int32_t> values;
  for (int32_t y = 0; y < image.record.roiHeight; ++y) {
    for (int32_t x = 0; x < image.record.roiWidth; ++x) values.push_back(static_cast<int32_t>(image.roi_at(x, y)));
  }
  return values;
}

template <class Pixel>
void call_histogram_int(Bytes& bytes, RecordingPlatform& platform) {
  const auto image = bytes.image<Pixel>(40, 12);
  // Mostly ranges that are whole bins, sometimes any numbers.
  int32_t bins = bytes.integer(1, 300);
  int32_t lo = bytes.integer(-300, 300);
  int32_t hi = lo + bins * bytes.integer(1, 40) - 1;
  if (bytes.integer(0, 7) == 0) bins = bytes.integer(-2, 70000);
  if (bytes.integer(0, 7) == 0) lo = bytes.any_integer();
  if (bytes.integer(0, 7) == 0) hi = bytes.any_integer();
  const int32_t cumulative = bytes.integer(0, 2);
  const bool fails = bytes.integer(0, 9) == 0;
  if (fails) platform.fail("VlixVectorTryUseReservedMem");
  platform.integer_ranges = true;
  test::OutputVector hist;
  const VlixStatus status = platform.call(vlix_histogramInt, &image->record, &hist.record, cumulative, bins, lo, hi);

  std::vector<Report> expected;
  const int64_t range = test::wrapped(int64_t{hi} - lo + 1);
  if (hi < lo) {
    expected = {message("histogram: invalid value range %g..%g\n", std::to_string(lo) + ".." + std::to_string(hi))};
  } else if (bins < 1) {
    const std::string text = "histogram: invalid number of bins, must be greater than 0\n";
    expected = {message(text.c_str(), text)};
  } else if (range % bins != 0) {
    expected = {message("histogram: invalid number of bins, must be a divisor of %d\n",
                        "histogram: invalid number of bins, must be a divisor of " + std::to_string(range) + "\n")};
  }
  if (!expected.empty()) {
    FUZZ_CHECK(platform.reports() == expected && status == platform.report_result && hist.record.data == nullptr);
    return;
  }
  if (fails) {
    FUZZ_CHECK(status == 1 && platform.reports().empty());
    return;
  }
  FUZZ_CHECK(status == 0);
  // The primitive counts by levels, the plain loop by the product in floats; a primitive that refuses is reported.
  const bool primitive = *platform.level != 0 && !std::is_same_v<Pixel, int8_t> && platform.reports().empty();
  // Primitives form levels in 64 bits: ranges of more than 31 bits do not wrap there.
  if (primitive && int64_t{hi} - lo >= INT32_MAX) return;
  const auto twin = test::histogram_int_twin(values_of(*image), bins, lo, hi, cumulative != 0,
                                             primitive ? test::Rule::kExact : test::Rule::kFloatFactor);
  FUZZ_CHECK(same_points(hist.record, twin));
}

template <class Point>
std::vector<Point> points(Bytes& bytes, int32_t count, bool increasing) {
  using Coordinate = decltype(Point::x);
  std::vector<Point> list;
  Coordinate x = static_cast<Coordinate>(bytes.integer(-50, 50));
  const auto step = static_cast<Coordinate>(bytes.integer(-1, 4));
  for (int32_t i = 0; i < count; ++i) {
    const auto y = bytes.integer(0, 9) == 0 ? bytes.value<Coordinate>() : static_cast<Coordinate>(bytes.integer(0, 12));
    list.push_back({increasing ? x : bytes.value<Coordinate>(), y});
    x = static_cast<Coordinate>(x + step);
  }
  return list;
}

template <class Point>
void call_peaks(Bytes& bytes, RecordingPlatform& platform) {
  constexpr bool kFloat = std::is_same_v<Point, PointF32>;
  const auto list = points<Point>(bytes, bytes.integer(0, 60), bytes.integer(0, 7) != 0);
  test::TestVector<Point> hist(list);
  const bool maxima = bytes.coin();
  const float distance = bytes.real();
  test::OutputVector peaks;
  const auto function = kFloat ? vlix_histPeaks : vlix_histPeaksInt;
  FUZZ_CHECK(platform.call(function, &hist.record, &peaks.record, maxima ? 1 : 0, distance) == 0);
  FUZZ_CHECK(same_points(peaks.record, test::hist_peaks_twin(list, maxima, distance)));
}

template <class Point>
void call_smoothing(Bytes& bytes, RecordingPlatform& platform) {
  constexpr bool kFloat = std::is_same_v<Point, PointF32>;
  auto list = points<Point>(bytes, bytes.integer(0, 60), true);
  // Sums of integers this small do not wrap; sums of floats are not finite for every input.
  test::TestVector<Point> hist(list);
  const float width = static_cast<float>(bytes.integer(-64, 2000)) / 16.0f;
  test::OutputVector smoothed;
  const auto function = kFloat ? vlix_smoothHist : vlix_smoothHistInt;
  const VlixStatus status = platform.call(function, &hist.record, &smoothed.record, width);
  const auto n = static_cast<int32_t>(list.size());
  const bool short_vector = n < 2;
  const bool flat = !short_vector && !(list[1].x - list[0].x > 0);
  if (short_vector || flat) {
    FUZZ_CHECK(status == platform.report_result && platform.reports().size() == 1);
    return;
  }
  const int32_t length = test::window_twin(width / static_cast<float>(list[1].x - list[0].x));
  if (length > n) {
    FUZZ_CHECK(status == platform.report_result && platform.reports().size() == 1);
    return;
  }
  FUZZ_CHECK(status == 0 && platform.reports().empty());
  FUZZ_CHECK(same_points(smoothed.record, length > 0 ? test::moving_average_twin(list, length) : list));
}

template <class Pixel>
void call_hist_roi(Bytes& bytes, RecordingPlatform& platform) {
  const auto image = bytes.image<Pixel>(30, 20);
  float corners[4];
  for (float& c : corners)
    c = bytes.integer(0, 15) == 0 ? bytes.real() : static_cast<float>(bytes.integer(-40, 140)) / 4;
  const VlixShape shape = {VlixShape_PixelRect, {}, corners};
  const VlixShapeHandle handle = {VlixHandle_Shape54, {}, &shape};
  const int32_t bins = bytes.integer(1, 64);
  const float lo = bytes.real();
  const float hi = bytes.real();
  const bool cumulative = bytes.coin();
  test::OutputVector hist;
  FUZZ_CHECK(platform.call(vlix_histRoi, &image->record, reinterpret_cast<const VlixObj*>(&handle), &hist.record,
                           cumulative ? 1 : 0, bins, lo, hi) == 0);
  const auto rounded = [](float c) { return test::truncated_twin(std::floor(static_cast<double>(c) + 0.5)); };
  const auto [x_lo, x_hi] = std::minmax({rounded(corners[0]), rounded(corners[2])});
  const auto [y_lo, y_hi] = std::minmax({rounded(corners[1]), rounded(corners[3])});
  std::vector<float> samples;
  for (int64_t y = std::max<int64_t>(y_lo, 0); y <= std::min<int64_t>(y_hi, image->record.height - 1); ++y) {
    for (int64_t x = std::max<int64_t>(x_lo, 0); x <= std::min<int64_t>(x_hi, image->record.width - 1); ++x) {
      samples.push_back(static_cast<float>(image->at(static_cast<int32_t>(x), static_cast<int32_t>(y))));
    }
  }
  FUZZ_CHECK(
      same_points(hist.record, test::hist_roi_twin(samples, std::is_same_v<Pixel, float>, bins, lo, hi, cumulative)));
}

}  // namespace

void call_histogram_family(Bytes& bytes, RecordingPlatform& platform) {
  switch (bytes.integer(0, 13)) {
    case 0: return call_histogram_int<uint8_t>(bytes, platform);
    case 1: return call_histogram_int<int8_t>(bytes, platform);
    case 2: return call_histogram_int<uint16_t>(bytes, platform);
    case 3: return call_histogram_int<int16_t>(bytes, platform);
    case 4: return call_peaks<PointF32>(bytes, platform);
    case 5: return call_peaks<PointI32>(bytes, platform);
    case 6: return call_smoothing<PointF32>(bytes, platform);
    case 7: return call_smoothing<PointI32>(bytes, platform);
    case 8: return call_hist_roi<uint8_t>(bytes, platform);
    case 9: return call_hist_roi<int16_t>(bytes, platform);
    default: return call_hist_roi<float>(bytes, platform);
  }
}

}  // namespace vlix::fuzz
