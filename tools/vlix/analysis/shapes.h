// SPDX-License-Identifier: Apache-2.0
// Regions given by shapes on the command line.
#ifndef VLIX_TOOL_ANALYSIS_SHAPES_H
#define VLIX_TOOL_ANALYSIS_SHAPES_H

#include <string>
#include <vector>

#include "records.h"
#include "vlix/util.h"

class Region {
 public:
  Region() = default;
  Region(const Region&) = delete;
  Region& operator=(const Region&) = delete;
  ~Region() { VlixRegionRelease(&record_); }

  VlixRegion* record() { return &record_; }
  const VlixRegion* record() const { return &record_; }

 private:
  VlixRegion record_ = {};
};

// Shapes in whole-image coordinates.
struct ShapeText {
  uint32_t kind = 0;  // VlixUtilShapeKind
  std::vector<double> numbers;
  std::string file;  // of polygons
};

// rect:X,Y,W,H | rrect:CX,CY,W,H,ANGLE | ellipse:CX,CY,RX,RY[,ANGLE] | ring:CX,CY,INNER,OUTER[,START,END] |
// polygon:FILE Throws UsageError.
ShapeText parse_shape(const std::string& text);

// A shape with its polygon read, if it has one.
struct Shape {
  uint32_t kind = 0;
  std::vector<double> numbers;
  std::vector<PointF32> vertices;
};

// Throws FileError.
Shape load_shape(const ShapeText& text, uint64_t byte_limit);

// Adds the pixels of a shape; (left, top) is the pixel of the whole image that the region counts from.
void add_shape(Region& region, const Shape& shape, int32_t left, int32_t top);

// Keeps the pixels that are not 0 in the mask; a region without shapes becomes the mask.
void apply_mask(Region& region, const Image& mask, bool has_shapes);

#endif
