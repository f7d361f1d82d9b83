// SPDX-License-Identifier: Apache-2.0
// Compiled for AVX2; shares no function with files that are not.
#include "match/sod_u8_psadbw.h"

#if defined(__AVX2__)

namespace vlix {
namespace {

struct Avx2 {
  using Vector = __m256i;
  static constexpr int32_t kBytes = 32;

  static Vector load(const uint8_t* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }
  static Vector repeat(uint64_t value) { return _mm256_set1_epi64x(static_cast<int64_t>(value)); }
  static Vector differences(Vector a, Vector b) { return _mm256_sad_epu8(a, b); }
  static Vector add64(Vector a, Vector b) { return _mm256_add_epi64(a, b); }
  static Vector both(Vector a, Vector b) { return _mm256_and_si256(a, b); }
  static Vector either(Vector a, Vector b) { return _mm256_or_si256(a, b); }
  static Vector without(Vector a, Vector b) { return _mm256_andnot_si256(b, a); }
  static Vector high_half32(Vector a) { return _mm256_srli_epi32(a, 16); }
  static Vector is_zero32(Vector a) { return _mm256_cmpeq_epi32(a, _mm256_setzero_si256()); }
  template <int kBits>
  static Vector shift_left64(Vector a) {
    return _mm256_slli_epi64(a, kBits);
  }
  // a's first lane, b's first lane, a's second lane, ...
  static void store_alternating(uint16_t* p, Vector a, Vector b) {
    const __m256i even = _mm256_unpacklo_epi64(a, b);
    const __m256i odd = _mm256_unpackhi_epi64(a, b);
    auto* out = reinterpret_cast<__m256i*>(p);
    _mm256_storeu_si256(out, _mm256_permute2x128_si256(even, odd, 0x20));
    _mm256_storeu_si256(out + 1, _mm256_permute2x128_si256(even, odd, 0x31));
  }
};

}  // namespace

// Narrow score images are left to half as wide vectors.
int32_t sod_u8_avx2(const BytePlacements& placements) {
  const int32_t columns = score_rows<Avx2>(placements);
  return columns > 0 ? columns : sod_u8_sse2(placements);
}

}  // namespace vlix

#endif
