// SPDX-License-Identifier: Apache-2.0
// Columns first: they are real and leave the upper half of the rows to transform. Each of these rows, while it is in
// the cache, also gives its mirror image in the lower half.

#include <algorithm>
#include <bit>
#include <cstddef>
#include <new>
#include <vector>

#include "fourier/mirror.h"
#include "fourier/real_columns.h"
#include "xform/spectrum.h"

namespace vlix::xform {
namespace {

using Complex = std::complex<float>;
using Columns = fourier::RealColumns<float>;
constexpr int32_t kColumns = Columns::kColumns;
static_assert(kWidthUnit % kColumns == 0);

// Whether no bit of these floats is set: negative zeros count as something, to be safe.
bool is_blank(const float* row, int32_t count) {
  uint32_t bits = 0;
  for (int32_t x = 0; x < count; ++x) bits |= std::bit_cast<uint32_t>(row[x]);
  return bits == 0;
}

// For every sixteen columns of the grid, whether the image has anything in them. Images padded by zeros are the rule.
std::vector<bool> find_filled(const float* image, Grid size, Grid grid) {
  std::vector<bool> filled(static_cast<std::size_t>(grid.width / kColumns));
  int32_t blank = (size.width + kColumns - 1) / kColumns;
  for (int32_t y = 0; y < size.height && blank > 0; ++y, image += size.width) {
    for (int32_t x = 0; x < size.width; x += kColumns) {
      const auto group = static_cast<std::size_t>(x / kColumns);
      if (filled[group]) continue;
      const int32_t present = size.width - x;
      if (present >= kColumns ? is_blank(image + x, kColumns) : is_blank(image + x, present)) continue;
      filled[group] = true;
      --blank;
    }
  }
  return filled;
}

void put_columns(const float* image, Grid size, int32_t x, Columns& columns) {
  if (size.width - x >= kColumns) return columns.put_rows(0, size.height, image + x, size.width);
  for (int32_t y = 0; y < size.height; ++y) {
    float row[kColumns] = {};
    std::copy_n(image + std::ptrdiff_t{y} * size.width + x, size.width - x, row);
    columns.put_rows(y, 1, row, kColumns);
  }
}

void transform_columns(const float* image, Grid size, const std::vector<bool>& filled, Complex* spectrum, Grid grid) {
  Columns columns(grid.height);
  columns.clear_rows(size.height);
  for (int32_t x = 0; x < grid.width; x += kColumns) {
    if (!filled[static_cast<std::size_t>(x / kColumns)]) continue;
    put_columns(image, size, x, columns);
    columns.forward(spectrum + x, grid.width);
  }
}

void clear_blanks(Complex* row, const std::vector<bool>& filled) {
  for (std::size_t group = 0; group < filled.size(); ++group) {
    if (!filled[group]) std::fill_n(row + group * kColumns, kColumns, Complex());
  }
}

}  // namespace

void forward(const float* image, Grid size, std::complex<float>* spectrum, Grid grid) {
  const auto rows = fourier::Transform<float>::of(grid.width);
  if (rows == nullptr) throw std::bad_alloc();
  const auto line = memory::aligned_array<Complex>(static_cast<std::size_t>(grid.width));
  const std::vector<bool> filled = find_filled(image, size, grid);
  transform_columns(image, size, filled, spectrum, grid);
  for (int32_t y = 0; y <= grid.height / 2; ++y) {
    Complex* row = spectrum + std::ptrdiff_t{y} * grid.width;
    clear_blanks(row, filled);
    rows->forward(row, line.get());
    std::copy_n(line.get(), grid.width, row);
    const int32_t opposite = (grid.height - y) % grid.height;
    if (opposite == y) continue;
    // The spectrum of a real image is conjugate at opposite frequencies.
    fourier::mirror_row(line.get(), static_cast<std::size_t>(grid.width),
                        spectrum + std::ptrdiff_t{opposite} * grid.width);
  }
}

}  // namespace vlix::xform
