// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <random>
#include <utility>

#include "platform/util/util_shapes_twin.h"
#include "support/heap_watch.h"
#include "vlix/object.h"
#include "vlix/util.h"

namespace vlix::test {
namespace {

using ::testing::ElementsAre;
using Pixel = std::pair<int32_t, int32_t>;  // row, column: ordered as scans are

constexpr double kPi = 3.14159265358979323846;
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kFarthest = 16777216.0f;

static_assert(offsetof(VlixShape, geometry) == 16);

template <class Geometry>
constexpr VlixUtilShapeKind kind_of();
template <>
constexpr VlixUtilShapeKind kind_of<VlixRectShape>() {
  return VlixShape_Rect;
}
template <>
constexpr VlixUtilShapeKind kind_of<VlixRotatedRectShape>() {
  return VlixShape_RotatedRect;
}
template <>
constexpr VlixUtilShapeKind kind_of<VlixEllipseShape>() {
  return VlixShape_Ellipse;
}
template <>
constexpr VlixUtilShapeKind kind_of<VlixRingSectorShape>() {
  return VlixShape_RingSector;
}
template <>
constexpr VlixUtilShapeKind kind_of<VlixPolygonShape>() {
  return VlixShape_Polygon;
}

template <class Geometry>
VlixShape shape_of(const Geometry& geometry) {
  return {kind_of<Geometry>(), {7, 8, 9}, &geometry};
}

void note(void* pixels, int32_t x, int32_t y) { static_cast<std::vector<Pixel>*>(pixels)->push_back({y, x}); }

// In the order of the calls.
template <class Geometry>
std::vector<Pixel> pixels_of(const Geometry& geometry) {
  VlixShape shape = shape_of(geometry);
  std::vector<Pixel> pixels;
  EXPECT_EQ(VlixUtilRasterizeRoi(&pixels, &shape, note), 0);
  EXPECT_TRUE(std::is_sorted(pixels.begin(), pixels.end()));
  EXPECT_EQ(std::adjacent_find(pixels.begin(), pixels.end()), pixels.end()) << "a pixel twice";
  return pixels;
}

template <class Geometry>
std::size_t area_of(const Geometry& geometry) {
  return pixels_of(geometry).size();
}

VlixPolygonShape polygon_of(const std::vector<PointF32>& vertices) {
  return {vertices.data(), static_cast<int32_t>(vertices.size())};
}

template <class Geometry>
bool is_refused(const Geometry& geometry) {
  VlixShape shape = shape_of(geometry);
  std::vector<Pixel> pixels;
  return VlixUtilRasterizeRoi(&pixels, &shape, note) != 0 && pixels.empty();
}

// All pixels of a window against the twin. Returns how many it could not decide.
template <class Geometry>
int expect_twin(const Geometry& geometry, int32_t low, int32_t high) {
  const std::vector<Pixel> pixels = pixels_of(geometry);
  int unknown = 0;
  int wrong = 0;
  std::size_t seen = 0;
  for (int32_t y = low; y <= high; ++y) {
    for (int32_t x = low; x <= high; ++x) {
      const bool inside = std::binary_search(pixels.begin(), pixels.end(), Pixel{y, x});
      const Place expected = place_in(geometry, x, y);
      seen += inside ? 1 : 0;
      unknown += expected == Place::kUnknown ? 1 : 0;
      if (expected != Place::kUnknown && inside != (expected == Place::kInside) && wrong++ < 5) {
        ADD_FAILURE() << "pixel " << x << ", " << y << (inside ? " is visited" : " is left out");
      }
    }
  }
  EXPECT_EQ(seen, pixels.size()) << "pixels outside the window";
  return unknown;
}

// Multiples of 1/256.
float random_place(std::mt19937_64& random, float low, float high) {
  return std::round(std::uniform_real_distribution<float>(low, high)(random) * 256.0f) / 256.0f;
}

// Coarse multiples meet pixel centres, corners and borders often.
float random_half(std::mt19937_64& random, int low, int high) {
  return static_cast<float>(std::uniform_int_distribution<int>(2 * low, 2 * high)(random)) / 2.0f;
}

TEST(UtilShapes, RectangleOfWAndHCoversWTimesHPixels) {
  EXPECT_THAT(pixels_of(VlixRectShape{3, 5, 3 + 2, 5 + 2}),
              ElementsAre(Pixel{5, 3}, Pixel{5, 4}, Pixel{6, 3}, Pixel{6, 4}));
  EXPECT_EQ(area_of(VlixRectShape{-7, -9, 40, 60}), 47u * 69u);
  EXPECT_EQ(area_of(VlixRectShape{40, 60, -7, -9}), 47u * 69u) << "corners in the other order";
}

TEST(UtilShapes, RectangleBetweenCentresIsEmptyButNotRefused) {
  EXPECT_EQ(area_of(VlixRectShape{3.25f, 5, 3.75f, 9}), 0u);
}

TEST(UtilShapes, RectanglesAgainstTheTwin) {
  std::mt19937_64 random(1);
  for (int i = 0; i < 300; ++i) {
    const VlixRectShape shape = {random_half(random, -9, 9), random_half(random, -9, 9), random_place(random, -9, 9),
                                 random_half(random, -9, 9)};
    if (shape.x0 == shape.x1 || shape.y0 == shape.y1) continue;
    EXPECT_EQ(expect_twin(shape, -11, 11), 0);
  }
}

TEST(UtilShapes, RightAnglesTurnRectanglesExactly) {
  EXPECT_EQ(pixels_of(VlixRotatedRectShape{10, 20, 8, 6, 0}), pixels_of(VlixRectShape{6, 17, 14, 23}));
  EXPECT_EQ(pixels_of(VlixRotatedRectShape{10, 20, 8, 6, 90}), pixels_of(VlixRectShape{7, 16, 13, 24}));
  EXPECT_EQ(pixels_of(VlixRotatedRectShape{10, 20, 8, 6, -180}), pixels_of(VlixRectShape{6, 17, 14, 23}));
  EXPECT_EQ(pixels_of(VlixRotatedRectShape{10, 20, 8, 6, 630}), pixels_of(VlixRectShape{7, 16, 13, 24}));
}

TEST(UtilShapes, RotatedRectanglesAgainstTheTwin) {
  std::mt19937_64 random(2);
  for (int i = 0; i < 200; ++i) {
    const VlixRotatedRectShape shape = {random_place(random, -5, 5), random_place(random, -5, 5),
                                        random_place(random, 0.5f, 30), random_place(random, 0.5f, 30),
                                        random_place(random, -800, 800)};
    EXPECT_LE(expect_twin(shape, -30, 30), 2);
  }
}

TEST(UtilShapes, PolygonsAgainstTheTwin) {
  std::mt19937_64 random(3);
  for (int i = 0; i < 600; ++i) {
    std::vector<PointF32> vertices(3 + random() % 8);
    const bool coarse = i % 2 == 0;
    for (PointF32& v : vertices) {
      v = coarse ? PointF32{random_half(random, -9, 9), random_half(random, -9, 9)}
                 : PointF32{random_place(random, -20, 20), random_place(random, -20, 20)};
    }
    const VlixPolygonShape shape = polygon_of(vertices);
    if (is_refused(shape)) continue;
    EXPECT_EQ(expect_twin(shape, -22, 22), 0);
  }
}

TEST(UtilShapes, PolygonDoesNotDependOnDirectionOrFirstVertex) {
  std::vector<PointF32> vertices = {{1.5f, 2}, {30.25f, 4.75f}, {22, 28.5f}, {9, 11}};
  const std::vector<Pixel> pixels = pixels_of(polygon_of(vertices));
  std::reverse(vertices.begin(), vertices.end());
  EXPECT_EQ(pixels_of(polygon_of(vertices)), pixels);
  std::rotate(vertices.begin(), vertices.begin() + 1, vertices.end());
  EXPECT_EQ(pixels_of(polygon_of(vertices)), pixels);
}

TEST(UtilShapes, EvenOddRuleLeavesTheInnerOfAStarOut) {
  const std::vector<PointF32> star = {{50, 0}, {79, 90}, {2, 35}, {98, 35}, {21, 90}};
  const std::vector<Pixel> pixels = pixels_of(polygon_of(star));
  EXPECT_FALSE(std::binary_search(pixels.begin(), pixels.end(), Pixel{50, 50}));
  EXPECT_TRUE(std::binary_search(pixels.begin(), pixels.end(), Pixel{20, 50}));
  EXPECT_EQ(expect_twin(polygon_of(star), 0, 99), 0);
}

// A net of triangles with common borders. Corners move by less than a sixth of a cell, so that no triangle turns over.
TEST(UtilShapes, AdjacentPolygonsCoverEachPixelOnce) {
  constexpr int kCells = 6;
  constexpr float kCell = 14.0f;
  std::mt19937_64 random(4);
  std::uniform_real_distribution<float> fine(-2, 2);
  for (int round = 0; round < 20; ++round) {
    PointF32 net[kCells + 1][kCells + 1];
    for (int j = 0; j <= kCells; ++j) {
      for (int i = 0; i <= kCells; ++i) {
        const auto jitter = [&] { return round % 2 == 0 ? fine(random) : random_half(random, -2, 2); };
        net[j][i] = {kCell * static_cast<float>(i) + (i % kCells == 0 ? 0 : jitter()),
                     kCell * static_cast<float>(j) + (j % kCells == 0 ? 0 : jitter())};
      }
    }
    std::vector<Pixel> visits;
    for (int j = 0; j < kCells; ++j) {
      for (int i = 0; i < kCells; ++i) {
        const PointF32 a = net[j][i], b = net[j][i + 1], c = net[j + 1][i + 1], d = net[j + 1][i];
        for (const auto& triangle : {std::vector<PointF32>{a, b, c}, std::vector<PointF32>{a, c, d}}) {
          const std::vector<Pixel> pixels = pixels_of(polygon_of(triangle));
          visits.insert(visits.end(), pixels.begin(), pixels.end());
        }
      }
    }
    std::sort(visits.begin(), visits.end());
    EXPECT_EQ(visits, pixels_of(VlixRectShape{0, 0, kCell * kCells, kCell * kCells}));
  }
}

// Numbers of whole points within a circle, from the tables of the circle problem (81, 317 and 31417 for radii 5, 10 and
// 100); 12 of the 81 lie on the circle.
TEST(UtilShapes, DiscsHoldTheKnownNumbersOfWholePoints) {
  EXPECT_EQ(area_of(VlixEllipseShape{0, 0, 5, 5, 0}), 81u - 12u);
  EXPECT_EQ(area_of(VlixEllipseShape{3, -4, 5.05f, 5.05f, 0}), 81u);
  EXPECT_EQ(area_of(VlixEllipseShape{0, 0, 10.01f, 10.01f, 77}), 317u);
  EXPECT_EQ(area_of(VlixRingSectorShape{1000, 0, 0, 100.002f, 0, 360}), 31417u);
  EXPECT_EQ(area_of(VlixEllipseShape{0, 0, 0.25f, 0.25f, 0}), 1u);
  EXPECT_EQ(area_of(VlixEllipseShape{0.5f, 0, 0.25f, 0.25f, 0}), 0u);
}

// A border of length L consists of ceil(L) pieces that touch at most 4 pixel squares each.
TEST(UtilShapes, AreasAgainstExactAreas) {
  const auto expect_area = [](std::size_t pixels, double area, double border) {
    EXPECT_NEAR(static_cast<double>(pixels), area, 4 * std::ceil(border));
  };
  expect_area(area_of(VlixEllipseShape{11.3f, -7.7f, 900, 350, 33}), kPi * 900 * 350, 2 * kPi * 900);
  expect_area(area_of(VlixRotatedRectShape{-3.1f, 5.9f, 801, 777, 12.5f}), 801.0 * 777.0, 2 * (801.0 + 777.0));
  expect_area(area_of(VlixRingSectorShape{0.3f, 0.4f, 300, 700, 20, 290}), kPi * (700 * 700 - 300 * 300) * 270 / 360,
              2 * kPi * 1000 * 270 / 360 + 800);
  const std::vector<PointF32> triangle = {{0.5f, 0.25f}, {1000.5f, 300.25f}, {200.5f, 900.25f}};
  expect_area(area_of(polygon_of(triangle)), (1000.0 * 900.0 - 200.0 * 300.0) / 2, 3 * 1100.0);
}

TEST(UtilShapes, EllipsesAgainstTheTwin) {
  std::mt19937_64 random(5);
  for (int i = 0; i < 200; ++i) {
    VlixEllipseShape shape = {random_half(random, -5, 5), random_place(random, -5, 5), random_half(random, 1, 20),
                              random_place(random, 0.5f, 20), 0};
    EXPECT_EQ(expect_twin(shape, -30, 30), 0);
    shape.angleDegrees = random_place(random, -400, 400);
    EXPECT_LE(expect_twin(shape, -30, 30), 2);
  }
}

TEST(UtilShapes, NeedlesAgainstTheTwin) {
  for (const float angle : {0.0f, 0.001f, 0.5f, 30.0f, 45.0f, 89.99f, 90.0f, 135.0f}) {
    EXPECT_LE(expect_twin(VlixEllipseShape{0.25f, 0.125f, 60, 0.0625f, angle}, -70, 70), 2) << angle;
    EXPECT_LE(expect_twin(VlixRotatedRectShape{0.25f, 0.125f, 120, 0.0625f, angle}, -70, 70), 2) << angle;
  }
}

TEST(UtilShapes, RingSectorsAgainstTheTwin) {
  std::mt19937_64 random(6);
  for (int i = 0; i < 400; ++i) {
    const bool coarse = i % 2 == 0;
    VlixRingSectorShape shape = {};
    shape.centreX = random_half(random, -3, 3);
    shape.centreY = random_half(random, -3, 3);
    shape.innerRadius = i % 5 == 0 ? 0 : random_half(random, 0, 10);
    shape.outerRadius = shape.innerRadius + random_half(random, 1, 10);
    shape.startDegrees = coarse ? 45.0f * random_half(random, -8, 8) * 2 : random_place(random, -700, 700);
    shape.endDegrees =
        shape.startDegrees + (coarse ? 45.0f * static_cast<float>(1 + random() % 8) : random_place(random, 1, 360));
    EXPECT_LE(expect_twin(shape, -27, 27), coarse ? 0 : 2);
  }
}

TEST(UtilShapes, RingSectorsWithCommonRadiiAndAnglesShareNoPixel) {
  std::mt19937_64 random(7);
  for (int round = 0; round < 30; ++round) {
    const float x = random_half(random, -2, 2);
    const float y = random_half(random, -2, 2);
    const float first = round % 2 == 0 ? 0.0f : random_place(random, -300, 300);
    std::vector<float> angles = {first};
    while (angles.back() < first + 360) {
      const float next = angles.back() + (round % 3 == 0 ? 45.0f : random_place(random, 1, 200));
      angles.push_back(std::min(next, first + 360));
    }
    std::vector<Pixel> visits;
    for (std::size_t i = 0; i + 1 < angles.size(); ++i) {
      for (const auto& [inner, outer] : {std::pair{0.0f, 3.0f}, {3.0f, 5.0f}, {5.0f, 13.5f}}) {
        const std::vector<Pixel> part = pixels_of(VlixRingSectorShape{x, y, inner, outer, angles[i], angles[i + 1]});
        visits.insert(visits.end(), part.begin(), part.end());
      }
    }
    std::sort(visits.begin(), visits.end());
    EXPECT_EQ(visits, pixels_of(VlixEllipseShape{x, y, 13.5f, 13.5f, 0})) << "first angle " << first;
  }
}

TEST(UtilShapes, CentreOfADiscBelongsToTheSectorOfDirectionZero) {
  const auto has_centre = [](float start, float end) {
    const std::vector<Pixel> pixels = pixels_of(VlixRingSectorShape{4, 4, 0, 3, start, end});
    return std::binary_search(pixels.begin(), pixels.end(), Pixel{4, 4});
  };
  EXPECT_TRUE(has_centre(0, 90));
  EXPECT_FALSE(has_centre(90, 180));
  EXPECT_FALSE(has_centre(180, 360));
  EXPECT_TRUE(has_centre(-10, 10));
  EXPECT_TRUE(has_centre(350, 361));
  EXPECT_TRUE(has_centre(17, 377));
}

TEST(UtilShapes, DirectionRunsFromColumnsToRows) {
  const std::vector<Pixel> pixels = pixels_of(VlixRingSectorShape{0, 0, 4.5f, 5.5f, 80, 100});
  EXPECT_THAT(pixels, ::testing::Contains(Pixel{5, 0}));
  EXPECT_THAT(pixels, ::testing::Not(::testing::Contains(Pixel{-5, 0})));
  EXPECT_THAT(pixels_of(VlixRotatedRectShape{0, 0, 10, 0.5f, 45}), ::testing::Contains(Pixel{3, 3}));
  EXPECT_THAT(pixels_of(VlixEllipseShape{0, 0, 8, 0.5f, 45}), ::testing::Contains(Pixel{-5, -5}));
}

template <class Geometry>
void expect_refused_when(Geometry geometry, float Geometry::*number, std::initializer_list<float> values) {
  for (const float value : values) {
    geometry.*number = value;
    EXPECT_TRUE(is_refused(geometry)) << value;
  }
}

TEST(UtilShapes, EveryNumberThatIsNotFiniteIsRefused) {
  const auto all = [](auto geometry, auto... numbers) {
    (expect_refused_when(geometry, numbers, {kNan, kInfinity, -kInfinity}), ...);
  };
  all(VlixRectShape{0, 0, 5, 5}, &VlixRectShape::x0, &VlixRectShape::y0, &VlixRectShape::x1, &VlixRectShape::y1);
  using Rotated = VlixRotatedRectShape;
  all(Rotated{0, 0, 5, 5, 0}, &Rotated::centreX, &Rotated::centreY, &Rotated::width, &Rotated::height,
      &Rotated::angleDegrees);
  using Ellipse = VlixEllipseShape;
  all(Ellipse{0, 0, 5, 5, 0}, &Ellipse::centreX, &Ellipse::centreY, &Ellipse::radiusX, &Ellipse::radiusY,
      &Ellipse::angleDegrees);
  using Sector = VlixRingSectorShape;
  all(Sector{0, 0, 5, 6, 0, 90}, &Sector::centreX, &Sector::centreY, &Sector::innerRadius, &Sector::outerRadius,
      &Sector::startDegrees, &Sector::endDegrees);
  for (const float bad : {kNan, kInfinity, -kInfinity}) {
    EXPECT_TRUE(is_refused(polygon_of({{0, 0}, {5, bad}, {5, 5}})));
    EXPECT_TRUE(is_refused(polygon_of({{0, 0}, {5, 0}, {bad, 5}})));
  }
}

TEST(UtilShapes, DegenerateShapesAreRefused) {
  EXPECT_TRUE(is_refused(VlixRectShape{3, 0, 3, 5}));
  EXPECT_TRUE(is_refused(VlixRectShape{0, 5, 9, 5}));
  expect_refused_when({0, 0, 5, 5, 0}, &VlixRotatedRectShape::width, {0, -0.0f, -5});
  expect_refused_when({0, 0, 5, 5, 0}, &VlixRotatedRectShape::height, {0, -0.0f, -5});
  expect_refused_when({0, 0, 5, 5, 0}, &VlixEllipseShape::radiusX, {0, -5});
  expect_refused_when({0, 0, 5, 5, 0}, &VlixEllipseShape::radiusY, {0, -5});
  expect_refused_when({0, 0, 5, 6, 0, 90}, &VlixRingSectorShape::innerRadius, {-1, 6, 7});
  expect_refused_when({0, 0, 5, 6, 0, 90}, &VlixRingSectorShape::endDegrees, {0, -10, 360.5f});
  EXPECT_TRUE(is_refused(polygon_of({{0, 0}, {5, 5}})));
  EXPECT_TRUE(is_refused(polygon_of({{1, 1}, {1, 1}, {1, 1}})));
  EXPECT_TRUE(is_refused(polygon_of({{0, 0}, {0, 0}, {3, 1}, {6, 2}, {-3, -1}})));
  EXPECT_TRUE(is_refused(VlixPolygonShape{nullptr, 3}));
  const std::vector<PointF32> triangle = {{0, 0}, {5, 0}, {5, 5}};
  EXPECT_TRUE(is_refused(VlixPolygonShape{triangle.data(), -3}));
}

TEST(UtilShapes, ShapesBeyond2To24AreRefused) {
  const float beyond = std::nextafter(kFarthest, kInfinity);
  EXPECT_TRUE(is_refused(VlixRectShape{beyond, 0, beyond - 9, 5}));
  EXPECT_TRUE(is_refused(VlixRectShape{0, -beyond, 3, -beyond + 9}));
  EXPECT_TRUE(is_refused(VlixRotatedRectShape{kFarthest - 2, 0, 6, 1, 0}));
  EXPECT_TRUE(is_refused(VlixEllipseShape{0, 2 - kFarthest, 3, 3, 0}));
  EXPECT_TRUE(is_refused(VlixRingSectorShape{kFarthest, 0, 1, 3, 0, 90}));
  EXPECT_TRUE(is_refused(VlixRingSectorShape{0, 0, 2 * kFarthest, 2.5f * kFarthest, 0, 1e-20f}));
  EXPECT_TRUE(is_refused(VlixRectShape{0, 0, 1e38f, 1e-38f}));
  EXPECT_TRUE(is_refused(VlixEllipseShape{0, 0, 3e38f, 3e38f, 45}));
  EXPECT_TRUE(is_refused(VlixRotatedRectShape{0, 0, 3e38f, 3e38f, 45}));
  EXPECT_TRUE(is_refused(polygon_of({{0, 0}, {beyond, 0}, {0, 5}})));
  // The sector faces away from where its circle would be too far: (-2, -1), (-2, 0), (-1, 0), (-2, 1), (-1, 1), (-2,
  // 2).
  EXPECT_EQ(area_of(VlixRingSectorShape{kFarthest, 0, 1, 3, 135, 225}), 6u);
}

TEST(UtilShapes, LargestBoundingBoxHolds2To31Pixels) {
  const auto status = [](const auto& geometry, int64_t* pixels) {
    const VlixShape shape = shape_of(geometry);
    VlixRegion region = {};
    const int32_t result = VlixRegionFromShape(&shape, &region);
    *pixels = VlixRegionPixelCount(&region);
    VlixRegionRelease(&region);
    return result;
  };
  int64_t pixels = 0;
  EXPECT_EQ(status(VlixRectShape{-kFarthest, 0, kFarthest, 64}, &pixels), 0);
  EXPECT_EQ(pixels, int64_t{1} << 31);
  EXPECT_NE(status(VlixRectShape{-kFarthest, 0, kFarthest, 64.5f}, &pixels), 0);
  EXPECT_EQ(status(VlixRotatedRectShape{0, 31.5f, 2 * kFarthest, 64, 0}, &pixels), 0);
  EXPECT_EQ(pixels, int64_t{1} << 31);
  EXPECT_NE(status(VlixRotatedRectShape{0, 31.5f, 2 * kFarthest, 65, 0}, &pixels), 0);
  EXPECT_EQ(status(VlixEllipseShape{0, 0, kFarthest, 31.5f, 0}, &pixels), 0);
  EXPECT_NE(status(VlixEllipseShape{0, 0, kFarthest, 33, 0}, &pixels), 0);
  EXPECT_NE(status(VlixRingSectorShape{0, 0, kFarthest - 1, kFarthest, 0, 360}, &pixels), 0);
  EXPECT_EQ(status(polygon_of({{-kFarthest, 0}, {kFarthest, 0}, {kFarthest, 64}}), &pixels), 0);
  EXPECT_NE(status(polygon_of({{-kFarthest, 0}, {kFarthest, 0}, {kFarthest, 65}}), &pixels), 0);
}

// Rows of the triangle (-2^24, 0), (2^24, 0), (2^24, 64) begin at 2^19 y - 2^24: the sum over 64 rows is known.
TEST(UtilShapes, LongEdgesAreExact) {
  const std::vector<PointF32> vertices = {{-kFarthest, 0}, {kFarthest, 0}, {kFarthest, 64}};
  const VlixPolygonShape triangle = polygon_of(vertices);
  const VlixShape shape = shape_of(triangle);
  VlixRegion region = {};
  ASSERT_EQ(VlixRegionFromShape(&shape, &region), 0);
  ASSERT_EQ(region.count, 64);
  for (int32_t y = 0; y < 64; ++y) {
    EXPECT_EQ(region.runs[y].begin, (y << 19) - (1 << 24));
    EXPECT_EQ(region.runs[y].end, 1 << 24);
  }
  VlixRegionRelease(&region);
}

// Crossings at thirds of a pixel: whole ones belong to the shape on their right, the others round up.
TEST(UtilShapes, CrossingsAtThirdsDoNotDrift) {
  const std::vector<PointF32> strip = {{0, 0}, {3000, 9000}, {3005, 9000}, {5, 0}};
  const std::vector<Pixel> pixels = pixels_of(polygon_of(strip));
  ASSERT_EQ(pixels.size(), 5u * 9000u);
  for (int32_t y = 0; y < 9000; ++y) EXPECT_EQ(pixels[static_cast<std::size_t>(5 * y)], (Pixel{y, (y + 2) / 3}));
}

TEST(UtilShapes, UnknownKindsAndMissingGeometryAreRefused) {
  std::vector<Pixel> pixels;
  const VlixRectShape rect = {0, 0, 5, 5};
  const float corners[4] = {0, 0, 5, 5};
  for (const uint32_t kind : {0u, 1u, 3u, 5u, 99u, 105u, 0xffffffffu}) {
    VlixShape shape = {kind, {}, &rect};
    EXPECT_NE(VlixUtilRasterizeRoi(&pixels, &shape, note), 0) << kind;
  }
  VlixShape pixel_rect = {VlixShape_PixelRect, {}, corners};
  EXPECT_NE(VlixUtilRasterizeRoi(&pixels, &pixel_rect, note), 0);
  for (const VlixUtilShapeKind kind :
       {VlixShape_Rect, VlixShape_RotatedRect, VlixShape_Ellipse, VlixShape_RingSector, VlixShape_Polygon}) {
    VlixShape shape = {kind, {}, nullptr};
    EXPECT_NE(VlixUtilRasterizeRoi(&pixels, &shape, note), 0) << kind;
  }
  VlixShape shape = shape_of(rect);
  EXPECT_NE(VlixUtilRasterizeRoi(&pixels, nullptr, note), 0);
  EXPECT_NE(VlixUtilRasterizeRoi(&pixels, &shape, nullptr), 0);
  EXPECT_TRUE(pixels.empty());
}

TEST(UtilShapes, RefusalsOfTheRasteriserAreNotReported) {
  VlixOpClear();
  EXPECT_TRUE(is_refused(VlixRectShape{3, 0, 3, 5}));
  VlixOpReport report = {};
  VlixOpLastReport(&report);
  EXPECT_EQ(report.count, 0u);
}

TEST(UtilShapes, EveryFailedAllocationIsAFailureWithoutACall) {
  if (!HeapWatch::available()) GTEST_SKIP() << "a sanitizer owns the heap";
  const std::vector<PointF32> vertices = {{0, 0}, {9, 1}, {5, 8}};
  const VlixPolygonShape polygon = polygon_of(vertices);
  VlixShape shape = shape_of(polygon);
  const auto count = [](void* calls, int32_t, int32_t) { ++*static_cast<int*>(calls); };
  int failures = 0;
  for (int n = 1;; ++n) {
    int calls = 0;
    HeapWatch::reset();
    HeapWatch::enable();
    HeapWatch::fail_nth(n);
    const int32_t status = VlixUtilRasterizeRoi(&calls, &shape, count);
    HeapWatch::disable();
    EXPECT_EQ(HeapWatch::live(), 0) << "allocation " << n;
    if (status == 0) break;
    ++failures;
    EXPECT_EQ(calls, 0) << "allocation " << n;
  }
  EXPECT_GE(failures, 4);
}

}  // namespace
}  // namespace vlix::test
