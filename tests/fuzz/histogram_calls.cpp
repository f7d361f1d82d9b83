// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>

#include "histogram/hist_roi_twin.h"
#include "histogram/histogram_int_twin.h"
#include "platform/util/util_histogram_twin.h"
#include "trial.h"
#include "vlix/util.h"

namespace vlix::fuzz {
namespace {

using test::Rgba;
using test::TestImage;

const std::string kColourText = "histogram: not supported for color images\n";
const std::string kBinsText = "histogram: invalid number of bins, must be greater than 0\n";
const std::string kRangeFormat = "histogram: invalid value range %g..%g\n";
const std::string kDivisorFormat = "histogram: invalid number of bins, must be a divisor of %d\n";
const std::string kErrorText = "histogram: error computing histogram";

// The type reports that the two operations on monochrome images share; none for `own`.
std::vector<Report> expected_type(uint32_t type, uint32_t own) {
  if (type == own) return {};
  if (type == 19 || type == 20 || type == 21 || type == 30) return {message(kColourText)};
  return {wrong_type("histogram", type)};
}

Report range_report(int32_t lo, int32_t hi) {
  return message(kRangeFormat, std::to_string(lo) + ".." + std::to_string(hi));
}

Report divisor_report(int64_t range) {
  return message(kDivisorFormat,
                 "histogram: invalid number of bins, must be a divisor of " + std::to_string(range) + "\n");
}

// ---- Float ranges ----

// Starts of bins lie a rounding to float from their place.
bool are_starts(const std::vector<float>& starts, float lo, float hi) {
  const auto n = static_cast<double>(starts.size());
  for (std::size_t i = 0; i < starts.size(); ++i) {
    const double place = lo + static_cast<double>(i) * (static_cast<double>(hi) - lo) / n;
    const double rounding = std::max({std::abs(place), std::abs(double{lo}), std::abs(double{hi})}) * 0x1p-50;
    if (!(std::abs(starts[i] - place) <= std::abs(place) * 0x1p-23 + rounding + 0x1p-149)) return false;
  }
  return true;
}

template <class Pixel>
void check_float_histogram(TestImage<Pixel>& image, const AnyVector& hist, int32_t bins, bool running, float lo,
                           float hi) {
  FUZZ_CHECK(hist.record.type == ObjType_PointF32 && hist.record.count == bins);
  const auto found = hist.values<PointF32>();
  std::vector<float> starts;
  for (const PointF32& bin : found) starts.push_back(bin.x);
  FUZZ_CHECK(are_starts(starts, lo, hi));
  const auto counts = test::histogram_twin<Pixel>(image.record, starts, lo, hi);
  uint64_t sum = 0;
  for (std::size_t i = 0; i < counts.size(); ++i) {
    sum = (running ? sum : 0) + counts[i];
    FUZZ_CHECK(found[i].y == static_cast<float>(sum));
  }
}

template <class Pixel>
void call_float_histogram(Bytes& bytes, RecordingPlatform& platform) {
  Trial trial(bytes, platform);
  const auto image = bytes.image<Pixel>(40, 12);
  if (bytes.rarely(16)) image->record.type = bytes.pick<uint32_t>({0, 8, 12, 18, 19, 20, 21, 30, 36});
  AnyVector hist(bytes, trial, {ObjType_PointF32, ObjType_U8});
  const int32_t bins = bytes.rarely(16) ? bytes.integer(-2, 0) : bytes.integer(1, 64);
  const int32_t flag = bytes.integer(0, 2);
  float lo = bytes.real();
  float hi = bytes.rarely(3) ? static_cast<float>(*image->data()) : bytes.real();
  if (hi < lo && !bytes.rarely(8)) std::swap(lo, hi);
  trial.call(vlix_histogram, &image->record, hist.pointer(), flag, bins, lo, hi);
  auto expected = expected_type(image->record.type, static_cast<uint32_t>(test::code_of<Pixel>()));
  if (!expected.empty()) {
  } else if (bins < 1) {
    expected = {message(kBinsText)};
  } else if (lo > hi) {
    char text[128];
    std::snprintf(text, sizeof(text), kRangeFormat.c_str(), double{lo}, double{hi});
    expected = {message(kRangeFormat, text)};
  } else if (hist.wanted && !(std::isfinite(lo) && std::isfinite(hi))) {
    expected = {message("histogram: failed, possibly caused by insufficient memory\n")};
  }
  if (trial.succeeds(expected) && hist.wanted) check_float_histogram(*image, hist, bins, flag != 0, lo, hi);
}

// ---- Integer ranges ----

struct IntegerBins {
  explicit IntegerBins(Bytes& bytes, int32_t most, int32_t most_width) {
    // Mostly ranges that are whole bins, sometimes any numbers.
    bins = bytes.integer(1, most);
    lo = bytes.integer(-300, 300);
    hi = lo + bins * bytes.integer(1, most_width) - 1;
  }
  int64_t range() const { return test::wrapped(int64_t{hi} - lo + 1); }
  int32_t bins;
  int32_t lo;
  int32_t hi;
};

template <class Pixel>
std::vector<int32_t> values_of(TestImage<Pixel>& image) {
  std::vector<int32_t> values;
  for (int32_t y = 0; y < image.record.roiHeight; ++y) {
    for (int32_t x = 0; x < image.record.roiWidth; ++x) values.push_back(static_cast<int32_t>(image.roi_at(x, y)));
  }
  return values;
}

std::vector<Report> expected_integer(const IntegerBins& b) {
  if (b.hi < b.lo) return {range_report(b.lo, b.hi)};
  if (b.bins < 1) return {message(kBinsText)};
  if (b.range() % b.bins != 0) return {divisor_report(b.range())};
  return {};
}

template <class Pixel>
void call_integer_histogram(Bytes& bytes, RecordingPlatform& platform) {
  Trial trial(bytes, platform);
  platform.integer_ranges = true;
  const auto image = bytes.image<Pixel>(40, 12);
  if (bytes.rarely(16)) image->record.type = bytes.pick<uint32_t>({0, 8, 12, 17, 18, 19, 20, 21, 30, 36});
  AnyVector hist(bytes, trial, {ObjType_PointI32, ObjType_U8});
  IntegerBins b(bytes, 300, 40);
  if (bytes.rarely(8)) b.bins = bytes.integer(-2, 70000);
  if (bytes.rarely(8)) b.lo = bytes.any_integer();
  if (bytes.rarely(8)) b.hi = bytes.any_integer();
  const int32_t cumulative = bytes.integer(0, 2);
  trial.call(vlix_histogramInt, &image->record, hist.pointer(), cumulative, b.bins, b.lo, b.hi);

  auto expected = expected_type(image->record.type, static_cast<uint32_t>(test::code_of<Pixel>()));
  if (expected.empty()) expected = expected_integer(b);
  if (!expected.empty() || !hist.wanted) {
    trial.succeeds(expected);
    return;
  }
  // A primitive that refuses the range is reported, and the plain loop counts instead.
  const bool refused = platform.reports() == std::vector{message(kErrorText)} && trial.status() == 0;
  const bool primitive = trial.level() != 0 && !std::is_same_v<Pixel, int8_t> && platform.reports().empty();
  const bool is_narrow = int64_t{b.hi} - b.lo < INT32_MAX;
  if (refused) {
    FUZZ_CHECK(trial.level() != 0 && (trial.is_disturbed() || b.hi == INT32_MAX || !is_narrow));
  } else if (!trial.succeeds({})) {
    return;
  }
  // Primitives form levels in 64 bits: ranges of more than 31 bits do not wrap there.
  if (primitive && !is_narrow) return;
  const auto twin = test::histogram_int_twin(values_of(*image), b.bins, b.lo, b.hi, cumulative != 0,
                                             primitive ? test::Rule::kExact : test::Rule::kFloatFactor);
  FUZZ_CHECK(hist.holds(ObjType_PointI32, twin));
}

// ---- Colours ----

constexpr int32_t kMostColourBins = 40;

// Outputs of three channels are one array of records.
struct ColourOutputs {
  explicit ColourOutputs(Trial& trial) {
    for (const VlixVector& record : records) trial.owns(&record);
  }
  ColourOutputs(const ColourOutputs&) = delete;
  ColourOutputs& operator=(const ColourOutputs&) = delete;
  ~ColourOutputs() {
    for (VlixVector& record : records) VlixVectorRelease(&record, 0);
  }
  VlixVector records[3] = {};
};

std::vector<Report> expected_colour(const IntegerBins (&channels)[3]) {
  for (const IntegerBins& b : channels) {
    if (b.hi < b.lo) return {range_report(b.lo, b.hi)};
    if (b.bins < 1) return {message(kBinsText)};
  }
  for (const IntegerBins& b : channels) {
    if (b.range() % b.bins != 0) return {divisor_report(b.range())};
  }
  return {};
}

// The x of every bin comes from the list of lower bounds, by the number of the bin. Without counts all y are 0.
bool is_colour_histogram(const VlixVector& hist, TestImage<Rgba>& image, std::size_t channel, const IntegerBins& b,
                         const std::vector<int32_t>& lows, bool cumulative, bool counted) {
  std::vector<int32_t> values;
  for (int32_t y = 0; counted && y < image.record.roiHeight; ++y) {
    for (int32_t x = 0; x < image.record.roiWidth; ++x) values.push_back(image.roi_at(x, y).channel[channel]);
  }
  auto twin = test::histogram_int_twin(values, b.bins, b.lo, b.hi, cumulative, test::Rule::kExact);
  if (hist.type != ObjType_PointI32 || hist.count != b.bins) return false;
  const auto* found = static_cast<const PointI32*>(hist.data);
  for (std::size_t i = 0; i < twin.size(); ++i) {
    const auto x = static_cast<int32_t>(lows[i] + static_cast<int64_t>(i) * (b.range() / b.bins));
    if (found[i].x != x || found[i].y != twin[i].y) return false;
  }
  return true;
}

void call_colour_histogram(Bytes& bytes, RecordingPlatform& platform) {
  Trial trial(bytes, platform);
  platform.integer_ranges = true;
  const auto image = bytes.image<Rgba>(40, 12);
  if (bytes.rarely(16)) image->record.type = bytes.pick<uint32_t>({0, 6, 10, 17, 20, 21, 30, 36, 44});
  IntegerBins channels[3] = {IntegerBins(bytes, kMostColourBins, 20), IntegerBins(bytes, kMostColourBins, 20),
                             IntegerBins(bytes, kMostColourBins, 20)};
  if (bytes.rarely(8)) channels[bytes.integer(0, 2)].bins = bytes.integer(-1, kMostColourBins);
  if (bytes.rarely(8)) channels[bytes.integer(0, 2)].hi = bytes.integer(-300, 300);
  std::vector<int32_t> lows(kMostColourBins);
  for (std::size_t i = 0; i < lows.size(); ++i) lows[i] = i < 3 ? channels[i].lo : 1000 - 7 * static_cast<int32_t>(i);
  const int32_t bins[3] = {channels[0].bins, channels[1].bins, channels[2].bins};
  const int32_t highs[3] = {channels[0].hi, channels[1].hi, channels[2].hi};
  const int32_t cumulative = bytes.integer(0, 2);
  const bool wanted = !bytes.rarely(8);
  ColourOutputs out(trial);
  trial.call(vlix_histogramIntColor, &image->record, wanted ? out.records : nullptr, cumulative, bins, lows.data(),
             highs);

  std::vector<Report> expected;
  if (image->record.type != ObjType_Rgba8) {
    expected = {wrong_type("histogram", image->record.type)};
  } else {
    expected = expected_colour(channels);
  }
  const bool shaped = expected.empty() && wanted;
  const bool counted = shaped && trial.level() != 0;
  if (shaped && !counted) expected = {message("histogram: only works with IPP support\n")};
  const bool right = trial.succeeds(expected);
  if (!shaped || (!right && trial.is_disturbed())) return;
  for (std::size_t c = 0; c < 3; ++c) {
    FUZZ_CHECK(is_colour_histogram(out.records[c], *image, c, channels[c], lows, counted && cumulative != 0, counted));
  }
}

// ---- Regions ----

// Any pixels, relative to the region of interest, inside and outside of it.
struct AnyPixels {
  explicit AnyPixels(Bytes& bytes) : pixels(static_cast<std::size_t>(bytes.integer(0, 20))) {
    for (auto& [x, y] : pixels) {
      x = bytes.integer(-3, 40);
      y = bytes.integer(-3, 30);
    }
  }
  std::vector<std::pair<int32_t, int32_t>> pixels;
};

// A region object of any kind. Rectangles are the module's own affair; other shapes and regions are lists of pixels
// that a stand-in for the library enumerates.
struct AnyRegion {
  explicit AnyRegion(Bytes& bytes) : kind(bytes.pick<uint32_t>({2, 3, 53, 54})), pixels(bytes) {
    if (bytes.rarely(16)) kind = bytes.pick<uint32_t>({0, 1, 4, 10, 55});
    element_type = bytes.rarely(16) ? bytes.pick<uint32_t>({0, 29, 52}) : bytes.pick<uint32_t>({53, 54});
    const auto count = kind == 2 ? static_cast<std::size_t>(bytes.integer(0, 3)) : 1;
    corners.resize(4 * count);
    for (float& c : corners) c = bytes.rarely(16) ? bytes.real() : static_cast<float>(bytes.integer(-40, 140)) / 4;
    shapes.resize(count);
    for (std::size_t i = 0; i < count; ++i) {
      shapes[i] = {bytes.rarely(4) ? uint32_t{VlixShape_Ellipse} : uint32_t{VlixShape_PixelRect}, {}, &corners[4 * i]};
    }
    vector = {kind, {}, {element_type, shapes.data(), static_cast<int32_t>(count), 0}};
    single = {kind, {}, shapes.data()};
    region = {kind, {}, {}};
  }
  AnyRegion(const AnyRegion&) = delete;
  AnyRegion& operator=(const AnyRegion&) = delete;

  const VlixObj* object() const {
    if (kind == 2) return reinterpret_cast<const VlixObj*>(&vector);
    if (kind == 3) return reinterpret_cast<const VlixObj*>(&region);
    return reinterpret_cast<const VlixObj*>(&single);
  }
  std::vector<Report> expected() const {
    if (kind == 2 && element_type != 53 && element_type != 54) return {wrong_type("histRoi", element_type)};
    if (kind != 2 && kind != 3 && kind != 53 && kind != 54) return {wrong_type("histRoi", kind)};
    return {};
  }

  uint32_t kind;
  uint32_t element_type;
  AnyPixels pixels;
  std::vector<float> corners;
  std::vector<VlixShape> shapes;
  VlixVectorHandle vector;
  VlixShapeHandle single;
  VlixRegionHandle region;
};

template <class Pixel>
void add_rectangle(TestImage<Pixel>& image, const float* corners, std::vector<float>& samples) {
  const auto rounded = [](float c) { return test::truncated_twin(std::floor(static_cast<double>(c) + 0.5)); };
  const auto [x_lo, x_hi] = std::minmax({rounded(corners[0]), rounded(corners[2])});
  const auto [y_lo, y_hi] = std::minmax({rounded(corners[1]), rounded(corners[3])});
  for (int64_t y = std::max<int64_t>(y_lo, 0); y <= std::min<int64_t>(y_hi, image.record.height - 1); ++y) {
    for (int64_t x = std::max<int64_t>(x_lo, 0); x <= std::min<int64_t>(x_hi, image.record.width - 1); ++x) {
      samples.push_back(static_cast<float>(image.at(static_cast<int32_t>(x), static_cast<int32_t>(y))));
    }
  }
}

template <class Pixel>
std::vector<float> region_samples(TestImage<Pixel>& image, const AnyRegion& region) {
  std::vector<float> samples;
  const auto add_pixels = [&] {
    for (const auto& [x, y] : region.pixels.pixels) {
      if (x < 0 || y < 0 || x >= image.record.roiWidth || y >= image.record.roiHeight) continue;
      samples.push_back(static_cast<float>(image.roi_at(x, y)));
    }
  };
  if (region.kind == 3) {
    add_pixels();
    return samples;
  }
  for (const VlixShape& shape : region.shapes) {
    if (shape.kind == VlixShape_PixelRect) {
      add_rectangle(image, static_cast<const float*>(shape.geometry), samples);
    } else {
      add_pixels();
    }
  }
  return samples;
}

template <class Pixel>
void call_region_histogram(Bytes& bytes, RecordingPlatform& platform) {
  Trial trial(bytes, platform);
  const auto image = bytes.image<Pixel>(30, 20);
  if (bytes.rarely(16)) image->record.type = bytes.pick<uint32_t>({0, 8, 12, 18, 19, 36});
  const AnyRegion region(bytes);
  platform.scan_roi = platform.rasterize_roi = [&](void* context, void*, VlixPixelRoutine routine) {
    for (const auto& [x, y] : region.pixels.pixels) routine(context, x, y);
    return 0;
  };
  const int32_t bins = bytes.rarely(16) ? bytes.integer(-3, 0) : bytes.integer(1, 64);
  const float lo = bytes.real();
  const float hi = bytes.real();
  const bool cumulative = bytes.coin();
  AnyVector hist(bytes, trial, {ObjType_PointF32});
  VlixVectorRelease(&hist.record, 0);  // the operation makes its vector anew
  trial.call(vlix_histRoi, &image->record, region.object(), hist.pointer(), cumulative ? 1 : 0, bins, lo, hi);
  std::vector<Report> expected;
  if (image->record.type != static_cast<uint32_t>(test::code_of<Pixel>())) {
    expected = {wrong_type("histRoi", image->record.type)};
  } else {
    expected = region.expected();
    if (expected.empty() && hist.wanted && bins < 0) expected = {{0, "histRoi", std::to_string(8 * bins)}};
  }
  if (!trial.succeeds(expected) || !hist.wanted) return;
  const auto samples = region_samples(*image, region);
  FUZZ_CHECK(hist.holds(ObjType_PointF32,
                        test::hist_roi_twin(samples, std::is_same_v<Pixel, float>, bins, lo, hi, cumulative)));
}

template <class Pixel>
void call_any_histogram(Bytes& bytes, RecordingPlatform& platform) {
  switch (bytes.integer(0, 2)) {
    case 0: return call_float_histogram<Pixel>(bytes, platform);
    case 1: return call_region_histogram<Pixel>(bytes, platform);
    default: return call_integer_histogram<Pixel>(bytes, platform);
  }
}

}  // namespace

void call_histogram_family(Bytes& bytes, RecordingPlatform& platform) {
  switch (bytes.integer(0, 5)) {
    case 0: return call_any_histogram<uint8_t>(bytes, platform);
    case 1: return call_any_histogram<int8_t>(bytes, platform);
    case 2: return call_any_histogram<uint16_t>(bytes, platform);
    case 3: return call_any_histogram<int16_t>(bytes, platform);
    case 4:
      return bytes.coin() ? call_float_histogram<float>(bytes, platform)
                          : call_region_histogram<float>(bytes, platform);
    default: return call_colour_histogram(bytes, platform);
  }
}

}  // namespace vlix::fuzz
