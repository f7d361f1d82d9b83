// SPDX-License-Identifier: Apache-2.0
#include "output/cell_text.h"

#include <fmt/format.h>

#include <cmath>
#include <cstdlib>
#include <type_traits>

#include "errors.h"

namespace {

std::string quoted_where_needed(const std::string& text) {
  if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
  std::string out = "\"";
  for (const char c : text) {
    if (c == '"') out += '"';
    out += c;
  }
  return out + '"';
}

// The sign of a not-a-number tells nothing.
template <class Float>
std::string not_finite_text(Float value) {
  return std::isnan(value) ? "nan" : (value > 0 ? "inf" : "-inf");
}

struct TableText {
  std::string operator()(std::monostate) const { return "-"; }
  std::string operator()(const std::string& value) const { return printable(value); }
  std::string operator()(int64_t value) const { return fmt::format("{}", value); }
  std::string operator()(float value) const {
    return std::isfinite(value) ? fmt::format("{:.7g}", value) : not_finite_text(value);
  }
  std::string operator()(double value) const {
    return std::isfinite(value) ? fmt::format("{:.10g}", value) : not_finite_text(value);
  }
};

struct CsvText {
  std::string operator()(std::monostate) const { return ""; }
  std::string operator()(const std::string& value) const { return quoted_where_needed(value); }
  template <class Number>
  std::string operator()(Number value) const {
    if constexpr (std::is_floating_point_v<Number>) {
      if (!std::isfinite(value)) return not_finite_text(value);
    }
    return fmt::format("{}", value);
  }
};

struct AsDouble {
  double operator()(std::monostate) const { return std::nan(""); }
  double operator()(const std::string&) const { return std::nan(""); }
  double operator()(int64_t value) const { return static_cast<double>(value); }
  double operator()(float value) const {
    return std::isfinite(value) ? std::strtod(fmt::format("{}", value).c_str(), nullptr) : static_cast<double>(value);
  }
  double operator()(double value) const { return value; }
};

}  // namespace

std::string table_text(const Cell& cell) { return std::visit(TableText{}, cell); }

std::string csv_text(const Cell& cell) { return std::visit(CsvText{}, cell); }

double number_of(const Cell& cell) { return std::visit(AsDouble{}, cell); }

bool is_number(const Cell& cell) { return cell.index() >= 2; }
