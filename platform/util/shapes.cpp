// SPDX-License-Identifier: Apache-2.0
#include "util/shapes.h"

#include <cmath>
#include <optional>
#include <vector>

namespace vlix::util {
namespace {

constexpr double kFarthest = 0x1p24;
constexpr double kMostPixels = 0x1p31;

constexpr Refusal kNoGeometry = {"it has no geometry"};
constexpr Refusal kNotFinite = {"it has a number that is not finite"};
constexpr Refusal kNoArea = {"it has no area"};
constexpr Refusal kTooFar = {"it reaches beyond +-2^24"};
constexpr Refusal kTooLarge = {"its bounding box holds more than 2^31 pixels"};
constexpr Refusal kBadAngles = {"its angles are not in order or more than 360 degrees apart"};
constexpr Refusal kPixelRect = {"a rectangle in whole-image coordinates has no place in a region of interest"};
constexpr Refusal kUnknownKind = {"its kind is not known"};

template <class... Numbers>
bool are_finite(Numbers... numbers) {
  return (std::isfinite(numbers) && ...);
}

bool is_near(double number) { return std::fabs(number) <= kFarthest; }

std::optional<Refusal> refusal_of(const Box& box) {
  if (!is_near(box.low.x) || !is_near(box.low.y) || !is_near(box.high.x) || !is_near(box.high.y)) return kTooFar;
  const double columns = std::ceil(box.high.x) - std::ceil(box.low.x);
  const double rows = std::ceil(box.high.y) - std::ceil(box.low.y);
  if (columns * rows > kMostPixels) return kTooLarge;
  return std::nullopt;
}

Area area_of_rect(const VlixRectShape& shape) {
  if (!are_finite(shape.x0, shape.y0, shape.x1, shape.y1)) return kNotFinite;
  Box box;
  box.include({shape.x0, shape.y0});
  box.include({shape.x1, shape.y1});
  if (box.low.x == box.high.x || box.low.y == box.high.y) return kNoArea;
  if (const auto refusal = refusal_of(box)) return *refusal;
  return RectArea(box);
}

Area area_of_corners(const std::vector<Point>& corners) {
  Box box;
  for (const Point corner : corners) box.include(corner);
  if (const auto refusal = refusal_of(box)) return *refusal;
  PolygonArea area(corners);
  if (!area.has_area()) return kNoArea;
  return area;
}

Area area_of_rotated_rect(const VlixRotatedRectShape& shape) {
  if (!are_finite(shape.centreX, shape.centreY, shape.width, shape.height, shape.angleDegrees)) return kNotFinite;
  if (shape.width <= 0.0f || shape.height <= 0.0f) return kNoArea;
  const Point centre = {shape.centreX, shape.centreY};
  const Point axis = direction(shape.angleDegrees);
  const auto corner = [&](double along, double across) {
    along *= shape.width / 2.0;
    across *= shape.height / 2.0;
    return Point{centre.x + along * axis.x - across * axis.y, centre.y + along * axis.y + across * axis.x};
  };
  return area_of_corners({corner(-1, -1), corner(1, -1), corner(1, 1), corner(-1, 1)});
}

Area area_of_polygon(const VlixPolygonShape& shape) {
  if (shape.vertices == nullptr) return kNoGeometry;
  if (shape.count < 3) return kNoArea;
  std::vector<Point> corners;
  corners.reserve(static_cast<std::size_t>(shape.count));
  for (int32_t i = 0; i < shape.count; ++i) {
    const PointF32 vertex = shape.vertices[i];
    if (!are_finite(vertex.x, vertex.y)) return kNotFinite;
    corners.push_back({vertex.x, vertex.y});
  }
  return area_of_corners(corners);
}

Area area_of_ellipse(const VlixEllipseShape& shape) {
  if (!are_finite(shape.centreX, shape.centreY, shape.radiusX, shape.radiusY, shape.angleDegrees)) return kNotFinite;
  if (shape.radiusX <= 0.0f || shape.radiusY <= 0.0f) return kNoArea;
  const EllipseArea area(shape);
  if (const auto refusal = refusal_of(area.box())) return *refusal;
  return area;
}

Area area_of_ring_sector(const VlixRingSectorShape& shape) {
  if (!are_finite(shape.centreX, shape.centreY, shape.innerRadius, shape.outerRadius, shape.startDegrees,
                  shape.endDegrees)) {
    return kNotFinite;
  }
  if (shape.innerRadius < 0.0f || shape.outerRadius <= shape.innerRadius) return kNoArea;
  const double turn = static_cast<double>(shape.endDegrees) - shape.startDegrees;
  if (turn <= 0.0 || turn > 360.0) return kBadAngles;
  if (!is_near(shape.centreX) || !is_near(shape.centreY) || !is_near(shape.outerRadius)) return kTooFar;
  const RingSectorArea area(shape);
  if (const auto refusal = refusal_of(area.box())) return *refusal;
  return area;
}

template <class Geometry, class AreaOf>
Area area_of_geometry(const VlixShape& shape, AreaOf area_of_kind) {
  if (shape.geometry == nullptr) return kNoGeometry;
  return area_of_kind(*static_cast<const Geometry*>(shape.geometry));
}

}  // namespace

Area area_of(const VlixShape* shape) {
  if (shape == nullptr) return kNoGeometry;
  switch (shape->kind) {
    case VlixShape_Rect: return area_of_geometry<VlixRectShape>(*shape, area_of_rect);
    case VlixShape_RotatedRect: return area_of_geometry<VlixRotatedRectShape>(*shape, area_of_rotated_rect);
    case VlixShape_Ellipse: return area_of_geometry<VlixEllipseShape>(*shape, area_of_ellipse);
    case VlixShape_RingSector: return area_of_geometry<VlixRingSectorShape>(*shape, area_of_ring_sector);
    case VlixShape_Polygon: return area_of_geometry<VlixPolygonShape>(*shape, area_of_polygon);
    case VlixShape_PixelRect: return kPixelRect;
    default: return kUnknownKind;
  }
}

int64_t table_bytes(const VlixShape& shape) noexcept {
  const bool is_polygon = shape.kind == VlixShape_Polygon && shape.geometry != nullptr;
  const int64_t corners = is_polygon ? static_cast<const VlixPolygonShape*>(shape.geometry)->count : 4;
  return corners * PolygonArea::kBytesPerCorner;
}

}  // namespace vlix::util
