// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "stats/background_twin.h"
#include "stats/count_twin.h"
#include "stats/formats.h"
#include "stats/stats_twin.h"
#include "stats/variance_twin.h"
#include "trial.h"

namespace vlix::fuzz {
namespace {

using test::Format;
using test::RawImage;
using test::RawVector;
using test::StatsTwin;

template <std::size_t kCount>
const Format& pick_format(Bytes& bytes, const Format (&formats)[kCount]) {
  return formats[bytes.integer(0, static_cast<int32_t>(kCount) - 1)];
}

std::vector<uint8_t> any_element(Bytes& bytes, const Format& format) {
  std::vector<uint8_t> element(static_cast<std::size_t>(format.bytes));
  const auto put = [&](auto value, std::size_t at) { std::memcpy(element.data() + at, &value, sizeof(value)); };
  if (format.code == ObjType_F32 || format.code == ObjType_PointF32) {
    for (std::size_t i = 0; i < element.size(); i += sizeof(float)) put(bytes.real(), i);
  } else if (format.code == ObjType_F64) {
    put(static_cast<double>(bytes.real()), 0);
  } else {
    for (uint8_t& b : element) b = bytes.bits_of<uint8_t>();
  }
  return element;
}

void fill(Bytes& bytes, const Format& format, void* data, std::size_t size) {
  const auto elements = bytes.pattern(32, [&] { return any_element(bytes, format); });
  const auto element_size = static_cast<std::size_t>(format.bytes);
  auto* to = static_cast<uint8_t*>(data);
  for (std::size_t i = 0; i < size / element_size; ++i, to += element_size) {
    std::memcpy(to, elements[i % elements.size()].data(), element_size);
  }
}

// An image of any format with a region inside.
RawImage raw_image(Bytes& bytes, const Format& format, int32_t most_width, int32_t most_height,
                   bool may_be_empty = false) {
  RawImage image(format, bytes.integer(1, most_width), bytes.integer(1, most_height), test::Fill::kLowest, 1);
  bytes.choose_region(image.record, may_be_empty);
  fill(bytes, format, image.record.data, image.bytes());
  return image;
}

// ---- stats ----

// Bit 4 * group + value: group 0 is of monochrome inputs, 1 to 3 are the channels.
constexpr uint32_t kMonochromeValues = 0xF;
constexpr uint32_t kColourValues = 0xFFF0;
constexpr float kUntouched = -12345.5f;

struct StatsCall {
  uint32_t wanted;
  float value[16];
};

VlixStatus call_stats(Trial& trial, const void* handle, StatsCall& call) {
  float* p[16];
  for (uint32_t i = 0; i < 16; ++i) {
    call.value[i] = kUntouched;
    p[i] = call.wanted & (1u << i) ? &call.value[i] : nullptr;
  }
  return trial.call(vlix_stats, static_cast<const VlixObj*>(handle), p[0], p[1], p[2], p[3], p[4], p[5], p[6], p[7],
                    p[8], p[9], p[10], p[11], p[12], p[13], p[14], p[15]);
}

uint32_t any_wanted(Bytes& bytes, const Format& format) {
  const uint32_t own = format.channels == 1 ? kMonochromeValues : kColourValues;
  if (bytes.rarely(8)) return bytes.bits_of<uint16_t>();
  return bytes.coin() ? own : bytes.bits_of<uint16_t>() & own;
}

// The primitive for floats sums deviations from the first sample, the twin the samples: N additions, N roundings of
// squares and a few more, each at most 2^-53 of a partial sum; the stored values are rounded to floats besides.
bool is_near(float found, float twin, int value, const std::vector<double>& samples) {
  double squares = 0;
  double magnitude = 0;
  for (double x : samples) {
    if (!(std::abs(x) < 1e15)) return true;  // sums that overflow or are no numbers go their own ways
    squares += x * x + (x - samples[0]) * (x - samples[0]);
    magnitude += std::abs(x) + std::abs(x - samples[0]);
  }
  if (value > 1) return same(found, twin);
  const auto n = static_cast<double>(samples.size());
  const double rounding = (n + 4) * 0x1p-53;
  if (value == 0) {
    return std::abs(double{found} - double{twin}) <= rounding * magnitude / n + 0x1p-23 * std::abs(double{twin});
  }
  const double expected = std::isnan(twin) ? 0.0 : double{twin} * double{twin};
  const double variance = std::isnan(found) ? 0.0 : double{found} * double{found};
  return std::abs(variance - expected) <= 3 * rounding * squares / n + 0x1p-21 * expected;
}

// All NaN are one, and so are the zeros.
bool equal(float a, float b) { return a == b || (std::isnan(a) && std::isnan(b)); }

void check_stats(const StatsCall& call, const Format& format, int32_t channel, bool is_rounded,
                 const std::vector<double>& samples) {
  const StatsTwin twin = test::stats_twin(samples);
  const float expected[4] = {twin.mean, twin.deviation, twin.min, twin.max};
  const int32_t group = format.channels == 1 ? 0 : 1 + channel;
  for (int32_t value = 0; value < 4; ++value) {
    const int32_t bit = 4 * group + value;
    const float found = call.value[bit];
    if ((call.wanted >> bit & 1u) == 0) {
      FUZZ_CHECK(same(found, kUntouched));
    } else if (is_rounded) {
      FUZZ_CHECK(is_near(found, expected[value], value, samples));
    } else {
      FUZZ_CHECK(equal(found, expected[value]));
    }
  }
}

std::vector<Report> expected_stats(uint32_t wanted, const Format& format, uint32_t type, bool is_empty_vector) {
  if (type != format.code) return {wrong_type("stats", type)};
  if (format.channels == 1 && (wanted & kColourValues) != 0) {
    return {message("stats: cannot get color stats on monochrome input\n")};
  }
  if (format.channels == 3 && (wanted & kMonochromeValues) != 0) {
    return {message("stats: cannot get monochrome stats on color input\n")};
  }
  if (is_empty_vector) return {message("stats: cannot process empty vector\n")};
  return {};
}

// Codes that no list has.
constexpr std::initializer_list<uint32_t> kUnknownTypes = {0, 9, 13, 16, 53, 70, 0xFFFFFFFF};

template <class Handle, class Raw>
void call_stats_of(Bytes& bytes, RecordingPlatform& platform, Handle handle, const Format& format, const Raw& input,
                   bool is_image) {
  Trial trial(bytes, platform);
  StatsCall call = {any_wanted(bytes, format), {}};
  uint32_t& type = [&]() -> uint32_t& {
    if constexpr (std::is_same_v<Handle, VlixImageHandle>) {
      return handle.image.type;
    } else {
      return handle.vector.type;
    }
  }();
  if (bytes.rarely(16)) type = bytes.pick(kUnknownTypes);
  const bool wrong_kind = bytes.rarely(16);
  if (wrong_kind) handle.kind = bytes.pick<uint32_t>({0, 1, 4, 53, 54});
  call_stats(trial, &handle, call);
  const std::vector<double> first = samples_of(format, input, 0);
  const auto expected = wrong_kind ? std::vector<Report>{wrong_type("stats", handle.kind)}
                                   : expected_stats(call.wanted, format, type, !is_image && first.empty());
  if (!trial.succeeds(expected)) {
    for (float v : call.value) FUZZ_CHECK(same(v, kUntouched));
    return;
  }
  if (first.empty()) return;
  const bool is_rounded = is_image && format.code == ObjType_F32 && trial.level() == 1;
  for (int32_t c = 0; c < format.channels; ++c) check_stats(call, format, c, is_rounded, samples_of(format, input, c));
}

// A vector of Colour30 reads its channels 1 and 2 as signed.
constexpr Format kSigned30 = {30, "Colour30", 4, 3, test::read_signed_from_channel_1, test::fill_as<uint8_t>};

void call_stats_of_vector(Bytes& bytes, RecordingPlatform& platform) {
  const Format& picked =
      bytes.coin() ? pick_format(bytes, test::kMonochromeVectorFormats) : pick_format(bytes, test::kColourFormats);
  const Format& format = picked.code == kSigned30.code ? kSigned30 : picked;
  const RawVector vector(format, bytes.integer(0, 150), test::Fill::kLowest, 1);
  fill(bytes, format, vector.record.data, vector.bytes());
  call_stats_of(bytes, platform, VlixVectorHandle{VlixHandle_Vector, {}, vector.record}, format, vector, false);
}

void call_stats_of_image(Bytes& bytes, RecordingPlatform& platform) {
  const Format& format =
      bytes.coin() ? pick_format(bytes, test::kMonochromeImageFormats) : pick_format(bytes, test::kColourFormats);
  const RawImage image = raw_image(bytes, format, 90, 8);
  call_stats_of(bytes, platform, VlixImageHandle{VlixHandle_Image, {}, image.record}, format, image, true);
}

// ---- counts ----

constexpr Format kCountable[] = {test::kU8,    test::kS8,       test::kU16,      test::kS16,      test::kF32,
                                 test::kRgba8, test::kColour20, test::kColour21, test::kColour30, test::kColour36};

void call_counts(Bytes& bytes, RecordingPlatform& platform) {
  Trial trial(bytes, platform);
  const Format& format = pick_format(bytes, kCountable);
  const bool wanted = !bytes.rarely(8);
  const bool by_threshold = bytes.coin();
  int32_t low = bytes.integer(-300, 300);
  int32_t high = low + bytes.integer(-10, 300);
  if (format.channels == 3 || bytes.rarely(8)) {
    low = bytes.any_integer();
    high = bytes.any_integer();
  }
  int32_t* const on_a_pixel = bytes.pick<int32_t*>({nullptr, &low, &high});
  const bool wrong = bytes.rarely(16);
  RawImage image = raw_image(bytes, format, 100, 6, true);
  if (wrong) image.record.type = bytes.pick<uint32_t>({0, 8, 12, 16, 18, 24, 39, 44});
  if (format.channels == 1 && on_a_pixel != nullptr) {
    const double pixel = format.read(static_cast<const uint8_t*>(image.record.data), 0);
    if (std::abs(pixel) < 1e6) *on_a_pixel = static_cast<int32_t>(pixel);
  }
  constexpr uint32_t kNoCount = 0xDEADBEEF;
  uint32_t count = kNoCount;
  uint32_t* const result = wanted ? &count : nullptr;
  if (by_threshold) {
    trial.call(vlix_countThreshPix, &image.record, result, low, high);
  } else {
    trial.call(vlix_countPix, &image.record, result);
  }
  const bool accepted = image.record.type == format.code;
  const auto expected = accepted ? std::vector<Report>{} : std::vector{wrong_type("countPix", image.record.type)};
  if (!trial.succeeds(expected) || !wanted) {
    FUZZ_CHECK(count == kNoCount);
    return;
  }
  if (!by_threshold) {
    FUZZ_CHECK(count == test::count_non_zero_twin(format, image));
  } else if (format.code == ObjType_U8 && trial.level() != 0 && !trial.is_disturbed() &&
             image.record.roiWidth * image.record.roiHeight > 0) {
    FUZZ_CHECK(count == test::count_by_primitive_twin(image, low, high));
  } else {
    FUZZ_CHECK(count == test::count_between_twin(format, image, low, high));
  }
}

// ---- variance ----

std::vector<Report> expected_variance(const VlixImage& image, bool accepted, bool wanted, int32_t kernel_width,
                                      int32_t kernel_height) {
  if (!accepted) return {wrong_type("variance", image.type)};
  if (!wanted) return {};
  const std::string half_width = std::to_string(image.roiWidth / 2);
  if (kernel_width < 1 || kernel_height < 1) {
    return {message("variance: kernel %dx%d, both dimensions must be greater than 0\n",
                    "variance: kernel " + std::to_string(kernel_width) + "x" + std::to_string(kernel_height) +
                        ", both dimensions must be greater than 0\n")};
  }
  if (image.roiWidth - (kernel_width - kernel_width / 2) - 1 < 0) {
    return {message("variance: kernel width larger than ROI (max.: %d)\n",
                    "variance: kernel width larger than ROI (max.: " + half_width + ")\n")};
  }
  if (image.roiHeight - (kernel_height - kernel_height / 2) - 1 < 0) {
    return {message("variance: kernel height larger than ROI (max.: %d)\n",
                    "variance: kernel height larger than ROI (max.: " + half_width + ")\n")};
  }
  return {};
}

int32_t kernel_size(Bytes& bytes) { return bytes.rarely(16) ? bytes.any_integer() : bytes.integer(-1, 12); }

template <class Pixel>
void call_variance(Bytes& bytes, RecordingPlatform& platform) {
  Trial trial(bytes, platform);
  const auto image = bytes.image<Pixel>(40, 16);
  const VlixImage region = image->record;
  const int32_t w = region.roiWidth;
  const int32_t h = region.roiHeight;
  const bool accepted = !bytes.rarely(16);
  if (!accepted) image->record.type = bytes.pick<uint32_t>({8, 12, 18, 19, 36});
  AnyImage mean(bytes, trial, ObjType_F32, w, h, 3);
  AnyImage variance(bytes, trial, ObjType_F32, w, h, 3);
  const int32_t kernel_width = kernel_size(bytes);
  const int32_t kernel_height = kernel_size(bytes);
  const int32_t deviation = bytes.integer(0, 2);
  trial.call(vlix_variance, &image->record, mean.pointer(), variance.pointer(), deviation, kernel_width, kernel_height);
  const bool wanted = mean.wanted || variance.wanted;
  if (!trial.succeeds(expected_variance(image->record, accepted, wanted, kernel_width, kernel_height)) || !wanted) {
    return;
  }
  std::vector<Pixel> pixels;
  for (int32_t y = 0; y < h; ++y) {
    for (int32_t x = 0; x < w; ++x) pixels.push_back(image->roi_at(x, y));
  }
  const auto twin = test::variance_twin(pixels, w, h, kernel_width, kernel_height, deviation != 0);
  if (mean.wanted) FUZZ_CHECK(mean.holds(ObjType_F32, w, h, twin.mean));
  if (variance.wanted) FUZZ_CHECK(variance.holds(ObjType_F32, w, h, twin.variance));
}

// ---- background ----

constexpr Format kLevelFormats[] = {test::kU8,    test::kS8,       test::kU16,      test::kS16,     test::kF32,
                                    test::kRgba8, test::kColour20, test::kColour21, test::kColour30};

// The buffer for one pixel, and what must stay as it was behind it.
struct PixelBuffer {
  PixelBuffer() { std::memset(bytes, 0xA5, sizeof(bytes)); }
  bool untouched_from(int32_t first) const {
    return std::all_of(bytes + first, bytes + sizeof(bytes), [](uint8_t b) { return b == 0xA5; });
  }
  uint8_t bytes[12];
};

float corner(const Format& format, const RawImage& image, bool right, bool bottom, int32_t channel) {
  const VlixImage& r = image.record;
  return static_cast<float>(
      format.read(image.pixel(right ? r.roiWidth - 1 : 0, bottom ? r.roiHeight - 1 : 0), channel));
}

// The levels of all channels. Colours are compared as a whole.
std::vector<float> levels(const Format& format, const RawImage& image) {
  std::vector<float> colours[4];
  for (int i = 0; i < 4; ++i) {
    for (int32_t c = 0; c < format.channels; ++c) colours[i].push_back(corner(format, image, i % 2 != 0, i > 1, c));
  }
  for (const auto& colour : colours) {
    if (std::count(std::begin(colours), std::end(colours), colour) >= 3) return colour;
  }
  std::vector<float> means;
  for (std::size_t c = 0; c < colours[0].size(); ++c) {
    means.push_back((colours[1][c] + colours[0][c] + colours[2][c] + colours[3][c]) / 4.0f);
  }
  if (format.channels == 1) {
    FUZZ_CHECK(
        equal(means[0], test::background_level_twin(colours[0][0], colours[1][0], colours[2][0], colours[3][0])));
  }
  return means;
}

void call_background(Bytes& bytes, RecordingPlatform& platform) {
  Trial trial(bytes, platform);
  const Format& format = pick_format(bytes, kLevelFormats);
  RawImage image = raw_image(bytes, format, 12, 6);
  if (bytes.rarely(16)) image.record.type = bytes.pick<uint32_t>({0, 8, 12, 18, 36, 39, 44});
  const bool wanted = !bytes.rarely(8);
  PixelBuffer buffer;
  trial.call(vlix_background, &image.record, static_cast<void*>(wanted ? buffer.bytes : nullptr));
  const bool accepted = image.record.type == format.code;
  const auto expected = accepted ? std::vector<Report>{} : std::vector{wrong_type("background", image.record.type)};
  if (!trial.succeeds(expected) || !wanted) {
    FUZZ_CHECK(buffer.untouched_from(0));
    return;
  }
  FUZZ_CHECK(buffer.untouched_from(format.bytes));
  const std::vector<float> level = levels(format, image);
  if (format.channels == 3) FUZZ_CHECK(buffer.bytes[3] == 0);
  for (int32_t c = 0; c < format.channels; ++c) {
    const double found = format.read(buffer.bytes, c);
    const float value = level[static_cast<std::size_t>(c)];
    if (format.code == ObjType_F32) {
      FUZZ_CHECK(equal(static_cast<float>(found), value));
    } else {
      FUZZ_CHECK(found == test::rounded_level_twin(value));
    }
  }
}

// Clamped, then truncated; not-a-number becomes 0.
double saturated(float value, double lowest, double highest) {
  if (std::isnan(value)) return 0;
  return std::trunc(std::min(std::max(static_cast<double>(value), lowest), highest));
}

void call_background_assign(Bytes& bytes, RecordingPlatform& platform) {
  Trial trial(bytes, platform);
  VlixImage image = {};
  image.type = bytes.pick<uint32_t>({6, 7, 10, 11, 17, 19, 20, 21, 30, 0, 8, 12, 18, 36, 39, 44});
  const float value = bytes.rarely(4) ? bytes.real() * 256.0f : bytes.real();
  PixelBuffer buffer;
  trial.call(vlix_background_assignF32, &image, static_cast<void*>(buffer.bytes), value);
  FUZZ_CHECK(trial.succeeds({}));
  const auto format = std::find_if(std::begin(kLevelFormats), std::end(kLevelFormats),
                                   [&](const Format& f) { return f.code == image.type; });
  if (format == std::end(kLevelFormats)) {
    FUZZ_CHECK(buffer.untouched_from(0));
    return;
  }
  FUZZ_CHECK(buffer.untouched_from(format->bytes));
  if (format->channels == 3) FUZZ_CHECK(buffer.bytes[3] == 0);
  for (int32_t c = 0; c < format->channels; ++c) {
    const double found = format->read(buffer.bytes, c);
    switch (image.type) {
      case ObjType_F32: FUZZ_CHECK(same(static_cast<float>(found), value)); break;
      case ObjType_S8: FUZZ_CHECK(found == saturated(value, -128, 127)); break;
      case ObjType_S16: FUZZ_CHECK(found == saturated(value, -32768, 32767)); break;
      case ObjType_U16: FUZZ_CHECK(found == saturated(value, 0, 65535)); break;
      default: FUZZ_CHECK(found == saturated(value, 0, 255)); break;
    }
  }
}

}  // namespace

void call_stats_family(Bytes& bytes, RecordingPlatform& platform) {
  switch (bytes.integer(0, 11)) {
    case 0:
    case 1: return call_stats_of_image(bytes, platform);
    case 2: return call_stats_of_vector(bytes, platform);
    case 3:
    case 4: return call_counts(bytes, platform);
    case 5: return call_variance<uint8_t>(bytes, platform);
    case 6: return call_variance<int8_t>(bytes, platform);
    case 7: return call_variance<uint16_t>(bytes, platform);
    case 8: return call_variance<int16_t>(bytes, platform);
    case 9: return call_variance<float>(bytes, platform);
    case 10: return call_background(bytes, platform);
    default: return call_background_assign(bytes, platform);
  }
}

}  // namespace vlix::fuzz
