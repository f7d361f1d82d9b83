// SPDX-License-Identifier: Apache-2.0
// Turns records into text, one after another.
#ifndef VLIX_TOOL_OUTPUT_WRITER_H
#define VLIX_TOOL_OUTPUT_WRITER_H

#include <cstddef>
#include <memory>
#include <string>

#include "output/record.h"

enum class Format { kTable, kJson, kCsv };

class Writer {
 public:
  virtual ~Writer() = default;
  virtual std::string begin() { return {}; }
  virtual std::string record(const Record& record) = 0;
  virtual std::string end() { return {}; }
};

// A table's first column is at least first_column_width wide, so that it need not know all records beforehand.
std::unique_ptr<Writer> make_writer(Format format, std::size_t first_column_width);

std::unique_ptr<Writer> make_table_writer(std::size_t first_column_width);
std::unique_ptr<Writer> make_json_writer();
std::unique_ptr<Writer> make_csv_writer();

#endif
