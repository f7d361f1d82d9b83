// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "commands/commands.h"
#include "commands/image_kinds.h"
#include "errors.h"
#include "output/cell_text.h"
#include "output/sink.h"
#include "output/svg_plot.h"
#include "vlix/meas.h"

namespace {

struct ProjectOptions {
  MeasureOptions measure;
  bool rows_only = false, columns_only = false;
  std::string plot;
};

// The sums of one direction, beside the rows or columns of the whole image.
struct Sums {
  std::string name;
  std::vector<int32_t> index;
  std::vector<Cell> sums;
};

// Integer sums wrap at 32 bits; when they could, the float sums are taken.
bool fits_integers(const Image& image) {
  const IntegerRange range = range_of_type(image.type());
  const int64_t largest = std::max(std::abs(int64_t{range.low}), int64_t{range.high});
  return !is_float(image) && largest * std::max(image.width(), image.height()) <= INT32_MAX;
}

template <class Element>
Sums sums_of(const std::string& name, const Vector& vector, int32_t first_index) {
  Sums sums = {name, {}, {}};
  for (const Element sum : vector.elements<Element>()) {
    sums.index.push_back(first_index + static_cast<int32_t>(sums.index.size()));
    if constexpr (std::is_same_v<Element, float>) {
      sums.sums.emplace_back(sum);
    } else {
      sums.sums.emplace_back(int64_t{sum});
    }
  }
  return sums;
}

std::vector<Sums> projections(const ProjectOptions& options, const LoadedImage& loaded) {
  const Image& image = loaded.image;
  const bool integers = fits_integers(image);
  Vector rows, columns;
  VlixVector* const row_record = options.columns_only ? nullptr : rows.record();
  VlixVector* const column_record = options.rows_only ? nullptr : columns.record();
  require_success((integers ? vlix_projectionInt : vlix_projection)(image.record(), row_record, column_record, 0));
  const auto sums = integers ? sums_of<int32_t> : sums_of<float>;
  std::vector<Sums> all;
  if (row_record != nullptr) all.push_back(sums("rows", rows, loaded.y));
  if (column_record != nullptr) all.push_back(sums("columns", columns, loaded.x));
  return all;
}

Series series_of(const Sums& sums) {
  Series series = {sums.name, {"index", "sum"}, {}};
  for (std::size_t i = 0; i < sums.index.size(); ++i) {
    series.cells.insert(series.cells.end(), {int64_t{sums.index[i]}, sums.sums[i]});
  }
  return series;
}

void write_plot(const ProjectOptions& options, const std::string& title, const std::vector<Sums>& all) {
  Plot plot = {title, "row or column", "sum", {}, {}};
  for (const Sums& sums : all) {
    Curve curve = {sums.name, "", {sums.index.begin(), sums.index.end()}, {}};
    for (const Cell& sum : sums.sums) curve.y.push_back(number_of(sum));
    plot.curves.push_back(std::move(curve));
  }
  write_file(options.plot, svg_of(plot));
}

Measurement project(Session& session, const ProjectOptions& options, const std::string& path) {
  const LoadedImage loaded = load_image(session, path, options.measure);
  if (is_colour(loaded.image)) throw FileError("is a colour image; projections need a grey one");
  const std::vector<Sums> all = projections(options, loaded);
  Record record;
  record.fields = {{"file", path},
                   {"type", type_name(loaded.image)},
                   {"width", int64_t{loaded.image.width()}},
                   {"height", int64_t{loaded.image.height()}}};
  for (const Sums& sums : all) record.series.push_back(series_of(sums));
  if (!options.plot.empty()) write_plot(options, path, all);
  Measurement measurement = {{std::move(record)}, {}};
  if (loses_by_truncation(loaded.image)) {
    measurement.notes.push_back("note: float pixels are truncated to whole numbers of 32 bits before they are summed");
  }
  return measurement;
}

int run(Session& session, const ProjectOptions& options) {
  if (!options.plot.empty() && options.measure.files.size() != 1) throw UsageError("--plot takes one file");
  return measure_files(session, options.measure,
                       [&](const std::string& path) { return project(session, options, path); });
}

}  // namespace

void add_project(CLI::App& tool, Action& action) {
  const auto options = std::make_shared<ProjectOptions>();
  CLI::App* command = tool.add_subcommand("project", "Sums of the rows and of the columns");
  add_measure_options(*command, options->measure);
  CLI::Option* rows = command->add_flag("--rows", options->rows_only, "Only the sums of the rows");
  command->add_flag("--columns", options->columns_only, "Only the sums of the columns")->excludes(rows);
  command->add_option("--plot", options->plot, "Draw the sums into this SVG file")->type_name("FILE");
  command->footer(
      "Rows and columns are counted from 0 in the whole image, also with --roi. Float pixels are truncated to whole\n"
      "numbers before they are summed.\n\n"
      "Example:\n  vlix project --rows --format csv plate.png");
  runs(*command, action, options, run);
}
