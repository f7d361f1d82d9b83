// SPDX-License-Identifier: Apache-2.0
#include "commands/histogram_bins.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

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

template <class Point>
double width_of_first(std::span<const Point> bins) {
  return static_cast<double>(bins[1].x) - static_cast<double>(bins[0].x);
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

Vector smoothed(const Vector& bins, double width) {
  const bool integers = bins.record()->type == ObjType_PointI32;
  const int32_t count = bins.record()->count;
  if (count < 2) throw FileError("a histogram of one bin cannot be smoothed");
  const double bin_width =
      integers ? width_of_first(bins.elements<PointI32>()) : width_of_first(bins.elements<PointF32>());
  if (!(bin_width > 0)) throw FileError("a histogram of bins without width cannot be smoothed");
  if (width > bin_width * count) throw FileError(fmt::format("--smooth {:g} is wider than the histogram", width));
  Vector out;
  require_success(
      (integers ? vlix_smoothHistInt : vlix_smoothHist)(bins.record(), out.record(), static_cast<float>(width)));
  return out;
}

Vector peaks_of(const Vector& bins, bool maxima, double least_distance) {
  const bool integers = bins.record()->type == ObjType_PointI32;
  Vector out;
  require_success((integers ? vlix_histPeaksInt : vlix_histPeaks)(bins.record(), out.record(), maxima,
                                                                  static_cast<float>(least_distance)));
  return out;
}
