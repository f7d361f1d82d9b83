// SPDX-License-Identifier: Apache-2.0
// Shapes against point-in-shape twins, and region algebra against sets of pixels.
#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

#include "bytes.h"
#include "platform/util/util_shapes_twin.h"
#include "vlix/util.h"

namespace vlix::fuzz {
namespace {

using Pixels = std::vector<std::pair<int32_t, int32_t>>;  // row, column, in this order, without equals

constexpr float kReach = 24.0f;  // half the side of the square that the twins look at
constexpr std::size_t kMostPixels = 20000;

// Whole multiples of 1/256, for which the twins are exact.
float coordinate(Bytes& bytes, float reach = kReach) {
  return static_cast<float>(bytes.integer(-256, 256)) * reach / 256.0f;
}

// A shape of any kind. Now and then its numbers are any bits at all.
struct AnyShape {
  explicit AnyShape(Bytes& bytes) : wild(bytes.integer(0, 9) == 0) {
    const auto number = [&](float reach) { return wild ? bytes.real() : coordinate(bytes, reach); };
    const auto positive = [&](float reach) { return wild ? bytes.real() : std::fabs(coordinate(bytes, reach)); };
    shape.kind = static_cast<uint32_t>(bytes.integer(99, 105));
    switch (shape.kind) {
      case VlixShape_Rect:
        rect = {number(kReach), number(kReach), number(kReach), number(kReach)};
        shape.geometry = &rect;
        break;
      case VlixShape_RotatedRect:
        rotated = {number(8), number(8), positive(16), positive(16), number(720)};
        shape.geometry = &rotated;
        break;
      case VlixShape_Ellipse:
        ellipse = {number(8), number(8), positive(16), positive(16), bytes.coin() ? 0.0f : number(720)};
        shape.geometry = &ellipse;
        break;
      case VlixShape_RingSector:
        ring = {number(8), number(8), positive(8), positive(16), number(360), number(360)};
        shape.geometry = &ring;
        break;
      default:
        vertices.resize(static_cast<std::size_t>(bytes.integer(0, 9)));
        for (PointF32& v : vertices) v = {number(kReach), number(kReach)};
        polygon = {vertices.data(), static_cast<int32_t>(vertices.size())};
        shape.geometry = &polygon;
        break;
    }
  }
  test::Place place(int32_t x, int32_t y) const {
    switch (shape.kind) {
      case VlixShape_Rect: return test::place_in(rect, x, y);
      case VlixShape_RotatedRect: return test::place_in(rotated, x, y);
      case VlixShape_Ellipse: return test::place_in(ellipse, x, y);
      case VlixShape_RingSector: return test::place_in(ring, x, y);
      default: return test::place_in(polygon, x, y);
    }
  }
  bool wild;
  VlixShape shape = {};
  VlixRectShape rect = {};
  VlixRotatedRectShape rotated = {};
  VlixEllipseShape ellipse = {};
  VlixRingSectorShape ring = {};
  VlixPolygonShape polygon = {};
  std::vector<PointF32> vertices;
};

Pixels pixels_of(const VlixRegion& region) {
  Pixels pixels;
  FUZZ_CHECK(VlixUtilScanRoi(&pixels, const_cast<VlixRegion*>(&region), [](void* context, int32_t x, int32_t y) {
               static_cast<Pixels*>(context)->emplace_back(y, x);
             }) == 0);
  std::sort(pixels.begin(), pixels.end());
  FUZZ_CHECK(std::adjacent_find(pixels.begin(), pixels.end()) == pixels.end());
  FUZZ_CHECK(static_cast<int64_t>(pixels.size()) == VlixRegionPixelCount(&region));
  return pixels;
}

// The region of a shape, checked; false when the shape was refused or is too large to look at.
bool make_region(Bytes& bytes, VlixRegion& region) {
  AnyShape any(bytes);
  if (VlixRegionFromShape(&any.shape, &region) != 0) {
    FUZZ_CHECK(VlixUtilRasterizeRoi(&any, &any.shape, [](void*, int32_t, int32_t) { FUZZ_CHECK(false); }) != 0);
    return false;
  }
  FUZZ_CHECK(any.shape.kind >= VlixShape_Rect && any.shape.kind <= VlixShape_Polygon);
  if (VlixRegionPixelCount(&region) > static_cast<int64_t>(kMostPixels)) return false;
  const Pixels pixels = pixels_of(region);
  if (any.wild) return true;
  const int32_t reach = static_cast<int32_t>(kReach) + 4;
  auto next = pixels.begin();
  const auto next_is = [&](int32_t y, int32_t x) {
    while (next != pixels.end() && *next < std::pair(y, x)) ++next;
    return next != pixels.end() && *next == std::pair(y, x);
  };
  for (int32_t y = -reach; y <= reach; ++y) {
    for (int32_t x = -reach; x <= reach; ++x) {
      const test::Place place = any.place(x, y);
      if (place != test::Place::kUnknown) FUZZ_CHECK(next_is(y, x) == (place == test::Place::kInside));
    }
  }
  return true;
}

void check_algebra(VlixRegion& a, VlixRegion& b, int32_t choice) {
  const Pixels pa = pixels_of(a);
  const Pixels pb = pixels_of(b);
  VlixRegion result = {};
  Pixels expected;
  const auto to = std::back_inserter(expected);
  if (choice == 0) {
    FUZZ_CHECK(VlixRegionUnion(&a, &b, &result) == 0);
    std::set_union(pa.begin(), pa.end(), pb.begin(), pb.end(), to);
    FUZZ_CHECK(pixels_of(result) == expected);
  } else if (choice == 1) {
    FUZZ_CHECK(VlixRegionIntersection(&a, &b, &result) == 0);
    std::set_intersection(pa.begin(), pa.end(), pb.begin(), pb.end(), to);
    FUZZ_CHECK(pixels_of(result) == expected);
  } else {
    // The result may replace an operand.
    FUZZ_CHECK(VlixRegionDifference(&a, &b, &a) == 0);
    std::set_difference(pa.begin(), pa.end(), pb.begin(), pb.end(), to);
    FUZZ_CHECK(pixels_of(a) == expected);
  }
  VlixRegionRelease(&result);
}

}  // namespace
}  // namespace vlix::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  using namespace vlix::fuzz;
  Bytes bytes(data, size);
  VlixRegion a = {};
  VlixRegion b = {};
  const int32_t choice = bytes.integer(0, 2);
  if (make_region(bytes, a) && make_region(bytes, b)) check_algebra(a, b, choice);
  VlixRegionRelease(&a);
  VlixRegionRelease(&b);
  return 0;
}
