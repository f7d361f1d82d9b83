// SPDX-License-Identifier: Apache-2.0
// Line and bar plots as SVG.
#ifndef VLIX_TOOL_OUTPUT_SVG_PLOT_H
#define VLIX_TOOL_OUTPUT_SVG_PLOT_H

#include <string>
#include <vector>

struct Curve {
  std::string name;    // shown when there are several
  std::string colour;  // of SVG; empty: chosen
  std::vector<double> x, y;
};

struct Plot {
  std::string title, x_label, y_label;
  std::vector<Curve> curves;
  std::vector<std::pair<double, double>> marks;  // drawn as circles
  bool bars = false;                             // every point is a bar from 0 that reaches to the next point
};

// Points that are not finite are left out.
std::string svg_of(const Plot& plot);

#endif
