// SPDX-License-Identifier: Apache-2.0
// Shapes with curved borders.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "util/geometry.h"
#include "vlix/util.h"

namespace vlix::util {

// Rows and columns of a box, and one more on each side: membership decides there, too.
inline Span rows_near(const Box& box) {
  const Span rows = whole_numbers(box.low.y, box.high.y);
  return {rows.first - 1, rows.end + 1};
}
inline Span columns_near(const Box& box) {
  const Span columns = whole_numbers(box.low.x, box.high.x);
  return {columns.first - 1, columns.end + 1};
}

// A row is cut where membership may change; one pixel of each piece decides for the piece.
class RowCuts {
 public:
  explicit RowCuts(Span row) : row_(row) { cuts_[count_++] = row.first; }

  // Membership changes near this column. Places are computed to within a pixel.
  void cut_near(double x) {
    const double clamped = std::clamp(x, static_cast<double>(row_.first), static_cast<double>(row_.end));
    const auto column = static_cast<int32_t>(std::floor(clamped));
    for (int32_t cut = column - 1; cut <= column + 3; ++cut) cuts_[count_++] = std::clamp(cut, row_.first, row_.end);
  }

  template <class Contains, class Emit>
  void each_run(Contains contains, Emit emit) {
    cuts_[count_++] = row_.end;
    std::sort(cuts_.data(), cuts_.data() + count_);
    for (std::size_t i = 0; i + 1 < count_; ++i) {
      const int32_t begin = cuts_[i];
      const int32_t end = cuts_[i + 1];
      if (begin < end && contains(begin)) emit(begin, end);
    }
  }

 private:
  Span row_;
  std::array<int32_t, 40> cuts_;  // seven places at most, five cuts each, and both ends
  std::size_t count_ = 0;
};

class EllipseArea {
 public:
  explicit EllipseArea(const VlixEllipseShape& shape);

  Box box() const;

  template <class Emit>
  void each_run(Emit emit) const {
    const Span rows = rows_near(box());
    const Span columns = columns_near(box());
    for (int32_t y = rows.first; y < rows.end; ++y) {
      RowCuts cuts(columns);
      const double dy = y - centre_.y;
      const double half_height = half_height_squared_ - dy * dy;
      const double half_chord = std::sqrt(std::max(half_height, 0.0)) * radius_x_ * radius_y_ / half_height_squared_;
      cuts.cut_near(centre_.x + dy * skew_ - half_chord);
      cuts.cut_near(centre_.x + dy * skew_ + half_chord);
      cuts.each_run([&](int32_t x) { return contains(x, y); },
                    [&](int32_t begin, int32_t end) { emit(y, begin, end); });
    }
  }

 private:
  bool contains(int32_t x, int32_t y) const;

  Point centre_;
  double radius_x_;
  double radius_y_;
  Point axis_;
  double half_height_squared_;
  double skew_;  // how far the middle of a row's chord moves per row
};

class RingSectorArea {
 public:
  explicit RingSectorArea(const VlixRingSectorShape& shape);

  Box box() const;

  template <class Emit>
  void each_run(Emit emit) const {
    const Span rows = rows_near(box());
    const Span columns = columns_near(box());
    for (int32_t y = rows.first; y < rows.end; ++y) {
      RowCuts cuts(columns);
      const double dy = y - centre_.y;
      cut_at_circle(cuts, outer_, dy);
      cut_at_circle(cuts, inner_, dy);
      cut_at_ray(cuts, start_, dy);
      cut_at_ray(cuts, end_, dy);
      cuts.cut_near(centre_.x);
      cuts.each_run([&](int32_t x) { return contains(x, y); },
                    [&](int32_t begin, int32_t end) { emit(y, begin, end); });
    }
  }

 private:
  bool contains(int32_t x, int32_t y) const;
  bool has_direction(Point p) const;
  void cut_at_circle(RowCuts& cuts, double radius, double dy) const;
  void cut_at_ray(RowCuts& cuts, Point ray, double dy) const;

  Point centre_;
  double inner_;
  double outer_;
  double start_degrees_;
  double end_degrees_;
  Point start_;
  Point end_;
};

}  // namespace vlix::util
