// SPDX-License-Identifier: Apache-2.0
// Histograms of one image, with ranges and bins checked in the user's terms.
#ifndef VLIX_TOOL_COMMANDS_HISTOGRAM_BINS_H
#define VLIX_TOOL_COMMANDS_HISTOGRAM_BINS_H

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "analysis/shapes.h"
#include "records.h"

struct BinOptions {
  std::optional<int32_t> bins;
  std::optional<double> lo, hi;  // finite, lo <= hi
  bool cumulative = false;
  bool as_float = false;
};

// All throw FileError. Vectors of PointI32 or PointF32.
Vector grey_bins(const BinOptions& options, const Image& image, std::vector<std::string>& notes);
Vector region_bins(const BinOptions& options, const Image& image, const Region& region,
                   std::vector<std::string>& notes);
std::array<Vector, 3> colour_bins(const BinOptions& options, const Image& image);

// A moving average over this width in values.
Vector smoothed(const Vector& bins, double width, std::vector<std::string>& notes);

// Maxima or minima that are further apart than the distance.
Vector peaks_of(const Vector& bins, bool maxima, double least_distance, std::vector<std::string>& notes);

#endif
