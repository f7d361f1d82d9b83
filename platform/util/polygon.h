// SPDX-License-Identifier: Apache-2.0
// Scan conversion of polygons in exact integer arithmetic.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "util/geometry.h"

namespace vlix::util {

// The columns from which on a row is to the right of an edge, row after row.
class Edge {
 public:
  __extension__ using Wide = __int128;

  // Coordinates are multiples of 2^-32 pixel, at most 2^24 pixels in magnitude.
  struct Vertex {
    int64_t x;
    int64_t y;
  };
  static constexpr int64_t kPixel = int64_t{1} << 32;

  // The ends may come in either order.
  Edge(Vertex a, Vertex b);

  // Rows whose centre line the edge crosses; a lower end on the line counts, an upper one does not.
  Span rows() const { return rows_; }
  // The first column at or behind the crossing, in the first row and after each step to the next row.
  int32_t column() const { return static_cast<int32_t>(column_); }
  void step();

 private:
  Span rows_;
  int64_t column_ = 0;
  int64_t columns_per_row_ = 0;
  Wide pixel_ = 0;         // one pixel, in units in which all crossings are whole: 2^32 times the edge's height
  Wide back_ = 0;          // from the column to the crossing, at least 0 and less than a pixel
  Wide back_per_row_ = 0;  // what a row leaves over beside whole columns
};

class PolygonArea {
 public:
  // Of all tables, those of the constructor included.
  static constexpr int64_t kBytesPerCorner = sizeof(Point) + sizeof(Edge::Vertex) + 2 * sizeof(Edge) + sizeof(int32_t);

  // Corners at most 2^24 pixels in magnitude. Throws std::bad_alloc; rows do not.
  explicit PolygonArea(const std::vector<Point>& corners);

  bool has_area() const { return has_area_; }

  // Calls emit(y, begin, end) for runs of pixels in order.
  template <class Emit>
  void each_run(Emit emit) {
    if (edges_.empty()) return;
    std::size_t next = 0;
    active_.clear();
    for (int32_t y = edges_.front().rows().first; next < edges_.size() || !active_.empty(); ++y) {
      if (active_.empty()) y = edges_[next].rows().first;
      while (next < edges_.size() && edges_[next].rows().first == y) active_.push_back(edges_[next++]);
      cross_row();
      for (std::size_t i = 0; i + 1 < columns_.size(); i += 2) {
        if (columns_[i] < columns_[i + 1]) emit(y, columns_[i], columns_[i + 1]);
      }
      leave_row(y);
    }
  }

 private:
  void cross_row();           // the sorted columns of the active edges
  void leave_row(int32_t y);  // edges that end are dropped, the others go on to the next row

  std::vector<Edge> edges_;  // by first row
  std::vector<Edge> active_;
  std::vector<int32_t> columns_;
  bool has_area_ = false;
};

}  // namespace vlix::util
