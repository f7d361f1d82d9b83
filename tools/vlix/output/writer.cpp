// SPDX-License-Identifier: Apache-2.0
#include "output/writer.h"

std::unique_ptr<Writer> make_writer(Format format, std::size_t first_column_width) {
  switch (format) {
    case Format::kJson: return make_json_writer();
    case Format::kCsv: return make_csv_writer();
    case Format::kTable: break;
  }
  return make_table_writer(first_column_width);
}
