// SPDX-License-Identifier: Apache-2.0
#include "analysis/circle_gauge.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <optional>

#include "errors.h"
#include "vlix/meas.h"

namespace {

constexpr float kSpacing = 0.25F;          // between the samples of a profile
constexpr double kGuard = 2;               // pixels between an edge and the plateaus beside it
constexpr double kPlateau = 3;             // pixels of each plateau
constexpr int kPasses = 3;                 // each from the circle of the pass before
constexpr double kLeastShareOfRays = 0.3;  // that must show an edge
constexpr double kSettledSearch = kGuard + kPlateau + 2;

// Values at equal steps along a ray, the first at the given distance from the centre.
struct Profile {
  double start = 0;
  std::vector<float> values;

  double distance(double index) const { return start + index * double{kSpacing}; }
  double index(double at) const { return (at - start) / double{kSpacing}; }
};

bool contains(const Image& image, double x, double y) {
  return x >= 0 && y >= 0 && x <= image.width() - 1 && y <= image.height() - 1;
}

std::optional<Profile> profile_along(const Image& image, const Circle& circle, double angle, double from, double to) {
  const double dx = std::cos(angle), dy = std::sin(angle);
  if (!contains(image, circle.x + from * dx, circle.y + from * dy)) return std::nullopt;
  if (!contains(image, circle.x + to * dx, circle.y + to * dy)) return std::nullopt;
  const PointF32 start = {static_cast<float>(circle.x + from * dx), static_cast<float>(circle.y + from * dy)};
  const PointF32 end = {static_cast<float>(circle.x + to * dx), static_cast<float>(circle.y + to * dy)};
  const auto room = static_cast<int32_t>((to - from) / double{kSpacing}) + 4;
  Vector values;
  if (VlixVectorAlloc(values.record(), ObjType_F32, room) != 0) throw FileError("not enough memory");
  require_success(
      vlix_samplepath_line(image.record(), start, end, values.record(), nullptr, nullptr, kSpacing, 1, nullptr));
  const auto samples = values.elements<float>();
  // The last place holds the end point itself, or nothing where rounding left it out.
  return Profile{from, {samples.begin(), samples.end() - 1}};
}

// Mean over the samples between two distances, or nothing when the profile does not reach that far.
std::optional<double> mean_between(const Profile& profile, double low, double high) {
  const auto first = static_cast<int64_t>(std::ceil(profile.index(low)));
  const auto last = static_cast<int64_t>(std::floor(profile.index(high)));
  if (first < 0 || last >= static_cast<int64_t>(profile.values.size()) || first > last) return std::nullopt;
  double sum = 0;
  for (int64_t i = first; i <= last; ++i) sum += double{profile.values[static_cast<std::size_t>(i)]};
  return sum / static_cast<double>(last - first + 1);
}

// Where the values two pixels apart differ most in the wanted direction (+1: brighter outside, -1: darker, 0: either).
std::optional<double> steepest(const Profile& profile, int direction) {
  const auto reach = static_cast<std::size_t>(1 / kSpacing);
  double best = 0;
  std::optional<double> place;
  for (std::size_t i = reach; i + reach < profile.values.size(); ++i) {
    const double rise = double{profile.values[i + reach]} - double{profile.values[i - reach]};
    const double strength = direction == 0 ? std::fabs(rise) : direction * rise;
    if (strength <= best) continue;
    best = strength;
    place = profile.distance(static_cast<double>(i));
  }
  return place;
}

// The crossing of half the height nearest to the place, between two samples.
std::optional<double> crossing_near(const Profile& profile, double place, double half) {
  std::optional<double> nearest;
  for (std::size_t i = 0; i + 1 < profile.values.size(); ++i) {
    const double a = double{profile.values[i]} - half, b = double{profile.values[i + 1]} - half;
    if (!((a <= 0 && b > 0) || (a >= 0 && b < 0))) continue;
    const double at = profile.distance(static_cast<double>(i) + a / (a - b));
    if (!nearest || std::fabs(at - place) < std::fabs(*nearest - place)) nearest = at;
  }
  if (nearest && std::fabs(*nearest - place) > kGuard) return std::nullopt;
  return nearest;
}

// The plateaus lie at the same distance on both sides, so that light that changes evenly across the edge moves nothing.
std::optional<double> edge_of(const Profile& profile, int direction) {
  std::optional<double> edge = steepest(profile, direction);
  for (int i = 0; i < 2 && edge; ++i) {
    const std::optional<double> inside = mean_between(profile, *edge - kGuard - kPlateau, *edge - kGuard);
    const std::optional<double> outside = mean_between(profile, *edge + kGuard, *edge + kGuard + kPlateau);
    if (!inside || !outside) return std::nullopt;
    edge = crossing_near(profile, *edge, (*inside + *outside) / 2);
  }
  return edge;
}

struct Rays {
  std::vector<Profile> profiles;  // those with an edge
  std::vector<double> angles, edges;
};

Rays cast_rays(const Image& image, const Circle& circle, const GaugeSettings& settings, double search, int direction) {
  const double from = std::max(0.0, circle.radius - search), to = circle.radius + search;
  Rays rays;
  for (int32_t i = 0; i < settings.rays; ++i) {
    const double angle = 2 * std::numbers::pi * i / settings.rays;
    std::optional<Profile> profile = profile_along(image, circle, angle, from, to);
    const std::optional<double> edge = profile ? edge_of(*profile, direction) : std::nullopt;
    if (!edge) continue;
    rays.angles.push_back(angle);
    rays.edges.push_back(*edge);
    rays.profiles.push_back(std::move(*profile));
  }
  if (static_cast<double>(rays.edges.size()) < std::max(5.0, kLeastShareOfRays * settings.rays)) {
    throw FileError("no edge of a circle near the given centre and radius");
  }
  return rays;
}

// +1 when most rays get brighter outwards.
int direction_of(const Rays& rays) {
  double sum = 0;
  for (std::size_t i = 0; i < rays.edges.size(); ++i) {
    const auto outside = mean_between(rays.profiles[i], rays.edges[i] + kGuard, rays.edges[i] + kGuard + 1);
    const auto inside = mean_between(rays.profiles[i], rays.edges[i] - kGuard - 1, rays.edges[i] - kGuard);
    if (outside && inside) sum += *outside - *inside;
  }
  return sum < 0 ? -1 : 1;
}

GaugedCircle fit(const Circle& circle, const Rays& rays, uint32_t discard_percent) {
  GaugedCircle gauged;
  for (std::size_t i = 0; i < rays.edges.size(); ++i) {
    gauged.edge.push_back({static_cast<float>(circle.x + rays.edges[i] * std::cos(rays.angles[i])),
                           static_cast<float>(circle.y + rays.edges[i] * std::sin(rays.angles[i]))});
  }
  gauged.points = static_cast<int32_t>(gauged.edge.size());
  const VlixVector points = {ObjType_PointF32, gauged.edge.data(), gauged.points, 0};
  PointF32 centre = {};
  float diameter = 0;
  Vector kept;
  require_success(vlix_circularRegressionFloat(&points, discard_percent, &diameter, &centre, &gauged.mean_distance,
                                               kept.record(), &gauged.kept));
  gauged.circle = {double{centre.x}, double{centre.y}, double{diameter} / 2};
  return gauged;
}

// The edge spread as the Gaussian whose slope at half height is that of the mean profile: height / (slope sqrt(2 pi)).
double blur_of(const Rays& rays) {
  double height = 0, slope = 0;
  for (std::size_t i = 0; i < rays.edges.size(); ++i) {
    const Profile& profile = rays.profiles[i];
    const double edge = rays.edges[i];
    const auto inside = mean_between(profile, edge - kGuard - kPlateau, edge - kGuard);
    const auto outside = mean_between(profile, edge + kGuard, edge + kGuard + kPlateau);
    const auto before = mean_between(profile, edge - 0.625, edge - 0.375);
    const auto behind = mean_between(profile, edge + 0.375, edge + 0.625);
    if (!inside || !outside || !before || !behind) continue;
    height += *outside - *inside;
    slope += *behind - *before;
  }
  return slope == 0 ? 0 : std::fabs(height / slope) / std::sqrt(2 * std::numbers::pi);
}

}  // namespace

GaugedCircle gauge_circle(const Image& image, const Circle& expected, const GaugeSettings& settings) {
  const double usual = std::clamp(expected.radius / 2, kSettledSearch, 4 * kSettledSearch);
  double search = settings.search > 0 ? settings.search : usual;
  Circle circle = expected;
  Rays rays = cast_rays(image, circle, settings, search, 0);
  const int direction = direction_of(rays);
  GaugedCircle gauged;
  for (int pass = 0; pass < kPasses; ++pass) {
    rays = cast_rays(image, circle, settings, search, direction);
    gauged = fit(circle, rays, settings.discard_percent);
    circle = gauged.circle;
    search = std::min(search, kSettledSearch);
  }
  // A blurred edge that is curved reaches half its height blur^2 / (2 radius) too far inside.
  gauged.blur = blur_of(rays);
  gauged.circle.radius += gauged.blur * gauged.blur / (2 * gauged.circle.radius);
  return gauged;
}
