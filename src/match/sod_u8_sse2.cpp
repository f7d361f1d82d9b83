// SPDX-License-Identifier: Apache-2.0
#include "match/sod_u8_psadbw.h"

#if defined(__SSE2__)

namespace vlix {
namespace {

struct Sse2 {
  using Vector = __m128i;
  static constexpr int32_t kBytes = 16;

  static Vector load(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
  static Vector repeat(uint64_t value) { return _mm_set1_epi64x(static_cast<int64_t>(value)); }
  static Vector differences(Vector a, Vector b) { return _mm_sad_epu8(a, b); }
  static Vector add64(Vector a, Vector b) { return _mm_add_epi64(a, b); }
  static Vector both(Vector a, Vector b) { return _mm_and_si128(a, b); }
  static Vector either(Vector a, Vector b) { return _mm_or_si128(a, b); }
  static Vector without(Vector a, Vector b) { return _mm_andnot_si128(b, a); }
  static Vector high_half32(Vector a) { return _mm_srli_epi32(a, 16); }
  static Vector is_zero32(Vector a) { return _mm_cmpeq_epi32(a, _mm_setzero_si128()); }
  template <int kBits>
  static Vector shift_left64(Vector a) {
    return _mm_slli_epi64(a, kBits);
  }
  // a's first lane, b's first lane, a's second lane, ...
  static void store_alternating(uint16_t* p, Vector a, Vector b) {
    auto* out = reinterpret_cast<__m128i*>(p);
    _mm_storeu_si128(out, _mm_unpacklo_epi64(a, b));
    _mm_storeu_si128(out + 1, _mm_unpackhi_epi64(a, b));
  }
};

}  // namespace

int32_t sod_u8_sse2(const BytePlacements& placements) { return score_rows<Sse2>(placements); }

}  // namespace vlix

#endif
