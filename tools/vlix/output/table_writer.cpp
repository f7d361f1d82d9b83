// SPDX-License-Identifier: Apache-2.0
// Aligned columns for reading: a line per record, or a block per record that has series.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include <utility>

#include "output/cell_text.h"
#include "output/writer.h"

namespace {

constexpr std::size_t kLeastWidth = 9;
constexpr std::size_t kBarWidth = 50;
constexpr const char* kGap = "  ";

// Columns of a terminal that a UTF-8 text takes, wide characters aside.
std::size_t displayed_width(const std::string& text) {
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xc0) != 0x80; }));
}

std::string padded(const std::string& text, std::size_t width, bool right) {
  const std::string blanks(width - std::min(width, displayed_width(text)), ' ');
  return right ? blanks + text : text + blanks;
}

std::string without_trailing_blanks(std::string line) {
  line.erase(line.find_last_not_of(' ') + 1);
  return line + "\n";
}

// A bar in eighths of a character, so that small counts stay visible.
std::string bar(double value, double largest) {
  if (!(value > 0) || !(largest > 0)) return "";
  static constexpr const char* kEighths[] = {"", "▏", "▎", "▍", "▌", "▋", "▊", "▉"};
  const auto eighths = static_cast<std::size_t>(std::ceil(value / largest * 8 * static_cast<double>(kBarWidth)));
  std::string text;
  for (std::size_t i = 0; i < eighths / 8; ++i) text += "█";
  return text + kEighths[eighths % 8];
}

class TableWriter final : public Writer {
 public:
  explicit TableWriter(std::size_t first_column_width) : first_width_(first_column_width) {}

  std::string record(const Record& record) override { return record.series.empty() ? line(record) : block(record); }

 private:
  std::string line(const Record& record) {
    std::string header, values;
    for (std::size_t i = 0; i < record.fields.size(); ++i) {
      const Field& field = record.fields[i];
      const std::string text = table_text(field.value);
      if (!header_written_) widths_.push_back(width_of_column(i, field.name, text));
      const bool right = is_number(field.value);
      header += (i == 0 ? "" : kGap) + padded(field.name, widths_[i], right);
      values += (i == 0 ? "" : kGap) + padded(text, widths_[i], right);
    }
    if (std::exchange(header_written_, true)) header.clear();
    return (header.empty() ? "" : without_trailing_blanks(header)) + without_trailing_blanks(values);
  }

  std::size_t width_of_column(std::size_t index, const std::string& name, const std::string& first_value) const {
    return std::max({displayed_width(name), displayed_width(first_value), index == 0 ? first_width_ : kLeastWidth});
  }

  std::string block(const Record& record) {
    std::string text = std::exchange(header_written_, true) ? "\n" : "";
    for (std::size_t i = 0; i < record.fields.size(); ++i) {
      const std::string value = table_text(record.fields[i].value);
      text += i == 0 ? value : fmt::format("{}{} {}", kGap, record.fields[i].name, value);
    }
    text += "\n";
    for (const Series& series : record.series) {
      if (record.series.size() > 1) text += series.name + ":\n";
      append_series(text, series);
    }
    return text;
  }

  static void append_series(std::string& text, const Series& series) {
    const std::vector<std::size_t> widths = widths_of(series);
    std::string header;
    for (std::size_t i = 0; i < widths.size(); ++i) header += kGap + padded(series.columns[i], widths[i], true);
    text += without_trailing_blanks(header);
    const double largest = largest_bar(series);
    for (std::size_t row = 0; row < series.rows(); ++row) {
      std::string line;
      for (std::size_t i = 0; i < widths.size(); ++i)
        line += kGap + padded(table_text(series.cell(row, i)), widths[i], true);
      if (series.bar_column >= 0)
        line += kGap + bar(number_of(series.cell(row, static_cast<std::size_t>(series.bar_column))), largest);
      text += without_trailing_blanks(line);
    }
  }

  static std::vector<std::size_t> widths_of(const Series& series) {
    std::vector<std::size_t> widths;
    for (const std::string& column : series.columns) widths.push_back(std::max(kLeastWidth, displayed_width(column)));
    for (std::size_t row = 0; row < series.rows(); ++row) {
      for (std::size_t i = 0; i < widths.size(); ++i) {
        widths[i] = std::max(widths[i], displayed_width(table_text(series.cell(row, i))));
      }
    }
    return widths;
  }

  static double largest_bar(const Series& series) {
    double largest = 0;
    if (series.bar_column < 0) return largest;
    for (std::size_t row = 0; row < series.rows(); ++row) {
      largest = std::max(largest, number_of(series.cell(row, static_cast<std::size_t>(series.bar_column))));
    }
    return largest;
  }

  std::size_t first_width_;
  std::vector<std::size_t> widths_;
  bool header_written_ = false;
};

}  // namespace

std::unique_ptr<Writer> make_table_writer(std::size_t first_column_width) {
  return std::make_unique<TableWriter>(first_column_width);
}
