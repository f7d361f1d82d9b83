// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <map>

#include "analysis/placements.h"
#include "commands/commands.h"
#include "commands/image_kinds.h"
#include "errors.h"
#include "output/sink.h"
#include "vlix/meas.h"
#include "vlix/util.h"

namespace {

enum class Method { kCorrelation, kDifferences, kFourier };

struct MatchOptions {
  MeasureOptions measure;
  Method method = Method::kCorrelation;
  std::string template_path;
  std::optional<Rect> template_rect;
  std::size_t top = 1;
  std::optional<double> least_distance, threshold;
  std::string scores_path;
};

constexpr std::size_t kMostPlacements = 1000000;
constexpr double kSaturated = 65535;  // sums of differences go no higher

LoadedImage grey_image(LoadedImage loaded) {
  if (is_colour(loaded.image)) throw FileError("is a colour image; matching needs grey ones");
  return loaded;
}

// The template is a file of its own, or a rectangle of each target.
LoadedImage load_template(Session& session, const MatchOptions& options, const InputFile& target) {
  const uint64_t limit = options.measure.limit_mib << 20;
  if (options.template_rect) return grey_image(load_image(session, target, options.template_rect, limit));
  try {
    return grey_image(load_image(session, InputFile(options.template_path, limit), std::nullopt, limit));
  } catch (const FileError& error) {
    throw FileError(options.template_path + ": " + error.what());
  }
}

Image as_float(const Image& image) {
  Image out;
  if (VlixUtilCastImage(image.record(), out.record(), 4, 0) != 0) throw FileError("not enough memory");
  return out;
}

// The library has a way for two different types, and for signed 16-bit ones, that keeps float copies of both images for
// good; copies made here are released.
void correlate(const Image& target, const Image& pattern, Image& scores) {
  const bool alike = target.type() == pattern.type() && target.type() != ObjType_S16;
  if (alike) return require_success(vlix_nxcorr(target.record(), pattern.record(), scores.record()));
  const Image float_target = as_float(target), float_pattern = as_float(pattern);
  require_success(vlix_nxcorr(float_target.record(), float_pattern.record(), scores.record()));
}

Image score_image(Method method, const Image& target, const Image& pattern) {
  Image scores;
  switch (method) {
    case Method::kCorrelation: correlate(target, pattern, scores); break;
    case Method::kDifferences: require_success(vlix_sod(target.record(), pattern.record(), scores.record())); break;
    case Method::kFourier: require_success(vlix_xCorr(target.record(), pattern.record(), scores.record())); break;
  }
  return scores;
}

// Placements that lie wholly inside the target, better ones larger. The Fourier scores belong to the template's centre
// and cover the whole target.
Scores valid_scores(Method method, const Image& image, const Image& target, const Image& pattern) {
  Scores scores = {target.width() - pattern.width() + 1, target.height() - pattern.height() + 1, {}};
  const bool centred = method == Method::kFourier;
  const int32_t left = centred ? pattern.width() / 2 : 0, top = centred ? pattern.height() / 2 : 0;
  scores.values.reserve(static_cast<std::size_t>(scores.width) * static_cast<std::size_t>(scores.height));
  for (int32_t y = 0; y < scores.height; ++y) {
    for (int32_t x = 0; x < scores.width; ++x) {
      const bool differences = method == Method::kDifferences;
      scores.values.push_back(differences ? -static_cast<double>(image.row<uint16_t>(y)[x])
                                          : static_cast<double>(image.row<float>(top + y)[left + x]));
    }
  }
  return scores;
}

void add_notes(Measurement& measurement, const MatchOptions& options, const Image& target, const Image& pattern,
               const std::vector<Placement>& placements) {
  if (options.method != Method::kDifferences) return;
  if (loses_by_truncation(target) || loses_by_truncation(pattern)) {
    measurement.notes.push_back(
        "note: differences of float pixels are truncated to whole numbers of 32 bits before they are summed");
  }
  if (!placements.empty() && -placements[0].score >= kSaturated) {
    measurement.notes.push_back("note: all sums of differences reach 65535, where they end; use a smaller template");
  }
}

Record record_of(const std::string& path, const LoadedImage& target, const Placement& place, std::size_t rank,
                 Method method) {
  const double score = method == Method::kDifferences ? -place.score : place.score;
  Record record;
  record.fields = {
      {"file", path},
      {"rank", static_cast<int64_t>(rank)},
      {"x", int64_t{target.x + place.x}},
      {"y", int64_t{target.y + place.y}},
      {"x_refined", static_cast<float>(target.x + place.refined_x)},
      {"y_refined", static_cast<float>(target.y + place.refined_y)},
      {"score", method == Method::kDifferences ? Cell(static_cast<int64_t>(score)) : Cell(static_cast<float>(score))}};
  return record;
}

Measurement match(Session& session, const MatchOptions& options, const std::string& path) {
  const uint64_t limit = options.measure.limit_mib << 20;
  const InputFile file(path, limit);
  const LoadedImage target = grey_image(load_image(session, file, options.measure.roi, limit));
  const LoadedImage pattern = load_template(session, options, file);
  if (pattern.image.width() > target.image.width() || pattern.image.height() > target.image.height()) {
    throw FileError(fmt::format("the template of {} x {} pixels is larger than the {} x {} target",
                                pattern.image.width(), pattern.image.height(), target.image.width(),
                                target.image.height()));
  }
  const Image image = score_image(options.method, target.image, pattern.image);
  if (!options.scores_path.empty())
    write_file(options.scores_path, session.images.files().encode(image, FileFormat::kTiff));

  const Scores scores = valid_scores(options.method, image, target.image, pattern.image);
  std::optional<double> threshold = options.threshold;
  if (threshold && options.method == Method::kDifferences) threshold = -*threshold;
  const double usual_distance = std::min(pattern.image.width(), pattern.image.height()) / 2.0;
  const std::vector<Placement> placements =
      best_placements(scores, options.top, options.least_distance.value_or(usual_distance), threshold);
  Measurement measurement;
  for (const Placement& place : placements) {
    measurement.records.push_back(record_of(path, target, place, measurement.records.size() + 1, options.method));
  }
  add_notes(measurement, options, target.image, pattern.image, placements);
  return measurement;
}

// Sums of differences are faster in the plain loops, correlation is with the primitives.
int32_t fastest_level(Method method) { return method == Method::kDifferences ? 0 : 1; }

int run(Session& session, const MatchOptions& options) {
  if (options.template_path.empty() == !options.template_rect.has_value()) {
    throw UsageError("match takes either --template or --template-roi");
  }
  if (options.template_path == "-") throw UsageError("the template cannot come from standard input");
  if (!options.scores_path.empty() && options.measure.files.size() != 1) throw UsageError("--scores takes one file");
  MeasureOptions measure = options.measure;
  if (!measure.level) measure.level = fastest_level(options.method);
  return measure_files(session, measure, [&](const std::string& path) { return match(session, options, path); });
}

}  // namespace

void add_match(CLI::App& tool, Action& action) {
  const auto options = std::make_shared<MatchOptions>();
  const std::map<std::string, Method> methods = {
      {"ncc", Method::kCorrelation}, {"sad", Method::kDifferences}, {"fft", Method::kFourier}};
  CLI::App* command = tool.add_subcommand("match", "Find a template in images");
  add_measure_options(*command, options->measure);
  command
      ->add_option("--method", options->method,
                   "ncc: normalised cross-correlation, 1 is best (default)\n"
                   "sad: sum of absolute differences, 0 is best, 65535 at most\n"
                   "fft: plain correlation through the Fourier transform, which favours bright places")
      ->transform(CLI::CheckedTransformer(methods).description(""))
      ->type_name("NAME");
  command->add_option("--template", options->template_path, "The image to look for")->type_name("FILE");
  add_rect_option(*command, "--template-roi", options->template_rect, "Look for this rectangle of the target itself");
  command->add_option("--top", options->top, "Number of placements to report (default 1)")
      ->check(CLI::Range(std::size_t{1}, kMostPlacements).description(""))
      ->type_name("N");
  command
      ->add_option("--min-distance", options->least_distance,
                   "Placements closer than this to a better one are left out (default: half the template)")
      ->check(finite_number(0, "of at least 0"))
      ->type_name("PIXELS");
  command->add_option("--threshold", options->threshold, "Worst score that is reported")
      ->check(finite_number(std::numeric_limits<double>::lowest(), ""))
      ->type_name("SCORE");
  command->add_option("--scores", options->scores_path, "Write the scores to this TIFF file (float; 16-bit for sad)")
      ->type_name("FILE");
  command->footer(
      "x and y are where the template's first pixel lies in the whole image; x_refined and y_refined are the peak of "
      "a\n"
      "quadratic surface through the scores around it. Without --level the faster one is chosen: 0 for sad, 1 for "
      "ncc.\n\n"
      "Example:\n  vlix match --template hole.png --top 5 --threshold 0.8 plate.png\n"
      "  vlix match --method sad --template-roi 10,10,32,32 --top 3 plate.png");
  runs(*command, action, options, run);
}
