// SPDX-License-Identifier: Apache-2.0
// Inputs shared by the cases: smooth scenes with noise, like what cameras deliver.
#pragma once

#include <cmath>
#include <cstdint>
#include <memory>
#include <random>
#include <type_traits>
#include <vector>

#include "vlix/types.h"

namespace vlix::bench {

template <class Pixel>
constexpr ObjType code_of() {
  if constexpr (std::is_same_v<Pixel, uint8_t>) return ObjType_U8;
  if constexpr (std::is_same_v<Pixel, int8_t>) return ObjType_S8;
  if constexpr (std::is_same_v<Pixel, uint16_t>) return ObjType_U16;
  if constexpr (std::is_same_v<Pixel, int16_t>) return ObjType_S16;
  if constexpr (std::is_same_v<Pixel, float>) return ObjType_F32;
  if constexpr (std::is_same_v<Pixel, double>) return ObjType_F64;
  if constexpr (std::is_same_v<Pixel, PointI32>) return ObjType_PointI32;
  if constexpr (std::is_same_v<Pixel, PointF32>) return ObjType_PointF32;
  if constexpr (std::is_same_v<Pixel, uint32_t>) return ObjType_Rgba8;  // one word per colour pixel
}

// Pixels with their record.
template <class Pixel>
struct Image {
  Image(int32_t width, int32_t height)
      : pixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height)),
        record{code_of<Pixel>(), pixels.data(), width, height, 0, 0, width, height} {}
  Image(const Image&) = delete;
  Image& operator=(const Image&) = delete;

  std::vector<Pixel> pixels;
  VlixImage record;
};

template <class Element>
struct Vector {
  explicit Vector(std::size_t count)
      : values(count), record{code_of<Element>(), values.data(), static_cast<int32_t>(count), 0} {}
  Vector(const Vector&) = delete;
  Vector& operator=(const Vector&) = delete;

  std::vector<Element> values;
  VlixVector record;
};

// A scene: waves of several lengths plus noise, scaled to most of the type's range (floats: 0 to 1).
template <class Pixel>
std::shared_ptr<Image<Pixel>> scene(int32_t width, int32_t height, uint64_t seed = 1) {
  auto image = std::make_shared<Image<Pixel>>(width, height);
  std::mt19937_64 random(seed);
  std::uniform_real_distribution<float> noise(-0.06f, 0.06f);
  std::size_t i = 0;
  for (int32_t y = 0; y < height; ++y) {
    const float across = 0.2f * std::sin(0.021f * static_cast<float>(y));
    for (int32_t x = 0; x < width; ++x, ++i) {
      const float wave = 0.5f + across + 0.2f * std::sin(0.013f * static_cast<float>(x + y / 3)) + noise(random);
      if constexpr (std::is_floating_point_v<Pixel>) {
        image->pixels[i] = static_cast<Pixel>(wave);
      } else if constexpr (std::is_same_v<Pixel, uint32_t>) {
        image->pixels[i] =
            static_cast<uint32_t>(wave * 255.0f) * 0x010101u ^ static_cast<uint32_t>(random() & 0x1F1F1F1Fu);
      } else {
        const float full = static_cast<float>(uint64_t{1} << (8 * sizeof(Pixel))) - 1.0f;
        image->pixels[i] = static_cast<Pixel>(static_cast<int32_t>(wave * full));
      }
    }
  }
  return image;
}

}  // namespace vlix::bench
