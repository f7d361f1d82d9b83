// SPDX-License-Identifier: Apache-2.0
// What all commands have in common.
#ifndef VLIX_TOOL_OPTIONS_H
#define VLIX_TOOL_OPTIONS_H

#include <CLI/CLI.hpp>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "images/image_files.h"
#include "output/writer.h"

struct OutputOptions {
  Format format = Format::kTable;
  std::string output;  // empty: standard output
};

struct MeasureOptions {
  OutputOptions output;
  std::vector<std::string> files;
  std::optional<Rect> roi;
  std::optional<int32_t> level;
  std::size_t jobs = 1;
  uint64_t limit_mib = 0;
};

// Adds --format.
void add_format_option(CLI::App& command, OutputOptions& options);

// Adds --format and --output.
void add_output_options(CLI::App& command, OutputOptions& options);

// Adds the files, --roi, --level, --jobs and --limit.
void add_image_options(CLI::App& command, MeasureOptions& options);

// Adds both sets.
void add_measure_options(CLI::App& command, MeasureOptions& options);

// Adds files of numbers, --jobs, --limit and the output options.
void add_number_file_options(CLI::App& command, MeasureOptions& options);

// Adds an option whose value is X,Y,W,H.
void add_rect_option(CLI::App& command, const std::string& name, std::optional<Rect>& rect, const std::string& text);

// Adds an option whose value is count numbers separated by commas; further occurrences add to the list.
void add_numbers_option(CLI::App& command, const std::string& name, std::size_t count,
                        std::vector<std::vector<double>>& list, const std::string& type_name, const std::string& text);

// Accepts finite numbers that are not below the least; the text completes "must be a number ".
CLI::Validator finite_number(double least, const std::string& text);

// Finite numbers separated by commas, or nothing when the text is anything else.
std::optional<std::vector<double>> parse_numbers(const std::string& text);

#endif
