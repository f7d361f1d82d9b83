// SPDX-License-Identifier: Apache-2.0
// Runs of positions: indices and weights of a block side by side, then its pixels, then its results.

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <type_traits>

#include "frame/multiversion.h"
#include "frame/region.h"
#include "frame/visit.h"
#include "geometry/interpolation.h"

namespace vlix {
namespace {

constexpr int32_t kBlock = 128;

// Inside an image coordinates are not negative, so that truncation is floor. The subtraction is exact.
VLIX_INLINE int32_t split(float coordinate, float& fraction) {
  const int32_t whole = static_cast<int32_t>(coordinate);
  fraction = coordinate - static_cast<float>(whole);
  return whole;
}

template <class Pixel, class Index>
VLIX_MULTIVERSION void nearest_run(const Pixel* data, Index width, const float* xs, const float* ys, int32_t count,
                                   float* results) {
  Index at[kBlock];
  for (int32_t i = 0; i < count; ++i) {
    float fx, fy;
    const int32_t x = split(xs[i], fx);
    const int32_t y = split(ys[i], fy);
    at[i] = static_cast<Index>(y + (fy >= 0.5f ? 1 : 0)) * width + static_cast<Index>(x + (fx >= 0.5f ? 1 : 0));
  }
  for (int32_t i = 0; i < count; ++i) results[i] = static_cast<float>(data[at[i]]);
}

// Two neighbouring pixels in one word, the left one in its low half.
template <class Pixel>
struct PairOf {
  using Word =
      std::conditional_t<sizeof(Pixel) == 1, uint16_t, std::conditional_t<sizeof(Pixel) == 2, uint32_t, uint64_t>>;
};
template <class Pixel>
using Pair = typename PairOf<Pixel>::Word;

template <class Pixel>
VLIX_INLINE float left_of(Pair<Pixel> pair) {
  if constexpr (std::is_same_v<Pixel, float>) return std::bit_cast<float>(static_cast<uint32_t>(pair));
  return static_cast<float>(static_cast<Pixel>(pair));
}

template <class Pixel>
VLIX_INLINE float right_of(Pair<Pixel> pair) {
  return left_of<Pixel>(static_cast<Pair<Pixel>>(pair >> (8 * sizeof(Pixel))));
}

template <class Pixel>
VLIX_INLINE Pair<Pixel> load_pair(const Pixel* at) {
  Pair<Pixel> pair;
  std::memcpy(&pair, at, sizeof(pair));
  return pair;
}

// The last pixel of the image comes with zero bits to its right.
template <class Pixel, class Index>
VLIX_INLINE Pair<Pixel> load_pair_before_end(const Pixel* data, Index at, Index last_pair) {
  const Index from = std::min(at, last_pair);
  return static_cast<Pair<Pixel>>(load_pair<Pixel>(data + from) >> ((at - from) * Index{8 * sizeof(Pixel)}));
}

// What lies right of the last column belongs to the next row, and is not read behind the last pixel. Its weight there
// is zero; an integer of weight zero changes nothing, a float is replaced.
template <class Pixel, class Index>
VLIX_MULTIVERSION void bilinear_run(const Pixel* data, Index width, Index last_pair, bool prefetch, const float* xs,
                                    const float* ys, int32_t count, float* results) {
  Index upper[kBlock];
  Index lower[kBlock];
  Pair<Pixel> top[kBlock];
  Pair<Pixel> bottom[kBlock];
  float fx[kBlock];
  float fy[kBlock];
  Index highest = 0;
  for (int32_t i = 0; i < count; ++i) {
    const int32_t x = split(xs[i], fx[i]);
    const int32_t y = split(ys[i], fy[i]);
    upper[i] = static_cast<Index>(y) * width + static_cast<Index>(x);
    lower[i] = upper[i] + (fy[i] > 0.0f ? width : Index{0});
    highest = std::max(highest, lower[i]);
  }
  if (prefetch) {
    for (int32_t i = 0; i < count; ++i) {
      __builtin_prefetch(data + upper[i]);
      __builtin_prefetch(data + lower[i]);
    }
  }
  if (highest <= last_pair) {
    for (int32_t i = 0; i < count; ++i) {
      top[i] = load_pair<Pixel>(data + upper[i]);
      bottom[i] = load_pair<Pixel>(data + lower[i]);
    }
  } else {
    for (int32_t i = 0; i < count; ++i) {
      top[i] = load_pair_before_end(data, upper[i], last_pair);
      bottom[i] = load_pair_before_end(data, lower[i], last_pair);
    }
  }
  for (int32_t i = 0; i < count; ++i) {
    const float a = left_of<Pixel>(top[i]);
    const float c = left_of<Pixel>(bottom[i]);
    float b = right_of<Pixel>(top[i]);
    float d = right_of<Pixel>(bottom[i]);
    if constexpr (std::is_same_v<Pixel, float>) {
      b = fx[i] > 0.0f ? b : a;
      d = fx[i] > 0.0f ? d : c;
    }
    results[i] = ((1.0f - fx[i]) * a + fx[i] * b) * (1.0f - fy[i]) + ((1.0f - fx[i]) * c + fx[i] * d) * fy[i];
  }
}

// Rows of an image that is larger do not stay close to the processor.
constexpr int64_t kCachedBytes = int64_t{512} << 10;

template <class Pixel, class Index, int32_t kMode>
void run(const VlixImage& image, const float* xs, const float* ys, int32_t count, float* results) {
  const Pixel* data = static_cast<const Pixel*>(image.data);
  const auto width = static_cast<Index>(image.width);
  const int64_t pixels = int64_t{image.width} * image.height;
  const auto last_pair = static_cast<Index>(pixels - 2);
  const bool prefetch = pixels * static_cast<int64_t>(sizeof(Pixel)) > kCachedBytes;
  for (int32_t first = 0; first < count; first += kBlock) {
    const int32_t n = std::min(kBlock, count - first);
    if constexpr (kMode == kBilinear) {
      bilinear_run<Pixel, Index>(data, width, last_pair, prefetch, xs + first, ys + first, n, results + first);
    } else {
      nearest_run<Pixel, Index>(data, width, xs + first, ys + first, n, results + first);
    }
  }
}

template <class Pixel, int32_t kMode>
void grey_run(const VlixImage& image, const float* xs, const float* ys, int32_t count, float* results) {
  const int64_t pixels = int64_t{image.width} * image.height;
  if (pixels == 1) {
    // No pair to read.
    const GreyKernel kernel = grey_kernel(image.type, kMode);
    for (int32_t i = 0; i < count; ++i) results[i] = kernel(image, xs[i], ys[i]);
  } else if (pixels <= std::numeric_limits<int32_t>::max()) {
    run<Pixel, int32_t, kMode>(image, xs, ys, count, results);
  } else {
    run<Pixel, int64_t, kMode>(image, xs, ys, count, results);
  }
}

}  // namespace

GreyRunKernel grey_run_kernel(uint32_t type, int32_t mode) {
  GreyRunKernel kernel = nullptr;
  with_pixel_type(type, [&]<class Pixel>() {
    kernel = mode == kBilinear ? grey_run<Pixel, kBilinear> : grey_run<Pixel, kNearest>;
  });
  return kernel;
}

}  // namespace vlix
