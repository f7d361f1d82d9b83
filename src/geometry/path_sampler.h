// SPDX-License-Identifier: Apache-2.0
// Walks a poly-line in steps of arc length and reads the image at each step.
#pragma once

#include <cstdint>

#include "frame/scratch.h"
#include "geometry/interpolation.h"
#include "vlix/types.h"

namespace vlix {

// The whole image as real-valued bounds. NaN lies outside.
class ImageBounds {
 public:
  explicit ImageBounds(const VlixImage& image);
  bool contains(float x, float y) const { return 0.0f <= x && x <= last_x_ && 0.0f <= y && y <= last_y_; }
  float last_x() const { return last_x_; }
  float last_y() const { return last_y_; }

 private:
  float last_x_;
  float last_y_;
};

// Reads runs of positions that lie inside the image: one float per sample, for colour three, in reversed channel order.
class PointReader {
 public:
  PointReader(const VlixImage& image, int32_t mode, const VlixInvalidValue* invalid);
  bool is_supported() const { return colour_ != nullptr || run_ != nullptr || aware_ != nullptr; }
  int32_t channels() const { return colour_ != nullptr ? 3 : 1; }
  void read(const float* x, const float* y, int32_t count, float* values) const;

 private:
  const VlixImage& image_;
  const VlixInvalidValue* invalid_;
  ColourKernel colour_ = nullptr;
  GreyRunKernel run_ = nullptr;
  InvalidAwareKernel aware_ = nullptr;
};

class PathSampler {
 public:
  PathSampler(const VlixImage& image, const VlixVector& path, float spacing);

  // False when there is no memory for the segments, or no vertex.
  bool allocate();

  // Where each segment's samples begin; returns the length of the path. Start indices are clamped by the count that the
  // vector of values had before the call, and segments behind the clamp begin early: kept on purpose.
  float measure(int32_t count_on_entry);

  struct Output {
    float* values;
    int32_t value_count;  // all floats of the vector; those without a sample become 0
    PointF32* positions;  // null when not wanted
    int32_t count;        // samples
    bool adds_end;        // the last vertex is a sample of its own
  };
  void sample(const PointReader& reader, const Output& output) const;

 private:
  struct Segment {
    PointF32 start;
    PointF32 end;
    PointF32 direction;
    float length;
  };
  Segment segment(int32_t k) const;
  bool stays_inside(const Segment& s, float t) const;
  float pass_segment(const Segment& s, float t, int32_t most, int32_t& m) const;
  int32_t sample_segment(int32_t k, const PointReader& reader, const Output& output) const;

  const PointF32* vertices_;
  int32_t segment_count_;
  float spacing_;
  ImageBounds bounds_;
  HeapArray<int32_t> starts_;  // index of the segment's first sample
  HeapArray<float> offsets_;   // arc length along the segment of its first sample
};

}  // namespace vlix
