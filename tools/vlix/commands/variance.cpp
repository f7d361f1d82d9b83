// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "commands/commands.h"
#include "commands/image_kinds.h"
#include "commands/moments.h"
#include "errors.h"
#include "output/sink.h"
#include "vlix/meas.h"

namespace {

struct VarianceOptions {
  MeasureOptions measure;
  std::string kernel;
  bool deviation = false;
  std::string mean_path, variance_path;
};

struct Kernel {
  int32_t width, height;
};

constexpr int32_t kLargestKernel = 1 << 24;

Kernel kernel_of(const std::string& text) {
  const std::size_t cross = text.find('x');
  std::optional<std::vector<double>> numbers;
  if (cross != std::string::npos) numbers = parse_numbers(text.substr(0, cross) + "," + text.substr(cross + 1));
  const auto is_size = [](double n) { return n == static_cast<int32_t>(n) && n >= 1; };
  if (numbers && numbers->size() == 2) {
    const double width = (*numbers)[0], height = (*numbers)[1];
    const bool small = width <= kLargestKernel && height <= kLargestKernel;
    if (small && is_size(width) && is_size(height)) return {static_cast<int32_t>(width), static_cast<int32_t>(height)};
  }
  throw UsageError("--kernel takes WIDTHxHEIGHT, both at least 1, not " + text);
}

// The part of the window from its centre to its end must fit into the region.
void check_fit(const Kernel& kernel, const Image& image) {
  const auto fits = [](int32_t size, int32_t room) { return size - size / 2 <= room - 1; };
  if (fits(kernel.width, image.width()) && fits(kernel.height, image.height())) return;
  throw FileError(fmt::format("the kernel {}x{} is too large for {} x {} pixels (at most {}x{})", kernel.width,
                              kernel.height, image.width(), image.height(), 2 * (image.width() - 1),
                              2 * (image.height() - 1)));
}

// What a running sum of squares has taken in of a pixel, it gives back only to within 2^-24 of its square: 2^-8 of the
// square of a pixel that is 2^8 times smaller.
constexpr float kHuge = 256;

void add_notes(Measurement& measurement, const Kernel& kernel, const Image& image) {
  if (kernel.width == 1 && kernel.height == 1) {
    measurement.notes.push_back("note: a kernel of one pixel has no variance (nan)");
  }
  if (!is_float(image)) return;
  if (count_floats(image, [](float v) { return !std::isfinite(v); }) != 0) {
    measurement.notes.push_back(
        "note: after pixels that are not finite, windows further right and further down are not finite either");
    return;
  }
  const Moments moments = grey_moments(image);
  const float largest = std::max(std::fabs(moments.min), std::fabs(moments.max));
  const int64_t small = count_floats(image, [=](float v) { return std::fabs(v) < largest / kHuge; });
  if (2 * small > int64_t{image.width()} * image.height()) {
    measurement.notes.push_back(
        "note: pixels far larger than most leave rounding errors in windows further right and further down");
  }
}

Measurement variance(Session& session, const VarianceOptions& options) {
  const std::string& path = options.measure.files[0];
  const Kernel kernel = kernel_of(options.kernel);
  const LoadedImage loaded = load_image(session, path, options.measure);
  if (is_colour(loaded.image)) throw FileError("is a colour image; local variance needs a grey one");
  check_fit(kernel, loaded.image);
  Image mean, variance;
  require_success(vlix_variance(loaded.image.record(), mean.record(), variance.record(), options.deviation,
                                kernel.width, kernel.height));
  if (!options.mean_path.empty()) {
    write_file(options.mean_path, session.images.files().encode(mean, FileFormat::kTiff));
  }
  if (!options.variance_path.empty()) {
    write_file(options.variance_path, session.images.files().encode(variance, FileFormat::kTiff));
  }
  Measurement measurement;
  for (const Image* image : {&mean, &variance}) {
    const Moments moments = grey_moments(*image);
    Record record;
    record.fields = {{"file", path},
                     {"image", image == &mean ? "mean" : (options.deviation ? "deviation" : "variance")},
                     {"kernel", options.kernel},
                     {"width", int64_t{image->width()}},
                     {"height", int64_t{image->height()}},
                     {"mean", moments.mean},
                     {"min", moments.min},
                     {"max", moments.max}};
    measurement.records.push_back(std::move(record));
  }
  add_notes(measurement, kernel, loaded.image);
  return measurement;
}

int run(Session& session, const VarianceOptions& options) {
  if (options.measure.files.size() != 1) throw UsageError("variance takes one file");
  kernel_of(options.kernel);
  return measure_files(session, options.measure, [&](const std::string&) { return variance(session, options); });
}

}  // namespace

void add_variance(CLI::App& tool, Action& action) {
  const auto options = std::make_shared<VarianceOptions>();
  CLI::App* command = tool.add_subcommand("variance", "Mean and variance inside a window around each pixel");
  add_image_options(*command, options->measure);
  add_format_option(*command, options->measure.output);
  command->add_option("--kernel", options->kernel, "Size of the window, clipped at the borders")
      ->required()
      ->type_name("WxH");
  command->add_flag("--stddev", options->deviation, "Standard deviation instead of the variance");
  command->add_option("--mean", options->mean_path, "Write the local mean to this float TIFF")->type_name("FILE");
  command->add_option("-o,--output", options->variance_path, "Write the local variance to this float TIFF")
      ->type_name("FILE");
  command->footer(
      "Prints mean, minimum and maximum of both images. The variance has the divisor N - 1.\n\n"
      "Example:\n  vlix variance --kernel 7x7 --stddev --output texture.tif plate.png");
  runs(*command, action, options, run);
}
