// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <map>

#include "commands/commands.h"
#include "commands/image_kinds.h"
#include "errors.h"
#include "input/number_file.h"
#include "output/cell_text.h"
#include "output/sink.h"
#include "output/svg_plot.h"
#include "vlix/meas.h"

namespace {

enum Mode : int32_t { kNearest = 0, kBilinear = 1 };

constexpr double kMostSamples = 1 << 26;

struct ProfileOptions {
  MeasureOptions measure;
  std::vector<std::vector<double>> from, to;  // at most one of each
  std::string path_file;
  float spacing = 1;
  Mode mode = kBilinear;
  std::optional<double> invalid;
  std::string plot;
};

using Path = std::vector<PointF32>;

struct Samples {
  Vector values, positions;
  std::size_t count = 0;
  double length = 0;
};

Path path_of(const ProfileOptions& options) {
  if (!options.path_file.empty()) {
    try {
      return read_numbers(options.path_file, options.measure.limit_mib << 20).points();
    } catch (const FileError& error) {
      throw FileError(options.path_file + ": " + error.what());
    }
  }
  const auto point = [](const std::vector<double>& xy) {
    return PointF32{static_cast<float>(xy[0]), static_cast<float>(xy[1])};
  };
  return {point(options.from[0]), point(options.to[0])};
}

double distance(const PointF32& a, const PointF32& b) { return std::hypot(double{b.x} - a.x, double{b.y} - a.y); }

double length_of(const Path& path) {
  double length = 0;
  for (std::size_t i = 1; i < path.size(); ++i) length += distance(path[i - 1], path[i]);
  return length;
}

// The library wants the points inside its region of interest; users know them in the whole image.
void move_into_region(Path& path, const LoadedImage& loaded) {
  for (PointF32& point : path) {
    const PointF32 moved = {point.x - static_cast<float>(loaded.x), point.y - static_cast<float>(loaded.y)};
    const bool inside = moved.x >= 0 && moved.y >= 0 && moved.x <= static_cast<float>(loaded.image.width() - 1) &&
                        moved.y <= static_cast<float>(loaded.image.height() - 1);
    if (!inside) {
      throw FileError(fmt::format("the point {:g},{:g} lies outside the {} x {} pixels", point.x, point.y,
                                  loaded.image.width(), loaded.image.height()));
    }
    point = moved;
  }
}

template <class Pixel>
Pixel pixel_value(double value) {
  const auto pixel = static_cast<Pixel>(value);
  if (static_cast<double>(pixel) == value) return pixel;
  throw FileError(fmt::format("--invalid {:g} is no value of its pixels", value));
}

VlixInvalidValue invalid_value(const Image& image, double value) {
  VlixInvalidValue invalid = {};
  invalid.type = image.type();
  if (!is_float(image)) {
    const IntegerRange range = range_of_type(image.type());
    if (value < range.low || value > range.high)
      throw FileError(fmt::format("--invalid {:g} is no value of its pixels", value));
  }
  switch (image.type()) {
    case ObjType_U8: invalid.value.u8 = pixel_value<uint8_t>(value); break;
    case ObjType_S8: invalid.value.s8 = pixel_value<int8_t>(value); break;
    case ObjType_U16: invalid.value.u16 = pixel_value<uint16_t>(value); break;
    case ObjType_S16: invalid.value.s16 = pixel_value<int16_t>(value); break;
    default: invalid.value.f32 = static_cast<float>(value); break;
  }
  return invalid;
}

double along(const Samples& samples, std::size_t index, float spacing) {
  return std::min(static_cast<double>(index) * double{spacing}, samples.length);
}

PointF32 point_on(const Path& path, double along) {
  for (std::size_t i = 1; i < path.size(); ++i) {
    const double length = distance(path[i - 1], path[i]);
    if (along <= length && length > 0) {
      const double share = along / length;
      return {static_cast<float>(path[i - 1].x + share * (double{path[i].x} - double{path[i - 1].x})),
              static_cast<float>(path[i - 1].y + share * (double{path[i].y} - double{path[i - 1].y}))};
    }
    along -= length;
  }
  return path.back();
}

// Where rounding leaves a last place without a sample, the place holds the zeros that it was cleared to. It is dropped,
// unless the path is at 0, 0 there: then the sample is taken now.
void settle_last_places(const ProfileOptions& options, const Image& image, const Path& path, Samples& samples) {
  constexpr double kNear = 0.01;
  const std::size_t channels = is_colour(image) ? 3 : 1;
  const auto positions = samples.positions.elements<PointF32>();
  const auto values = samples.values.elements<float>();
  samples.count = positions.size();
  for (; samples.count > 1; --samples.count) {
    const std::size_t last = samples.count - 1;
    if (positions[last].x != 0 || positions[last].y != 0) return;
    if (distance(point_on(path, along(samples, last, options.spacing)), {0, 0}) > kNear) continue;
    std::array<float, 3> sampled = {};
    require_success(vlix_samplepath_point(image.record(), {0, 0}, sampled.data(), options.mode));
    const auto place = values.subspan(channels * last, channels);
    if (!options.invalid) std::copy_n(sampled.begin(), channels, place.begin());
    if (std::equal(place.begin(), place.end(), sampled.begin()) || place[0] != 0) return;
  }
}

// The values vector has room for the whole path before the call: the library clamps the starts of later segments by it.
Samples sample(const ProfileOptions& options, const Image& image, const Path& path) {
  Samples samples;
  samples.length = length_of(path);
  if (samples.length == 0) throw FileError("the path has no length");
  const double expected = samples.length / double{options.spacing} + static_cast<double>(path.size()) + 2;
  if (expected > kMostSamples) throw FileError("the path has too many samples; use a larger --spacing");
  const int32_t channels = is_colour(image) ? 3 : 1;
  if (VlixVectorAlloc(samples.values.record(), ObjType_F32, channels * static_cast<int32_t>(expected)) != 0) {
    throw FileError("not enough memory");
  }
  VlixInvalidValue invalid = {};
  if (options.invalid) invalid = invalid_value(image, *options.invalid);
  const VlixVector vertices = {ObjType_PointF32, const_cast<PointF32*>(path.data()), static_cast<int32_t>(path.size()),
                               0};
  require_success(vlix_samplepath_lines(image.record(), &vertices, samples.values.record(), samples.positions.record(),
                                        nullptr, options.spacing, options.mode,
                                        options.invalid ? reinterpret_cast<const VlixObj*>(&invalid) : nullptr));
  settle_last_places(options, image, path, samples);
  return samples;
}

// The library delivers the channels of a colour sample from the last to the first.
Series series_of(const ProfileOptions& options, const LoadedImage& loaded, const Samples& samples) {
  const bool colour = is_colour(loaded.image);
  Series series = {"samples", {"distance", "x", "y"}, {}};
  if (colour) {
    series.columns.insert(series.columns.end(), kChannelNames.begin(), kChannelNames.end());
  } else {
    series.columns.push_back("value");
  }
  const auto values = samples.values.elements<float>();
  const auto positions = samples.positions.elements<PointF32>();
  for (std::size_t i = 0; i < samples.count; ++i) {
    const double distance = along(samples, i, options.spacing);
    series.cells.insert(series.cells.end(),
                        {static_cast<float>(distance), positions[i].x + static_cast<float>(loaded.x),
                         positions[i].y + static_cast<float>(loaded.y)});
    if (!colour) series.cells.emplace_back(values[i]);
    for (std::size_t c = 3; colour && c-- > 0;) series.cells.emplace_back(values[3 * i + c]);
  }
  return series;
}

void write_plot(const ProfileOptions& options, const std::string& title, const Series& series) {
  static const std::map<std::string, std::string> kCurveColours = {
      {"red", "#c0392b"}, {"green", "#27803b"}, {"blue", "#1f5fa8"}};
  Plot plot = {title, "distance along the path", "value", {}, {}};
  for (std::size_t column = 3; column < series.columns.size(); ++column) {
    Curve curve = {series.columns[column], "", {}, {}};
    const auto found = kCurveColours.find(curve.name);
    if (found != kCurveColours.end()) curve.colour = found->second;
    for (std::size_t row = 0; row < series.rows(); ++row) {
      curve.x.push_back(number_of(series.cell(row, 0)));
      curve.y.push_back(number_of(series.cell(row, column)));
    }
    plot.curves.push_back(std::move(curve));
  }
  write_file(options.plot, svg_of(plot));
}

Measurement profile(Session& session, const ProfileOptions& options, Path path, const std::string& file) {
  const LoadedImage loaded = load_image(session, file, options.measure);
  if (loaded.image.type() == ObjType_Colour39) throw FileError("16-bit colour images cannot be sampled");
  if (is_colour(loaded.image) && options.invalid) throw FileError("--invalid is for grey images");
  move_into_region(path, loaded);
  const Samples samples = sample(options, loaded.image, path);
  Record record;
  record.fields = {{"file", file}, {"type", type_name(loaded.image)}, {"length", samples.length}};
  record.series.push_back(series_of(options, loaded, samples));
  if (!options.plot.empty()) write_plot(options, file, record.series[0]);
  return {{std::move(record)}, {}};
}

void check(const ProfileOptions& options) {
  const bool segment = options.from.size() == 1 && options.to.size() == 1;
  const bool neither = options.from.empty() && options.to.empty();
  if (options.path_file.empty() ? !segment : !neither) throw UsageError("profile takes --from and --to, or --path");
  if (!(options.spacing > 0) || !std::isfinite(options.spacing)) throw UsageError("--spacing must be above 0");
  if (options.invalid && std::isnan(*options.invalid)) throw UsageError("--invalid must be a number");
  if (!options.plot.empty() && options.measure.files.size() != 1) throw UsageError("--plot takes one file");
}

int run(Session& session, const ProfileOptions& options) {
  check(options);
  Path path;
  try {
    path = path_of(options);
    if (path.size() < 2) throw FileError(options.path_file + ": a path needs two points");
    for (const PointF32& point : path) {
      if (!std::isfinite(point.x) || !std::isfinite(point.y))
        throw FileError(options.path_file + ": a point is not finite");
    }
  } catch (const FileError& error) {
    session.console.error(error.what());
    return kExitFailed;
  }
  return measure_files(session, options.measure,
                       [&](const std::string& file) { return profile(session, options, path, file); });
}

}  // namespace

void add_profile(CLI::App& tool, Action& action) {
  const auto options = std::make_shared<ProfileOptions>();
  const std::map<std::string, Mode> modes = {{"nearest", kNearest}, {"bilinear", kBilinear}};
  CLI::App* command = tool.add_subcommand("profile", "Values along a line or a path");
  add_measure_options(*command, options->measure);
  add_numbers_option(*command, "--from", 2, options->from, "X,Y", "Where the line begins");
  add_numbers_option(*command, "--to", 2, options->to, "X,Y", "Where it ends");
  command->add_option("--path", options->path_file, "Take the corners of the path from this file (columns x and y)")
      ->type_name("FILE");
  command->add_option("--spacing", options->spacing, "Distance between samples in pixels (default 1)")
      ->type_name("PIXELS");
  command->add_option("--mode", options->mode, "nearest or bilinear (default)")
      ->transform(CLI::CheckedTransformer(modes).description(""))
      ->type_name("NAME");
  command->add_option("--invalid", options->invalid, "Pixels of this value are stepped around (grey images)")
      ->type_name("V");
  command->add_option("--plot", options->plot, "Draw the profile into this SVG file")->type_name("FILE");
  command->footer(
      "Coordinates are those of the whole image: 0,0 is the centre of its first pixel.\n\n"
      "Example:\n  vlix profile --from 10,20 --to 90.5,20 --spacing 0.5 --plot edge.svg plate.png");
  runs(*command, action, options, run);
}
