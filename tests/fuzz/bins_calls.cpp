// SPDX-License-Identifier: Apache-2.0
#include <cmath>

#include "histogram/hist_peaks_twin.h"
#include "histogram/smooth_hist_twin.h"
#include "trial.h"

namespace vlix::fuzz {
namespace {

template <class Point>
std::vector<Point> any_bins(Bytes& bytes, int32_t count, bool increasing) {
  using Coordinate = decltype(Point::x);
  std::vector<Point> list;
  auto x = static_cast<Coordinate>(bytes.integer(-50, 50));
  const auto step = static_cast<Coordinate>(bytes.integer(-1, 4));
  for (int32_t i = 0; i < count; ++i) {
    const auto y = bytes.rarely(10) ? bytes.value<Coordinate>() : static_cast<Coordinate>(bytes.integer(0, 12));
    list.push_back({increasing ? x : bytes.value<Coordinate>(), y});
    x = static_cast<Coordinate>(x + step);
  }
  return list;
}

template <class Point>
void call_peaks(Bytes& bytes, RecordingPlatform& platform) {
  Trial trial(bytes, platform);
  constexpr ObjType kType = test::code_of<Point>();
  const auto list = any_bins<Point>(bytes, bytes.integer(0, 60), !bytes.rarely(8));
  test::TestVector<Point> hist(list);
  if (bytes.rarely(16)) hist.record.type = bytes.pick<uint32_t>({0, 17, 18, 24, 29});
  const bool maxima = bytes.coin();
  const float distance = bytes.real();
  AnyVector peaks(bytes, trial, {kType});
  VlixVectorRelease(&peaks.record, 0);  // the operation makes its vector anew
  const auto function = std::is_same_v<Point, PointF32> ? vlix_histPeaks : vlix_histPeaksInt;
  trial.call(function, &hist.record, peaks.pointer(), maxima ? 1 : 0, distance);
  const bool accepted = hist.record.type == static_cast<uint32_t>(kType);
  const auto expected = accepted ? std::vector<Report>{} : std::vector{wrong_type("histPeaks", hist.record.type)};
  // The result of cutting the vector off is not looked at.
  if (!trial.succeeds(expected) || !peaks.wanted || trial.is_disturbed()) return;
  FUZZ_CHECK(peaks.holds(kType, test::hist_peaks_twin(list, maxima, distance)));
}

// ---- Smoothing ----

template <class... Numbers>
Report formatted(const char* format, Numbers... numbers) {
  char text[512];
  std::snprintf(text, sizeof(text), format, numbers...);
  return message(format, text);
}

Report increment_report(float dx) {
  return formatted("smoothHist: histogram increment error (dx = %f)\n", static_cast<double>(dx));
}
Report increment_report(int32_t dx) { return formatted("smoothHist: histogram increment error (dx = %d)\n", dx); }

Report width_report(float width, int32_t n, float dx) {
  return formatted("smoothHist: width %f, must be less than histogram range, %f\n", static_cast<double>(width),
                   static_cast<double>(static_cast<float>(n) * dx));
}
Report width_report(float width, int32_t n, int32_t dx) {
  return formatted("smoothHist: width %f, must be less than histogram range, %d\n", static_cast<double>(width), n * dx);
}

// The window's length, or what is reported in its place.
template <class Point>
std::vector<Report> expected_window(const std::vector<Point>& list, float width, int32_t& length) {
  const auto n = static_cast<int32_t>(list.size());
  if (n < 2) return {formatted("smoothHist: vector size %d, must be > 2\n", n)};
  const auto dx = list[1].x - list[0].x;
  if (!(dx > 0)) return {increment_report(dx)};
  length = test::window_twin(width / static_cast<float>(dx));
  if (length > n) return {width_report(width, n, dx)};
  return {};
}

template <class Point>
std::vector<Point> smoothed_twin(const std::vector<Point>& list, int32_t length) {
  return length > 0 ? test::moving_average_twin(list, length) : list;
}

template <class Point>
void call_smoothing(Bytes& bytes, RecordingPlatform& platform) {
  Trial trial(bytes, platform);
  constexpr ObjType kType = test::code_of<Point>();
  const auto list = any_bins<Point>(bytes, bytes.integer(0, 60), true);
  const test::TestVector<Point> hist(list);
  const float width = static_cast<float>(bytes.integer(-64, 2000)) / 16.0f;
  AnyVector smoothed(bytes, trial, {kType, ObjType_U8});
  const auto function = std::is_same_v<Point, PointF32> ? vlix_smoothHist : vlix_smoothHistInt;
  trial.call(function, &hist.record, smoothed.pointer(), width);
  int32_t length = 0;
  if (!trial.succeeds(expected_window(list, width, length)) || !smoothed.wanted) return;
  FUZZ_CHECK(smoothed.holds(kType, smoothed_twin(list, length)));
}

template <class Point>
void call_consuming_smoothing(Bytes& bytes, RecordingPlatform& platform) {
  Trial trial(bytes, platform);
  const auto list = any_bins<Point>(bytes, bytes.integer(0, 60), true);
  test::TestVector<Point> hist(list);
  const float width = static_cast<float>(bytes.integer(-64, 2000)) / 16.0f;
  const auto function = std::is_same_v<Point, PointF32> ? vlix_smoothHist_consume : vlix_smoothHistInt_consume;
  trial.call(function, &hist.record, width);
  int32_t length = 0;
  const auto expected = expected_window(list, width, length);
  // A copy that is not needed stays behind.
  if (expected.empty() && length <= 0) trial.keeps(1);
  const bool changed = trial.succeeds(expected);
  const std::vector<Point> wanted = changed ? smoothed_twin(list, length) : list;
  for (std::size_t i = 0; i < list.size(); ++i) {
    FUZZ_CHECK(same(hist.data()[i].x, wanted[i].x) && same(hist.data()[i].y, wanted[i].y));
  }
}

template <class Point>
void call_any(Bytes& bytes, RecordingPlatform& platform) {
  switch (bytes.integer(0, 2)) {
    case 0: return call_peaks<Point>(bytes, platform);
    case 1: return call_smoothing<Point>(bytes, platform);
    default: return call_consuming_smoothing<Point>(bytes, platform);
  }
}

}  // namespace

void call_bins_family(Bytes& bytes, RecordingPlatform& platform) {
  return bytes.coin() ? call_any<PointF32>(bytes, platform) : call_any<PointI32>(bytes, platform);
}

}  // namespace vlix::fuzz
