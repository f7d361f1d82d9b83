// SPDX-License-Identifier: Apache-2.0
// Calls are made out of bytes: types, sizes, regions, parameters, levels.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "support/recording_platform.h"
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

using test::RecordingPlatform;
using test::Report;

class Bytes {
 public:
  Bytes(const uint8_t* data, std::size_t size) : provider_(data, size) {}

  int32_t integer(int32_t lo, int32_t hi) { return provider_.ConsumeIntegralInRange<int32_t>(lo, hi); }
  int32_t any_integer() { return provider_.ConsumeIntegral<int32_t>(); }
  bool coin() { return provider_.ConsumeBool(); }
  // Mostly small numbers, sometimes any bit pattern: NaN, infinities, denormals.
  float real() {
    if (integer(0, 7) == 0) {
      const auto bits = provider_.ConsumeIntegral<uint32_t>();
      float value;
      std::memcpy(&value, &bits, sizeof(value));
      return value;
    }
    return static_cast<float>(integer(-4096, 4096)) / 16.0f;
  }
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
      return static_cast<T>(provider_.ConsumeIntegral<std::make_unsigned_t<T>>());
    }
  }
  template <class T>
  std::vector<T> values(std::size_t count) {
    std::vector<T> out(count);
    for (T& v : out) v = value<T>();
    return out;
  }
  // An image with a region inside it; its memory ends at a protected page. Sizes are at least 1.
  template <class Pixel>
  std::unique_ptr<test::TestImage<Pixel>> image(int32_t most_width, int32_t most_height) {
    const int32_t width = integer(1, most_width);
    const int32_t height = integer(1, most_height);
    auto made = std::make_unique<test::TestImage<Pixel>>(width, height);
    const int32_t x = integer(0, width - 1);
    const int32_t y = integer(0, height - 1);
    made->set_roi(x, y, integer(1, width - x), integer(1, height - y));
    const std::size_t count = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    // A short pattern, repeated, keeps inputs small and makes equal neighbours.
    const auto pattern = values<Pixel>(static_cast<std::size_t>(integer(1, 64)));
    for (std::size_t i = 0; i < count; ++i) made->data()[i] = pattern[i % pattern.size()];
    return made;
  }

 private:
  FuzzedDataProvider provider_;
};

// Same bits, or both not-a-number.
template <class T>
bool same(T a, T b) {
  if constexpr (std::is_floating_point_v<T>) {
    if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
  }
  return std::memcmp(&a, &b, sizeof(T)) == 0;
}

// Each family builds one call of one of its exports, makes it through the platform, and compares result, reports and
// outputs with what its twins expect.
void call_vector_family(Bytes& bytes, RecordingPlatform& platform);
void call_histogram_family(Bytes& bytes, RecordingPlatform& platform);

}  // namespace vlix::fuzz
