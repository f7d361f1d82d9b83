// SPDX-License-Identifier: Apache-2.0
#include <complex>
#include <new>

#include "fourier/transform.h"
#include "vlix/object.h"
#include "vlix/xform.h"
#include "xform/spectrum.h"

namespace {

using namespace vlix::xform;
using Complex = std::complex<float>;

constexpr int32_t kForward = 0;
constexpr int32_t kInverse = 1;
constexpr int32_t kFailed = -1;

bool is_filled(const VlixImage& image, ObjType type) {
  return image.type == static_cast<uint32_t>(type) && image.data != nullptr && image.width > 0 && image.height > 0;
}

int32_t forward_image(const VlixImage& from, VlixImage& to) {
  const Grid grid = {vlix::fourier::fast_length(from.width, kWidthUnit), vlix::fourier::fast_length(from.height)};
  if (VlixImageAlloc(&to, ObjType_ComplexF32, grid.width, grid.height) < 0) return kFailed;
  forward(static_cast<const float*>(from.data), {from.width, from.height}, static_cast<Complex*>(to.data), grid);
  return 0;
}

int32_t inverse_image(const VlixImage& from, VlixImage& to) {
  if (VlixImageAlloc(&to, ObjType_F32, from.width, from.height) < 0) return kFailed;
  inverse(static_cast<const Complex*>(from.data), {from.width, from.height}, static_cast<float*>(to.data));
  return 0;
}

}  // namespace

int32_t vlix_fft(const VlixImage* from, VlixImage* to, int32_t direction, int32_t reserved, int32_t realOutput) {
  if (to == nullptr || to == from) return kFailed;
  *to = {};
  if (from == nullptr || reserved != 0) return kFailed;
  try {
    if (direction == kForward && realOutput == 0 && is_filled(*from, ObjType_F32)) return forward_image(*from, *to);
    if (direction == kInverse && realOutput == 1 && is_filled(*from, ObjType_ComplexF32))
      return inverse_image(*from, *to);
  } catch (const std::bad_alloc&) {
    VlixImageRelease(to, 1);
  }
  return kFailed;
}
