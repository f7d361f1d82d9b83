// SPDX-License-Identifier: Apache-2.0
// Files of numbers, polygons, and the values of options: parsed, or refused with an error of the tool.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>

#include "analysis/shapes.h"
#include "errors.h"
#include "input/numbers.h"
#include "options.h"

namespace {

// Larger shapes are as legal, but take seconds.
constexpr double kLargest = 2000;

bool is_small(double value) { return !(std::fabs(value) > kLargest); }

bool are_small(const std::vector<PointF32>& points) {
  return std::all_of(points.begin(), points.end(),
                     [](const PointF32& p) { return is_small(double{p.x}) && is_small(double{p.y}); });
}

void read_table(const std::string& text) {
  try {
    const NumberTable table(text);
    if (table.all().size() != table.rows() * table.columns()) __builtin_trap();
    if (table.column("1").size() != table.rows()) __builtin_trap();
    const std::vector<PointF32> points = table.points();
    if (points.size() != table.rows()) __builtin_trap();
    if (points.empty() || !are_small(points)) return;
    Region region;
    add_shape(region, Shape{VlixShape_Polygon, {}, points}, 3, 4);
  } catch (const FileError&) {
  }
}

void read_shape(const std::string& text) {
  try {
    const ShapeText shape = parse_shape(text);
    const bool small = std::all_of(shape.numbers.begin(), shape.numbers.end(), is_small);
    if (shape.kind == VlixShape_Polygon || !small) return;
    Region region;
    add_shape(region, load_shape(shape, 1), 0, 0);
  } catch (const UsageError&) {
  } catch (const FileError&) {
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  looks_like_numbers(text);
  parse_numbers(text);
  read_table(text);
  read_shape(text);
  return 0;
}
