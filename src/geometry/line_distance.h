// SPDX-License-Identifier: Apache-2.0
// Perpendicular distances of points to a line: the stated one, and a cheap one with a proven error.
#pragma once

#include <cmath>
#include <numbers>
#include <utility>

#include "geometry/line_fit.h"
#include "vlix/types.h"

namespace vlix {

// Squares and their sum in single precision, the root in double.
inline double radius(PointF32 p) { return std::sqrt(static_cast<double>(p.x * p.x + p.y * p.y)); }

// The foot of a point is the intersection of the line with the perpendicular through the point.
class LineDistance {
 public:
  explicit LineDistance(const Line& line) : line_(line) {
    perpendicular_ = line.phi + std::numbers::pi / 2;
    // Each step of pi negates the position along the line, whose negative is rho of the perpendicular.
    sign_ = normalise(perpendicular_) ? 1.0 : -1.0;
    line_is_flatter_ = std::fabs(line.phi) <= std::fabs(perpendicular_);
    const double flat = line_is_flatter_ ? line.phi : perpendicular_;
    const double steep = line_is_flatter_ ? perpendicular_ : line.phi;
    parallel_ = flat == steep;
    constexpr double kQuarter = std::numbers::pi / 4;
    flat_form_ = form_of(flat, std::fabs(flat) > kQuarter);
    steep_form_ = form_of(steep, !(std::fabs(steep) < kQuarter));
  }

  double operator()(PointF32 p) const {
    const double alpha = std::atan2(static_cast<double>(p.y), static_cast<double>(p.x));
    const double along = radius(p) * std::cos(alpha - line_.phi);
    double foot_x = 0.0;
    double foot_y = 0.0;
    intersect(sign_ * along, foot_x, foot_y);
    return std::hypot(p.x - foot_x, p.y - foot_y);
  }

 private:
  // y = x slope + rho / scale or, for steep lines, x = y slope - rho / scale.
  struct Form {
    bool is_steep;
    double slope;
    double scale;
  };

  static Form form_of(double phi, bool is_steep) {
    if (is_steep) return {true, std::tan(std::numbers::pi / 2 - phi), std::sin(phi)};
    return {false, std::tan(phi), std::cos(phi)};
  }

  // With the perpendicular of this rho. The two lines are at right angles: at most one of them is flatter than pi/4, up
  // to rounding.
  void intersect(double perpendicular_rho, double& x, double& y) const {
    if (parallel_) return;
    const double flat_rho = line_is_flatter_ ? line_.rho : perpendicular_rho;
    const double steep_rho = line_is_flatter_ ? perpendicular_rho : line_.rho;
    const Form& a = flat_form_;
    const Form& b = steep_form_;
    const double offset_a = flat_rho / a.scale;
    const double offset_b = steep_rho / b.scale;
    if (!b.is_steep) {
      x = (offset_b - offset_a) / (a.slope - b.slope);
      y = x * a.slope + offset_a;
    } else if (!a.is_steep) {
      x = (offset_a * b.slope - offset_b) / (1.0 - a.slope * b.slope);
      y = x * a.slope + offset_a;
    } else {
      y = (offset_a - offset_b) / (a.slope - b.slope);
      x = y * a.slope - offset_a;
    }
  }

  Line line_;
  double perpendicular_;
  double sign_;
  bool line_is_flatter_;
  bool parallel_;
  Form flat_form_;
  Form steep_form_;
};

// What the stated distance computes, in real numbers: with the single-precision radius R of a point and its true radius
// r the position along the line comes out as (R / r) t instead of t = x cos(phi) + y sin(phi), so that the foot is
// (R / r - 1) t off and the distance is hypot(d, (R / r - 1) t) with d = -x sin(phi) + y cos(phi) - rho.
//
// Both this formula and the stated one round. With u = 2^-53, functions of libm good to 4 u, and |p| the larger of R
// and r: alpha has an error of 16 u, alpha - phi of 4 u more, the cosine 24 u, hence the position 26 u |p|; slopes and
// scales have errors of 8 u and magnitudes from 0.7 to 1.42, the coordinates of the foot errors below 100 u (|p| +
// |rho|), and the hypotenuse adds 8 u of the distance. This formula has errors of d below 12 u (|p| + |rho|), of R / r
// - 1 of 4 u. In sum less than 256 u (|p| + |rho|); the constant has a margin of 4.
inline constexpr double kDistanceError = 0x1p-43;

// Coordinates whose squares in single precision are finite, with room to spare.
inline constexpr float kLargestCoordinate = 1.0e18f;

// A bound of both radii, the single-precision one included, even where its squares fall below the smallest float.
inline double radius_bound(double x, double y) { return 1.5 * std::sqrt(x * x + y * y); }

inline bool has_cheap_distance(PointF32 p) {
  return std::fabs(p.x) <= kLargestCoordinate && std::fabs(p.y) <= kLargestCoordinate;
}

// R / r - 1.
inline double radius_excess(PointF32 p) {
  const double x = p.x;
  const double y = p.y;
  const double r = std::sqrt(x * x + y * y);
  return r > 0.0 ? radius(p) / r - 1.0 : 0.0;
}

struct CheapLine {
  // `line_doubt`: by how much the distances to the line that is meant differ from those to this one.
  explicit CheapLine(const Line& line, double line_doubt = 0.0)
      : cosine(std::cos(line.phi)), sine(std::sin(line.phi)), rho(line.rho), doubt(line_doubt) {}

  // The square of the cheap distance.
  double squared(double x, double y, double excess) const {
    const double across = y * cosine - x * sine - rho;
    const double shift = excess * (x * cosine + y * sine);
    return across * across + shift * shift;
  }

  // Of the distances of points within a radius.
  double error(double radius) const { return kDistanceError * (radius + std::fabs(rho)) + doubt; }

  double cosine, sine, rho, doubt;
};

// The stated distance as a 32-bit float. The cheap one tells it wherever both ends of its error interval are the same
// float.
inline float stored_distance(const LineDistance& distance, PointF32 p, double cheap, double error) {
  const auto low = static_cast<float>(cheap - error);
  const auto high = static_cast<float>(cheap + error);
  return low == high ? low : static_cast<float>(distance(p));
}

}  // namespace vlix
