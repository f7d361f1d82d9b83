// SPDX-License-Identifier: Apache-2.0
// Element-wise difference of two numeric vectors, reduced to one number.

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <type_traits>

#include "frame/multiversion.h"
#include "frame/region.h"
#include "frame/report.h"
#include "frame/type_sets.h"
#include "frame/visit.h"
#include "vlix/meas.h"

namespace vlix {
namespace {

enum class Fold { kSum, kAbsSum, kSquareSum, kMaxAbs };

// Elements per step of everything below that works in steps.
constexpr int32_t kBlock = 1024;

// Calls visit(first element, count) for the blocks of a vector in order, until it answers false.
template <class Visit>
void for_blocks(int32_t count, Visit&& visit) {
  for (int32_t i = 0; i < count; i += kBlock) {
    if (!visit(i, std::min(kBlock, count - i)) || count - i <= kBlock) return;
  }
}

// ---- The definition: doubles, one after the other. The chain of additions costs two cycles per element. ----

template <Fold kFold, class T>
VLIX_MULTIVERSION double sum_in_order(const T* a, const T* b, int32_t count, double acc) {
  for (int32_t i = 0; i < count; ++i) {
    const double d = static_cast<double>(a[i]) - static_cast<double>(b[i]);
    if constexpr (kFold == Fold::kSum) acc += d;
    if constexpr (kFold == Fold::kAbsSum) acc += std::fabs(d);
    if constexpr (kFold == Fold::kSquareSum) acc += d * d;
  }
  return acc;
}

// Free of order, hence vectorised: is there anything beyond the largest so far? NaN never is.
template <class T>
VLIX_MULTIVERSION bool any_beyond(const T* a, const T* b, int32_t count, double largest) {
  int64_t found = 0;
  for (int32_t i = 0; i < count; ++i) {
    found |= std::fabs(static_cast<double>(a[i]) - static_cast<double>(b[i])) > largest;
  }
  return found != 0;
}

template <class T>
double largest_in_order(const T* a, const T* b, int32_t count, double acc) {
  for_blocks(count, [&](int32_t first, int32_t n) {
    if (!any_beyond(a + first, b + first, n, std::fabs(acc))) return true;
    for (int32_t i = first; i < first + n; ++i) {
      const double d = static_cast<double>(a[i]) - static_cast<double>(b[i]);
      if (std::fabs(d) > std::fabs(acc)) acc = d;
    }
    return true;
  });
  return acc;
}

template <Fold kFold, class T>
double fold_in_order(const T* a, const T* b, int32_t count, double acc) {
  if constexpr (kFold == Fold::kMaxAbs) {
    return largest_in_order(a, b, count, acc);
  } else {
    return sum_in_order<kFold>(a, b, count, acc);
  }
}

// ---- Any pair of types: widened block by block ----

using Widen = void (*)(const void* from, int32_t first, int32_t count, double* to);

template <class T>
VLIX_MULTIVERSION void widen(const T* from, int32_t count, double* to) {
  for (int32_t i = 0; i < count; ++i) to[i] = static_cast<double>(from[i]);
}

Widen widen_of(uint32_t type) {
  Widen chosen = nullptr;
  with_element_type(type, [&]<class T>() {
    chosen = [](const void* from, int32_t first, int32_t count, double* to) {
      widen(static_cast<const T*>(from) + first, count, to);
    };
  });
  return chosen;
}

template <Fold kFold>
double fold_widened(const VlixVector& a, const VlixVector& b, int32_t begin, double acc) {
  const Widen widen_a = widen_of(a.type);
  const Widen widen_b = widen_of(b.type);
  double wide_a[kBlock];
  double wide_b[kBlock];
  for_blocks(a.count - begin, [&](int32_t first, int32_t n) {
    widen_a(a.data, begin + first, n, wide_a);
    widen_b(b.data, begin + first, n, wide_b);
    acc = fold_in_order<kFold>(wide_a, wide_b, n, acc);
    return true;
  });
  return acc;
}

// ---- Two vectors of one 8- or 16-bit type: exact integers, any order ----

template <class T>
constexpr bool kIsNarrow = std::is_integral_v<T> && sizeof(T) <= 2;

// Sums of integers are the same double in any order as long as none of them is beyond.
constexpr uint64_t kExactDoubles = uint64_t{1} << 53;
static_assert((uint64_t{1} << 31) * UINT16_MAX <= kExactDoubles, "sums of differences of any length are exact");
static_assert(uint64_t{kBlock} * UINT16_MAX <= INT32_MAX, "a block of differences fits 32 bits");
static_assert(uint64_t{kBlock} * UINT8_MAX * UINT8_MAX <= UINT32_MAX, "a block of 8-bit squares fits 32 bits");

// One block: the sum of d, |d| or d squared.
template <Fold kFold, class T>
VLIX_MULTIVERSION int64_t sum_of_block(const T* a, const T* b, int32_t count) {
  if constexpr (kFold == Fold::kSquareSum && sizeof(T) == 2) {
    uint64_t sum = 0;
    for (int32_t i = 0; i < count; ++i) {
      const auto d = static_cast<uint32_t>(a[i] - b[i]);
      sum += d * d;  // below 2^32
    }
    return static_cast<int64_t>(sum);
  } else if constexpr (kFold == Fold::kSquareSum) {
    int32_t sum = 0;
    for (int32_t i = 0; i < count; ++i) {
      const auto d = static_cast<int16_t>(a[i] - b[i]);
      sum += d * d;
    }
    return sum;
  } else {
    int32_t sum = 0;
    for (int32_t i = 0; i < count; ++i) sum += kFold == Fold::kSum ? a[i] - b[i] : std::abs(a[i] - b[i]);
    return sum;
  }
}

template <Fold kFold, class T>
double sum_narrow(const VlixVector& a, const VlixVector& b) {
  int64_t sum = 0;
  int32_t done = 0;
  for_blocks(a.count, [&](int32_t first, int32_t n) {
    const int64_t next = sum + sum_of_block<kFold>(elements<const T>(a) + first, elements<const T>(b) + first, n);
    if (kFold == Fold::kSquareSum && static_cast<uint64_t>(next) > kExactDoubles) return false;
    sum = next;
    done = first + n;
    return true;
  });
  // Squares of 16-bit differences can outgrow the doubles; from there on the order matters.
  return fold_widened<kFold>(a, b, done, static_cast<double>(sum));
}

// The largest |d| of a block.
template <class T>
VLIX_MULTIVERSION int32_t magnitude_of_block(const T* a, const T* b, int32_t count) {
  using Magnitude = std::make_unsigned_t<T>;
  Magnitude top = 0;
  for (int32_t i = 0; i < count; ++i) {
    const T high = a[i] > b[i] ? a[i] : b[i];
    const T low = a[i] > b[i] ? b[i] : a[i];
    const auto magnitude = static_cast<Magnitude>(high - low);
    top = top > magnitude ? top : magnitude;
  }
  return top;
}

template <class T>
double largest_narrow(const T* a, const T* b, int32_t count) {
  int32_t largest = 0;
  for_blocks(count, [&](int32_t first, int32_t n) {
    const int32_t magnitude = magnitude_of_block(a + first, b + first, n);
    if (magnitude <= std::abs(largest)) return true;
    int32_t i = first;
    while (std::abs(a[i] - b[i]) != magnitude) ++i;
    largest = a[i] - b[i];
    return true;
  });
  return largest;
}

// ---- The choice ----

template <Fold kFold>
double fold(const VlixVector& a, const VlixVector& b) {
  double acc = 0.0;
  bool done = false;
  if (a.type == b.type) {
    with_element_type(a.type, [&]<class T>() {
      if constexpr (kIsNarrow<T> && kFold == Fold::kMaxAbs) {
        acc = largest_narrow(elements<const T>(a), elements<const T>(b), a.count);
        done = true;
      } else if constexpr (kIsNarrow<T>) {
        acc = sum_narrow<kFold, T>(a, b);
        done = true;
      } else if constexpr (std::is_floating_point_v<T>) {
        acc = fold_in_order<kFold>(elements<const T>(a), elements<const T>(b), a.count, 0.0);
        done = true;
      }
    });
  }
  return done ? acc : fold_widened<kFold>(a, b, 0, 0.0);
}

// False for an operation code that does not exist.
bool fold_by_code(const VlixVector& a, const VlixVector& b, int32_t op, double& acc) {
  switch (op) {
    case VectorDiffOp_DiffSum: acc = fold<Fold::kSum>(a, b); return true;
    case VectorDiffOp_DiffAbsSum: acc = fold<Fold::kAbsSum>(a, b); return true;
    case VectorDiffOp_DiffSquareSum:
    case VectorDiffOp_DiffEuclid: acc = fold<Fold::kSquareSum>(a, b); return true;
    case VectorDiffOp_DiffMaxAbs: acc = fold<Fold::kMaxAbs>(a, b); return true;
    default: return false;
  }
}

}  // namespace
}  // namespace vlix

extern "C" VlixStatus vlix_vectorDiff(const VlixVector* a, const VlixVector* b, double* result, int32_t op,
                                      int32_t normalise) {
  using namespace vlix;
  if (!accepts(kNumericVectors, a->type)) return report_type(op::vectorDiff, a->type);
  if (!accepts(kNumericVectors, b->type)) return report_type(op::vectorDiff, b->type);
  if (a->count != b->count) return report("vectorDiff: input vectors must be the same size\n");
  if (result == nullptr) return kSuccess;

  double acc = 0.0;
  // An unknown code goes unnoticed while there is nothing to compute; kept on purpose.
  if (a->count > 0 && !fold_by_code(*a, *b, op, acc)) return report("vectorDiff: unknown operation code %d\n", op);

  if (normalise == 1 && op != VectorDiffOp_DiffMaxAbs) acc = acc / static_cast<double>(a->count);
  if (op == VectorDiffOp_DiffEuclid) acc = std::sqrt(acc);
  *result = acc;
  return kSuccess;
}
