// SPDX-License-Identifier: Apache-2.0
// Line fits straight from the definition: every sum in point order, every distance of every round.
#pragma once

#include <cmath>
#include <cstdint>
#include <vector>

#include "vlix/types.h"

namespace vlix::test {

inline constexpr double kPiTwin = 3.14159265358979323846;

struct LineTwin {
  float angle = 0;
  float rho = 0;
  float mean_distance = 0;
  std::vector<PointF32> kept;
};

inline double normalised_twin(double phi) {
  while (phi <= -kPiTwin / 2) phi += kPiTwin;
  while (phi > kPiTwin / 2) phi -= kPiTwin;
  return phi;
}

// `Sum` is the type in which the sums are formed before they become doubles.
template <class Sum>
void fit_twin(const std::vector<PointF32>& points, double& phi, double& rho) {
  Sum wide_x = 0, wide_y = 0, wide_xy = 0, wide_xx = 0, wide_yy = 0;
  for (const PointF32& p : points) {
    const Sum x = p.x;
    const Sum y = p.y;
    wide_x += x;
    wide_y += y;
    wide_xy += x * y;
    wide_xx += x * x;
    wide_yy += y * y;
  }
  const auto n = static_cast<double>(points.size());
  const auto sx = static_cast<double>(wide_x);
  const auto sy = static_cast<double>(wide_y);
  const double cxy = static_cast<double>(wide_xy) - sy * sx / n;
  const double cyy = static_cast<double>(wide_yy) - sy * sy / n;
  const double cxx = static_cast<double>(wide_xx) - sx * sx / n;
  if (cxx >= cyy) {
    if (cxx <= 1e-5) {
      phi = 0;
      rho = points[0].y;
    } else {
      const double a = cxy / cxx;
      const double b = (sy - a * sx) / n;
      phi = normalised_twin(std::atan2(cxy, cxx));
      rho = b * std::cos(phi);
    }
  } else {
    if (cyy <= 1e-4) {
      phi = -kPiTwin / 2;
      rho = points[0].x;
    } else {
      const double a = cxy / cyy;
      const double b = (sx - a * sy) / n;
      phi = normalised_twin(-std::atan2(cxy, cyy) - kPiTwin / 2);
      rho = -b * std::sin(phi);
    }
  }
  phi = normalised_twin(phi);
}

inline bool intersection_twin(double phi1, double rho1, double phi2, double rho2, double& x, double& y) {
  x = 0;
  y = 0;
  if (phi1 == phi2) return false;
  double phi_a = phi1, rho_a = rho1, phi_b = phi2, rho_b = rho2;
  if (std::abs(phi2) < std::abs(phi1)) {
    phi_a = phi2;
    rho_a = rho2;
    phi_b = phi1;
    rho_b = rho1;
  }
  if (std::abs(phi_b) < kPiTwin / 4) {
    const double ca = rho_a / std::cos(phi_a);
    const double cb = rho_b / std::cos(phi_b);
    x = (cb - ca) / (std::tan(phi_a) - std::tan(phi_b));
    y = x * std::tan(phi_a) + ca;
    return true;
  }
  const double kb = std::tan(kPiTwin / 2 - phi_b);
  const double db = rho_b / std::sin(phi_b);
  if (std::abs(phi_a) > kPiTwin / 4) {
    const double ka = std::tan(kPiTwin / 2 - phi_a);
    const double da = rho_a / std::sin(phi_a);
    y = (da - db) / (ka - kb);
    x = y * ka - da;
  } else {
    const double ta = std::tan(phi_a);
    const double ca = rho_a / std::cos(phi_a);
    x = (ca * kb - db) / (1.0 - ta * kb);
    y = x * ta + ca;
  }
  return true;
}

inline double distance_twin(PointF32 p, double phi, double rho) {
  const float squares = p.x * p.x + p.y * p.y;
  const double radius = std::sqrt(static_cast<double>(squares));
  const double alpha = std::atan2(static_cast<double>(p.y), static_cast<double>(p.x));
  double t = radius * std::cos(alpha - phi);
  double perpendicular = phi + kPiTwin / 2;
  while (perpendicular <= -kPiTwin / 2) {
    perpendicular += kPiTwin;
    t = -t;
  }
  while (perpendicular > kPiTwin / 2) {
    perpendicular -= kPiTwin;
    t = -t;
  }
  double x = 0, y = 0;
  intersection_twin(phi, rho, perpendicular, -t, x, y);
  return std::hypot(static_cast<double>(p.x) - x, static_cast<double>(p.y) - y);
}

inline int32_t discard_twin(int32_t count, uint32_t percent, int32_t least) {
  const auto sum = static_cast<int32_t>(static_cast<uint32_t>(count) * percent + 50u);
  int32_t discard = sum / 100;
  if (discard < 0) discard = 0;
  while (count - discard < least) --discard;
  return discard;
}

template <class Sum>
LineTwin line_twin(std::vector<PointF32> points, uint32_t percent) {
  int32_t discard = discard_twin(static_cast<int32_t>(points.size()), percent, 2);
  LineTwin twin;
  for (;;) {
    double phi = 0, rho = 0;
    fit_twin<Sum>(points, phi, rho);
    twin.angle = static_cast<float>(phi * 180 / kPiTwin);
    twin.rho = static_cast<float>(rho);
    if (discard == 0) {
      float sum = 0;
      for (const PointF32& p : points) sum += static_cast<float>(distance_twin(p, phi, rho));
      twin.mean_distance = std::trunc(sum * 1000 / static_cast<float>(points.size())) / 1000;
      twin.kept = points;
      return twin;
    }
    float largest = 0;
    std::size_t worst = 0;
    for (std::size_t i = 0; i < points.size(); ++i) {
      const auto distance = static_cast<float>(distance_twin(points[i], phi, rho));
      if (distance > largest) {
        largest = distance;
        worst = i;
      }
    }
    points.erase(points.begin() + static_cast<std::ptrdiff_t>(worst));
    --discard;
  }
}

}  // namespace vlix::test
