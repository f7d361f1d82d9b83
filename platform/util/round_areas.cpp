// SPDX-License-Identifier: Apache-2.0
#include "util/round_areas.h"

namespace vlix::util {
namespace {

double square(double value) { return value * value; }

// Directions from `ray` on, for half a turn: the ray itself belongs to them, the opposite one does not.
bool is_in_half_turn(Point ray, Point p) {
  const double cross = ray.x * p.y - ray.y * p.x;
  return cross > 0.0 || (cross == 0.0 && ray.x * p.x + ray.y * p.y > 0.0);
}

}  // namespace

EllipseArea::EllipseArea(const VlixEllipseShape& shape)
    : centre_{shape.centreX, shape.centreY},
      radius_x_(shape.radiusX),
      radius_y_(shape.radiusY),
      axis_(direction(shape.angleDegrees)),
      half_height_squared_(square(radius_x_ * axis_.y) + square(radius_y_ * axis_.x)),
      skew_(axis_.x * axis_.y * (square(radius_x_) - square(radius_y_)) / half_height_squared_) {}

Box EllipseArea::box() const {
  const double half_width = std::sqrt(square(radius_x_ * axis_.x) + square(radius_y_ * axis_.y));
  const double half_height = std::sqrt(half_height_squared_);
  return {{centre_.x - half_width, centre_.y - half_height}, {centre_.x + half_width, centre_.y + half_height}};
}

// Without quotients: exact where coordinates and radii have few digits and the axes are those of the image.
bool EllipseArea::contains(int32_t x, int32_t y) const {
  const Point p = {x - centre_.x, y - centre_.y};
  const double along = p.x * axis_.x + p.y * axis_.y;
  const double across = p.y * axis_.x - p.x * axis_.y;
  return square(along * radius_y_) + square(across * radius_x_) < square(radius_x_ * radius_y_);
}

RingSectorArea::RingSectorArea(const VlixRingSectorShape& shape)
    : centre_{shape.centreX, shape.centreY},
      inner_(shape.innerRadius),
      outer_(shape.outerRadius),
      start_degrees_(shape.startDegrees),
      end_degrees_(shape.endDegrees),
      start_(direction(start_degrees_)),
      end_(direction(end_degrees_)) {}

// The corners, and the extremes of the outer arc.
Box RingSectorArea::box() const {
  Box box;
  const auto include = [&](Point ray, double radius) {
    box.include({centre_.x + radius * ray.x, centre_.y + radius * ray.y});
  };
  for (const Point ray : {start_, end_}) {
    include(ray, inner_);
    include(ray, outer_);
  }
  for (double degrees = std::ceil(start_degrees_ / 90.0) * 90.0; degrees <= end_degrees_; degrees += 90.0) {
    include(direction(degrees), outer_);
  }
  return box;
}

bool RingSectorArea::contains(int32_t x, int32_t y) const {
  const Point p = {x - centre_.x, y - centre_.y};
  const double distance_squared = square(p.x) + square(p.y);
  return distance_squared >= square(inner_) && distance_squared < square(outer_) && has_direction(p);
}

bool RingSectorArea::has_direction(Point p) const {
  const bool is_centre = p.x == 0.0 && p.y == 0.0;
  if (is_centre) return std::ceil(start_degrees_ / 360.0) * 360.0 < end_degrees_;
  const bool behind_start = is_in_half_turn(start_, p);
  const bool before_end = !is_in_half_turn(end_, p);
  return end_degrees_ - start_degrees_ <= 180.0 ? behind_start && before_end : behind_start || before_end;
}

void RingSectorArea::cut_at_circle(RowCuts& cuts, double radius, double dy) const {
  const double half_chord = std::sqrt(std::max(square(radius) - square(dy), 0.0));
  cuts.cut_near(centre_.x - half_chord);
  cuts.cut_near(centre_.x + half_chord);
}

void RingSectorArea::cut_at_ray(RowCuts& cuts, Point ray, double dy) const {
  if (ray.y != 0.0) cuts.cut_near(centre_.x + dy * ray.x / ray.y);
}

}  // namespace vlix::util
