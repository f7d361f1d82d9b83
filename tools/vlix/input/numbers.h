// SPDX-License-Identifier: Apache-2.0
// Text files of numbers: a column, or CSV.
#ifndef VLIX_TOOL_INPUT_NUMBERS_H
#define VLIX_TOOL_INPUT_NUMBERS_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "vlix/types.h"

// Cells separated by commas, semicolons, tabs or blanks (whichever the first line has, in this order), possibly quoted.
// Empty lines and lines that begin with # are skipped; a first line without any number names the columns.
class NumberTable {
 public:
  // Throws FileError with the line's number when the lines differ in their number of cells or there is no data at all.
  explicit NumberTable(std::string_view text);

  std::size_t rows() const { return cells_.size() / columns_; }
  std::size_t columns() const { return columns_; }

  // All cells, row after row; each must be a number.
  std::vector<double> all() const;

  // One column by its name, or by its number from 1.
  std::vector<double> column(const std::string& name) const;

  // The columns named x and y, or the only two.
  std::vector<PointF32> points() const;

 private:
  void add_line(std::string_view line, std::size_t number);
  double number_at(std::size_t row, std::size_t column) const;
  std::size_t index_of(const std::string& name) const;
  bool has_column(const std::string& name) const;

  std::size_t columns_ = 0;
  std::vector<std::string> names_;
  std::vector<std::string> cells_;
  std::vector<std::size_t> line_numbers_;
};

// Whether a file that begins like this is text, but not an image format that is text.
bool looks_like_numbers(std::string_view head);

#endif
