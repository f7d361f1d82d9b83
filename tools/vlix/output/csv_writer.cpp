// SPDX-License-Identifier: Apache-2.0
// A line per record, or per row of its series with the record's first field before it.
#include <utility>

#include "output/cell_text.h"
#include "output/writer.h"

namespace {

class CsvWriter final : public Writer {
 public:
  std::string record(const Record& record) override {
    std::string text = header_of(record);
    if (record.series.empty()) return text + line_of(record);
    for (const Series& series : record.series) append_rows(text, record, series);
    return text;
  }

 private:
  std::string header_of(const Record& record) {
    if (std::exchange(header_written_, true)) return {};
    if (!record.series.empty()) return header_of_series(record);
    std::string text;
    for (const Field& field : record.fields) text += (text.empty() ? "" : ",") + field.name;
    return text + "\n";
  }

  // Several series of one record are told apart by a column with their names.
  static std::string header_of_series(const Record& record) {
    std::string text = record.fields.front().name;
    if (record.series.size() > 1) text += ",series";
    for (const std::string& column : record.series.front().columns) text += "," + column;
    return text + "\n";
  }

  static std::string line_of(const Record& record) {
    std::string text;
    for (std::size_t i = 0; i < record.fields.size(); ++i)
      text += (i == 0 ? "" : ",") + csv_text(record.fields[i].value);
    return text + "\n";
  }

  static void append_rows(std::string& text, const Record& record, const Series& series) {
    std::string prefix = csv_text(record.fields.front().value);
    if (record.series.size() > 1) prefix += "," + csv_text(series.name);
    for (std::size_t row = 0; row < series.rows(); ++row) {
      text += prefix;
      for (std::size_t column = 0; column < series.columns.size(); ++column) {
        text += "," + csv_text(series.cell(row, column));
      }
      text += "\n";
    }
  }

  bool header_written_ = false;
};

}  // namespace

std::unique_ptr<Writer> make_csv_writer() { return std::make_unique<CsvWriter>(); }
