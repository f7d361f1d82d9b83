// SPDX-License-Identifier: Apache-2.0
// First and second moments and extremes of the samples of one channel, and the pixel formats they are taken of.
#pragma once

#include <cstdint>
#include <limits>
#include <type_traits>

namespace vlix {

struct Moments {
  double sum = 0.0;
  double sum_of_squares = 0.0;
  double min = std::numeric_limits<double>::quiet_NaN();
  double max = std::numeric_limits<double>::quiet_NaN();
};

// A format tells how many channels a pixel has and reads one of them.
template <class Sample>
struct Single {
  using Pixel = Sample;
  static constexpr int kChannels = 1;
  static double read(const Pixel& pixel, int) { return static_cast<double>(pixel); }
};

// Only y enters the statistics.
template <class Point>
struct PointY {
  using Pixel = Point;
  static constexpr int kChannels = 1;
  static double read(const Pixel& point, int) { return static_cast<double>(point.y); }
};

template <class Sample, int kSamples>
struct Samples {
  Sample sample[kSamples];
};

struct FourBytes {
  using Pixel = Samples<uint8_t, 4>;
  static constexpr int kChannels = 3;
  static double read(const Pixel& pixel, int channel) { return pixel.sample[channel]; }
};

// Channels 1 and 2 are signed.
struct FourBytesSigned {
  using Pixel = Samples<uint8_t, 4>;
  static constexpr int kChannels = 3;
  static double read(const Pixel& pixel, int channel) {
    return channel == 0 ? pixel.sample[0] : static_cast<int8_t>(pixel.sample[channel]);
  }
};

struct ThreeBytes {
  using Pixel = Samples<uint8_t, 3>;
  static constexpr int kChannels = 3;
  static double read(const Pixel& pixel, int channel) { return pixel.sample[channel]; }
};

struct FourWords {
  using Pixel = Samples<uint16_t, 4>;
  static constexpr int kChannels = 3;
  static double read(const Pixel& pixel, int channel) { return pixel.sample[channel]; }
};

struct TenBits {
  using Pixel = uint32_t;
  static constexpr int kChannels = 3;
  static double read(const Pixel& pixel, int channel) { return (pixel >> (10 * channel)) & 0x3FF; }
};

}  // namespace vlix
