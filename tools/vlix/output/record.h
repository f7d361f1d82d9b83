// SPDX-License-Identifier: Apache-2.0
// What a measurement yields: named values, and series of rows beside them.
#ifndef VLIX_TOOL_OUTPUT_RECORD_H
#define VLIX_TOOL_OUTPUT_RECORD_H

#include <cstdint>
#include <string>
#include <utility>
#include <variant>
#include <vector>

// Nothing, a text, a whole number, or a float of either width. Not-a-number and infinities are "nan" and "inf" in
// tables and CSV, null in JSON.
using Cell = std::variant<std::monostate, std::string, int64_t, float, double>;

struct Field {
  std::string name;
  Cell value;
};

struct Series {
  std::string name;
  std::vector<std::string> columns;
  std::vector<Cell> cells;  // row after row
  int bar_column = -1;      // column that tables draw as bars, if any

  std::size_t rows() const { return columns.empty() ? 0 : cells.size() / columns.size(); }
  const Cell& cell(std::size_t row, std::size_t column) const { return cells[row * columns.size() + column]; }
};

// The first field names what was measured, mostly the file. All records of one run have the same names of fields; they
// have series or none.
struct Record {
  std::vector<Field> fields;
  std::vector<Series> series;
};

#endif
