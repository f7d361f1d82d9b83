// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <map>
#include <memory>

#include "commands/commands.h"
#include "commands/image_kinds.h"
#include "errors.h"
#include "input/file.h"
#include "input/numbers.h"
#include "vlix/meas.h"

namespace {

struct DiffOptions {
  MeasureOptions measure;
  std::string column;
  std::vector<VectorDiffOp> operations;
};

const std::map<std::string, VectorDiffOp> kOperations = {{"sum", VectorDiffOp_DiffSum},
                                                         {"abs", VectorDiffOp_DiffAbsSum},
                                                         {"square", VectorDiffOp_DiffSquareSum},
                                                         {"euclid", VectorDiffOp_DiffEuclid},
                                                         {"max", VectorDiffOp_DiffMaxAbs}};

const char* name_of(VectorDiffOp operation) {
  switch (operation) {
    case VectorDiffOp_DiffSum: return "sum";
    case VectorDiffOp_DiffAbsSum: return "absolute sum";
    case VectorDiffOp_DiffSquareSum: return "square sum";
    case VectorDiffOp_DiffEuclid: return "euclidean";
    case VectorDiffOp_DiffMaxAbs: return "largest";
  }
  return "";
}

// The elements of one side, and the vector record that shows them to the library.
struct Side {
  std::vector<double> numbers;
  std::vector<uint16_t> channels;
  Image image;
  int32_t width = 0, height = 0;  // of images
  VlixVector vector = {};
};

VlixVector vector_of(uint32_t type, const void* data, std::size_t count) {
  if (count > INT32_MAX) throw FileError("has more values than can be compared");
  return {type, const_cast<void*>(data), static_cast<int32_t>(count), 0};
}

// The channels of a pixel lie side by side and are followed by an unused one.
template <class Channel>
std::vector<uint16_t> used_channels(const Image& image) {
  std::vector<uint16_t> channels;
  channels.reserve(3 * static_cast<std::size_t>(image.width()) * static_cast<std::size_t>(image.height()));
  const auto* next = static_cast<const Channel*>(image.record()->data);
  const int64_t pixels = int64_t{image.width()} * image.height();
  for (int64_t i = 0; i < pixels; ++i, next += 4) channels.insert(channels.end(), next, next + 3);
  return channels;
}

void show_image(Side& side) {
  const Image& image = side.image;
  side.width = image.width();
  side.height = image.height();
  if (image.type() == ObjType_Rgba8) side.channels = used_channels<uint8_t>(image);
  if (image.type() == ObjType_Colour39) side.channels = used_channels<uint16_t>(image);
  const auto pixels = static_cast<std::size_t>(side.width) * static_cast<std::size_t>(side.height);
  side.vector = is_colour(image) ? vector_of(ObjType_U16, side.channels.data(), side.channels.size())
                                 : vector_of(image.type(), image.record()->data, pixels);
}

Side read_side(Session& session, const DiffOptions& options, const std::string& path) {
  Side side;
  try {
    const uint64_t limit = options.measure.limit_mib << 20;
    const InputFile file(path, limit);
    if (looks_like_numbers(file.head(512))) {
      const NumberTable table(file.contents());
      side.numbers = options.column.empty() ? table.all() : table.column(options.column);
      side.vector = vector_of(ObjType_F64, side.numbers.data(), side.numbers.size());
    } else {
      session.images.files().read(file.source(), {options.measure.roi, limit}, side.image);
      show_image(side);
    }
  } catch (const FileError& error) {
    throw FileError(path + ": " + error.what());
  }
  return side;
}

std::string size_text(const Side& side) {
  return side.width == 0
             ? fmt::format("{} values", side.vector.count)
             : fmt::format("{} x {} {} pixels", side.width, side.height, is_colour(side.image) ? "colour" : "grey");
}

void check_alike(const DiffOptions& options, const Side& a, const Side& b) {
  const bool images = a.width != 0 && b.width != 0;
  const bool alike = a.width == b.width && a.height == b.height && a.vector.count == b.vector.count &&
                     (!images || is_colour(a.image) == is_colour(b.image));
  if (alike) return;
  throw FileError(fmt::format("{} and {} cannot be compared: {} and {}", options.measure.files[0],
                              options.measure.files[1], size_text(a), size_text(b)));
}

double difference(const Side& a, const Side& b, VectorDiffOp operation, bool normalise) {
  double result = 0;
  require_success(vlix_vectorDiff(&a.vector, &b.vector, &result, operation, normalise ? 1 : 0));
  return result;
}

Measurement diff(Session& session, const DiffOptions& options) {
  const Side a = read_side(session, options, options.measure.files[0]);
  const Side b = read_side(session, options, options.measure.files[1]);
  check_alike(options, a, b);
  std::vector<Record> records;
  for (const VectorDiffOp operation : options.operations) {
    const bool divides = operation != VectorDiffOp_DiffMaxAbs;
    Record record;
    record.fields = {{"difference", name_of(operation)},
                     {"value", difference(a, b, operation, false)},
                     {"per_element", divides ? Cell(difference(a, b, operation, true)) : Cell()},
                     {"elements", int64_t{a.vector.count}},
                     {"first", options.measure.files[0]},
                     {"second", options.measure.files[1]}};
    records.push_back(std::move(record));
  }
  return {records, {}};
}

int run(Session& session, const DiffOptions& options) {
  if (options.measure.files.size() != 2) throw UsageError("diff compares two files");
  if (options.measure.files[0] == "-" && options.measure.files[1] == "-") {
    throw UsageError("standard input (-) can be read only once");
  }
  set_level(options.measure.level);
  return measure_once(session, options.measure.output, [&] { return diff(session, options); });
}

}  // namespace

void add_diff(CLI::App& tool, Action& action) {
  const auto options = std::make_shared<DiffOptions>();
  for (const auto& [name, operation] : kOperations) options->operations.push_back(operation);
  std::sort(options->operations.begin(), options->operations.end());
  CLI::App* command = tool.add_subcommand("diff", "Element-wise differences of two images or two files of numbers");
  add_measure_options(*command, options->measure);
  command->add_option("--op", options->operations, "Only these: sum, abs, square, euclid, max")
      ->transform(CLI::CheckedTransformer(kOperations).description(""))
      ->delimiter(',')
      ->allow_extra_args(false)
      ->type_name("NAME");
  command->add_option("--column", options->column, "Column of the number files, by name or by number from 1");
  command->footer(
      "Files of numbers are CSV or one number per line. The differences are first - second; \"largest\" keeps its "
      "sign.\n\n"
      "Example:\n  vlix diff before.png after.png\n  vlix diff --op max --column count a.csv b.csv");
  runs(*command, action, options, run);
}
