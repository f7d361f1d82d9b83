// SPDX-License-Identifier: Apache-2.0
// One array with an object per record; a series is an array of objects.
#include <cmath>
#include <nlohmann/json.hpp>

#include <utility>

#include "output/cell_text.h"
#include "output/writer.h"

namespace {

using Json = nlohmann::ordered_json;

Json value_of(const Cell& cell) {
  if (const auto* text = std::get_if<std::string>(&cell)) return *text;
  if (const auto* number = std::get_if<int64_t>(&cell)) return *number;
  const double number = number_of(cell);
  return std::isfinite(number) ? Json(number) : Json(nullptr);
}

Json array_of(const Series& series) {
  Json rows = Json::array();
  for (std::size_t row = 0; row < series.rows(); ++row) {
    Json object = Json::object();
    for (std::size_t column = 0; column < series.columns.size(); ++column) {
      object[series.columns[column]] = value_of(series.cell(row, column));
    }
    rows.push_back(std::move(object));
  }
  return rows;
}

class JsonWriter final : public Writer {
 public:
  std::string begin() override { return "["; }

  std::string record(const Record& record) override {
    Json object = Json::object();
    for (const Field& field : record.fields) object[field.name] = value_of(field.value);
    for (const Series& series : record.series) object[series.name] = array_of(series);
    // File names need not be UTF-8.
    const std::string text = object.dump(-1, ' ', false, Json::error_handler_t::replace);
    return (std::exchange(first_, false) ? "\n  " : ",\n  ") + text;
  }

  std::string end() override { return first_ ? "]\n" : "\n]\n"; }

 private:
  bool first_ = true;
};

}  // namespace

std::unique_ptr<Writer> make_json_writer() { return std::make_unique<JsonWriter>(); }
