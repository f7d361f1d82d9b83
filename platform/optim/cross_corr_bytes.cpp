// SPDX-License-Identifier: Apache-2.0
// The kernel over dot products of four bytes.
#include "optim/byte_products.h"
#include "optim/cross_corr_kernels.h"
#include "optim/unroll.h"

#if defined(__x86_64__)

#include <hwy/highway.h>
#include <immintrin.h>

// The "undefined" operand inside of g++ 12's own intrinsics looks uninitialised to it (its bug 105593).
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

HWY_PUSH_ATTRIBUTES(VLIX_BYTE_PRODUCTS)
namespace vlix::optim::vnni {
namespace {

using cross_corr::kBlockRows;

struct ByteOps {
  using Image = uint8_t;
  using Weight = int32_t;
  using Vector = __m512i;
  // Lane j of load i begins at byte 4 j + i: it belongs to placement 4 j + i.
  static constexpr std::size_t kLoads = 4;
  static constexpr std::size_t kStep = 4;
  static constexpr std::size_t kWidth = 64;

  static HWY_INLINE Vector load(const uint8_t* image, std::size_t i) { return _mm512_loadu_si512(image + i); }
  static HWY_INLINE Vector repeat(int32_t weight) { return _mm512_set1_epi32(weight); }
  static HWY_INLINE Vector multiply_add(Vector image, Vector weight, Vector sum) {
    return _mm512_dpbusd_epi32(sum, image, weight);
  }
  static HWY_INLINE Vector zero() { return _mm512_setzero_si512(); }

  // Four rows of sixteen become sixteen groups of four.
  HWY_INLINE void store(const Vector (&sums)[kLoads], double* to) const {
    const __m512i low01 = _mm512_unpacklo_epi32(sums[0], sums[1]);
    const __m512i high01 = _mm512_unpackhi_epi32(sums[0], sums[1]);
    const __m512i low23 = _mm512_unpacklo_epi32(sums[2], sums[3]);
    const __m512i high23 = _mm512_unpackhi_epi32(sums[2], sums[3]);
    // Lane l of part p: the four sums of index 4 l + p.
    const __m512i parts[4] = {_mm512_unpacklo_epi64(low01, low23), _mm512_unpackhi_epi64(low01, low23),
                              _mm512_unpacklo_epi64(high01, high23), _mm512_unpackhi_epi64(high01, high23)};
    VLIX_UNROLL
    for (int p = 0; p < 4; ++p) {
      _mm256_storeu_pd(to + 4 * p, _mm256_cvtepi32_pd(_mm512_castsi512_si128(parts[p])));
      _mm256_storeu_pd(to + 16 + 4 * p, _mm256_cvtepi32_pd(_mm512_extracti32x4_epi32(parts[p], 1)));
      _mm256_storeu_pd(to + 32 + 4 * p, _mm256_cvtepi32_pd(_mm512_extracti32x4_epi32(parts[p], 2)));
      _mm256_storeu_pd(to + 48 + 4 * p, _mm256_cvtepi32_pd(_mm512_extracti32x4_epi32(parts[p], 3)));
    }
  }
};

#include "optim/cross_corr_kernel.inc"

void run(const cross_corr::BlockJob<uint8_t, int32_t>& job) { correlate_blocks(job, ByteOps()); }

}  // namespace
}  // namespace vlix::optim::vnni
HWY_POP_ATTRIBUTES

namespace vlix::optim::cross_corr {

KernelPlan plan_of_bytes() { return has_byte_products() ? KernelPlan{vnni::ByteOps::kWidth, 500} : KernelPlan{}; }

void correlate_bytes(const BlockJob<uint8_t, int32_t>& job) { vnni::run(job); }

}  // namespace vlix::optim::cross_corr

#else

namespace vlix::optim::cross_corr {

KernelPlan plan_of_bytes() { return {}; }
void correlate_bytes(const BlockJob<uint8_t, int32_t>&) {}

}  // namespace vlix::optim::cross_corr

#endif
