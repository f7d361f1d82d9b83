// SPDX-License-Identifier: Apache-2.0
#include "histogram/moving_average.h"

#include <algorithm>
#include <bit>

#include "frame/multiversion.h"

namespace vlix {
namespace {

// Window sums are formed block by block on the stack; the block is then divided and stored in one vectorised pass.
constexpr int32_t kBlock = 256;

// ---- One block of sums -> averages ----

// A point as one word, y in the upper half: 4-byte halves stored one by one would not vectorise.
using Word [[gnu::may_alias, gnu::aligned(4)]] = uint64_t;
static_assert(sizeof(PointF32) == sizeof(Word) && sizeof(PointI32) == sizeof(Word));
static_assert(std::endian::native == std::endian::little);

template <class Point>
struct Divisor;

template <>
struct Divisor<PointF32> {
  explicit Divisor(int32_t length) : value(static_cast<float>(length)) {}
  VLIX_INLINE float average(float sum) const { return sum / value; }
  // Sums up to 2^24, which are floats.
  VLIX_INLINE float average(int32_t sum) const { return static_cast<float>(sum) / value; }
  float value;
};

// Integer division as a product that is too large by 2^-40, up to 2^-51. A whole quotient stays above itself. Any other
// is at least 1 / length below the next whole number, and the error is at most 2^31 / length * 2^-39.
template <>
struct Divisor<PointI32> {
  explicit Divisor(int32_t length) : factor(1.0 / length * (1.0 + 0x1p-40)) {}
  VLIX_INLINE int32_t average(int32_t sum) const { return static_cast<int32_t>(sum * factor); }
  double factor;
};

template <class Point, class Sum>
VLIX_MULTIVERSION void store_averages(const Point* from, const Sum* sums, int32_t count, Divisor<Point> divisor,
                                      Point* to) {
  const auto* source = reinterpret_cast<const Word*>(from);
  auto* target = reinterpret_cast<Word*>(to);
  for (int32_t i = 0; i < count; ++i) {
    const auto y = std::bit_cast<uint32_t>(divisor.average(sums[i]));
    target[i] = (source[i] & 0xFFFFFFFFu) | static_cast<uint64_t>(y) << 32;
  }
}

// ---- Window sums that are exact in any order ----

// How the window moves from one element to the next.
enum class Step { kAdd, kSlide, kDrop };

// The change of the sum behind each element of the block.
template <Step kStep, class Point>
VLIX_MULTIVERSION void window_changes(const Point* at, int32_t count, int32_t half, uint32_t* changes) {
  const Point* added = at + half + 1;
  const Point* dropped = at - half;
  for (int32_t i = 0; i < count; ++i) {
    uint32_t change = 0;
    if constexpr (kStep != Step::kDrop) change += static_cast<uint32_t>(static_cast<int32_t>(added[i].y));
    if constexpr (kStep != Step::kAdd) change -= static_cast<uint32_t>(static_cast<int32_t>(dropped[i].y));
    changes[i] = change;
  }
}

template <class Point>
class ExactSums {
 public:
  ExactSums(const Point* from, Point* to, int32_t length) : from_(from), to_(to), divisor_(length), half_(length / 2) {
    for (int32_t i = 0; i <= half_; ++i) sum_ += static_cast<uint32_t>(static_cast<int32_t>(from_[i].y));
  }

  template <Step kStep>
  void run(int32_t begin, int32_t end) {
    uint32_t changes[kBlock];
    int32_t sums[kBlock];
    for (int32_t count; begin < end; begin += count) {
      count = std::min(kBlock, end - begin);
      window_changes<kStep>(from_ + begin, count, half_, changes);
      uint32_t sum = sum_;
      for (int32_t i = 0; i < count; ++i) {
        sums[i] = static_cast<int32_t>(sum);
        sum += changes[i];
      }
      sum_ = sum;
      store_averages(from_ + begin, sums, count, divisor_, to_ + begin);
    }
  }

 private:
  const Point* from_;
  Point* to_;
  Divisor<Point> divisor_;
  int32_t half_;
  uint32_t sum_ = 0;
};

// ---- Float sums in their order ----

class OrderedSums {
 public:
  OrderedSums(const PointF32* from, PointF32* to, int32_t length)
      : from_(from), to_(to), divisor_(length), half_(length / 2), sum_(from[0].y) {
    for (int32_t i = 1; i <= half_; ++i) sum_ += from_[i].y;
  }

  template <Step kStep>
  void run(int32_t begin, int32_t end) {
    float sums[kBlock];
    for (int32_t count; begin < end; begin += count) {
      count = std::min(kBlock, end - begin);
      const PointF32* added = from_ + begin + half_ + 1;
      const PointF32* dropped = from_ + begin - half_;
      float sum = sum_;
      for (int32_t i = 0; i < count; ++i) {
        sums[i] = sum;
        if constexpr (kStep != Step::kAdd) sum = sum - dropped[i].y;
        if constexpr (kStep != Step::kDrop) sum = sum + added[i].y;
      }
      sum_ = sum;
      store_averages(from_ + begin, sums, count, divisor_, to_ + begin);
    }
  }

 private:
  const PointF32* from_;
  PointF32* to_;
  Divisor<PointF32> divisor_;
  int32_t half_;
  float sum_;
};

template <class Sums>
void run_all(Sums sums, int32_t count, int32_t length) {
  const int32_t half = length / 2;
  const int32_t end = count - length + half;
  sums.template run<Step::kAdd>(0, half);
  sums.template run<Step::kSlide>(half, end);
  sums.template run<Step::kDrop>(end, count);
}

// ---- Which float sums are exact in any order ----

constexpr int32_t kExactFloats = 1 << 24;

struct Magnitudes {
  bool whole;  // integers up to 2^24, and no -0.0, whose sign integers would lose
  int32_t largest;
  int64_t total;
};

// On bit patterns, whose order is that of the magnitudes: comparisons of floats that may be NaN do not vectorise.
VLIX_MULTIVERSION Magnitudes magnitudes_of_block(const PointF32* points, int32_t count) {
  constexpr uint32_t kSign = uint32_t{1} << 31;
  constexpr auto kLimit = std::bit_cast<uint32_t>(static_cast<float>(kExactFloats));
  uint32_t odd = 0;
  int32_t largest = 0;
  int64_t total = 0;
  for (int32_t i = 0; i < count; ++i) {
    const auto bits = std::bit_cast<uint32_t>(points[i].y);
    const uint32_t magnitude = bits & ~kSign;
    const auto truncated = static_cast<int32_t>(std::bit_cast<float>(std::min(magnitude, kLimit)));
    odd |= std::bit_cast<uint32_t>(static_cast<float>(truncated)) ^ magnitude;
    odd |= static_cast<uint32_t>(bits == kSign);
    largest = largest > truncated ? largest : truncated;
    total += truncated;
  }
  return {odd == 0, largest, total};
}

// True when every partial sum of the moving window is an integer below 2^24, or equal to it.
bool sums_are_exact(const PointF32* points, int32_t count, int32_t length) {
  int64_t total = 0;
  int32_t largest = 0;
  for (int64_t i = 0; i < count; i += kBlock) {
    const Magnitudes block = magnitudes_of_block(points + i, std::min(kBlock, count - static_cast<int32_t>(i)));
    total += block.total;
    largest = std::max(largest, block.largest);
    if (!block.whole || (total > kExactFloats && int64_t{largest} * length > kExactFloats)) return false;
  }
  return true;
}

}  // namespace

void moving_average(const PointF32* from, PointF32* to, int32_t count, int32_t length) {
  if (sums_are_exact(from, count, length)) {
    run_all(ExactSums<PointF32>(from, to, length), count, length);
  } else {
    run_all(OrderedSums(from, to, length), count, length);
  }
}

void moving_average(const PointI32* from, PointI32* to, int32_t count, int32_t length) {
  run_all(ExactSums<PointI32>(from, to, length), count, length);
}

}  // namespace vlix
