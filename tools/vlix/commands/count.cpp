// SPDX-License-Identifier: Apache-2.0
// vlix count and vlix background.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "commands/commands.h"
#include "commands/image_kinds.h"
#include "errors.h"
#include "vlix/meas.h"

namespace {

struct CountOptions {
  MeasureOptions measure;
  std::string above, upto;
};

struct Bounds {
  int32_t low, high;
};

using Numbers = std::vector<double>;

// The bound of a grey image, which may lie outside the range of the pixels.
int32_t grey_bound(const char* name, const Numbers& numbers) {
  if (numbers.size() != 1) throw FileError(fmt::format("{} takes one number for grey images", name));
  const double value = numbers[0];
  if (value == std::floor(value) && value >= INT32_MIN && value <= INT32_MAX) return static_cast<int32_t>(value);
  throw FileError(fmt::format("{} {:g} must be a whole number of at most 31 bits", name, value));
}

// A colour as the pixel's own word: red in the lowest byte.
int32_t colour_bound(const char* name, const Numbers& numbers) {
  if (numbers.size() != 3) throw FileError(fmt::format("{} takes R,G,B for colour images", name));
  uint32_t word = 0;
  for (std::size_t c = 0; c < 3; ++c) {
    const double value = numbers[c];
    if (value != std::floor(value) || value < 0 || value > 255) {
      throw FileError(fmt::format("{} takes three whole numbers from 0 to 255", name));
    }
    word |= static_cast<uint32_t>(value) << (8 * c);
  }
  return static_cast<int32_t>(word);
}

// The primitive for bytes sees the bounds modulo 256: no bound leaves here that means something else then.
Bounds within_bytes(const Bounds& bounds) {
  const Bounds within = {std::clamp(bounds.low, -1, 254), std::min(bounds.high, 255)};
  const bool none = bounds.low >= 255 || within.low >= within.high;
  return none ? Bounds{254, 254} : within;
}

Bounds bounds_of(const CountOptions& options, const Image& image) {
  const Numbers above = parse_numbers(options.above).value_or(Numbers());
  const Numbers upto = parse_numbers(options.upto).value_or(Numbers());
  if (is_colour(image)) return {colour_bound("--above", above), colour_bound("--upto", upto)};
  const Bounds bounds = {grey_bound("--above", above), grey_bound("--upto", upto)};
  return image.type() == ObjType_U8 ? within_bytes(bounds) : bounds;
}

Measurement count(Session& session, const CountOptions& options, const std::string& path) {
  const LoadedImage loaded = load_image(session, path, options.measure);
  const Image& image = loaded.image;
  if (image.type() == ObjType_Colour39) throw FileError("16-bit colour pixels cannot be counted");
  uint32_t counted = 0;
  if (options.above.empty()) {
    require_success(vlix_countPix(image.record(), &counted));
  } else {
    const Bounds bounds = bounds_of(options, image);
    require_success(vlix_countThreshPix(image.record(), &counted, bounds.low, bounds.high));
  }
  const double pixels = static_cast<double>(image.width()) * image.height();
  Record record;
  record.fields = {{"file", path},
                   {"type", type_name(image)},
                   {"width", int64_t{image.width()}},
                   {"height", int64_t{image.height()}},
                   {"count", int64_t{counted}},
                   {"share", counted / pixels}};
  return {{record}, {}};
}

int run_count(Session& session, const CountOptions& options) {
  if (options.above.empty() != options.upto.empty()) throw UsageError("--above and --upto belong together");
  for (const std::string& bound : {options.above, options.upto}) {
    if (!bound.empty() && !parse_numbers(bound)) throw UsageError("--above and --upto take numbers, not " + bound);
  }
  return measure_files(session, options.measure,
                       [&](const std::string& path) { return count(session, options, path); });
}

template <class Pixel>
Pixel as(const std::array<unsigned char, 8>& bytes) {
  Pixel pixel;
  std::memcpy(&pixel, bytes.data(), sizeof(pixel));
  return pixel;
}

// One value, or one per channel.
std::vector<Cell> levels_of(const Image& image) {
  std::array<unsigned char, 8> pixel = {};
  require_success(vlix_background(image.record(), pixel.data()));
  switch (image.type()) {
    case ObjType_U8: return {int64_t{as<uint8_t>(pixel)}};
    case ObjType_S8: return {int64_t{as<int8_t>(pixel)}};
    case ObjType_U16: return {int64_t{as<uint16_t>(pixel)}};
    case ObjType_S16: return {int64_t{as<int16_t>(pixel)}};
    case ObjType_F32: return {as<float>(pixel)};
    default: return {int64_t{pixel[0]}, int64_t{pixel[1]}, int64_t{pixel[2]}};
  }
}

Measurement background(Session& session, const MeasureOptions& options, const std::string& path) {
  const LoadedImage loaded = load_image(session, path, options);
  const Image& image = loaded.image;
  if (image.type() == ObjType_Colour39) throw FileError("16-bit colour images have no background level");
  const std::vector<Cell> levels = levels_of(image);
  Measurement measurement;
  for (std::size_t c = 0; c < levels.size(); ++c) {
    Record record;
    record.fields = {{"file", path},
                     {"type", type_name(image)},
                     {"width", int64_t{image.width()}},
                     {"height", int64_t{image.height()}},
                     {"channel", levels.size() == 1 ? Cell() : Cell(kChannelNames[c])},
                     {"background", levels[c]}};
    measurement.records.push_back(std::move(record));
  }
  return measurement;
}

int run_background(Session& session, const MeasureOptions& options) {
  return measure_files(session, options, [&](const std::string& path) { return background(session, options, path); });
}

}  // namespace

void add_count(CLI::App& tool, Action& action) {
  const auto options = std::make_shared<CountOptions>();
  CLI::App* command = tool.add_subcommand("count", "Pixels that are not zero, or that lie in a range");
  add_measure_options(*command, options->measure);
  command->add_option("--above", options->above, "Count pixels above this value (R,G,B for colour images) ...")
      ->type_name("V");
  command->add_option("--upto", options->upto, "... and at most this one")->type_name("V");
  command->footer("Example:\n  vlix count --above 127 --upto 255 plate.png");
  runs(*command, action, options, run_count);
}

void add_background(CLI::App& tool, Action& action) {
  const auto options = std::make_shared<MeasureOptions>();
  CLI::App* command = tool.add_subcommand("background", "Background level, estimated from the four corner pixels");
  add_measure_options(*command, *options);
  command->footer(
      "Three equal corners give their value, otherwise the level is the mean of the four.\n\n"
      "Example:\n  vlix background plate.png");
  runs(*command, action, options, run_background);
}
