// SPDX-License-Identifier: Apache-2.0
#include "commands/histogram_bins.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <string_view>

#include "commands/image_kinds.h"
#include "commands/moments.h"
#include "errors.h"
#include "vlix/meas.h"

namespace {

constexpr int32_t kUsualBins = 256;
// Keeps the number of values in a range within 31 bits.
constexpr double kLargestInteger = 1e9;
// A float that counts up by one stays here.
constexpr float kLargestFloatCount = 16777216;

struct FloatRange {
  float low, high;
};

int32_t whole_bound(const char* name, double value) {
  if (value == std::floor(value) && std::fabs(value) <= kLargestInteger) return static_cast<int32_t>(value);
  throw FileError(fmt::format("{} {:g} must be a whole number for integer pixels (or use --float)", name, value));
}

IntegerRange integer_range(const BinOptions& options, uint32_t type) {
  IntegerRange range = range_of_type(type);
  if (options.lo) range.low = whole_bound("--lo", *options.lo);
  if (options.hi) range.high = whole_bound("--hi", *options.hi);
  if (range.low <= range.high) return range;
  throw FileError(fmt::format("the range {}..{} is empty", range.low, range.high));
}

// The largest number of bins up to the usual one that divides the range into bins of whole width.
int32_t bins_for(int32_t values) {
  int32_t bins = std::min(values, kUsualBins);
  while (values % bins != 0) --bins;
  return bins;
}

int32_t integer_bins(const BinOptions& options, const IntegerRange& range) {
  const int32_t values = range.high - range.low + 1;
  const int32_t bins = options.bins.value_or(bins_for(values));
  if (values % bins == 0) return bins;
  throw FileError(fmt::format("the {} values {}..{} do not divide into {} bins of whole width (or use --float)", values,
                              range.low, range.high, bins));
}

FloatRange float_range(const BinOptions& options, const Image& image) {
  FloatRange range = {};
  if (!options.lo || !options.hi) {
    const Moments moments = grey_moments(image);
    range = {moments.min, moments.max};
  }
  if (options.lo) range.low = static_cast<float>(*options.lo);
  if (options.hi) range.high = static_cast<float>(*options.hi);
  if (!std::isfinite(range.low) || !std::isfinite(range.high)) {
    throw FileError("the range of values is not finite; give --lo and --hi");
  }
  if (range.low <= range.high) return range;
  throw FileError(fmt::format("the range {:g}..{:g} is empty", range.low, range.high));
}

// The plain loops multiply by a rounded factor instead of dividing, which can put the lowest value of a bin into the
// bin below.
bool some_edge_moves_down(int32_t bins, int32_t bin_width) {
  const auto factor = static_cast<float>(1.0 / bin_width);
  for (int32_t i = 0; i < bins; ++i) {
    if (static_cast<int32_t>(static_cast<float>(i * bin_width) * factor) < i) return true;
  }
  return false;
}

// Bins of regions span a whole number of values: the range is widened to one where it was not given.
FloatRange region_range(const BinOptions& options, const Image& image) {
  if (!is_float(image)) {
    const IntegerRange range = integer_range(options, image.type());
    return {static_cast<float>(range.low), static_cast<float>(range.high)};
  }
  FloatRange range = float_range(options, image);
  if (!options.lo && !options.hi) range.low = std::floor(range.low);
  if (!options.hi) range.high = range.low + std::floor(range.high - range.low) + 1;
  if (!options.lo && options.hi) range.low = range.high - std::ceil(range.high - range.low);
  const float span = range.high - range.low;
  if (span >= 1 && span <= static_cast<float>(kLargestInteger) && span == std::floor(span)) return range;
  throw FileError("inside shapes, --hi must be a whole number above --lo for float pixels");
}

// Value and count, whatever the bins hold.
PointF32 bin_at(const Vector& bins, std::size_t index) {
  if (bins.record()->type == ObjType_PointF32) return bins.elements<PointF32>()[index];
  const PointI32& bin = bins.elements<PointI32>()[index];
  return {static_cast<float>(bin.x), static_cast<float>(bin.y)};
}

// The number of bins that a smoothing width comes to, an odd one.
int32_t window_of(float bins) {
  const auto nearest = static_cast<int32_t>(std::floor(bins + 0.5F));
  if (nearest % 2 != 0) return nearest;
  return bins > static_cast<float>(nearest) ? nearest + 1 : nearest - 1;
}

void note_smoothing(const Vector& bins, float width, std::vector<std::string>& notes) {
  const float wanted = width / (bin_at(bins, 1).x - bin_at(bins, 0).x);
  const int32_t window = window_of(wanted);
  if (static_cast<float>(window) != wanted) {
    notes.push_back(fmt::format("note: --smooth is taken as {} bins, an odd number, instead of {:g}", window, wanted));
  }
  const auto count = static_cast<std::size_t>(bins.record()->count), half = static_cast<std::size_t>(window / 2);
  bool at_ends = false;
  for (std::size_t i = 0; i < half; ++i) at_ends |= bin_at(bins, i).y != 0 || bin_at(bins, count - 1 - i).y != 0;
  if (at_ends) notes.push_back("note: smoothing counts nothing beyond the ends, so the outermost bins come out lower");
}

// Counts the pixels that equal the upper bound of a float range, which belong to no bin.
struct TopEdge {
  const Image* image;
  float value;
  int64_t pixels;
};

void count_at_top_edge(void* context, int32_t x, int32_t y) {
  auto* const edge = static_cast<TopEdge*>(context);
  const bool inside = x >= 0 && y >= 0 && x < edge->image->width() && y < edge->image->height();
  if (inside && edge->image->row<float>(y)[x] == edge->value) ++edge->pixels;
}

void note_top_edge(const Image& image, const Region& region, float top, std::vector<std::string>& notes) {
  TopEdge edge = {&image, top, 0};
  if (!is_float(image) || VlixUtilScanRoi(&edge, const_cast<VlixRegion*>(region.record()), count_at_top_edge) != 0) {
    return;
  }
  if (edge.pixels != 0) {
    notes.push_back(fmt::format("note: {} pixels inside the shapes equal --hi and are not counted", edge.pixels));
  }
}

}  // namespace

Vector grey_bins(const BinOptions& options, const Image& image, std::vector<std::string>& notes) {
  Vector hist;
  if (is_float(image) || options.as_float) {
    const FloatRange range = float_range(options, image);
    require_success(vlix_histogram(image.record(), hist.record(), options.cumulative, options.bins.value_or(kUsualBins),
                                   range.low, range.high));
    return hist;
  }
  const IntegerRange range = integer_range(options, image.type());
  const int32_t bins = integer_bins(options, range);
  require_success(vlix_histogramInt(image.record(), hist.record(), options.cumulative, bins, range.low, range.high));
  const bool plain = VlixOptimGetLevel() == 0 || image.type() == ObjType_S8;
  if (plain && some_edge_moves_down(bins, (range.high - range.low + 1) / bins)) {
    notes.push_back("note: with this bin width the lowest values of some bins are counted one bin below");
  }
  return hist;
}

Vector region_bins(const BinOptions& options, const Image& image, const Region& region,
                   std::vector<std::string>& notes) {
  const FloatRange range = region_range(options, image);
  const auto values = static_cast<int32_t>(range.high - range.low) + 1;
  const int32_t bins = options.bins.value_or(is_float(image) ? kUsualBins : bins_for(values));
  const VlixRegionHandle handle = {VlixHandle_Region, {}, *region.record()};
  Vector hist;
  require_success(vlix_histRoi(image.record(), reinterpret_cast<const VlixObj*>(&handle), hist.record(),
                               options.cumulative, bins, range.low, range.high));
  note_top_edge(image, region, range.high, notes);
  const auto elements = hist.elements<PointF32>();
  if (std::any_of(elements.begin(), elements.end(), [](const PointF32& bin) { return bin.y >= kLargestFloatCount; })) {
    notes.push_back("note: bins inside shapes stop counting at 16777216");
  }
  return hist;
}

// All channels have the same range. The library takes the lower bound of bin i from entry i, so there is one per bin.
std::array<Vector, 3> colour_bins(const BinOptions& options, const Image& image) {
  if (image.type() != ObjType_Rgba8) throw FileError("colour histograms are made of 8-bit colour images");
  const IntegerRange range = integer_range(options, ObjType_U8);
  const int32_t bins = integer_bins(options, range);
  const std::array<int32_t, 3> counts = {bins, bins, bins}, high = {range.high, range.high, range.high};
  const std::vector<int32_t> low(static_cast<std::size_t>(std::max(bins, 3)), range.low);
  std::array<VlixVector, 3> records = {};
  const VlixStatus status = vlix_histogramIntColor(image.record(), records.data(), options.cumulative, counts.data(),
                                                   low.data(), high.data());
  std::array<Vector, 3> hists;
  for (std::size_t c = 0; c < 3; ++c) *hists[c].record() = records[c];
  require_success(status);
  return hists;
}

Vector smoothed(const Vector& bins, double width, std::vector<std::string>& notes) {
  const bool integers = bins.record()->type == ObjType_PointI32;
  const int32_t count = bins.record()->count;
  if (count < 2) throw FileError("a histogram of one bin cannot be smoothed");
  const double bin_width = double{bin_at(bins, 1).x} - double{bin_at(bins, 0).x};
  if (!(bin_width > 0)) throw FileError("a histogram of bins without width cannot be smoothed");
  if (width > bin_width * count) throw FileError(fmt::format("--smooth {:g} is wider than the histogram", width));
  Vector out;
  require_success(
      (integers ? vlix_smoothHistInt : vlix_smoothHist)(bins.record(), out.record(), static_cast<float>(width)));
  note_smoothing(bins, static_cast<float>(width), notes);
  return out;
}

namespace {

Vector extrema_of(const Vector& bins, bool maxima, float least_distance) {
  const bool integers = bins.record()->type == ObjType_PointI32;
  Vector out;
  require_success((integers ? vlix_histPeaksInt : vlix_histPeaks)(bins.record(), out.record(), maxima, least_distance));
  return out;
}

bool are_equal(const Vector& a, const Vector& b) {
  const auto bytes = [](const Vector& v) {
    return std::string_view(static_cast<const char*>(v.record()->data),
                            sizeof(PointF32) * static_cast<std::size_t>(v.record()->count));
  };
  return bytes(a) == bytes(b);
}

}  // namespace

// A distance that is less by next to nothing changes the result only where two extrema are exactly that far apart.
Vector peaks_of(const Vector& bins, bool maxima, double least_distance, std::vector<std::string>& notes) {
  const auto distance = static_cast<float>(least_distance);
  Vector out = extrema_of(bins, maxima, distance);
  if (!are_equal(out, extrema_of(bins, maxima, std::nextafter(distance, -1.0F)))) {
    notes.push_back(fmt::format("note: some {} are exactly the least distance apart, which counts as too close",
                                maxima ? "peaks" : "minima"));
  }
  return out;
}
