// SPDX-License-Identifier: Apache-2.0
#include "analysis/shapes.h"

#include <fmt/format.h>

#include <array>

#include "errors.h"
#include "input/number_file.h"
#include "options.h"

namespace {

struct Form {
  const char* name;
  uint32_t kind;
  const char* arguments;
  std::size_t least, most;
};

constexpr std::array<Form, 4> kForms = {{{"rect", VlixShape_Rect, "X,Y,W,H", 4, 4},
                                         {"rrect", VlixShape_RotatedRect, "CX,CY,W,H,ANGLE", 5, 5},
                                         {"ellipse", VlixShape_Ellipse, "CX,CY,RX,RY[,ANGLE]", 4, 5},
                                         {"ring", VlixShape_RingSector, "CX,CY,INNER,OUTER[,START,END]", 4, 6}}};

void check_numbers(const Form& form, const std::vector<double>& n, const std::string& text) {
  bool sound = n[2] > 0 && n[3] > 0;
  if (form.kind == VlixShape_RingSector) {
    sound = n[2] >= 0 && n[3] > n[2];
    if (n.size() == 6) sound = sound && n[5] > n[4] && n[5] - n[4] <= 360;
  }
  if (!sound) throw UsageError(fmt::format("--shape {} has no area", text));
}

float number_or(const std::vector<double>& numbers, std::size_t index, float otherwise) {
  return index < numbers.size() ? static_cast<float>(numbers[index]) : otherwise;
}

// The geometry records of all kinds; the one of the shape's kind is filled.
struct Geometry {
  VlixRectShape rect;
  VlixRotatedRectShape rotated;
  VlixEllipseShape ellipse;
  VlixRingSectorShape ring;
  VlixPolygonShape polygon;
};

}  // namespace

ShapeText parse_shape(const std::string& text) {
  const std::size_t colon = text.find(':');
  const std::string name = text.substr(0, colon);
  const std::string rest = colon == std::string::npos ? "" : text.substr(colon + 1);
  if (name == "polygon" && !rest.empty()) return {VlixShape_Polygon, {}, rest};
  for (const Form& form : kForms) {
    if (name != form.name) continue;
    const std::optional<std::vector<double>> numbers = parse_numbers(rest);
    const bool complete = numbers && numbers->size() >= form.least && numbers->size() <= form.most &&
                          !(form.kind == VlixShape_RingSector && numbers->size() == 5);
    if (!complete) throw UsageError(fmt::format("--shape {} takes {}", name, form.arguments));
    check_numbers(form, *numbers, text);
    return {form.kind, *numbers, ""};
  }
  throw UsageError("--shape takes rect:, rrect:, ellipse:, ring: or polygon:, not " + text);
}

Shape load_shape(const ShapeText& text, uint64_t byte_limit) {
  Shape shape = {text.kind, text.numbers, {}};
  if (text.kind != VlixShape_Polygon) return shape;
  try {
    shape.vertices = read_numbers(text.file, byte_limit).points();
  } catch (const FileError& error) {
    throw FileError(text.file + ": " + error.what());
  }
  if (shape.vertices.size() < 3) throw FileError(text.file + ": a polygon needs three corners");
  return shape;
}

void add_shape(Region& region, const Shape& shape, int32_t left, int32_t top) {
  const std::vector<double>& n = shape.numbers;
  std::vector<PointF32> moved = shape.vertices;
  for (PointF32& vertex : moved) vertex = {vertex.x - static_cast<float>(left), vertex.y - static_cast<float>(top)};
  const float x = shape.vertices.empty() ? static_cast<float>(n[0] - left) : 0;
  const float y = shape.vertices.empty() ? static_cast<float>(n[1] - top) : 0;
  const float a = number_or(n, 2, 0), b = number_or(n, 3, 0);
  Geometry geometry = {};
  VlixShape record = {shape.kind, {}, nullptr};
  switch (shape.kind) {
    case VlixShape_Rect:
      geometry.rect = {x, y, x + a, y + b};
      record.geometry = &geometry.rect;
      break;
    case VlixShape_RotatedRect:
      geometry.rotated = {x, y, a, b, number_or(n, 4, 0)};
      record.geometry = &geometry.rotated;
      break;
    case VlixShape_Ellipse:
      geometry.ellipse = {x, y, a, b, number_or(n, 4, 0)};
      record.geometry = &geometry.ellipse;
      break;
    case VlixShape_RingSector:
      geometry.ring = {x, y, a, b, number_or(n, 4, 0), number_or(n, 5, 360)};
      record.geometry = &geometry.ring;
      break;
    default:
      geometry.polygon = {moved.data(), static_cast<int32_t>(moved.size())};
      record.geometry = &geometry.polygon;
      break;
  }
  Region pixels;
  if (VlixRegionFromShape(&record, pixels.record()) != 0) {
    throw FileError("a shape has no area, is too large, or its numbers are not finite");
  }
  require_success(VlixRegionUnion(region.record(), pixels.record(), region.record()));
}

void apply_mask(Region& region, const Image& mask, bool has_shapes) {
  Region pixels;
  require_success(VlixRegionFromMask(mask.record(), pixels.record()));
  const auto combine = has_shapes ? VlixRegionIntersection : VlixRegionUnion;
  require_success(combine(region.record(), pixels.record(), region.record()));
}
