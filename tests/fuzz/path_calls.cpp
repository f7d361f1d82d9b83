// SPDX-License-Identifier: Apache-2.0
#include <cmath>

#include "geometry/interpolation_twin.h"
#include "geometry/samplepath_twin.h"
#include "trial.h"

namespace vlix::fuzz {
namespace {

using test::Rgba;

// An image of a grey type or of four-byte colours, and its channels as the definitions read them.
struct Picture {
  VlixImage record = {};
  uint32_t own_type = 0;
  int channels = 1;
  std::function<float(int, int, int)> pixel;  // column, row, channel
  std::shared_ptr<void> memory;
  bool is_supported() const { return record.type == own_type; }
};

template <class Pixel>
Picture make_picture(Bytes& bytes) {
  Picture picture;
  std::shared_ptr<test::TestImage<Pixel>> image = bytes.image<Pixel>(30, 20);
  picture.record = image->record;
  if constexpr (std::is_same_v<Pixel, Rgba>) {
    picture.channels = 3;
    picture.record.type = bytes.pick<uint32_t>({19, 20, 21, 30});
    picture.pixel = [image](int x, int y, int c) { return static_cast<float>(image->at(x, y).channel[c]); };
  } else {
    picture.pixel = [image](int x, int y, int) { return static_cast<float>(image->at(x, y)); };
  }
  picture.own_type = picture.record.type;
  picture.memory = image;
  if (bytes.rarely(16)) picture.record.type = bytes.pick<uint32_t>({0, 8, 12, 18, 24, 36, 39, 44});
  return picture;
}

Picture any_picture(Bytes& bytes) {
  switch (bytes.integer(0, 5)) {
    case 0: return make_picture<uint8_t>(bytes);
    case 1: return make_picture<int8_t>(bytes);
    case 2: return make_picture<uint16_t>(bytes);
    case 3: return make_picture<int16_t>(bytes);
    case 4: return make_picture<float>(bytes);
    default: return make_picture<Rgba>(bytes);
  }
}

// Mostly inside the region: whole numbers, multiples of 1/16, or any.
float coordinate(Bytes& bytes, int32_t first, int32_t size) {
  if (bytes.rarely(64)) return bytes.real();
  if (bytes.rarely(16)) return static_cast<float>(bytes.integer(-32, 16 * 40)) / 16.0f;
  const auto steps = bytes.integer(0, 16 * (size - 1));
  return static_cast<float>(16 * first + (bytes.coin() ? steps : steps / 16 * 16)) / 16.0f;
}

PointF32 any_point(Bytes& bytes, const VlixImage& image) {
  const float x = coordinate(bytes, image.roiX, image.roiWidth);
  return {x, coordinate(bytes, image.roiY, image.roiHeight)};
}

bool is_outside(const VlixImage& image, PointF32 p) {
  return p.x < static_cast<float>(image.roiX) || p.x > static_cast<float>(image.roiX + image.roiWidth - 1) ||
         p.y < static_cast<float>(image.roiY) || p.y > static_cast<float>(image.roiY + image.roiHeight - 1);
}

Report point_report(PointF32 p) {
  char text[512];
  std::snprintf(text, sizeof(text), "samplepath: point(%f,%f) out of image ROI\n", double{p.x}, double{p.y});
  return message("samplepath: point(%f,%f) out of image ROI\n", text);
}

// The channels at a position in the order in which they are stored.
std::vector<float> read_twin(const Picture& picture, int32_t mode, const float* invalid, float x, float y) {
  std::vector<float> values;
  for (int c = picture.channels - 1; c >= 0; --c) {
    const test::PixelSource pixel = [&](int i, int j) { return picture.pixel(i, j, c); };
    if (invalid == nullptr) {
      values.push_back(mode == 1 ? test::bilinear_twin(pixel, x, y) : test::nearest_twin(pixel, x, y));
    } else {
      values.push_back(mode == 1 ? test::aware_bilinear_twin(pixel, x, y, *invalid)
                                 : test::aware_nearest_twin(pixel, x, y, *invalid));
    }
  }
  return values;
}

int32_t any_mode(Bytes& bytes) { return bytes.rarely(16) ? bytes.pick({-1, 2, 255}) : bytes.integer(0, 1); }
bool is_known(int32_t mode) { return mode == 0 || mode == 1; }

void call_point(Bytes& bytes, RecordingPlatform& platform) {
  Trial trial(bytes, platform);
  const Picture picture = any_picture(bytes);
  const PointF32 point = any_point(bytes, picture.record);
  const int32_t mode = any_mode(bytes);
  const bool wanted = !bytes.rarely(8);
  constexpr float kUntouched = -77.25f;
  float result[4] = {kUntouched, kUntouched, kUntouched, kUntouched};
  trial.call(vlix_samplepath_point, &picture.record, point, wanted ? result : nullptr, mode);
  std::vector<Report> expected;
  if (is_outside(picture.record, point)) {
    expected = {point_report(point)};
  } else if (!is_known(mode)) {
    expected = {message("samplepath_point: interpolation mode not suppported\n")};
  } else if (!picture.is_supported()) {
    expected = {message("samplepath_point: image format not suppported\n")};
  }
  std::vector<float> values;
  if (trial.succeeds(expected) && wanted) {
    const bool is_number = !std::isnan(point.x) && !std::isnan(point.y);
    values = is_number ? read_twin(picture, mode, nullptr, point.x, point.y)
                       : std::vector<float>(static_cast<std::size_t>(picture.channels), std::nanf(""));
  }
  values.resize(4, kUntouched);
  for (std::size_t i = 0; i < 4; ++i) FUZZ_CHECK(same(result[i], values[i]));
}

// ---- Lines ----

// A value that no sample is to be taken from; often one that the image has.
struct AnyInvalidValue {
  AnyInvalidValue(Bytes& bytes, const Picture& picture) : given(bytes.rarely(3)) {
    record.type = bytes.rarely(8) ? bytes.pick<uint32_t>({6, 7, 10, 11, 17, 19}) : picture.record.type;
    const VlixImage& image = picture.record;
    value = picture.pixel(bytes.integer(0, image.width - 1), bytes.integer(0, image.height - 1), 0);
    if (record.type != image.type) return;
    switch (record.type) {
      case ObjType_S8: record.value.s8 = static_cast<int8_t>(value); break;
      case ObjType_U8: record.value.u8 = static_cast<uint8_t>(value); break;
      case ObjType_S16: record.value.s16 = static_cast<int16_t>(value); break;
      case ObjType_U16: record.value.u16 = static_cast<uint16_t>(value); break;
      default: record.value.f32 = value; break;
    }
  }
  const VlixObj* pointer() const { return given ? reinterpret_cast<const VlixObj*>(&record) : nullptr; }
  bool given;
  VlixInvalidValue record = {};
  float value;
};

float any_spacing(Bytes& bytes) {
  if (bytes.rarely(32)) return bytes.pick({0.0f, -1.0f, std::nanf(""), INFINITY, -INFINITY, 1e-38f, 1e30f});
  return static_cast<float>(bytes.integer(1, 96)) / 16.0f;
}

std::vector<Report> expected_checks(const Picture& picture, const std::vector<PointF32>& path, float spacing,
                                    int32_t mode, const AnyInvalidValue& invalid) {
  std::vector<Report> expected;
  for (const PointF32& p : path) {
    if (!expected.empty() || !is_outside(picture.record, p)) continue;
    expected = {point_report(p)};
  }
  if (expected.empty() && spacing <= 0) expected = {message("samplepath_lines: sampleSpacing must be positive\n")};
  if (expected.empty() && !is_known(mode)) {
    expected = {message("samplepath_lines: interpolation mode not suppported\n")};
  }
  if (!invalid.given) return expected;
  const uint32_t type = picture.record.type;
  if (type == 19 || type == 20 || type == 21 || type == 30) {
    expected.push_back(message("samplepath_lines: invalid value is not implemented for color images\n"));
  } else if (invalid.record.type != type) {
    expected.push_back(message("samplepath_lines: the provided invalid value type must match the image type\n"));
  }
  return expected;
}

// Everything that the twin can follow: it has no answer to numbers of samples beyond 32 bits.
bool is_tame(const std::vector<PointF32>& path, float spacing) {
  for (const PointF32& p : path) {
    if (std::isnan(p.x) || std::isnan(p.y)) return false;
  }
  return !std::isnan(spacing) && spacing > 0.01f;
}

constexpr int32_t kNoCount = -99;

struct LinesCall {
  AnyVector values;
  AnyVector positions;
  int32_t count_on_entry;
  bool count_wanted;
  int32_t count = kNoCount;

  LinesCall(Bytes& bytes, Trial& trial)
      : values(bytes, trial, {ObjType_F32, ObjType_U8, ObjType_PointF32}),
        positions(bytes, trial, {ObjType_PointF32, ObjType_U8, ObjType_F64}, 3),
        count_on_entry(values.record.count),
        count_wanted(!bytes.rarely(4)) {}
};

void check_lines(const Picture& picture, const std::vector<PointF32>& path, float spacing, int32_t mode,
                 const AnyInvalidValue& invalid, const LinesCall& call) {
  const auto read = [&](float x, float y) {
    return read_twin(picture, mode, invalid.given ? &invalid.value : nullptr, x, y);
  };
  const auto twin = test::samplepath_twin(picture.record.width, picture.record.height, path, spacing,
                                          call.count_on_entry, picture.channels, read);
  FUZZ_CHECK(call.values.holds(ObjType_F32, twin.values));
  if (call.positions.wanted) FUZZ_CHECK(call.positions.holds(ObjType_PointF32, twin.positions));
  if (call.count_wanted) FUZZ_CHECK(call.count == twin.count);
}

void call_lines(Bytes& bytes, RecordingPlatform& platform, bool single) {
  Trial trial(bytes, platform);
  const Picture picture = any_picture(bytes);
  std::vector<PointF32> path(single ? 2 : static_cast<std::size_t>(bytes.integer(0, 6)));
  for (PointF32& p : path) p = any_point(bytes, picture.record);
  const float spacing = any_spacing(bytes);
  const int32_t mode = any_mode(bytes);
  const AnyInvalidValue invalid(bytes, picture);
  LinesCall call(bytes, trial);
  int32_t* const count = call.count_wanted ? &call.count : nullptr;
  if (single) {
    trial.call(vlix_samplepath_line, &picture.record, path[0], path[1], call.values.pointer(), call.positions.pointer(),
               count, spacing, mode, invalid.pointer());
  } else {
    const test::TestVector<PointF32> vector(path);
    trial.call(vlix_samplepath_lines, &picture.record, &vector.record, call.values.pointer(), call.positions.pointer(),
               count, spacing, mode, invalid.pointer());
  }
  std::vector<Report> expected = expected_checks(picture, path, spacing, mode, invalid);
  const bool checked = expected.empty() && call.values.wanted;
  if (checked && path.empty()) {
    expected = {message("samplepath_lines: not enough memory\n")};
  } else if (checked && !is_tame(path, spacing)) {
    return;  // nothing faults, nothing more
  } else if (checked && !picture.is_supported()) {
    expected = {message("samplepath_lines: image format not suppported\n")};
  }
  if (trial.succeeds(expected) && call.values.wanted) check_lines(picture, path, spacing, mode, invalid, call);
}

}  // namespace

void call_path_family(Bytes& bytes, RecordingPlatform& platform) {
  switch (bytes.integer(0, 3)) {
    case 0: return call_point(bytes, platform);
    case 1: return call_lines(bytes, platform, true);
    default: return call_lines(bytes, platform, false);
  }
}

}  // namespace vlix::fuzz
