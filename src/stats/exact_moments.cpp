// SPDX-License-Identifier: Apache-2.0
#include "stats/exact_moments.h"

#include "stats/lane_moments.h"

namespace vlix {
namespace {

// How the samples of a format lie in memory. A signed channel is stored, once its sign bit is flipped, with a bias.
enum class Width { kBytes, kWords, kTenBits };
struct Layout {
  Width width;
  int period;          // samples per pixel, the unused one included
  uint32_t sign_bits;  // of four bytes
  int64_t bias[3];
};
template <class Format>
inline constexpr Layout kLayout = {};
template <>
inline constexpr Layout kLayout<Single<uint8_t>> = {Width::kBytes, 1, 0, {}};
template <>
inline constexpr Layout kLayout<Single<int8_t>> = {Width::kBytes, 1, 0x80808080, {128}};
template <>
inline constexpr Layout kLayout<FourBytes> = {Width::kBytes, 4, 0, {}};
template <>
inline constexpr Layout kLayout<FourBytesSigned> = {Width::kBytes, 4, 0x00808000, {0, 128, 128}};
template <>
inline constexpr Layout kLayout<ThreeBytes> = {Width::kBytes, 3, 0, {}};
template <>
inline constexpr Layout kLayout<Single<uint16_t>> = {Width::kWords, 1, 0, {}};
template <>
inline constexpr Layout kLayout<Single<int16_t>> = {Width::kWords, 1, 0x80008000, {32768}};
template <>
inline constexpr Layout kLayout<FourWords> = {Width::kWords, 4, 0, {}};
template <>
inline constexpr Layout kLayout<TenBits> = {Width::kTenBits, 1, 0, {}};

template <Width kWidth, int kPeriod, bool kSums>
using Accumulator = std::conditional_t<
    kWidth == Width::kBytes, ByteAccumulator<kPeriod, kSums>,
    std::conditional_t<kWidth == Width::kWords, WordAccumulator<kPeriod, kSums>, TenBitsAccumulator>>;

// 64-byte registers in the x86-64-v4 version, 32-byte ones in x86-64-v3, else 16.
template <Width kWidth, int kPeriod, bool kSums>
VLIX_MULTIVERSION void sum_up(const ByteRows& rows, uint32_t sign_bits, Totals& totals) {
  Accumulator<kWidth, kPeriod, kSums> accumulator(sign_bits, totals);
  LaneWalk(accumulator).run(rows);
}

}  // namespace

template <class Format>
bool exact_moments(const Region<const typename Format::Pixel>& region, bool sums,
                   Moments (&moments)[Format::kChannels]) {
  constexpr Layout kStored = kLayout<Format>;
  Totals totals;
  const ByteRows rows = bytes_of(region);
  if (sums || Format::kChannels > 1) {
    sum_up<kStored.width, kStored.period, true>(rows, kStored.sign_bits, totals);
  } else if constexpr (Format::kChannels == 1) {
    sum_up<kStored.width, kStored.period, false>(rows, kStored.sign_bits, totals);
  }

  const int64_t pixels = region.pixels();
  bool exact = true;
  for (int channel = 0; channel < Format::kChannels; ++channel) {
    const int64_t bias = kStored.bias[channel];
    const auto sum = static_cast<int64_t>(totals.sum[channel]);
    const int64_t square = static_cast<int64_t>(totals.square[channel]) - 2 * bias * sum + bias * bias * pixels;
    if (sums && square > kExactInDouble) exact = false;
    moments[channel] = {static_cast<double>(sum - bias * pixels), static_cast<double>(square),
                        static_cast<double>(totals.min[channel] - bias),
                        static_cast<double>(totals.max[channel] - bias)};
  }
  return exact;
}

template bool exact_moments<Single<uint8_t>>(const Region<const uint8_t>&, bool, Moments (&)[1]);
template bool exact_moments<Single<int8_t>>(const Region<const int8_t>&, bool, Moments (&)[1]);
template bool exact_moments<Single<uint16_t>>(const Region<const uint16_t>&, bool, Moments (&)[1]);
template bool exact_moments<Single<int16_t>>(const Region<const int16_t>&, bool, Moments (&)[1]);
template bool exact_moments<FourBytes>(const Region<const FourBytes::Pixel>&, bool, Moments (&)[3]);
template bool exact_moments<FourBytesSigned>(const Region<const FourBytesSigned::Pixel>&, bool, Moments (&)[3]);
template bool exact_moments<ThreeBytes>(const Region<const ThreeBytes::Pixel>&, bool, Moments (&)[3]);
template bool exact_moments<FourWords>(const Region<const FourWords::Pixel>&, bool, Moments (&)[3]);
template bool exact_moments<TenBits>(const Region<const TenBits::Pixel>&, bool, Moments (&)[3]);

}  // namespace vlix
