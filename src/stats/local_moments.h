// SPDX-License-Identifier: Apache-2.0
// Mean and sample variance of a moving window, in running sums of 32-bit floats whose order of additions is fixed: down
// each column, then along each row. Columns do not depend on one another, nor do rows once their column sums are known:
// some rows run side by side, each in the order that it would have alone.
#pragma once

#include <cstdint>

#include "frame/region.h"

namespace vlix {

// The window of pixel (x, y) covers columns x - left .. x + right - 1 and rows y - above .. y + below - 1 of the
// region.
struct WindowShape {
  int32_t left;
  int32_t right;
  int32_t above;
  int32_t below;

  int32_t width() const { return left + right; }
  int32_t height() const { return above + below; }
};

// One for each column of the region, over the rows in the window.
struct ColumnSums {
  float* sum;
  float* square;
};

struct LocalMoments {
  const Region<float>* mean;      // null = not wanted
  const Region<float>* variance;  // null = not wanted
  bool root;                      // the root of the variance instead
};

// `rows` has window.height() slots, all null; the column sums are 0. Right and below are at least 1 and less than the
// region's width and height.
template <class Pixel>
void local_moments(const Region<const Pixel>& source, const WindowShape& window, const Pixel** rows,
                   const ColumnSums& columns, const LocalMoments& outputs);

}  // namespace vlix
