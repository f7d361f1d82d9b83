// SPDX-License-Identifier: Apache-2.0
// Pixels as vectors of centred doubles. Included once per instruction set.
#if defined(VLIX_OPTIM_CROSS_CORR_LOAD_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VLIX_OPTIM_CROSS_CORR_LOAD_INL_H
#undef VLIX_OPTIM_CROSS_CORR_LOAD_INL_H
#else
#define VLIX_OPTIM_CROSS_CORR_LOAD_INL_H
#endif

#include "optim/cross_corr.h"
#include "optim/part-inl.h"

HWY_BEFORE_NAMESPACE();
namespace vlix::optim::HWY_NAMESPACE {

template <class Pixel>
struct CentredLoader;

template <>
struct CentredLoader<uint8_t> {
  explicit CentredLoader(const cross_corr::Levels& levels) : flip(levels.flip) {}
  template <class D>
  HWY_INLINE hn::Vec<D> convert(D d, hn::Vec<hn::Rebind<uint8_t, D>> pixels) const {
    const hn::Rebind<uint8_t, D> d8;
    const hn::Rebind<int32_t, D> d32;
    const auto value = hn::PromoteTo(d32, hn::Xor(pixels, hn::Set(d8, flip)));
    return hn::PromoteTo(d, hn::Sub(value, hn::Set(d32, 128)));
  }
  uint8_t flip;
};

template <>
struct CentredLoader<uint16_t> {
  explicit CentredLoader(const cross_corr::Levels&) {}
  template <class D>
  HWY_INLINE hn::Vec<D> convert(D d, hn::Vec<hn::Rebind<uint16_t, D>> pixels) const {
    const hn::Rebind<int32_t, D> d32;
    return hn::PromoteTo(d, hn::Sub(hn::PromoteTo(d32, pixels), hn::Set(d32, 32768)));
  }
};

template <>
struct CentredLoader<float> {
  explicit CentredLoader(const cross_corr::Levels& levels) : offset(levels.offset) {}
  template <class D>
  HWY_INLINE hn::Vec<D> convert(D d, hn::Vec<hn::Rebind<float, D>> pixels) const {
    const auto value = hn::Sub(hn::PromoteTo(d, pixels), hn::Set(d, offset));
    return hn::IfThenElseZero(hn::Eq(hn::Sub(value, value), hn::Zero(d)), value);
  }
  double offset;
};

// Floats that are not finite stay what they are.
struct RawFloatLoader {
  explicit RawFloatLoader(const cross_corr::Levels& levels) : offset(levels.offset) {}
  template <class D>
  HWY_INLINE hn::Vec<D> convert(D d, hn::Vec<hn::Rebind<float, D>> pixels) const {
    return hn::Sub(hn::PromoteTo(d, pixels), hn::Set(d, offset));
  }
  double offset;
};

template <class D, class Pixel, class Loader>
HWY_INLINE hn::Vec<D> load_centred(D d, const Pixel* from, const Loader& loader) {
  return loader.convert(d, hn::LoadU(hn::Rebind<Pixel, D>(), from));
}

// The first `count` lanes; the others are anything.
template <class D, class Pixel, class Loader>
HWY_INLINE hn::Vec<D> load_centred_part(D d, const Pixel* from, std::size_t count, const Loader& loader) {
  return loader.convert(d, load_part(hn::Rebind<Pixel, D>(), from, count, Pixel{0}));
}

}  // namespace vlix::optim::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
