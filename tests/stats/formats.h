// SPDX-License-Identifier: Apache-2.0
// Pixel and element formats as bytes, read one channel at a time; records of any of them in guarded memory.
#pragma once

#include <cstdint>
#include <cstring>
#include <ostream>
#include <vector>

#include "support/generators.h"
#include "support/guarded_memory.h"
#include "vlix/types.h"

namespace vlix::test {

struct Format {
  uint32_t code;
  const char* name;
  int32_t bytes;
  int32_t channels;
  double (*read)(const uint8_t* pixel, int32_t channel);
  void (*fill)(std::vector<uint8_t>& bytes, Fill fill, uint64_t seed);
};

inline std::ostream& operator<<(std::ostream& out, const Format& format) { return out << format.name; }

// Channel c is a number of type T, c * sizeof(T) bytes into the pixel.
template <class T>
double read_as(const uint8_t* pixel, int32_t channel) {
  T value;
  std::memcpy(&value, pixel + static_cast<std::size_t>(channel) * sizeof(T), sizeof(T));
  return static_cast<double>(value);
}

// The second number of a point.
template <class T>
double read_y(const uint8_t* point, int32_t) {
  return read_as<T>(point, 1);
}

inline double read_ten_bits(const uint8_t* pixel, int32_t channel) {
  uint32_t word;
  std::memcpy(&word, pixel, sizeof(word));
  return static_cast<double>((word >> (10 * channel)) & 1023u);
}

inline double read_signed_from_channel_1(const uint8_t* pixel, int32_t channel) {
  return channel == 0 ? read_as<uint8_t>(pixel, 0) : read_as<int8_t>(pixel, channel);
}

template <class T>
void fill_as(std::vector<uint8_t>& bytes, Fill fill, uint64_t seed) {
  std::vector<T> values(bytes.size() / sizeof(T));
  fill_with(values, fill, seed);
  if (!bytes.empty()) std::memcpy(bytes.data(), values.data(), values.size() * sizeof(T));
}

template <class T>
constexpr Format monochrome(uint32_t code, const char* name) {
  return {code, name, sizeof(T), 1, read_as<T>, fill_as<T>};
}
constexpr Format four_bytes(uint32_t code, const char* name) {
  return {code, name, 4, 3, read_as<uint8_t>, fill_as<uint8_t>};
}

inline constexpr Format kU8 = monochrome<uint8_t>(10, "U8");
inline constexpr Format kS8 = monochrome<int8_t>(6, "S8");
inline constexpr Format kU16 = monochrome<uint16_t>(11, "U16");
inline constexpr Format kS16 = monochrome<int16_t>(7, "S16");
inline constexpr Format kF32 = monochrome<float>(17, "F32");
inline constexpr Format kS32 = monochrome<int32_t>(8, "S32");
inline constexpr Format kU32 = monochrome<uint32_t>(12, "U32");
inline constexpr Format kF64 = monochrome<double>(18, "F64");
inline constexpr Format kPointI32 = {24, "PointI32", 8, 1, read_y<int32_t>, fill_as<int32_t>};
inline constexpr Format kPointF32 = {29, "PointF32", 8, 1, read_y<float>, fill_as<float>};
inline constexpr Format kRgba8 = four_bytes(19, "Rgba8");
inline constexpr Format kColour20 = four_bytes(20, "Colour20");
inline constexpr Format kColour21 = four_bytes(21, "Colour21");
inline constexpr Format kColour30 = four_bytes(30, "Colour30");
inline constexpr Format kColour36 = {36, "Colour36", 4, 3, read_ten_bits, fill_as<uint32_t>};
inline constexpr Format kColour39 = {39, "Colour39", 8, 3, read_as<uint16_t>, fill_as<uint16_t>};
inline constexpr Format kColour44 = {44, "Colour44", 3, 3, read_as<uint8_t>, fill_as<uint8_t>};

inline constexpr Format kMonochromeImageFormats[] = {kU8, kS8, kU16, kS16, kF32};
inline constexpr Format kMonochromeVectorFormats[] = {kU8,  kS8,  kS32, kU32,      kS16,
                                                      kU16, kF32, kF64, kPointI32, kPointF32};
inline constexpr Format kColourFormats[] = {kRgba8, kColour20, kColour21, kColour30, kColour36, kColour39, kColour44};

// An image whose last byte is followed by a protected page.
class RawImage {
 public:
  RawImage(const Format& format, int32_t width, int32_t height, Fill fill = Fill::kNoise, uint64_t seed = 1)
      : memory_(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) *
                static_cast<std::size_t>(format.bytes)),
        bytes_(format.bytes),
        record{format.code, memory_.data(), width, height, 0, 0, width, height} {
    std::vector<uint8_t> bytes(memory_.bytes());
    format.fill(bytes, fill, seed);
    if (!bytes.empty()) std::memcpy(memory_.data(), bytes.data(), bytes.size());
  }

  // What is left inside these margins.
  void crop(int32_t left, int32_t top, int32_t right, int32_t bottom) {
    record.roiX = left;
    record.roiY = top;
    record.roiWidth = record.width - left - right;
    record.roiHeight = record.height - top - bottom;
  }
  // Coordinates relative to the region of interest.
  uint8_t* pixel(int32_t x, int32_t y) const {
    const std::ptrdiff_t index = static_cast<std::ptrdiff_t>(record.roiY + y) * record.width + record.roiX + x;
    return static_cast<uint8_t*>(memory_.data()) + index * bytes_;
  }
  template <class T>
  void put(int32_t x, int32_t y, T value) {
    std::memcpy(pixel(x, y), &value, sizeof(value));
  }
  std::size_t bytes() const { return memory_.bytes(); }

 private:
  GuardedMemory memory_;
  std::ptrdiff_t bytes_;

 public:
  VlixImage record;
};

// A vector, likewise.
class RawVector {
 public:
  RawVector(const Format& format, int32_t count, Fill fill = Fill::kNoise, uint64_t seed = 1)
      : row_(format, count, 1, fill, seed), record{format.code, row_.record.data, count, 0} {}
  uint8_t* element(int32_t i) const { return row_.pixel(i, 0); }
  template <class T>
  void put(int32_t i, T value) {
    row_.put(i, 0, value);
  }
  std::size_t bytes() const { return row_.bytes(); }

 private:
  RawImage row_;

 public:
  VlixVector record;
};

}  // namespace vlix::test
