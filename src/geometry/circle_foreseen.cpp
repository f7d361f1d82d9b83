// SPDX-License-Identifier: Apache-2.0
#include "geometry/circle_foreseen.h"

#include <algorithm>

#include "frame/multiversion.h"
#include "geometry/lanes.h"

namespace vlix {
namespace {

// One lane for each pass.
constexpr int32_t kLanes = ForeseenCircles::kPasses;
using Passes = Lanes<double, kLanes>;
using Included = Lanes<int64_t, kLanes>;

struct Coordinates {
  Passes x = {}, y = {};
};

struct Powers {
  Passes mean_x, mean_y;
  Passes uu = {}, uv = {}, vv = {};
  Passes uuu = {}, vvv = {}, uvv = {}, vuu = {};
};

VLIX_INLINE void add(double px, double py, const Included& included, Coordinates& s) {
  const Passes x = Passes{} + px;
  const Passes y = Passes{} + py;
  s.x = included ? s.x + x : s.x;
  s.y = included ? s.y + y : s.y;
}

VLIX_INLINE void add(double x, double y, const Included& included, Powers& s) {
  const Passes u = x - s.mean_x;
  const Passes v = y - s.mean_y;
  const Passes uu = u * u;
  const Passes vv = v * v;
  s.uu = included ? s.uu + uu : s.uu;
  s.uv = included ? s.uv + u * v : s.uv;
  s.vv = included ? s.vv + vv : s.vv;
  s.uuu = included ? s.uuu + uu * u : s.uuu;
  s.vvv = included ? s.vvv + vv * v : s.vvv;
  s.uvv = included ? s.uvv + u * vv : s.uvv;
  s.vuu = included ? s.vuu + uu * v : s.vuu;
}

// Points that all passes hold. Converted in blocks: one by one takes half as long again.
template <class Sums>
VLIX_MULTIVERSION void add_points(const PointF32* points, int32_t count, Sums& sums) {
  constexpr int32_t kBlock = 128;
  const Included all = ~Included{};
  double coordinates[2 * kBlock];
  Sums s = sums;
  for (int32_t first = 0; first < count; first += kBlock) {
    const int32_t size = std::min(kBlock, count - first);
    for (int32_t i = 0; i < size; ++i) {
      coordinates[2 * i] = static_cast<double>(points[first + i].x);
      coordinates[2 * i + 1] = static_cast<double>(points[first + i].y);
    }
    for (int32_t i = 0; i < size; ++i) add(coordinates[2 * i], coordinates[2 * i + 1], all, s);
    if (count - first <= kBlock) break;
  }
  sums = s;
}

struct Removal {
  int32_t index;
  int32_t pass;  // the last that holds the point
};

template <class Sums>
void add_in_order(const PointF32* points, int32_t count, const Removal* removals, int32_t removal_count, Sums& sums) {
  int32_t begin = 0;
  for (int32_t k = 0; k < removal_count; ++k) {
    add_points(points + begin, removals[k].index - begin, sums);
    Included included;
    for (int32_t lane = 0; lane < kLanes; ++lane) included[lane] = lane <= removals[k].pass ? -1 : 0;
    const PointF32 point = points[removals[k].index];
    add(static_cast<double>(point.x), static_cast<double>(point.y), included, sums);
    begin = removals[k].index + 1;
  }
  add_points(points + begin, count - begin, sums);
}

}  // namespace

void ForeseenCircles::form(const PointF32* points, int32_t count, const int32_t* removals, int32_t removal_count) {
  Removal sorted[kPasses];
  for (int32_t k = 0; k < removal_count; ++k) {
    int32_t place = k;
    for (; place > 0 && sorted[place - 1].index > removals[k]; --place) sorted[place] = sorted[place - 1];
    sorted[place] = {removals[k], k};
  }

  Passes m;
  for (int32_t lane = 0; lane < kLanes; ++lane) m[lane] = count - std::min(lane, removal_count);
  Coordinates coordinates;
  add_in_order(points, count, sorted, removal_count, coordinates);
  Powers s;
  s.mean_x = coordinates.x / m;
  s.mean_y = coordinates.y / m;
  add_in_order(points, count, sorted, removal_count, s);
  for (Passes* sum : {&s.uu, &s.uv, &s.vv, &s.uuu, &s.vvv, &s.uvv, &s.vuu}) *sum /= m;

  at_ = 0;
  known_ = removal_count + 1;
  for (int32_t k = 0; k < known_; ++k) {
    removals_[k] = k < removal_count ? removals[k] : -1;
    exists_[k] = circle_from(CircleMoments<double>{s.mean_x[k], s.mean_y[k], s.uu[k], s.uv[k], s.vv[k], s.uuu[k],
                                                   s.vvv[k], s.uvv[k], s.vuu[k]},
                             circle_[k]);
  }
}

bool ForeseenCircles::circle(Circle& circle) const {
  if (exists_[at_]) circle = circle_[at_];
  return exists_[at_];
}

void ForeseenCircles::remove(int32_t index) {
  if (!is_known()) return;
  if (removals_[at_] == index) {
    ++at_;
  } else {
    clear();
  }
}

}  // namespace vlix
