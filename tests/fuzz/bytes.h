// SPDX-License-Identifier: Apache-2.0
// Values made out of bytes: numbers, elements, images with a region inside.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <type_traits>
#include <vector>

#include "support/test_image.h"

// The fuzzer's assertion: says what does not hold and stops.
#define FUZZ_CHECK(condition)                                                             \
  do {                                                                                    \
    if (!(condition)) {                                                                   \
      std::fprintf(stderr, "%s:%d: does not hold: %s\n", __FILE__, __LINE__, #condition); \
      std::abort();                                                                       \
    }                                                                                     \
  } while (false)

namespace vlix::fuzz {

// Takes bytes from the front; behind the last one come zeros.
class Bytes {
 public:
  Bytes(const uint8_t* data, std::size_t size) : next_(data), end_(data + size) {}

  // Within [lo, hi], out of as few bytes as the range needs.
  int32_t integer(int32_t lo, int32_t hi) {
    const auto range = static_cast<uint64_t>(int64_t{hi} - lo);
    uint64_t bits = 0;
    for (uint64_t rest = range; rest > 0; rest >>= 8) bits = bits << 8 | byte();
    return static_cast<int32_t>(lo + static_cast<int64_t>(bits % (range + 1)));
  }
  int32_t any_integer() { return bits_of<int32_t>(); }
  bool coin() { return integer(0, 1) != 0; }
  // True about once in n.
  bool rarely(int32_t n) { return integer(0, n - 1) == n - 1; }
  template <class T>
  T bits_of() {
    static_assert(sizeof(T) <= sizeof(uint64_t));
    uint64_t bits = 0;
    for (std::size_t i = 0; i < sizeof(T); ++i) bits |= uint64_t{byte()} << (8 * i);
    T value;
    std::memcpy(&value, &bits, sizeof(T));
    return value;
  }
  // Multiples of 1/16.
  float tame() { return static_cast<float>(integer(-4096, 4096)) / 16.0f; }
  // Mostly those, sometimes any bit pattern: NaN, infinities, denormals.
  float real() { return rarely(8) ? bits_of<float>() : tame(); }
  template <class T>
  T pick(std::initializer_list<T> values) {
    return *(values.begin() + integer(0, static_cast<int32_t>(values.size()) - 1));
  }
  // One value of an element type. Floats as above.
  template <class T>
  T value() {
    if constexpr (std::is_floating_point_v<T>) {
      return static_cast<T>(real());
    } else {
      return bits_of<T>();
    }
  }
  template <class T>
  std::vector<T> values(std::size_t count) {
    std::vector<T> out(count);
    for (T& v : out) v = value<T>();
    return out;
  }
  // Elements that a short pattern repeats; mostly they are few different ones.
  template <class Make>
  auto pattern(int32_t most, Make make) {
    const auto count = static_cast<std::size_t>(integer(1, most));
    const std::size_t different = rarely(4) ? count : static_cast<std::size_t>(integer(1, 4));
    const auto stride = static_cast<std::size_t>(integer(0, 255));
    std::vector<decltype(make())> elements;
    for (std::size_t i = 0; i < count; ++i) {
      elements.push_back(i < different ? make() : elements[(i * stride + i / different) % different]);
    }
    return elements;
  }
  // A region inside width x height; with `may_be_empty` it may have no columns or no rows.
  void choose_region(VlixImage& image, bool may_be_empty = false) {
    const int32_t least = may_be_empty && rarely(16) ? 0 : 1;
    image.roiX = integer(0, image.width - 1);
    image.roiY = integer(0, image.height - 1);
    image.roiWidth = integer(least, image.width - image.roiX);
    image.roiHeight = integer(least, image.height - image.roiY);
    if (rarely(4)) {
      image.roiX = image.roiY = 0;
      image.roiWidth = image.width;
      image.roiHeight = image.height;
    }
  }
  // An image with a region inside it; its memory ends at a protected page. Sizes are at least 1. A short pattern,
  // repeated, keeps inputs small and makes equal neighbours.
  template <class Pixel>
  std::unique_ptr<test::TestImage<Pixel>> image(int32_t most_width, int32_t most_height, bool may_be_empty = false,
                                                bool tame_floats = false) {
    const int32_t width = integer(1, most_width);
    const int32_t height = integer(1, most_height);
    auto made = std::make_unique<test::TestImage<Pixel>>(width, height);
    choose_region(made->record, may_be_empty);
    const std::vector<Pixel> pixels = pattern(64, [&] {
      if constexpr (std::is_floating_point_v<Pixel>) {
        return tame_floats ? tame() : real();
      } else {
        return bits_of<Pixel>();
      }
    });
    const auto count = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    for (std::size_t i = 0; i < count; ++i) made->data()[i] = pixels[i % pixels.size()];
    return made;
  }

 private:
  uint8_t byte() { return next_ == end_ ? uint8_t{0} : *next_++; }

  const uint8_t* next_;
  const uint8_t* end_;
};

// Same bits, or both not-a-number.
template <class T>
bool same(T a, T b) {
  if constexpr (std::is_floating_point_v<T>) {
    if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
  }
  return std::memcmp(&a, &b, sizeof(T)) == 0;
}
inline bool same(PointF32 a, PointF32 b) { return same(a.x, b.x) && same(a.y, b.y); }

}  // namespace vlix::fuzz
