// SPDX-License-Identifier: Apache-2.0
#include "options.h"

#include <charconv>
#include <cmath>
#include <map>
#include <thread>

#include "errors.h"

namespace {

constexpr uint64_t kDefaultLimitMib = 2048;
constexpr uint64_t kLargestLimitMib = uint64_t{1} << 24;
constexpr std::size_t kMostJobs = 256;

std::string rect_problem(const std::vector<double>& numbers) {
  for (const double number : numbers) {
    if (number != std::floor(number) || std::fabs(number) > 2147483647.0) return "takes four whole numbers X,Y,W,H";
  }
  if (numbers[0] < 0 || numbers[1] < 0) return "X and Y must not be negative";
  if (numbers[2] < 1 || numbers[3] < 1) return "W and H must be at least 1";
  return {};
}

Rect rect_of(const std::string& text) {
  const std::optional<std::vector<double>> numbers = parse_numbers(text);
  if (!numbers || numbers->size() != 4) throw UsageError("takes four whole numbers X,Y,W,H");
  const std::string problem = rect_problem(*numbers);
  if (!problem.empty()) throw UsageError(problem);
  const auto part = [&](std::size_t i) { return static_cast<int32_t>((*numbers)[i]); };
  return {part(0), part(1), part(2), part(3)};
}

void add_files(CLI::App& command, MeasureOptions& options, const std::string& text) {
  options.limit_mib = kDefaultLimitMib;
  options.jobs = std::max(1U, std::thread::hardware_concurrency());
  command.add_option("files", options.files, text)->required()->type_name("FILE");
  command.add_option("-j,--jobs", options.jobs, "Files measured at a time (default: one per processor)")
      ->check(CLI::Range(std::size_t{1}, kMostJobs).description(""))
      ->type_name("N");
  command.add_option("--limit", options.limit_mib, "Refuse files that need more memory than this for what they hold")
      ->check(CLI::Range(uint64_t{1}, kLargestLimitMib).description(""))
      ->type_name("MIB")
      ->capture_default_str();
}

}  // namespace

std::optional<std::vector<double>> parse_numbers(const std::string& text) {
  std::vector<double> numbers;
  const char* next = text.data();
  const char* const end = next + text.size();
  for (;;) {
    if (next != end && *next == '+') ++next;
    double number = 0;
    const auto [stopped, error] = std::from_chars(next, end, number);
    if (error != std::errc() || !std::isfinite(number)) return std::nullopt;
    numbers.push_back(number);
    if (stopped == end) return numbers;
    if (*stopped != ',') return std::nullopt;
    next = stopped + 1;
  }
}

CLI::Validator finite_number(double least, const std::string& text) {
  const auto problem = [least, text](const std::string& value) -> std::string {
    const std::optional<std::vector<double>> numbers = parse_numbers(value);
    const bool sound = numbers && numbers->size() == 1 && (*numbers)[0] >= least;
    return sound ? "" : "must be a number" + (text.empty() ? "" : " " + text) + ", not " + value;
  };
  return CLI::Validator(problem, "");
}

void add_format_option(CLI::App& command, OutputOptions& options) {
  const std::map<std::string, Format> formats = {
      {"table", Format::kTable}, {"json", Format::kJson}, {"csv", Format::kCsv}};
  command.add_option("--format", options.format, "How results are written: table, json or csv")
      ->transform(CLI::CheckedTransformer(formats).description(""))
      ->type_name("FORMAT")
      ->default_str("table");
}

void add_output_options(CLI::App& command, OutputOptions& options) {
  add_format_option(command, options);
  command.add_option("-o,--output", options.output, "Write the results to this file instead of standard output")
      ->type_name("FILE");
}

void add_rect_option(CLI::App& command, const std::string& name, std::optional<Rect>& rect, const std::string& text) {
  command
      .add_option_function<std::string>(
          name,
          [&rect, name](const std::string& value) {
            try {
              rect = rect_of(value);
            } catch (const UsageError& error) {
              throw CLI::ValidationError(name, error.what());
            }
          },
          text)
      ->type_name("X,Y,W,H");
}

void add_numbers_option(CLI::App& command, const std::string& name, std::size_t count,
                        std::vector<std::vector<double>>& list, const std::string& type_name, const std::string& text) {
  const auto add = [&list, name, count, type_name](const std::vector<std::string>& values) {
    for (const std::string& value : values) {
      const std::optional<std::vector<double>> numbers = parse_numbers(value);
      if (!numbers || numbers->size() != count) throw CLI::ValidationError(name, "takes " + type_name);
      list.push_back(*numbers);
    }
  };
  command.add_option_function<std::vector<std::string>>(name, add, text)->allow_extra_args(false)->type_name(type_name);
}

void add_image_options(CLI::App& command, MeasureOptions& options) {
  add_files(command, options, "Image files (PNG, JPEG, TIFF, WebP, PGM, PPM, PFM ...); - is standard input");
  add_rect_option(command, "--roi", options.roi,
                  "Measure only this region; only it is decoded where the format allows");
  command
      .add_option("--level", options.level, "Optimisation level: 0 plain, 1 primitives (default), 2 packed integers")
      ->check(CLI::Range(0, 2).description(""))
      ->type_name("N");
}

void add_number_file_options(CLI::App& command, MeasureOptions& options) {
  add_files(command, options, "CSV files; - is standard input");
  add_output_options(command, options.output);
}

void add_measure_options(CLI::App& command, MeasureOptions& options) {
  add_image_options(command, options);
  add_output_options(command, options.output);
}
