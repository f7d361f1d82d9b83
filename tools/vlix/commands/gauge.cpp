// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <cmath>

#include "analysis/circle_gauge.h"
#include "commands/commands.h"
#include "commands/image_kinds.h"
#include "errors.h"
#include "input/number_file.h"
#include "output/overlay.h"
#include "output/sink.h"
#include "vlix/meas.h"

namespace {

struct GaugeOptions {
  MeasureOptions measure;
  std::vector<std::vector<double>> centres;
  std::vector<double> radii;
  std::string circles_path;
  GaugeSettings settings;
  std::string overlay_path;
};

constexpr double kLargestCoordinate = 1e7;

// Columns x, y and diameter.
std::vector<Circle> read_circles(const GaugeOptions& options) {
  try {
    const NumberTable table = read_numbers(options.circles_path, options.measure.limit_mib << 20);
    const std::vector<double> x = table.column("x"), y = table.column("y"), diameter = table.column("diameter");
    std::vector<Circle> circles;
    for (std::size_t i = 0; i < x.size(); ++i) circles.push_back({x[i], y[i], diameter[i] / 2});
    return circles;
  } catch (const FileError& error) {
    throw FileError(options.circles_path + ": " + error.what());
  }
}

std::vector<Circle> expected_circles(const GaugeOptions& options) {
  const bool on_line = !options.centres.empty() && !options.radii.empty();
  if (on_line != options.circles_path.empty())
    throw UsageError("gauge circle takes --center and --radius, or --circles");
  std::vector<Circle> circles;
  if (on_line) {
    if (options.radii.size() != 1 && options.radii.size() != options.centres.size()) {
      throw UsageError("give one --radius for all circles, or one for each --center");
    }
    for (std::size_t i = 0; i < options.centres.size(); ++i) {
      circles.push_back(
          {options.centres[i][0], options.centres[i][1], options.radii[options.radii.size() == 1 ? 0 : i]});
    }
  } else {
    circles = read_circles(options);
  }
  for (const Circle& circle : circles) {
    const bool sound = std::fabs(circle.x) <= kLargestCoordinate && std::fabs(circle.y) <= kLargestCoordinate &&
                       circle.radius > 0 && circle.radius <= kLargestCoordinate;
    if (!sound) throw UsageError("a circle needs finite coordinates and a radius above 0");
  }
  return circles;
}

// Circles of a file are nominal ones, from which the measured ones differ.
Record record_of(const std::string& path, const GaugedCircle& gauged, const LoadedImage& loaded,
                 const Circle* nominal) {
  Record record;
  record.fields = {{"file", path},
                   {"x", static_cast<float>(gauged.circle.x + loaded.x)},
                   {"y", static_cast<float>(gauged.circle.y + loaded.y)},
                   {"diameter", static_cast<float>(2 * gauged.circle.radius)},
                   {"mean_distance", gauged.mean_distance},
                   {"points", int64_t{gauged.points}},
                   {"kept", int64_t{gauged.kept}},
                   {"blur", static_cast<float>(gauged.blur)}};
  if (nominal == nullptr) return record;
  const Circle& circle = gauged.circle;
  record.fields.push_back({"x_error", static_cast<float>(circle.x + loaded.x - nominal->x)});
  record.fields.push_back({"y_error", static_cast<float>(circle.y + loaded.y - nominal->y)});
  record.fields.push_back({"diameter_error", static_cast<float>(2 * (circle.radius - nominal->radius))});
  return record;
}

Measurement gauge(Session& session, const GaugeOptions& options, const std::vector<Circle>& circles,
                  const std::string& path) {
  const LoadedImage loaded = load_image(session, path, options.measure);
  if (is_colour(loaded.image)) throw FileError("is a colour image; gauging needs a grey one");
  Measurement measurement;
  std::vector<GaugedCircle> found;
  for (const Circle& circle : circles) {
    const Circle moved = {circle.x - loaded.x, circle.y - loaded.y, circle.radius};
    try {
      found.push_back(gauge_circle(loaded.image, moved, options.settings));
    } catch (const FileError& error) {
      throw FileError(fmt::format("circle at {:g},{:g}: {}", circle.x, circle.y, error.what()));
    }
    measurement.records.push_back(
        record_of(path, found.back(), loaded, options.circles_path.empty() ? nullptr : &circle));
  }
  if (options.overlay_path.empty()) return measurement;
  Image picture = as_picture(loaded.image);
  for (const GaugedCircle& circle : found) draw_circle(picture, circle);
  write_file(options.overlay_path, session.images.files().encode(picture, FileFormat::kPng));
  return measurement;
}

int run(Session& session, const GaugeOptions& options) {
  if (!options.overlay_path.empty() && options.measure.files.size() != 1) throw UsageError("--overlay takes one file");
  const std::vector<Circle> circles = expected_circles(options);
  return measure_files(session, options.measure,
                       [&](const std::string& path) { return gauge(session, options, circles, path); });
}

}  // namespace

void add_gauge(CLI::App& tool, Action& action) {
  CLI::App* command = tool.add_subcommand("gauge", "Measure a shape by its edges");
  command->require_subcommand(1);
  command->footer("Example:\n  vlix gauge circle --center 120,80 --radius 25 plate.png");

  const auto options = std::make_shared<GaugeOptions>();
  CLI::App* circle = command->add_subcommand("circle", "Centre and diameter of a circle, to parts of a pixel");
  add_measure_options(*circle, options->measure);
  add_numbers_option(*circle, "--center,--centre", 2, options->centres, "X,Y",
                     "About where the centre is; repeat it for more circles");
  circle->add_option("--radius", options->radii, "About how large the radius is; one for all circles, or one for each")
      ->allow_extra_args(false)
      ->type_name("PIXELS");
  circle
      ->add_option("--circles", options->circles_path,
                   "Take the circles from this CSV file (columns x, y, diameter), and show the differences from it")
      ->type_name("FILE");
  circle->add_option("--rays", options->settings.rays, "Profiles per circle (default 180)")
      ->check(CLI::Range(8, 100000).description(""))
      ->type_name("N");
  circle->add_option("--search", options->settings.search, "How far inside and outside of the radius the edge may lie")
      ->check(finite_number(std::nextafter(0.0, 1.0), "above 0"))
      ->type_name("PIXELS");
  circle
      ->add_option("--discard", options->settings.discard_percent,
                   "Share of the edge points that the fit discards (default 10)")
      ->check(CLI::Range(0U, 90U).description(""))
      ->type_name("PERCENT");
  circle->add_option("--overlay", options->overlay_path, "Draw the circles found into this PNG file")
      ->type_name("FILE");
  circle->footer(
      "Each ray is sampled across the edge; the edge point lies at half the height between the plateaus on both "
      "sides.\n"
      "The diameter is corrected for the blur of the edge, which makes it\n"
      "look smaller by blur^2 / radius.\n\n"
      "Example:\n  vlix gauge circle --center 120,80 --radius 25 --overlay found.png plate.png");
  runs(*circle, action, options, run);
}
