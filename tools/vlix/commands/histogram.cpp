// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <cmath>

#include "commands/commands.h"
#include "commands/histogram_bins.h"
#include "commands/image_kinds.h"
#include "errors.h"
#include "output/cell_text.h"
#include "output/sink.h"
#include "output/svg_plot.h"

namespace {

constexpr int32_t kMostBins = 1 << 24;

struct HistogramOptions {
  MeasureOptions measure;
  BinOptions bins;
  bool colour = false;
  std::vector<std::string> shape_texts;
  std::string mask;
  std::optional<double> smooth, peak_distance;
  bool minima = false;
  std::string plot;
};

// What holds for all files.
struct Task {
  const HistogramOptions& options;
  std::vector<Shape> shapes;
};

// Smoothed counts need not be whole.
Cell count_cell(float count) { return count == std::floor(count) ? Cell(static_cast<int64_t>(count)) : Cell(count); }

Series series_of(const std::string& name, const Vector& hist, bool bars) {
  Series series = {name, {"value", "count"}, {}, bars ? 1 : -1};
  if (hist.record()->type == ObjType_PointI32) {
    for (const PointI32& bin : hist.elements<PointI32>()) {
      series.cells.insert(series.cells.end(), {int64_t{bin.x}, int64_t{bin.y}});
    }
    return series;
  }
  for (const PointF32& bin : hist.elements<PointF32>()) {
    series.cells.insert(series.cells.end(), {bin.x, count_cell(bin.y)});
  }
  return series;
}

// The bins, smoothed if that was asked for, and their peaks.
void add_series(Measurement& measurement, Record& record, const HistogramOptions& options, const std::string& prefix,
                Vector bins) {
  std::vector<std::string>& notes = measurement.notes;
  if (options.smooth) bins = smoothed(bins, *options.smooth, notes);
  record.series.push_back(series_of(prefix.empty() ? "bins" : prefix, bins, true));
  if (!options.peak_distance) return;
  const Vector peaks = peaks_of(bins, !options.minima, *options.peak_distance, notes);
  const std::string name = options.minima ? "minima" : "peaks";
  record.series.push_back(series_of(prefix.empty() ? name : prefix + " " + name, peaks, false));
}

Vector bins_inside(Session& session, const Task& task, const LoadedImage& loaded, std::vector<std::string>& notes) {
  const HistogramOptions& options = task.options;
  Region region;
  for (const Shape& shape : task.shapes) add_shape(region, shape, loaded.x, loaded.y);
  if (!options.mask.empty()) {
    LoadedImage mask;
    try {
      mask = load_image(session, options.mask, options.measure);
    } catch (const FileError& error) {
      throw FileError(options.mask + ": " + error.what());
    }
    if (is_colour(mask.image)) throw FileError(options.mask + ": a mask must be grey");
    if (mask.header.width != loaded.header.width || mask.header.height != loaded.header.height) {
      throw FileError(options.mask + ": the mask is of another size than the image");
    }
    apply_mask(region, mask.image, !task.shapes.empty());
  }
  return region_bins(options.bins, loaded.image, region, notes);
}

void write_plot(const HistogramOptions& options, const std::string& title, const Record& record) {
  Plot plot = {title, "value", "count", {}, {}, true};
  for (const Series& series : record.series) {
    Curve curve = {series.name, "", {}, {}};
    for (std::size_t c = 0; c < 3; ++c) {
      if (series.name == kChannelNames[c]) curve.colour = std::array{"#c0392b", "#27803b", "#1f5fa8"}[c];
    }
    for (std::size_t row = 0; row < series.rows(); ++row) {
      const double x = number_of(series.cell(row, 0)), y = number_of(series.cell(row, 1));
      if (series.bar_column < 0) plot.marks.emplace_back(x, y);
      curve.x.push_back(x);
      curve.y.push_back(y);
    }
    if (series.bar_column >= 0) plot.curves.push_back(std::move(curve));
  }
  write_file(options.plot, svg_of(plot));
}

Measurement histogram(Session& session, const Task& task, const std::string& path) {
  const HistogramOptions& options = task.options;
  const LoadedImage loaded = load_image(session, path, options.measure);
  const Image& image = loaded.image;
  if (is_colour(image) && !options.colour) throw FileError("is a colour image; use --color");
  if (!is_colour(image) && options.colour) throw FileError("is no colour image; leave --color out");
  Measurement measurement;
  Record record;
  record.fields = {{"file", path},
                   {"type", type_name(image)},
                   {"width", int64_t{image.width()}},
                   {"height", int64_t{image.height()}}};
  if (options.colour) {
    std::array<Vector, 3> hists = colour_bins(options.bins, image);
    for (std::size_t c = 0; c < 3; ++c) add_series(measurement, record, options, kChannelNames[c], std::move(hists[c]));
  } else if (!task.shapes.empty() || !options.mask.empty()) {
    add_series(measurement, record, options, "", bins_inside(session, task, loaded, measurement.notes));
  } else {
    add_series(measurement, record, options, "", grey_bins(options.bins, image, measurement.notes));
  }
  if (!options.plot.empty()) write_plot(options, path, record);
  measurement.records.push_back(std::move(record));
  return measurement;
}

void check(const HistogramOptions& options) {
  const BinOptions& bins = options.bins;
  for (const std::optional<double>& bound : {bins.lo, bins.hi}) {
    if (bound && !std::isfinite(static_cast<float>(*bound))) throw UsageError("--lo and --hi must be finite");
  }
  if (bins.lo && bins.hi && *bins.lo > *bins.hi) {
    throw UsageError(fmt::format("--lo {:g} is above --hi {:g}", *bins.lo, *bins.hi));
  }
  const bool inside = !options.shape_texts.empty() || !options.mask.empty();
  if (options.colour && (inside || bins.as_float))
    throw UsageError("--color goes with neither --float, --shape nor --mask");
  if (inside && bins.as_float) throw UsageError("--float goes with neither --shape nor --mask");
  if (options.smooth && !(*options.smooth > 0)) throw UsageError("--smooth must be above 0");
  if (options.peak_distance && !(*options.peak_distance >= 0)) throw UsageError("--peaks must not be negative");
  if (options.minima && !options.peak_distance) throw UsageError("--minima goes with --peaks");
  if (bins.cumulative && (options.smooth || options.peak_distance)) {
    throw UsageError("--cumulative goes with neither --smooth nor --peaks");
  }
  if (!options.plot.empty() && options.measure.files.size() != 1) throw UsageError("--plot takes one file");
}

int run(Session& session, const HistogramOptions& options) {
  check(options);
  set_level(options.measure.level);
  if (options.colour && VlixOptimGetLevel() == 0) throw UsageError("--color needs level 1 or 2");
  Task task = {options, {}};
  std::vector<ShapeText> texts;
  for (const std::string& text : options.shape_texts) texts.push_back(parse_shape(text));
  for (const ShapeText& text : texts) task.shapes.push_back(load_shape(text, options.measure.limit_mib << 20));
  return measure_files(session, options.measure,
                       [&](const std::string& path) { return histogram(session, task, path); });
}

}  // namespace

void add_histogram(CLI::App& tool, Action& action) {
  const auto options = std::make_shared<HistogramOptions>();
  CLI::App* command = tool.add_subcommand("histogram", "Histogram, with bars in the terminal; its peaks");
  add_measure_options(*command, options->measure);
  BinOptions& bins = options->bins;
  command
      ->add_option("--bins", bins.bins,
                   "Number of bins; for integer pixels a divisor of hi - lo + 1 (default: at most 256)")
      ->check(CLI::Range(1, kMostBins).description(""))
      ->type_name("N");
  command->add_option("--lo", bins.lo, "Lowest value (default: of the pixel type; of the pixels for float bins)")
      ->type_name("V");
  command->add_option("--hi", bins.hi, "Highest value, included")->type_name("V");
  command->add_flag("--cumulative", bins.cumulative, "Running sums instead of counts");
  command->add_flag("--float", bins.as_float, "Bins of any width for integer pixels too, as float images have");
  command->add_flag("--color,--colour", options->colour, "One histogram per channel of an 8-bit colour image");
  command
      ->add_option("--shape", options->shape_texts,
                   "Count inside this shape only; repeat it for several. In pixels of the whole image and degrees:\n"
                   "rect:X,Y,W,H  rrect:CX,CY,W,H,ANGLE  ellipse:CX,CY,RX,RY[,ANGLE]\n"
                   "ring:CX,CY,INNER,OUTER[,START,END]  polygon:FILE (columns x and y)")
      ->allow_extra_args(false)
      ->type_name("SHAPE");
  command->add_option("--mask", options->mask, "Count only where this image of the same size is not 0")
      ->type_name("FILE");
  command->add_option("--smooth", options->smooth, "Smooth by a moving average of this width in values")
      ->type_name("WIDTH");
  command->add_option("--peaks", options->peak_distance, "List the maxima that are further apart than this")
      ->type_name("MIN_DIST");
  command->add_flag("--minima", options->minima, "List minima instead");
  command->add_option("--plot", options->plot, "Draw the histogram into this SVG file")->type_name("FILE");
  command->footer(
      "Each bin is shown by its lowest value. Smoothing counts nothing beyond the ends, so the outermost bins get "
      "lower.\n"
      "Inside shapes, float pixels equal to --hi are not counted.\n\n"
      "Example:\n  vlix histogram --bins 32 plate.png\n"
      "  vlix histogram --smooth 9 --peaks 20 --plot plate.svg plate.png");
  runs(*command, action, options, run);
}
