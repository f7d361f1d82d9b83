// SPDX-License-Identifier: Apache-2.0
#include "input/numbers.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <optional>

#include "errors.h"

namespace {

bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && is_blank(text.front())) text.remove_prefix(1);
  while (!text.empty() && is_blank(text.back())) text.remove_suffix(1);
  return text;
}

char separator_of(std::string_view line) {
  for (const char candidate : {',', ';', '\t'}) {
    if (line.find(candidate) != std::string_view::npos) return candidate;
  }
  return ' ';
}

// A quoted cell ends at the quote that is not doubled; what follows up to the separator is dropped.
std::string take_quoted(std::string_view& line) {
  std::string cell;
  for (line.remove_prefix(1); !line.empty(); line.remove_prefix(1)) {
    if (line.front() == '"') {
      line.remove_prefix(1);
      if (line.empty() || line.front() != '"') break;
    }
    cell += line.front();
  }
  return cell;
}

std::vector<std::string> cells_of(std::string_view line) {
  const char separator = separator_of(line);
  std::vector<std::string> cells;
  for (;;) {
    while (!line.empty() && is_blank(line.front()) && line.front() != separator) line.remove_prefix(1);
    if (separator == ' ') line = trimmed(line);
    const bool quoted = !line.empty() && line.front() == '"';
    std::string cell = quoted ? take_quoted(line) : std::string();
    const std::size_t end = std::min(line.find(separator), line.size());
    if (!quoted) cell = trimmed(line.substr(0, end));
    cells.push_back(std::move(cell));
    if (end == line.size()) return cells;
    line.remove_prefix(end + 1);
  }
}

std::optional<double> number_of(std::string_view text) {
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  double number = 0;
  const auto [stopped, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || stopped != text.data() + text.size()) return std::nullopt;
  return number;
}

bool has_number(const std::vector<std::string>& cells) {
  return std::any_of(cells.begin(), cells.end(), [](const std::string& cell) { return number_of(cell).has_value(); });
}

}  // namespace

NumberTable::NumberTable(std::string_view text) {
  for (std::size_t number = 1; !text.empty(); ++number) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = trimmed(text.substr(0, end));
    if (!line.empty() && line.front() != '#') add_line(text.substr(0, end), number);
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  if (cells_.empty()) throw FileError("holds no numbers");
}

void NumberTable::add_line(std::string_view line, std::size_t number) {
  std::vector<std::string> cells = cells_of(line);
  if (columns_ == 0) {
    columns_ = cells.size();
    if (!has_number(cells)) {
      names_ = std::move(cells);
      return;
    }
  }
  if (cells.size() != columns_) {
    throw FileError(fmt::format("line {} has {} values, the lines before have {}", number, cells.size(), columns_));
  }
  std::move(cells.begin(), cells.end(), std::back_inserter(cells_));
  line_numbers_.push_back(number);
}

double NumberTable::number_at(std::size_t row, std::size_t column) const {
  const std::string& cell = cells_[row * columns_ + column];
  const std::optional<double> number = number_of(cell);
  if (!number) throw FileError(fmt::format("line {}: \"{}\" is not a number", line_numbers_[row], cell));
  return *number;
}

std::vector<double> NumberTable::all() const {
  std::vector<double> numbers;
  numbers.reserve(cells_.size());
  for (std::size_t row = 0; row < rows(); ++row) {
    for (std::size_t column = 0; column < columns_; ++column) numbers.push_back(number_at(row, column));
  }
  return numbers;
}

bool NumberTable::has_column(const std::string& name) const {
  return std::find(names_.begin(), names_.end(), name) != names_.end();
}

std::size_t NumberTable::index_of(const std::string& name) const {
  const auto found = std::find(names_.begin(), names_.end(), name);
  if (found != names_.end()) return static_cast<std::size_t>(found - names_.begin());
  const std::optional<double> number = number_of(name);
  for (std::size_t i = 0; i < columns_; ++i) {
    if (number && *number == static_cast<double>(i + 1)) return i;
  }
  throw FileError(fmt::format("has no column {}", name));
}

std::vector<double> NumberTable::column(const std::string& name) const {
  const std::size_t index = index_of(name);
  std::vector<double> numbers;
  for (std::size_t row = 0; row < rows(); ++row) numbers.push_back(number_at(row, index));
  return numbers;
}

std::vector<PointF32> NumberTable::points() const {
  const bool named = has_column("x") && has_column("y");
  if (!named && columns_ != 2) {
    throw FileError(fmt::format("has {} columns; points need two, or columns named x and y", columns_));
  }
  const std::size_t x = named ? index_of("x") : 0;
  const std::size_t y = named ? index_of("y") : 1;
  std::vector<PointF32> points;
  for (std::size_t row = 0; row < rows(); ++row) {
    points.push_back({static_cast<float>(number_at(row, x)), static_cast<float>(number_at(row, y))});
  }
  return points;
}

bool looks_like_numbers(std::string_view head) {
  const bool pnm = head.size() > 2 && head[0] == 'P' && std::isspace(static_cast<unsigned char>(head[2])) != 0;
  const bool mark_up = !head.empty() && head[0] == '<';
  const bool text = std::all_of(head.begin(), head.end(), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 0x20 || c == '\n' || c == '\r' || c == '\t';
  });
  return text && !pnm && !mark_up;
}
