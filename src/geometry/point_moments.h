// SPDX-License-Identifier: Apache-2.0
// Moments of point lists, one instruction set at a time: a fused multiplication and addition halves the work, but is
// slow where the processor has none.
#pragma once

#include <cstdint>

#include "geometry/circle_sums.h"
#include "geometry/line_fit.h"
#include "vlix/types.h"

namespace vlix {

#if defined(__x86_64__)

inline bool has_avx512_moments() { return __builtin_cpu_supports("avx512f"); }

// The sums of coordinates and products, bit by bit those of sum_points() elsewhere: products of floats are exact in
// double, so that fusing them changes nothing.
void sum_points_avx512(const PointF32* points, int32_t count, LineSums& sums);

// The sums of powers about the origin that is set. One addition for every eight points; at most 12 roundings more.
void sum_powers_avx512(const PointF32* points, int32_t count, CircleSums& sums, double& largest_square);

#endif

}  // namespace vlix
