// SPDX-License-Identifier: Apache-2.0
// Mean, standard deviation and extremes of an image's region or of a vector.

#include <cmath>

#include "frame/region.h"
#include "frame/report.h"
#include "frame/type_sets.h"
#include "frame/visit.h"
#include "stats/exact_moments.h"
#include "stats/moments.h"
#include "stats/running_moments.h"
#include "vlix/meas.h"
#include "vlix/optim.h"

namespace vlix {
namespace {

// Where the four values of a channel go; null = not wanted.
struct Outputs {
  float* mean;
  float* deviation;
  float* min;
  float* max;

  bool wants_sums() const { return mean != nullptr || deviation != nullptr; }
  bool wants_extremes() const { return min != nullptr || max != nullptr; }
  bool wants_any() const { return wants_sums() || wants_extremes(); }
};

constexpr int kColourChannels = 3;

void put(float* output, double value) {
  if (output != nullptr) *output = static_cast<float>(value);
}

// Population deviation. A radicand that rounding has made negative is not clamped: not-a-number is the result.
void store(const Moments& moments, int64_t samples, const Outputs& outputs) {
  const auto n = static_cast<double>(samples);
  const double mean = moments.sum / n;
  put(outputs.mean, mean);
  if (outputs.deviation != nullptr) put(outputs.deviation, std::sqrt(moments.sum_of_squares / n - mean * mean));
  put(outputs.min, moments.min);
  put(outputs.max, moments.max);
}

template <class Pixel>
bool is_empty(const Region<const Pixel>& region) {
  return region.width <= 0 || region.height <= 0;
}

// Formats that exact_moments takes.
template <class Format>
inline constexpr bool kHasExactMoments = sizeof(typename Format::Pixel)<4 || Format::kChannels> 1;
// Up to here it takes regions.
constexpr int64_t kMostExactPixels = INT32_MAX;

// An empty region has no extremes and a mean of 0 / 0.
template <class Format>
void plain_stats(const Region<const typename Format::Pixel>& region, const Outputs (&outputs)[Format::kChannels]) {
  Moments moments[Format::kChannels];
  if (!is_empty(region)) {
    bool done = false;
    if constexpr (kHasExactMoments<Format>) {
      const bool sums = Format::kChannels > 1 || outputs[0].wants_sums();
      done = region.pixels() <= kMostExactPixels && exact_moments<Format>(region, sums, moments);
    }
    if (!done) running_moments<Format>(region, moments);
  }
  for (int channel = 0; channel < Format::kChannels; ++channel) {
    store(moments[channel], region.pixels(), outputs[channel]);
  }
}

// 8-bit samples: the sums of the plain path are exact and need no other kernel; an empty region shows the values that
// the extremes start from.
template <class Pixel>
void packed_stats(const VlixImage& image, const Outputs& outputs) {
  const auto region = region_of<const Pixel>(image);
  if (!is_empty(region)) return plain_stats<Single<Pixel>>(region, {outputs});
  constexpr double kLowest = std::numeric_limits<Pixel>::lowest();
  constexpr double kHighest = std::numeric_limits<Pixel>::max();
  store({0.0, 0.0, kHighest, kLowest}, region.pixels(), outputs);
}

template <class Pixel>
struct Primitives {
  int32_t (*mean_deviation)(const Pixel*, int32_t, VlixSize, double*, double*);
  int32_t (*min_max)(const Pixel*, int32_t, VlixSize, Pixel*, Pixel*);
};

// 8-bit signed pixels have no primitive for the extremes.
int32_t scan_min_max(const int8_t* origin, int32_t stride, VlixSize size, int8_t* min, int8_t* max) {
  const Region<const int8_t> region = {origin, stride, size.width, size.height};
  if (is_empty(region)) return 1;
  Moments moments[1];
  exact_moments<Single<int8_t>>(region, false, moments);
  *min = static_cast<int8_t>(moments[0].min);
  *max = static_cast<int8_t>(moments[0].max);
  return 0;
}

template <class Pixel>
bool primitive_stats(const VlixImage& image, const Primitives<Pixel>& primitives, const Outputs& outputs) {
  const Pixel* origin = pixel_address<const Pixel>(image, image.roiX, image.roiY);
  const int32_t step = VlixObjGetSize(static_cast<int32_t>(image.type)) * image.width;
  const VlixSize size = {image.roiWidth, image.roiHeight};
  if (outputs.wants_sums()) {
    double mean = 0.0;
    double deviation = 0.0;
    if (primitives.mean_deviation(origin, step, size, &mean, &deviation) != 0) return false;
    put(outputs.mean, mean);
    put(outputs.deviation, deviation);
  }
  if (outputs.wants_extremes()) {
    Pixel min = {};
    Pixel max = {};
    if (primitives.min_max(origin, step, size, &min, &max) != 0) return false;
    put(outputs.min, min);
    put(outputs.max, max);
  }
  return true;
}

// False where no primitive covers the type or one fails.
bool primitive_stats(const VlixImage& image, const Outputs& outputs) {
  switch (image.type) {
    case ObjType_U8:
      return primitive_stats<uint8_t>(image, {vlix_ippiMean_StdDev_8u_C1R, vlix_ippiMinMax_8u_C1R}, outputs);
    case ObjType_S8: return primitive_stats<int8_t>(image, {vlix_ippiMean_StdDev_8s_C1R, scan_min_max}, outputs);
    case ObjType_F32:
      return primitive_stats<float>(image, {vlix_ippiMean_StdDev_32f_C1R, vlix_ippiMinMax_32f_C1R}, outputs);
    default: return false;
  }
}

constexpr float kIntegerSums = 4294967296.0f;
constexpr int32_t kPackedLevel = 2;
constexpr int32_t kPackedWidth = 65536;

// For a monochrome image and a level above 0. True when the outputs are set.
bool optimised_stats(const VlixImage& image, int32_t level, bool is_byte, const Outputs& outputs) {
  if (level != kPackedLevel) return primitive_stats(image, outputs);
  if (!is_byte || image.roiWidth >= kPackedWidth) return false;
  image.type == ObjType_S8 ? packed_stats<int8_t>(image, outputs) : packed_stats<uint8_t>(image, outputs);
  return true;
}

// The product is taken in 32-bit floats.
bool sums_overflow(const VlixImage& image, int32_t bits) {
  if (bits != 8 && bits != 16) return false;
  const float full_scale = bits == 16 ? 65535.0f : 255.0f;
  return static_cast<float>(image.roiHeight) * static_cast<float>(image.roiWidth) * full_scale > kIntegerSums;
}

void image_stats(const VlixImage& image, const Outputs& outputs) {
  const int32_t bits = VlixObjGetSizeBits(static_cast<int32_t>(image.type));
  const int32_t level = VlixOptimGetLevel();
  if (level != 0 && !sums_overflow(image, bits) && optimised_stats(image, level, bits == 8, outputs)) return;
  with_pixel_type(image.type,
                  [&]<class Pixel>() { plain_stats<Single<Pixel>>(region_of<const Pixel>(image), {outputs}); });
}

template <class Format>
void plain_vector_stats(const VlixVector& vector, const Outputs (&outputs)[Format::kChannels]) {
  using Pixel = typename Format::Pixel;
  plain_stats<Format>({elements<const Pixel>(vector), vector.count, vector.count, 1}, outputs);
}

bool optimised_byte_vector_stats(const VlixVector& vector, const Outputs& outputs) {
  const int32_t level = VlixOptimGetLevel();
  if (level == 0 || static_cast<float>(vector.count) * 255.0f > kIntegerSums) return false;
  const VlixImage row = {ObjType_U8, vector.data, vector.count, 1, 0, 0, vector.count, 1};
  return optimised_stats(row, level, true, outputs);
}

void vector_stats(const VlixVector& vector, const Outputs& outputs) {
  if (vector.type == ObjType_PointI32) return plain_vector_stats<PointY<PointI32>>(vector, {outputs});
  if (vector.type == ObjType_PointF32) return plain_vector_stats<PointY<PointF32>>(vector, {outputs});
  if (vector.type == ObjType_U8 && optimised_byte_vector_stats(vector, outputs)) return;
  with_element_type(vector.type, [&]<class Element>() { plain_vector_stats<Single<Element>>(vector, {outputs}); });
}

template <class Format>
void colour_image_stats(const VlixImage& image, const Outputs (&outputs)[kColourChannels]) {
  plain_stats<Format>(region_of<const typename Format::Pixel>(image), outputs);
}

void image_stats(const VlixImage& image, const Outputs (&outputs)[kColourChannels]) {
  switch (image.type) {
    case ObjType_Colour36: return colour_image_stats<TenBits>(image, outputs);
    case ObjType_Colour39: return colour_image_stats<FourWords>(image, outputs);
    case ObjType_Colour44: return colour_image_stats<ThreeBytes>(image, outputs);
    default: return colour_image_stats<FourBytes>(image, outputs);
  }
}

// Signed channels 1 and 2 of Colour30, which an image of the same type does not have, are kept on purpose.
void vector_stats(const VlixVector& vector, const Outputs (&outputs)[kColourChannels]) {
  switch (vector.type) {
    case ObjType_Colour30: return plain_vector_stats<FourBytesSigned>(vector, outputs);
    case ObjType_Colour36: return plain_vector_stats<TenBits>(vector, outputs);
    case ObjType_Colour39: return plain_vector_stats<FourWords>(vector, outputs);
    case ObjType_Colour44: return plain_vector_stats<ThreeBytes>(vector, outputs);
    default: return plain_vector_stats<FourBytes>(vector, outputs);
  }
}

// Record is VlixImage or VlixVector.
template <class Record, class TypeSet>
VlixStatus stats(const Record& record, const TypeSet& monochrome, const Outputs& mono,
                 const Outputs (&colour)[kColourChannels]) {
  const bool any_colour = colour[0].wants_any() || colour[1].wants_any() || colour[2].wants_any();
  const bool is_monochrome = accepts(monochrome, record.type);
  if (is_monochrome) {
    if (any_colour) return report("stats: cannot get color stats on monochrome input\n");
  } else {
    if (!accepts(kColours, record.type)) return report_type(op::stats, record.type);
    if (mono.wants_any()) return report("stats: cannot get monochrome stats on color input\n");
  }
  if constexpr (std::is_same_v<Record, VlixVector>) {
    if (record.count == 0) return report("stats: cannot process empty vector\n");
    if (!mono.wants_any() && !any_colour) return kSuccess;
    is_monochrome ? vector_stats(record, mono) : vector_stats(record, colour);
  } else {
    if (!mono.wants_any() && !any_colour) return kSuccess;
    is_monochrome ? image_stats(record, mono) : image_stats(record, colour);
  }
  return kSuccess;
}

}  // namespace
}  // namespace vlix

extern "C" VlixStatus vlix_stats(const VlixObj* obj, float* pMean, float* pStdDev, float* pMin, float* pMax,
                                 float* c0Mean, float* c0StdDev, float* c0Min, float* c0Max, float* c1Mean,
                                 float* c1StdDev, float* c1Min, float* c1Max, float* c2Mean, float* c2StdDev,
                                 float* c2Min, float* c2Max) {
  using namespace vlix;
  const Outputs mono = {pMean, pStdDev, pMin, pMax};
  const Outputs colour[kColourChannels] = {
      {c0Mean, c0StdDev, c0Min, c0Max}, {c1Mean, c1StdDev, c1Min, c1Max}, {c2Mean, c2StdDev, c2Min, c2Max}};
  switch (obj->type) {
    case VlixHandle_Vector:
      return stats(reinterpret_cast<const VlixVectorHandle*>(obj)->vector, kStatisticsVectors, mono, colour);
    case VlixHandle_Image:
      return stats(reinterpret_cast<const VlixImageHandle*>(obj)->image, kMonochromeImages, mono, colour);
    default: return report_type(op::stats, obj->type);
  }
}
