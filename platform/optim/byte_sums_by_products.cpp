// SPDX-License-Identifier: Apache-2.0
// One dot product of four unsigned with four signed bytes gives the squares: v^2 = v (v - 128) + 128 v.
#include "optim/byte_products.h"
#include "optim/byte_sums.h"

#if defined(__x86_64__)

#include <hwy/highway.h>
#include <immintrin.h>

#include <algorithm>

#include "optim/unroll.h"

// The "undefined" operand inside of g++ 12's own intrinsics looks uninitialised to it (its bug 105593).
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

HWY_PUSH_ATTRIBUTES(VLIX_BYTE_PRODUCTS)
namespace vlix::optim {
namespace {

constexpr std::size_t kBytes = 64;
// Vectors in one turn, each with sums of its own: no addition waits for the one before it.
constexpr std::size_t kSets = 4;
// Four products in a lane, v (v - 128) <= 255 * 127 each.
constexpr std::size_t kTurnsBeforeFlush = 16384;
static_assert(int64_t{4} * 255 * 127 * kTurnsBeforeFlush <= INT32_MAX);

class Sums {
 public:
  explicit HWY_INLINE Sums(uint8_t flip)
      : flip_(_mm512_set1_epi8(static_cast<char>(flip))),
        signed_flip_(_mm512_set1_epi8(static_cast<char>(flip ^ 0x80))) {
    sum_ = total_ = _mm512_setzero_si512();
    VLIX_UNROLL
    for (std::size_t k = 0; k < kSets; ++k) products_[k] = _mm512_setzero_si512();
  }
  HWY_INLINE void add(__m512i bytes, std::size_t set) {
    const __m512i v = _mm512_xor_si512(bytes, flip_);
    sum_ = _mm512_add_epi64(sum_, _mm512_sad_epu8(v, _mm512_setzero_si512()));
    products_[set] = _mm512_dpbusd_epi32(products_[set], v, _mm512_xor_si512(bytes, signed_flip_));
  }
  HWY_INLINE void add_turn(const uint8_t* from) {
    VLIX_UNROLL
    for (std::size_t k = 0; k < kSets; ++k) {
      read_ahead(from + k * kBytes);
      add(_mm512_loadu_si512(from + k * kBytes), k);
    }
  }
  // Fewer bytes than a turn takes. Those behind the end become 0.
  HWY_INLINE void add_rest(const uint8_t* from, std::size_t count) {
    std::size_t set = 0;
    for (; count >= kBytes; count -= kBytes, from += kBytes) add(_mm512_loadu_si512(from), set++);
    const __mmask64 present = (__mmask64{1} << count) - 1;
    if (count > 0) add(_mm512_mask_loadu_epi8(flip_, present, from), set);
  }
  HWY_INLINE void flush() {
    VLIX_UNROLL
    for (std::size_t k = 0; k < kSets; ++k) {
      total_ = _mm512_add_epi64(total_, _mm512_cvtepi32_epi64(_mm512_castsi512_si256(products_[k])));
      total_ = _mm512_add_epi64(total_, _mm512_cvtepi32_epi64(_mm512_extracti64x4_epi64(products_[k], 1)));
      products_[k] = _mm512_setzero_si512();
    }
  }
  HWY_INLINE ByteSums total() const {
    const int64_t sum = _mm512_reduce_add_epi64(sum_);
    return {static_cast<uint64_t>(sum), static_cast<uint64_t>(_mm512_reduce_add_epi64(total_) + 128 * sum)};
  }

 private:
  __m512i flip_, signed_flip_;
  __m512i sum_, total_;
  __m512i products_[kSets];
};

ByteSums sum_up(Rows<const uint8_t> rows, uint8_t flip) {
  constexpr std::size_t kTurn = kSets * kBytes;
  Sums sums(flip);
  std::size_t turns = 0;
  for (std::size_t y = 0; y < rows.height; ++y) {
    const uint8_t* from = rows.row(y);
    std::size_t left = rows.width;
    while (left >= kTurn) {
      if (turns >= kTurnsBeforeFlush) {
        sums.flush();
        turns = 0;
      }
      const std::size_t stretch = std::min(left / kTurn, kTurnsBeforeFlush - turns);
      for (std::size_t i = 0; i < stretch; ++i, from += kTurn) sums.add_turn(from);
      left -= stretch * kTurn;
      turns += stretch;
    }
    if (turns >= kTurnsBeforeFlush) {
      sums.flush();
      turns = 0;
    }
    if (left == 0) continue;
    sums.add_rest(from, left);
    ++turns;
  }
  sums.flush();
  return sums.total();
}

}  // namespace

ByteSums byte_sums_by_products(Rows<const uint8_t> rows, uint8_t flip) { return sum_up(rows, flip); }

}  // namespace vlix::optim
HWY_POP_ATTRIBUTES

#else

namespace vlix::optim {

ByteSums byte_sums_by_products(Rows<const uint8_t>, uint8_t) { return {}; }

}  // namespace vlix::optim

#endif
