// SPDX-License-Identifier: Apache-2.0
#include "util/polygon.h"

#include <algorithm>
#include <cmath>

namespace vlix::util {
namespace {

using Vertex = Edge::Vertex;
using Wide = Edge::Wide;

Vertex rounded(Point p) {
  constexpr auto kPixel = static_cast<double>(Edge::kPixel);
  return {std::llround(p.x * kPixel), std::llround(p.y * kPixel)};
}

// Coordinates stay below 2^57, so that their differences fit 64 bits and the products of two differences 117.
Wide turn(Vertex a, Vertex b, Vertex c) { return Wide{b.x - a.x} * (c.y - a.y) - Wide{b.y - a.y} * (c.x - a.x); }

template <class Integer>
Integer floor_of_quotient(Integer dividend, Integer divisor) {
  const Integer quotient = dividend / divisor;
  return quotient * divisor > dividend ? quotient - 1 : quotient;
}

int32_t first_row_from(int64_t y) { return static_cast<int32_t>(-floor_of_quotient(-y, Edge::kPixel)); }

}  // namespace

Edge::Edge(Vertex a, Vertex b) {
  if (a.y > b.y) std::swap(a, b);
  rows_ = {first_row_from(a.y), first_row_from(b.y)};
  if (rows_.first >= rows_.end) return;
  const int64_t dx = b.x - a.x;
  const int64_t dy = b.y - a.y;
  pixel_ = Wide{kPixel} * dy;
  const Wide crossing = Wide{a.x} * dy + (Wide{rows_.first} * kPixel - a.y) * dx;
  const Wide column = -floor_of_quotient(-crossing, pixel_);
  column_ = static_cast<int64_t>(column);
  back_ = column * pixel_ - crossing;
  columns_per_row_ = floor_of_quotient(dx, dy);
  back_per_row_ = Wide{dx - columns_per_row_ * dy} * kPixel;
}

void Edge::step() {
  column_ += columns_per_row_;
  back_ -= back_per_row_;
  if (back_ >= 0) return;
  column_ += 1;
  back_ += pixel_;
}

PolygonArea::PolygonArea(const std::vector<Point>& corners) {
  std::vector<Vertex> vertices(corners.size());
  std::transform(corners.begin(), corners.end(), vertices.begin(), rounded);
  edges_.reserve(vertices.size());
  const Vertex first = vertices.front();
  Vertex other = first;  // another place than the first one, once there is one
  for (std::size_t i = 0; i < vertices.size(); ++i) {
    const Vertex& v = vertices[i];
    if (other.x == first.x && other.y == first.y) other = v;
    has_area_ = has_area_ || turn(first, other, v) != 0;
    const Edge edge(v, vertices[(i + 1) % vertices.size()]);
    if (edge.rows().first < edge.rows().end) edges_.push_back(edge);
  }
  active_.reserve(edges_.size());
  columns_.reserve(edges_.size());
  std::sort(edges_.begin(), edges_.end(), [](const Edge& a, const Edge& b) { return a.rows().first < b.rows().first; });
}

void PolygonArea::cross_row() {
  columns_.clear();
  for (const Edge& edge : active_) columns_.push_back(edge.column());
  std::sort(columns_.begin(), columns_.end());
}

void PolygonArea::leave_row(int32_t y) {
  const auto ends = [y](const Edge& edge) { return edge.rows().end == y + 1; };
  active_.erase(std::remove_if(active_.begin(), active_.end(), ends), active_.end());
  for (Edge& edge : active_) edge.step();
}

}  // namespace vlix::util
