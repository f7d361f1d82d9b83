// SPDX-License-Identifier: Apache-2.0
// Casts of whole regions. All five monochrome types fit a 32-bit float exactly.

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "vlix/object.h"
#include "vlix/util.h"

namespace {

constexpr int32_t kToF32 = 4;
constexpr int32_t kValuesAsTheyAre = 0;

template <class Pixel>
void cast_rows(const VlixImage& from, VlixImage& to) {
  const auto* source = static_cast<const Pixel*>(from.data) + std::ptrdiff_t{from.roiY} * from.width + from.roiX;
  auto* target = static_cast<float*>(to.data);
  for (int32_t y = 0; y < to.height; ++y) {
    std::transform(source, source + to.width, target, [](Pixel value) { return static_cast<float>(value); });
    source += from.width;
    target += to.width;
  }
}

bool is_inside(int32_t first, int32_t length, int32_t whole) {
  return first >= 0 && length >= 0 && int64_t{first} + length <= whole;
}

bool has_its_region(const VlixImage& image) {
  return image.data != nullptr && is_inside(image.roiX, image.roiWidth, image.width) &&
         is_inside(image.roiY, image.roiHeight, image.height);
}

using Cast = void (*)(const VlixImage&, VlixImage&);

Cast cast_of(uint32_t type) {
  switch (type) {
    case ObjType_U8: return cast_rows<uint8_t>;
    case ObjType_S8: return cast_rows<int8_t>;
    case ObjType_U16: return cast_rows<uint16_t>;
    case ObjType_S16: return cast_rows<int16_t>;
    case ObjType_F32: return cast_rows<float>;
    default: return nullptr;
  }
}

}  // namespace

int32_t VlixUtilCastImage(const VlixImage* from, VlixImage* to, int32_t kind, int32_t mode) {
  if (to == nullptr) return -1;
  if (from == nullptr) return *to = {}, -1;
  const VlixImage source = *from;
  *to = {};
  const Cast cast = cast_of(source.type);
  if (cast == nullptr || !has_its_region(source) || kind != kToF32 || mode != kValuesAsTheyAre) return -1;
  if (VlixImageAlloc(to, ObjType_F32, source.roiWidth, source.roiHeight) < 0) return -1;
  cast(source, *to);
  return 0;
}
