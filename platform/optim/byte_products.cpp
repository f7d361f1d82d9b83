// SPDX-License-Identifier: Apache-2.0
#include "optim/byte_products.h"

#define HWY_WANT_AVX3_DL
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "optim/byte_products.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace vlix::optim::HWY_NAMESPACE {
namespace {

#if HWY_ARCH_X86_64
constexpr bool kHasByteProducts = HWY_TARGET == HWY_AVX3_DL;
#else
constexpr bool kHasByteProducts = false;
#endif

bool in_this_version() { return kHasByteProducts; }

}  // namespace
}  // namespace vlix::optim::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace vlix::optim {
namespace {
HWY_EXPORT(in_this_version);
}

bool has_byte_products() { return HWY_DYNAMIC_DISPATCH(in_this_version)(); }

}  // namespace vlix::optim
#endif
