// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <cmath>
#include <cstring>

#include "commands/commands.h"
#include "errors.h"
#include "input/number_file.h"
#include "output/sink.h"
#include "vlix/meas.h"

namespace {

// Keeps the number of points to discard within the library's 32-bit arithmetic.
constexpr std::size_t kMostPoints = 20'000'000;

struct FitOptions {
  MeasureOptions measure;
  uint32_t discard_percent = 0;
  std::string kept_path;
};

std::vector<PointF32> read_points(const FitOptions& options, const std::string& path, std::size_t least) {
  std::vector<PointF32> points = read_numbers(path, options.measure.limit_mib << 20).points();
  if (points.size() < least) throw FileError(fmt::format("holds {} points, {} are needed", points.size(), least));
  if (points.size() > kMostPoints) throw FileError(fmt::format("holds more than {} points", kMostPoints));
  for (const PointF32& point : points) {
    if (!std::isfinite(point.x) || !std::isfinite(point.y)) throw FileError("a point is not finite");
  }
  return points;
}

VlixVector vector_of(std::vector<PointF32>& points) {
  return {ObjType_PointF32, points.data(), static_cast<int32_t>(points.size()), 0};
}

void write_kept(const FitOptions& options, const Vector& kept) {
  if (options.kept_path.empty()) return;
  std::string text = "x,y\n";
  for (const PointF32& point : kept.elements<PointF32>()) text += fmt::format("{},{}\n", point.x, point.y);
  write_file(options.kept_path, text);
}

// Upright lines through points that lie closer together than this have the opposite sign of rho.
constexpr double kLeastSpread = 1e-4;

bool is_tiny_upright(const std::vector<PointF32>& points) {
  double x = 0, y = 0, xx = 0, yy = 0;
  for (const PointF32& point : points) {
    x += double{point.x} / static_cast<double>(points.size());
    y += double{point.y} / static_cast<double>(points.size());
  }
  for (const PointF32& point : points) {
    xx += (point.x - x) * (point.x - x);
    yy += (point.y - y) * (point.y - y);
  }
  return xx < yy && yy <= kLeastSpread;
}

Measurement fit_line(const FitOptions& options, const std::string& path) {
  std::vector<PointF32> points = read_points(options, path, 2);
  const VlixVector vector = vector_of(points);
  float angle = 0, rho = 0, distance = 0;
  int32_t count = 0;
  Vector kept;
  require_success(
      vlix_linearRegressionFloat(&vector, options.discard_percent, &angle, &rho, &distance, kept.record(), &count));
  write_kept(options, kept);
  Record record;
  record.fields = {{"file", path},
                   {"points", static_cast<int64_t>(points.size())},
                   {"kept", int64_t{count}},
                   {"angle", angle},
                   {"rho", rho},
                   {"mean_distance", distance}};
  Measurement measurement = {{record}, {}};
  if (is_tiny_upright(points)) {
    measurement.notes.push_back(
        "note: the points of this upright line lie so close together that rho has the opposite sign");
  }
  return measurement;
}

bool is_degenerate(VlixStatus status) {
  VlixOpReport report;
  VlixOpLastReport(&report);
  return status != 0 && std::strstr(report.text, "calculation error") != nullptr;
}

Measurement fit_circle(const FitOptions& options, const std::string& path) {
  std::vector<PointF32> points = read_points(options, path, 3);
  const VlixVector vector = vector_of(points);
  PointF32 centre = {};
  float diameter = 0, distance = 0;
  int32_t count = 0;
  Vector kept;
  const VlixStatus status = vlix_circularRegressionFloat(&vector, options.discard_percent, &diameter, &centre,
                                                         &distance, kept.record(), &count);
  if (is_degenerate(status)) throw FileError("no circle goes through these points (they coincide or lie on a line)");
  require_success(status);
  write_kept(options, kept);
  Record record;
  record.fields = {{"file", path},
                   {"points", static_cast<int64_t>(points.size())},
                   {"kept", int64_t{count}},
                   {"x", centre.x},
                   {"y", centre.y},
                   {"diameter", diameter},
                   {"mean_distance", distance}};
  return {{record}, {}};
}

int run(Session& session, const FitOptions& options, Measurement (*fit)(const FitOptions&, const std::string&)) {
  if (!options.kept_path.empty() && options.measure.files.size() != 1) throw UsageError("--kept takes one file");
  return measure_files(session, options.measure, [&](const std::string& path) { return fit(options, path); });
}

int run_line(Session& session, const FitOptions& options) { return run(session, options, fit_line); }

int run_circle(Session& session, const FitOptions& options) { return run(session, options, fit_circle); }

void add_options(CLI::App& command, FitOptions& options) {
  add_number_file_options(command, options.measure);
  command.add_option("--discard", options.discard_percent, "Discard this share of the points, the worst one first")
      ->check(CLI::Range(0U, 100U).description(""))
      ->type_name("PERCENT");
  command.add_option("--kept", options.kept_path, "Write the points that were kept to this CSV file")
      ->type_name("FILE");
}

}  // namespace

void add_fit(CLI::App& tool, Action& action) {
  CLI::App* command = tool.add_subcommand("fit", "Fit a line or a circle to points");
  command->require_subcommand(1);
  command->footer("Example:\n  vlix fit circle --discard 10 points.csv");

  const auto line_options = std::make_shared<FitOptions>();
  CLI::App* line = command->add_subcommand("line", "Straight line through points");
  add_options(*line, *line_options);
  line->footer(
      "The line is the set of points with -x sin(angle) + y cos(angle) = rho; the angle is in degrees.\n"
      "Points are columns x and y, or the only two columns.\n\n"
      "Example:\n  vlix fit line --discard 5 --kept inliers.csv points.csv");
  runs(*line, action, line_options, run_line);

  const auto circle_options = std::make_shared<FitOptions>();
  CLI::App* circle = command->add_subcommand("circle", "Circle through points");
  add_options(*circle, *circle_options);
  circle->footer(
      "Points are columns x and y, or the only two columns.\n\n"
      "Example:\n  vlix fit circle --discard 10 points.csv");
  runs(*circle, action, circle_options, run_circle);
}
