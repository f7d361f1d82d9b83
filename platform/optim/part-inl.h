// SPDX-License-Identifier: Apache-2.0
// Loads and stores of less than a vector that never touch a byte outside of it. Included once per instruction set.
#if defined(VLIX_OPTIM_PART_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VLIX_OPTIM_PART_INL_H
#undef VLIX_OPTIM_PART_INL_H
#else
#define VLIX_OPTIM_PART_INL_H
#endif

#include <hwy/highway.h>

#include <cstddef>
#include <cstring>

HWY_BEFORE_NAMESPACE();
namespace vlix::optim::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// The first `count` lanes from memory, `rest` in the others; count <= Lanes(d).
template <class D, class T = hn::TFromD<D>>
HWY_INLINE hn::Vec<D> load_part(D d, const T* HWY_RESTRICT from, std::size_t count, T rest) {
#if HWY_MEM_OPS_MIGHT_FAULT
  HWY_ALIGN T lanes[hn::MaxLanes(d)];
  hn::Store(hn::Set(d, rest), d, lanes);
  std::memcpy(lanes, from, count * sizeof(T));
  return hn::Load(d, lanes);
#else
  const auto mask = hn::FirstN(d, count);
  return hn::IfThenElse(mask, hn::MaskedLoad(mask, d, from), hn::Set(d, rest));
#endif
}

// Writes the first `count` lanes.
template <class D, class T = hn::TFromD<D>>
HWY_INLINE void store_part(hn::Vec<D> v, D d, T* HWY_RESTRICT to, std::size_t count) {
#if HWY_MEM_OPS_MIGHT_FAULT
  HWY_ALIGN T lanes[hn::MaxLanes(d)];
  hn::Store(v, d, lanes);
  std::memcpy(to, lanes, count * sizeof(T));
#else
  hn::BlendedStore(v, hn::FirstN(d, count), d, to);
#endif
}

}  // namespace vlix::optim::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
