// SPDX-License-Identifier: Apache-2.0
#include "geometry/projection_twin.h"
#include "trial.h"

namespace vlix::fuzz {
namespace {

template <class Point, class Sum>
std::vector<Point> as_points(const std::vector<Sum>& sums) {
  using Coordinate = decltype(Point::x);
  std::vector<Point> points;
  for (std::size_t i = 0; i < sums.size(); ++i) {
    points.push_back({static_cast<Coordinate>(i), static_cast<Coordinate>(sums[i])});
  }
  return points;
}

// Sum is float or int32_t.
template <class Sum, class Point>
void check_output(const AnyVector& output, const std::vector<Sum>& sums, bool points) {
  if (!output.wanted) return;
  if (points) {
    FUZZ_CHECK(output.holds(test::code_of<Point>(), as_points<Point>(sums)));
  } else {
    FUZZ_CHECK(output.holds(test::code_of<Sum>(), sums));
  }
}

template <class Pixel>
test::ProjectionTwin<float> float_sums(test::TestImage<Pixel>& image, int32_t level) {
  if constexpr (std::is_same_v<Pixel, uint8_t>) {
    const VlixImage& r = image.record;
    const bool whole = r.roiWidth == r.width && r.roiHeight == r.height;
    if (level != 0 && whole && r.roiWidth >= 5) {
      const auto exact = test::exact_projection_twin(image);
      return {test::converted<float>(exact.rows), test::converted<float>(exact.columns)};
    }
  }
  (void)level;
  return test::projection_twin(image);
}

template <class Pixel>
test::ProjectionTwin<int32_t> integer_sums(test::TestImage<Pixel>& image) {
  if constexpr (std::is_floating_point_v<Pixel>) {
    return {};
  } else {
    const auto exact = test::exact_projection_twin(image);
    return {test::converted<int32_t>(exact.rows), test::converted<int32_t>(exact.columns)};
  }
}

template <class Pixel>
void call_projection(Bytes& bytes, RecordingPlatform& platform) {
  Trial trial(bytes, platform);
  const bool integers = bytes.coin();
  const auto image = bytes.image<Pixel>(90, 24, true);
  if (bytes.rarely(16)) image->record.type = bytes.pick<uint32_t>({0, 8, 12, 18, 19, 36});
  AnyVector rows(bytes, trial, {ObjType_S32, ObjType_F32, ObjType_PointF32, ObjType_U8}, 4);
  AnyVector columns(bytes, trial, {ObjType_S32, ObjType_F32, ObjType_PointI32, ObjType_U8}, 4);
  const int32_t points = bytes.integer(0, 2);
  trial.call(integers ? vlix_projectionInt : vlix_projection, &image->record, rows.pointer(), columns.pointer(),
             points);
  const uint32_t type = image->record.type;
  const bool accepted = type == static_cast<uint32_t>(test::code_of<Pixel>()) && !(integers && type == ObjType_F32);
  const auto expected = accepted ? std::vector<Report>{} : std::vector{wrong_type("projection", type)};
  if (!trial.succeeds(expected)) return;
  // Without memory for its partial sums the path for bytes leaves zeros.
  if (trial.heap_failed()) return;
  if (integers) {
    const auto twin = integer_sums(*image);
    check_output<int32_t, PointI32>(rows, twin.rows, points != 0);
    check_output<int32_t, PointI32>(columns, twin.columns, points != 0);
  } else {
    const auto twin = float_sums(*image, trial.level());
    check_output<float, PointF32>(rows, twin.rows, points != 0);
    check_output<float, PointF32>(columns, twin.columns, points != 0);
  }
}

}  // namespace

void call_projection_family(Bytes& bytes, RecordingPlatform& platform) {
  switch (bytes.integer(0, 4)) {
    case 0: return call_projection<uint8_t>(bytes, platform);
    case 1: return call_projection<int8_t>(bytes, platform);
    case 2: return call_projection<uint16_t>(bytes, platform);
    case 3: return call_projection<int16_t>(bytes, platform);
    default: return call_projection<float>(bytes, platform);
  }
}

}  // namespace vlix::fuzz
