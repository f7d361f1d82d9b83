// SPDX-License-Identifier: Apache-2.0
// Compiled for AVX-512F; shares no function with files that are not. Vectors of the compiler wherever it has them: it
// warns of its own intrinsics.
#include "geometry/point_moments.h"

#if defined(__AVX512F__)

#include <immintrin.h>

#include "geometry/lanes.h"

namespace vlix {
namespace {

using Doubles = Lanes<double, 8>;
constexpr int32_t kStep = 8;

VLIX_INLINE void add_product(const Doubles& a, const Doubles& b, Doubles& sum) { sum = _mm512_fmadd_pd(a, b, sum); }

VLIX_INLINE void raise(const Doubles& to, Doubles& largest) { largest = to > largest ? to : largest; }

VLIX_INLINE double total(const Doubles& v) { return ((v[0] + v[1]) + (v[2] + v[3])) + ((v[4] + v[5]) + (v[6] + v[7])); }

// Of lanes that split() has filled: points j and j + 4 of each eight in lanes 2 j and 2 j + 1.
VLIX_INLINE double total(const Doubles& first, const Doubles& second) {
  double of_four[4];
  for (int j = 0; j < 4; ++j) of_four[j] = (first[2 * j] + first[2 * j + 1]) + (second[2 * j] + second[2 * j + 1]);
  return (of_four[0] + of_four[1]) + (of_four[2] + of_four[3]);
}

// One by one: g++ makes this a single widening load.
VLIX_INLINE void load_four(const PointF32* p, Doubles& xy) {
  xy = Doubles{p[0].x, p[0].y, p[1].x, p[1].y, p[2].x, p[2].y, p[3].x, p[3].y};
}

// Eight points, 0 4 1 5 2 6 3 7: x in one vector, y in the other.
VLIX_INLINE void split(const Doubles& a, const Doubles& b, Doubles& x, Doubles& y) {
  x = __builtin_shufflevector(a, b, 0, 8, 2, 10, 4, 12, 6, 14);
  y = __builtin_shufflevector(a, b, 1, 9, 3, 11, 5, 13, 7, 15);
}

struct LineLanes {
  VLIX_INLINE void add(const Doubles& px, const Doubles& py) {
    x += px;
    y += py;
    add_product(px, px, xx);
    add_product(px, py, xy);
    add_product(py, py, yy);
  }
  Doubles x = {}, y = {}, xx = {}, xy = {}, yy = {};
};

struct CircleLanes {
  VLIX_INLINE void add(const Doubles& pu, const Doubles& pv) {
    const Doubles squares = pu * pu;
    const Doubles other_squares = pv * pv;
    u += pu;
    v += pv;
    uu += squares;
    vv += other_squares;
    add_product(pu, pv, uv);
    add_product(squares, pu, uuu);
    add_product(other_squares, pv, vvv);
    add_product(other_squares, pu, uvv);
    add_product(squares, pv, vuu);
    raise(squares, largest_uu);
    raise(other_squares, largest_vv);
  }
  Doubles u = {}, v = {}, uu = {}, uv = {}, vv = {}, uuu = {}, vvv = {}, uvv = {}, vuu = {};
  Doubles largest_uu = {}, largest_vv = {};
};

// The distances of the last points, fewer than eight, from the origin; zeros behind them.
struct Rest {
  VLIX_INLINE Rest(const PointF32* points, int32_t count, double origin_x, double origin_y) {
    double xs[kStep] = {};
    double ys[kStep] = {};
    for (int32_t k = 0; k < count; ++k) {
      xs[k] = static_cast<double>(points[k].x) - origin_x;
      ys[k] = static_cast<double>(points[k].y) - origin_y;
    }
    load<double, kStep>(x, xs);
    load<double, kStep>(y, ys);
  }
  Doubles x, y;
};

template <class Sums>
VLIX_INLINE void add_eight(const PointF32* p, const Doubles& origin, Sums& sums) {
  Doubles a;
  Doubles b;
  Doubles x;
  Doubles y;
  load_four(p, a);
  load_four(p + 4, b);
  split(a - origin, b - origin, x, y);
  sums.add(x, y);
}

}  // namespace

// Sixteen sums of every sixteenth point, totalled in the same tree as everywhere else, and the rest one by one: no
// result depends on the processor.
void sum_points_avx512(const PointF32* points, int32_t count, LineSums& sums) {
  LineLanes s;
  LineLanes t;
  int32_t i = 0;
  for (; count - i >= 2 * kStep; i += 2 * kStep) {
    add_eight(points + i, Doubles{}, s);
    add_eight(points + i + kStep, Doubles{}, t);
  }
  sums = {total(s.x, t.x), total(s.y, t.y), total(s.xy, t.xy), total(s.xx, t.xx), total(s.yy, t.yy)};
  for (; i < count; ++i) {
    const double x = static_cast<double>(points[i].x);
    const double y = static_cast<double>(points[i].y);
    sums.x += x;
    sums.y += y;
    sums.xy += x * y;
    sums.xx += x * x;
    sums.yy += y * y;
  }
}

void sum_powers_avx512(const PointF32* points, int32_t count, CircleSums& sums, double& largest_square) {
  const double x = sums.origin_x;
  const double y = sums.origin_y;
  const Doubles origin = {x, y, x, y, x, y, x, y};
  CircleLanes s;
  int32_t i = 0;
  for (; count - i >= kStep; i += kStep) add_eight(points + i, origin, s);
  if (i < count) {
    const Rest rest(points + i, count - i, x, y);
    s.add(rest.x, rest.y);
  }
  sums.u = total(s.u);
  sums.v = total(s.v);
  sums.uu = total(s.uu);
  sums.uv = total(s.uv);
  sums.vv = total(s.vv);
  sums.uuu = total(s.uuu);
  sums.vvv = total(s.vvv);
  sums.uvv = total(s.uvv);
  sums.vuu = total(s.vuu);
  raise(s.largest_vv, s.largest_uu);
  largest_square = 0.0;
  for (int32_t lane = 0; lane < kStep; ++lane) {
    if (s.largest_uu[lane] > largest_square) largest_square = s.largest_uu[lane];
  }
}

}  // namespace vlix

#endif
