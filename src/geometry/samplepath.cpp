// SPDX-License-Identifier: Apache-2.0
// Image values at points and along poly-lines.

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "frame/convert.h"
#include "frame/region.h"
#include "frame/report.h"
#include "frame/scratch.h"
#include "frame/type_sets.h"
#include "frame/wrap.h"
#include "geometry/interpolation.h"
#include "geometry/path_sampler.h"
#include "vlix/meas.h"

namespace vlix {
namespace {

constexpr bool is_known_mode(int32_t mode) { return mode == kNearest || mode == kBilinear; }

// Compared in 32-bit floats; a NaN coordinate counts as inside.
bool is_outside_region(const VlixImage& image, PointF32 point) {
  return point.x < static_cast<float>(image.roiX) ||
         point.x > static_cast<float>(wrap_subtract(wrap_add(image.roiX, image.roiWidth), 1)) ||
         point.y < static_cast<float>(image.roiY) ||
         point.y > static_cast<float>(wrap_subtract(wrap_add(image.roiY, image.roiHeight), 1));
}

VlixStatus report_point(PointF32 point) {
  return report("samplepath: point(%f,%f) out of image ROI\n", static_cast<double>(point.x),
                static_cast<double>(point.y));
}

VlixStatus check_vertices(const VlixImage& image, const VlixVector& path) {
  const PointF32* vertices = elements<const PointF32>(path);
  for (int32_t i = 0; i < path.count; ++i) {
    if (!is_outside_region(image, vertices[i])) continue;
    if (const VlixStatus status = report_point(vertices[i])) return status;
  }
  return kSuccess;
}

VlixStatus check_path(const VlixImage& image, const VlixVector& path, float spacing, int32_t mode) {
  if (const VlixStatus status = check_vertices(image, path)) return status;
  if (spacing <= 0.0f) {
    if (const VlixStatus status = report("samplepath_lines: sampleSpacing must be positive\n")) return status;
  }
  if (!is_known_mode(mode)) return report("samplepath_lines: interpolation mode not suppported\n");
  return kSuccess;
}

// Replaces the status so far.
VlixStatus check_invalid_value(const VlixImage& image, const VlixObj* invalid, VlixStatus status) {
  if (invalid == nullptr) return status;
  if (is_four_byte_colour(image.type)) {
    return report("samplepath_lines: invalid value is not implemented for color images\n");
  }
  if (invalid->type != image.type) {
    return report("samplepath_lines: the provided invalid value type must match the image type\n");
  }
  return status;
}

// The number of samples, and whether the last one is the last vertex itself.
struct SampleCount {
  SampleCount(float length, float spacing) {
    const float steps = length / spacing;
    const int32_t whole = truncate_to_int32(steps);
    adds_end = steps - std::trunc(steps) >= 0.5f;
    count = wrap_add(wrap_add(whole, 1), adds_end ? 1 : 0);
  }
  int32_t count;
  bool adds_end;
};

void zero(const VlixVector& vector, int32_t count, std::size_t element_size) {
  if (count > 0) std::memset(vector.data, 0, static_cast<std::size_t>(count) * element_size);
}

}  // namespace
}  // namespace vlix

extern "C" VlixStatus vlix_samplepath_point(const VlixImage* image, PointF32 point, float* result, int32_t mode) {
  using namespace vlix;
  if (is_outside_region(*image, point)) {
    if (const VlixStatus status = report_point(point)) return status;
  }
  if (!is_known_mode(mode)) {
    if (const VlixStatus status = report("samplepath_point: interpolation mode not suppported\n")) return status;
  }
  const bool is_colour = is_four_byte_colour(image->type);
  const GreyKernel grey = grey_kernel(image->type, mode);
  if (!is_colour && grey == nullptr) return report("samplepath_point: image format not suppported\n");
  if (result == nullptr) return kSuccess;

  // Reached for a NaN coordinate, or after a report whose result was 0: there is no pixel to read.
  if (!ImageBounds(*image).contains(point.x, point.y)) {
    for (int c = 0; c < (is_colour ? 3 : 1); ++c) result[c] = std::numeric_limits<float>::quiet_NaN();
    return kSuccess;
  }
  if (is_colour) {
    float channels[3];
    colour_kernel(mode)(channels, *image, point.x, point.y);
    for (int c = 0; c < 3; ++c) result[c] = channels[2 - c];
  } else {
    *result = grey(*image, point.x, point.y);
  }
  return kSuccess;
}

extern "C" VlixStatus vlix_samplepath_lines(const VlixImage* image, const VlixVector* path, VlixVector* values,
                                            VlixVector* positions, int32_t* numSamples, float sampleSpacing,
                                            int32_t mode, const VlixObj* invalidValue) {
  using namespace vlix;
  VlixStatus status = check_path(*image, *path, sampleSpacing, mode);
  status = check_invalid_value(*image, invalidValue, status);
  if (status != kSuccess || values == nullptr) return status;

  PathSampler sampler(*image, *path, sampleSpacing);
  if (!sampler.allocate()) return report("samplepath_lines: not enough memory\n");
  const float length = sampler.measure(values->count);
  const SampleCount samples(length, sampleSpacing);
  if (numSamples != nullptr) *numSamples = samples.count;

  const int32_t channels = is_four_byte_colour(image->type) ? 3 : 1;
  const int32_t value_count = wrap_multiply(samples.count, channels);
  status = VlixVectorTryUseReservedMem(values, ObjType_F32, value_count, op::samplePath);
  if (status != kSuccess) return status;
  if (positions != nullptr) {
    status = VlixVectorTryUseReservedMem(positions, ObjType_PointF32, samples.count, op::samplePath);
    if (status != kSuccess) return status;
    zero(*positions, samples.count, sizeof(PointF32));
  }

  const auto* invalid = reinterpret_cast<const VlixInvalidValue*>(invalidValue);
  const PointReader reader(*image, mode, invalid);
  if (!reader.is_supported()) {
    zero(*values, value_count, sizeof(float));
    return report("samplepath_lines: image format not suppported\n");
  }
  sampler.sample(
      reader, {elements<float>(*values), value_count, positions == nullptr ? nullptr : elements<PointF32>(*positions),
               std::min(samples.count, values->count / channels), samples.adds_end});
  return kSuccess;
}

extern "C" VlixStatus vlix_samplepath_line(const VlixImage* image, PointF32 start, PointF32 end, VlixVector* values,
                                           VlixVector* positions, int32_t* numSamples, float sampleSpacing,
                                           int32_t mode, const VlixObj* invalidValue) {
  PointF32 vertices[2] = {start, end};
  const VlixVector path = {ObjType_PointF32, vertices, 2, 0};
  return vlix_samplepath_lines(image, &path, values, positions, numSamples, sampleSpacing, mode, invalidValue);
}
