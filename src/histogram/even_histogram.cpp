// SPDX-License-Identifier: Apache-2.0
#include "histogram/even_histogram.h"

#include <array>
#include <cstddef>

#include "frame/region.h"
#include "frame/report.h"
#include "frame/scratch.h"
#include "frame/wrap.h"
#include "vlix/optim.h"

namespace vlix {
namespace {

constexpr int32_t kMostChannels = 3;

// What a primitive takes besides the pixels, an entry for each channel.
struct Arguments {
  std::array<HeapArray<int32_t>, kMostChannels> count_arrays;
  std::array<HeapArray<int32_t>, kMostChannels> level_arrays;
  std::array<int32_t*, kMostChannels> counts = {};
  std::array<int32_t*, kMostChannels> levels = {};
  std::array<int32_t, kMostChannels> level_count = {};
  std::array<int32_t, kMostChannels> lower = {};
  std::array<int32_t, kMostChannels> upper = {};
};

// 0, or the number of bytes that could not be obtained.
int64_t prepare(const EvenChannel& channel, std::size_t c, Arguments& arguments) {
  const auto bins = static_cast<std::size_t>(channel.bins);
  arguments.count_arrays[c] = HeapArray<int32_t>::uninitialised(bins);
  if (!arguments.count_arrays[c]) return int64_t{4} * channel.bins;
  arguments.level_arrays[c] = HeapArray<int32_t>::uninitialised(bins + 1);
  if (!arguments.level_arrays[c]) return int64_t{4} * (int64_t{channel.bins} + 1);
  arguments.counts[c] = arguments.count_arrays[c].get();
  arguments.levels[c] = arguments.level_arrays[c].get();
  arguments.level_count[c] = wrap_add(channel.bins, 1);
  arguments.lower[c] = channel.lo;
  arguments.upper[c] = wrap_add(channel.hi, 1);
  return 0;
}

template <class Pixel, class Primitive>
bool call_one(const VlixImage& image, Primitive primitive, const Arguments& a) {
  const auto region = region_of<const Pixel>(image);
  return primitive(region.origin, region.stride_bytes(), {region.width, region.height}, a.counts[0], a.levels[0],
                   a.level_count[0], a.lower[0], a.upper[0]) == 0;
}

bool call_three(const VlixImage& image, Arguments& a) {
  struct Pixel {
    uint8_t channel[4];
  };
  const auto region = region_of<const Pixel>(image);
  return vlix_ippiHistogramEven_8u_AC4R(&region.origin->channel[0], region.stride_bytes(),
                                        {region.width, region.height}, a.counts.data(), a.levels.data(),
                                        a.level_count.data(), a.lower.data(), a.upper.data()) == 0;
}

bool call_primitive(const VlixImage& image, Arguments& arguments) {
  switch (image.type) {
    case ObjType_U8: return call_one<uint8_t>(image, vlix_ippiHistogramEven_8u_C1R, arguments);
    case ObjType_S16: return call_one<int16_t>(image, vlix_ippiHistogramEven_16s_C1R, arguments);
    case ObjType_U16: return call_one<uint16_t>(image, vlix_ippiHistogramEven_16u_C1R, arguments);
    case ObjType_Rgba8: return call_three(image, arguments);
    default: return false;
  }
}

enum class Outcome { kCounted, kNoMemory, kPrimitiveFailed };

// The arrays are gone when this returns.
Outcome run(const VlixImage& image, const EvenChannel* channels, int32_t channel_count, int64_t& missing_bytes) {
  Arguments arguments;
  for (std::size_t c = 0; c < static_cast<std::size_t>(channel_count); ++c) {
    missing_bytes = prepare(channels[c], c, arguments);
    if (missing_bytes != 0) return Outcome::kNoMemory;
  }
  if (!call_primitive(image, arguments)) return Outcome::kPrimitiveFailed;
  for (std::size_t c = 0; c < static_cast<std::size_t>(channel_count); ++c) {
    for (int32_t i = 0; i < channels[c].bins; ++i) channels[c].points[i].y = arguments.counts[c][i];
  }
  return Outcome::kCounted;
}

}  // namespace

VlixStatus count_even(const VlixImage& image, const EvenChannel* channels, int32_t channel_count) {
  int64_t missing_bytes = 0;
  switch (run(image, channels, channel_count, missing_bytes)) {
    case Outcome::kCounted: return kSuccess;
    case Outcome::kNoMemory: return report_memory(op::histogram, missing_bytes);
    case Outcome::kPrimitiveFailed: break;
  }
  return report("histogram: error computing histogram");
}

}  // namespace vlix
