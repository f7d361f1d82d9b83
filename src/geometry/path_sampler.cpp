// SPDX-License-Identifier: Apache-2.0
#include "geometry/path_sampler.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include "frame/multiversion.h"
#include "frame/region.h"
#include "frame/type_sets.h"

namespace vlix {
namespace {

// The largest float that is not above the value: above 2^24 the nearest one may lie outside the image.
float float_not_above(int32_t value) {
  const float nearest = static_cast<float>(value);
  return static_cast<double>(nearest) <= static_cast<double>(value) ? nearest : std::nextafterf(nearest, -1.0f);
}

constexpr int32_t kBlock = 256;

// A block of steps along a segment.
struct Steps {
  float t[kBlock];
  float x[kBlock];
  float y[kBlock];
};

// Positions of a block, and whether all of them lie inside.
VLIX_MULTIVERSION bool place(Steps& steps, int32_t count, PointF32 start, PointF32 direction, float last_x,
                             float last_y) {
  int32_t outside = 0;
  for (int32_t i = 0; i < count; ++i) {
    const float x = start.x + direction.x * steps.t[i];
    const float y = start.y + direction.y * steps.t[i];
    steps.x[i] = x;
    steps.y[i] = y;
    outside |= 0.0f <= x ? 0 : 1;
    outside |= x <= last_x ? 0 : 1;
    outside |= 0.0f <= y ? 0 : 1;
    outside |= y <= last_y ? 0 : 1;
  }
  return outside == 0;
}

// The number of steps from t on that can be taken at once, fewer than `most`, none of them behind the length; t moves
// on. t is a multiple of the spacing u of floats in its binade. While t + spacing stays below the next power of two,
// rounding adds the same multiple of u to it each time: the one nearest to spacing, unless that lies halfway between
// two.
int32_t take_equal_steps(float& t, float spacing, float length, int32_t most) {
  const uint32_t exponent = std::bit_cast<uint32_t>(t) >> 23;  // of a positive number
  if (!(t > 0.0f) || exponent < 24 || exponent > 253) return 0;
  const double unit = std::bit_cast<float>((exponent - 23) << 23);
  const double next_power = std::bit_cast<float>((exponent + 1) << 23);
  const double start = t;
  const double units = static_cast<double>(spacing) / unit;  // exact
  const double step = std::nearbyint(units) * unit;
  if (!(step > 0.0) || std::fabs(units - std::floor(units)) == 0.5) return 0;
  // A step less than the quotients say: they are rounded.
  const double in_length = (static_cast<double>(length) - start) / step - 1.0;
  const double in_binade = (next_power - static_cast<double>(spacing) - start) / step - 1.0;
  const double count = std::floor(std::min({in_length, in_binade, static_cast<double>(most) - 1.0}));
  if (!(count >= 1.0)) return 0;
  t = static_cast<float>(start + count * step);  // exact
  return static_cast<int32_t>(count);
}

}  // namespace

ImageBounds::ImageBounds(const VlixImage& image)
    : last_x_(float_not_above(image.width - 1)), last_y_(float_not_above(image.height - 1)) {}

PointReader::PointReader(const VlixImage& image, int32_t mode, const VlixInvalidValue* invalid)
    : image_(image), invalid_(invalid) {
  if (is_four_byte_colour(image.type)) {
    colour_ = colour_kernel(mode);
  } else if (invalid == nullptr) {
    run_ = grey_run_kernel(image.type, mode);
  } else {
    aware_ = invalid_aware_kernel(image.type, mode);
  }
}

void PointReader::read(const float* x, const float* y, int32_t count, float* values) const {
  if (run_ != nullptr) return run_(image_, x, y, count, values);
  for (int32_t i = 0; i < count; ++i) {
    if (aware_ != nullptr) {
      values[i] = aware_(image_, x[i], y[i], *invalid_);
    } else {
      float channels[3];
      colour_(channels, image_, x[i], y[i]);
      for (int c = 0; c < 3; ++c) values[3 * std::ptrdiff_t{i} + c] = channels[2 - c];
    }
  }
}

PathSampler::PathSampler(const VlixImage& image, const VlixVector& path, float spacing)
    : vertices_(elements<const PointF32>(path)),
      segment_count_(path.count > 0 ? path.count - 1 : -1),
      spacing_(spacing),
      bounds_(image) {}

bool PathSampler::allocate() {
  if (segment_count_ < 0) return false;
  starts_ = HeapArray<int32_t>::uninitialised(static_cast<std::size_t>(segment_count_));
  if (!starts_) return false;
  offsets_ = HeapArray<float>::uninitialised(static_cast<std::size_t>(segment_count_));
  return static_cast<bool>(offsets_);
}

PathSampler::Segment PathSampler::segment(int32_t k) const {
  const PointF32 from = vertices_[k];
  const PointF32 to = vertices_[k + 1];
  const float dx = to.x - from.x;
  const float dy = to.y - from.y;
  float length;
  if (from.x != to.x && from.y == to.y) {
    length = std::fabs(dx);
  } else if (from.x == to.x) {
    length = std::fabs(dy);
  } else {
    const float square = dx * dx + dy * dy;
    length = static_cast<float>(std::sqrt(static_cast<double>(square)));
  }
  return {from, to, {dx / length, dy / length}, length};
}

// True when every step from t >= 0 on is known to lie inside: both ends keep a distance from the borders that exceeds
// the rounding of start + direction * t. With coordinates below 2^17 that is at most 2^17 x 2^-20 = 1/8.
bool PathSampler::stays_inside(const Segment& s, float t) const {
  constexpr float kMargin = 0.25f;
  constexpr float kMost = 131072.0f;
  const auto inside = [&](PointF32 p) {
    return kMargin <= p.x && p.x <= bounds_.last_x() - kMargin && kMargin <= p.y && p.y <= bounds_.last_y() - kMargin;
  };
  return t >= 0.0f && spacing_ > 0.0f && bounds_.last_x() < kMost && bounds_.last_y() < kMost && inside(s.start) &&
         inside(s.end) && s.length > 0.0f;
}

// Steps along a segment: returns the t behind it and counts the samples in m.
float PathSampler::pass_segment(const Segment& s, float t, int32_t most, int32_t& m) const {
  if (stays_inside(s, t)) {
    constexpr int32_t kSingleSteps = 4;  // between attempts
    while (t <= s.length && m < most) {
      m += take_equal_steps(t, spacing_, s.length, most - m);
      for (int32_t i = 0; i < kSingleSteps && t <= s.length && m < most; ++i, ++m) t = t + spacing_;
    }
    return t;
  }
  while (t <= s.length && m < most) {
    const bool counts = bounds_.contains(s.start.x + s.direction.x * t, s.start.y + s.direction.y * t);
    if (counts) ++m;
    const float next = t + spacing_;
    // A step too small to change t would never end outside of the image.
    if (!counts && next == t) break;
    t = next;
  }
  return t;
}

float PathSampler::measure(int32_t count_on_entry) {
  float total = 0.0f;
  float t = 0.0f;
  int32_t m = 0;
  float previous = 0.0f;
  for (int32_t k = 0; k < segment_count_; ++k) {
    if (k > 0) t = t - previous;
    offsets_[static_cast<std::size_t>(k)] = t;
    starts_[static_cast<std::size_t>(k)] = m;
    const Segment s = segment(k);
    total = total + s.length;
    previous = s.length;
    // What follows the last segment has no start.
    if (k + 1 == segment_count_) break;
    t = pass_segment(s, t, count_on_entry, m);
  }
  return total;
}

int32_t PathSampler::sample_segment(int32_t k, const PointReader& reader, const Output& output) const {
  const Segment s = segment(k);
  const int32_t channels = reader.channels();
  float t = offsets_[static_cast<std::size_t>(k)];
  int32_t i = starts_[static_cast<std::size_t>(k)];
  Steps steps;
  bool stalled = false;
  while (t <= s.length && i < output.count && !stalled) {
    // Not more steps than there are places, so that no sample is read in vain when all count.
    const int32_t most = std::min(kBlock, output.count - i);
    int32_t count = 0;
    while (count < most && t <= s.length) {
      steps.t[count++] = t;
      t = t + spacing_;
    }
    if (!place(steps, count, s.start, s.direction, bounds_.last_x(), bounds_.last_y())) {
      const int32_t all = count;
      count = 0;
      for (int32_t j = 0; j < all; ++j) {
        if (!bounds_.contains(steps.x[j], steps.y[j])) continue;
        steps.x[count] = steps.x[j];
        steps.y[count] = steps.y[j];
        ++count;
      }
      // As in measure().
      stalled = count == 0 && steps.t[all - 1] == t;
    }
    reader.read(steps.x, steps.y, count, output.values + std::ptrdiff_t{i} * channels);
    if (output.positions != nullptr) {
      for (int32_t j = 0; j < count; ++j) output.positions[i + j] = {steps.x[j], steps.y[j]};
    }
    i += count;
  }
  return i;
}

void PathSampler::sample(const PointReader& reader, const Output& output) const {
  const int64_t channels = reader.channels();
  int32_t i = 0;
  // A segment never begins behind the samples of those before it: it has the count that measure() gave them, and
  // sample_segment() stops before that at the end of the output only.
  int32_t written = 0;
  for (int32_t k = 0; k < segment_count_; ++k) {
    i = sample_segment(k, reader, output);
    written = std::max(written, std::min(i, output.count));
  }

  const PointF32 end = vertices_[segment_count_];
  if (output.adds_end && i < output.count && bounds_.contains(end.x, end.y)) {
    reader.read(&end.x, &end.y, 1, output.values + i * channels);
    if (output.positions != nullptr) output.positions[i] = end;
    written = std::max(written, i + 1);
  }
  if (written * channels < output.value_count) {
    std::fill(output.values + written * channels, output.values + output.value_count, 0.0f);
  }
}

}  // namespace vlix
