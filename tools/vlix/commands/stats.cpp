// SPDX-License-Identifier: Apache-2.0
#include <cmath>

#include "commands/commands.h"
#include "commands/image_kinds.h"
#include "commands/moments.h"
#include "errors.h"
#include "vlix/meas.h"

namespace {

VlixImageHandle handle_of(const Image& image) {
  VlixImageHandle handle = {};
  handle.kind = VlixHandle_Image;
  handle.image = *image.record();
  return handle;
}

}  // namespace

Moments grey_moments(const Image& image) {
  const VlixImageHandle handle = handle_of(image);
  Moments m = {};
  require_success(vlix_stats(reinterpret_cast<const VlixObj*>(&handle), &m.mean, &m.deviation, &m.min, &m.max, nullptr,
                             nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                             nullptr));
  return m;
}

std::array<Moments, 3> colour_moments(const Image& image) {
  const VlixImageHandle handle = handle_of(image);
  std::array<Moments, 3> m = {};
  require_success(vlix_stats(reinterpret_cast<const VlixObj*>(&handle), nullptr, nullptr, nullptr, nullptr, &m[0].mean,
                             &m[0].deviation, &m[0].min, &m[0].max, &m[1].mean, &m[1].deviation, &m[1].min, &m[1].max,
                             &m[2].mean, &m[2].deviation, &m[2].min, &m[2].max));
  return m;
}

namespace {

constexpr float kLeastRelativeDeviation = 1e-3F;

Record record_of(const std::string& path, const Image& image, Cell channel, const Moments& m) {
  Record record;
  record.fields = {{"file", path},
                   {"type", type_name(image)},
                   {"width", int64_t{image.width()}},
                   {"height", int64_t{image.height()}},
                   {"channel", std::move(channel)},
                   {"mean", m.mean},
                   {"deviation", m.deviation},
                   {"min", m.min},
                   {"max", m.max}};
  return record;
}

// In the plain loops the deviation is the root of a difference of two sums of about the mean squared.
bool may_have_lost_digits(const Image& image, const Moments& moments) {
  const bool finite = std::isfinite(moments.min) && std::isfinite(moments.max) && std::isfinite(moments.mean);
  const bool constant = moments.min == moments.max && moments.deviation == 0;
  return is_float(image) && finite && !constant &&
         !(moments.deviation >= kLeastRelativeDeviation * std::fabs(moments.mean));
}

Measurement stats(Session& session, const MeasureOptions& options, const std::string& path) {
  const LoadedImage loaded = load_image(session, path, options);
  const Image& image = loaded.image;
  if (!is_colour(image)) {
    const Moments moments = grey_moments(image);
    Measurement measurement = {{record_of(path, image, {}, moments)}, {}};
    if (may_have_lost_digits(image, moments)) {
      measurement.notes.push_back("note: the deviation is so small beside the mean that it may have lost digits");
    }
    return measurement;
  }
  const std::array<Moments, 3> moments = colour_moments(image);
  std::vector<Record> records;
  for (std::size_t c = 0; c < 3; ++c) records.push_back(record_of(path, image, kChannelNames[c], moments[c]));
  return {records, {}};
}

int run(Session& session, const MeasureOptions& options) {
  return measure_files(session, options, [&](const std::string& path) { return stats(session, options, path); });
}

}  // namespace

void add_stats(CLI::App& tool, Action& action) {
  const auto options = std::make_shared<MeasureOptions>();
  CLI::App* command = tool.add_subcommand("stats", "Mean, standard deviation (divisor N), minimum and maximum");
  add_measure_options(*command, *options);
  command->footer(
      "Colour images give one line per channel.\n\n"
      "Example:\n  vlix stats --roi 100,50,200,200 plate.png");
  runs(*command, action, options, run);
}
