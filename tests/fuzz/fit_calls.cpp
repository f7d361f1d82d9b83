// SPDX-License-Identifier: Apache-2.0
#include <cmath>

#include "geometry/circle_fit_twin.h"
#include "geometry/line_fit_twin.h"
#include "trial.h"

namespace vlix::fuzz {
namespace {

// Points on a coarse grid, near a line or a circle, or of any bits. Sums over the coordinates of tame points are exact.
template <class Point>
struct AnyPoints {
  using Number = decltype(Point::x);

  explicit AnyPoints(Bytes& bytes) : tame(!bytes.rarely(6)), points(static_cast<std::size_t>(bytes.integer(0, 60))) {
    const int32_t reach = bytes.pick({2, 20, 255});
    const float scale = std::is_integral_v<Number> ? 1.0f : bytes.pick({1.0f, 0.0625f});
    const auto offset = static_cast<float>(bytes.integer(-1000, 1000));
    for (Point& p : points) {
      p.x = static_cast<Number>(static_cast<float>(bytes.integer(-reach, reach)) * scale + offset);
      p.y = static_cast<Number>(static_cast<float>(bytes.integer(-reach, reach)) * scale - offset);
      if (!tame && bytes.rarely(4)) p = {bytes.value<Number>(), bytes.value<Number>()};
    }
    for (const Point& p : points) floats.push_back({static_cast<float>(p.x), static_cast<float>(p.y)});
  }
  bool tame;
  std::vector<Point> points;
  std::vector<PointF32> floats;
};

uint32_t any_percent(Bytes& bytes) {
  if (bytes.rarely(16)) return bytes.bits_of<uint32_t>();
  return static_cast<uint32_t>(bytes.rarely(4) ? bytes.integer(0, 200) : bytes.integer(0, 3) * 10);
}

template <class Point>
std::vector<Point> stored(const std::vector<PointF32>& floats) {
  std::vector<Point> points;
  for (const PointF32& p : floats) {
    if constexpr (std::is_same_v<Point, PointF32>) {
      points.push_back(p);
    } else {
      const auto number = [](float v) { return v >= -0x1p31f && v < 0x1p31f ? static_cast<int32_t>(v) : INT32_MIN; };
      points.push_back({number(p.x), number(p.y)});
    }
  }
  return points;
}

constexpr float kUntouched = -77.25f;
constexpr int32_t kNoCount = -99;

// What both kinds of fits hand out.
struct FitOutputs {
  FitOutputs(Bytes& bytes, Trial& trial, ObjType type)
      : points(bytes, trial, {type, type, type, ObjType_F32}, 3), has_data(points.record.data != nullptr) {
    before = points.record.type;
    wanted[0] = !bytes.rarely(6);
    wanted[1] = !bytes.rarely(6);
    wanted[2] = !bytes.rarely(3);
    wanted[3] = !bytes.rarely(3);
  }
  float* first() { return wanted[0] ? &numbers[0] : nullptr; }
  float* mean() { return wanted[2] ? &numbers[2] : nullptr; }
  int32_t* count_pointer() { return wanted[3] ? &count : nullptr; }
  bool is_any_wanted() const { return wanted[0] || wanted[1] || wanted[2] || points.wanted; }
  bool lacks_count() const { return points.wanted && has_data && !wanted[3]; }
  bool holds_wrong_type(ObjType type) const {
    return points.wanted && has_data && before != static_cast<uint32_t>(type);
  }

  AnyVector points;
  bool has_data;
  uint32_t before;
  bool wanted[4];
  float numbers[3] = {kUntouched, kUntouched, kUntouched};
  PointF32 centre = {kUntouched, kUntouched};
  int32_t count = kNoCount;
};

void check_number(float found, bool wanted, float expected) { FUZZ_CHECK(same(found, wanted ? expected : kUntouched)); }

template <class Point>
void check_kept(const FitOutputs& out, const std::vector<PointF32>& kept) {
  if (out.points.wanted) FUZZ_CHECK(out.points.holds(test::code_of<Point>(), stored<Point>(kept)));
  const bool counted = out.points.wanted && out.wanted[3];
  FUZZ_CHECK(out.count == (counted ? static_cast<int32_t>(kept.size()) : kNoCount));
}

// ---- Lines ----

template <class Point>
std::vector<Report> expected_line(uint32_t type, int32_t count, const FitOutputs& out) {
  constexpr ObjType kType = test::code_of<Point>();
  if (type != static_cast<uint32_t>(kType)) return {wrong_type("linearRegression", type)};
  if (out.holds_wrong_type(kType)) return {wrong_type("linearRegression", out.before)};
  if (count < 2) {
    return {message("linearRegression: vector of size %d specified",
                    "linearRegression: vector of size " + std::to_string(count) + " specified")};
  }
  if (!out.lacks_count()) return {};
  if (std::is_same_v<Point, PointF32>) return {message("linearRegression: pOutPointsNum is NULL")};
  return {message("linearRegression: if pOutPoints is preallocated, pOutPointsNum should not be NULL")};
}

template <class Point>
void call_line(Bytes& bytes, RecordingPlatform& platform) {
  Trial trial(bytes, platform);
  const AnyPoints<Point> any(bytes);
  test::TestVector<Point> vector(any.points);
  if (bytes.rarely(16)) vector.record.type = bytes.pick<uint32_t>({0, 17, 18, 24, 29});
  const uint32_t percent = any_percent(bytes);
  FitOutputs out(bytes, trial, test::code_of<Point>());
  const auto function = std::is_same_v<Point, PointF32> ? vlix_linearRegressionFloat : vlix_linearRegressionInt;
  trial.call(function, &vector.record, percent, out.first(), out.wanted[1] ? &out.numbers[1] : nullptr, out.mean(),
             out.points.pointer(), out.count_pointer());
  const auto expected = expected_line<Point>(vector.record.type, vector.record.count, out);
  if (!trial.succeeds(expected)) return;
  const test::LineTwin twin = test::line_twin<double>(any.floats, percent);
  if (!any.tame) {
    if (out.points.wanted) FUZZ_CHECK(out.points.record.count == static_cast<int32_t>(twin.kept.size()));
    return;
  }
  check_number(out.numbers[0], out.wanted[0], twin.angle);
  check_number(out.numbers[1], out.wanted[1], twin.rho);
  check_number(out.numbers[2], out.wanted[2], twin.mean_distance);
  check_kept<Point>(out, twin.kept);
}

// ---- Circles ----

Report circle_size_report(int32_t count) {
  return message("circularRegression: vector of size %d specified",
                 "circularRegression: vector of size " + std::to_string(count) + " specified");
}

void check_circle(const FitOutputs& out, const test::CircleTwin& twin) {
  const bool fitted = twin.passes > 0;
  check_number(out.numbers[0], out.wanted[0] && fitted, twin.diameter);
  check_number(out.centre.x, out.wanted[1] && fitted, twin.centre.x);
  check_number(out.centre.y, out.wanted[1] && fitted, twin.centre.y);
  check_number(out.numbers[2], out.wanted[2] && !twin.calculation_error, twin.mean);
}

// The engine, on the caller's own vector, whose type it does not look at.
void call_circle_in_place(Bytes& bytes, RecordingPlatform& platform) {
  Trial trial(bytes, platform);
  const AnyPoints<PointF32> any(bytes);
  test::TestVector<PointF32> vector(any.points);
  const uint32_t percent = any_percent(bytes);
  FitOutputs out(bytes, trial, ObjType_PointF32);
  trial.call(vlix_circularRegression, &vector.record, percent, out.first(), out.wanted[1] ? &out.centre : nullptr,
             out.mean(), out.count_pointer());
  const bool is_any_wanted = out.wanted[0] || out.wanted[1] || out.wanted[2] || out.wanted[3];
  const bool small = any.points.size() < 3;
  const auto twin = test::circle_fit_twin(any.floats, percent);
  std::vector<Report> expected;
  if (small) {
    expected = {circle_size_report(vector.record.count)};
  } else if (is_any_wanted && twin.calculation_error) {
    expected = {message("circularRegression: calculation error")};
  }
  const bool succeeded = trial.succeeds(expected);
  if (small || !is_any_wanted || trial.is_disturbed()) return;
  check_circle(out, twin);
  FUZZ_CHECK(out.count == (succeeded && out.wanted[3] ? twin.kept : kNoCount));
  for (std::size_t i = 0; i < any.points.size(); ++i) FUZZ_CHECK(same(vector.data()[i], twin.points[i]));
}

template <class Point>
std::vector<Report> expected_circle(uint32_t type, const test::CircleTwin& twin, int32_t count, const FitOutputs& out) {
  constexpr ObjType kType = test::code_of<Point>();
  if (type != static_cast<uint32_t>(kType)) return {wrong_type("circularRegression", type)};
  if (out.holds_wrong_type(kType)) return {wrong_type("circularRegression", out.before)};
  if (count < 3) return {circle_size_report(count)};
  if (out.is_any_wanted() && twin.calculation_error) return {message("circularRegression: calculation error")};
  if (out.lacks_count()) return {message("circularRegression: pOutPointsNum is NULL")};
  return {};
}

template <class Point>
void call_circle(Bytes& bytes, RecordingPlatform& platform) {
  Trial trial(bytes, platform);
  const AnyPoints<Point> any(bytes);
  test::TestVector<Point> vector(any.points);
  if (bytes.rarely(16)) vector.record.type = bytes.pick<uint32_t>({0, 17, 18, 24, 29});
  const uint32_t percent = any_percent(bytes);
  FitOutputs out(bytes, trial, test::code_of<Point>());
  const auto function = std::is_same_v<Point, PointF32> ? vlix_circularRegressionFloat : vlix_circularRegressionInt;
  trial.call(function, &vector.record, percent, out.first(), out.wanted[1] ? &out.centre : nullptr, out.mean(),
             out.points.pointer(), out.count_pointer());
  const auto twin = test::circle_fit_twin(any.floats, percent);
  if (!trial.succeeds(expected_circle<Point>(vector.record.type, twin, vector.record.count, out))) return;
  if (!out.is_any_wanted()) return;
  check_circle(out, twin);
  check_kept<Point>(out, {twin.points.begin(), twin.points.begin() + twin.kept});
}

}  // namespace

void call_fit_family(Bytes& bytes, RecordingPlatform& platform) {
  switch (bytes.integer(0, 4)) {
    case 0: return call_line<PointF32>(bytes, platform);
    case 1: return call_line<PointI32>(bytes, platform);
    case 2: return call_circle_in_place(bytes, platform);
    case 3: return call_circle<PointF32>(bytes, platform);
    default: return call_circle<PointI32>(bytes, platform);
  }
}

}  // namespace vlix::fuzz
