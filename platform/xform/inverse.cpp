// SPDX-License-Identifier: Apache-2.0
// The real part of the inverse is the inverse of the spectrum's Hermitian part, (S(k) + conj S(-k)) / 2, of which half
// the rows say everything.

#include <algorithm>
#include <cstddef>
#include <new>

#include "fourier/mirror.h"
#include "fourier/real_columns.h"
#include "xform/spectrum.h"

namespace vlix::xform {
namespace {

using Complex = std::complex<float>;
using Columns = fourier::RealColumns<float>;
constexpr int32_t kColumns = Columns::kColumns;

// Transforms the upper half of the rows into `half`, whose rows are `stride` apart.
void transform_rows(const Complex* spectrum, Grid grid, Complex* half, std::ptrdiff_t stride) {
  const auto rows = fourier::Transform<float>::of(grid.width);
  if (rows == nullptr) throw std::bad_alloc();
  const auto line = memory::aligned_array<Complex>(static_cast<std::size_t>(grid.width));
  const auto half_scale = static_cast<float>(0.5 / (static_cast<double>(grid.width) * grid.height));
  for (int32_t y = 0; y <= grid.height / 2; ++y) {
    const int32_t opposite = (grid.height - y) % grid.height;
    fourier::hermitian_row(spectrum + std::ptrdiff_t{y} * grid.width, spectrum + std::ptrdiff_t{opposite} * grid.width,
                           static_cast<std::size_t>(grid.width), half_scale, line.get());
    Complex* row = half + y * stride;
    rows->inverse(line.get(), row);
    std::fill(row + grid.width, row + stride, Complex());
  }
}

void get_columns(const Columns& columns, float* image, Grid grid, int32_t x) {
  if (grid.width - x >= kColumns) return columns.get_rows(0, grid.height, image + x, grid.width);
  for (int32_t y = 0; y < grid.height; ++y) {
    float row[kColumns];
    columns.get_rows(y, 1, row, kColumns);
    std::copy_n(row, grid.width - x, image + std::ptrdiff_t{y} * grid.width + x);
  }
}

}  // namespace

void inverse(const std::complex<float>* spectrum, Grid grid, float* image) {
  Columns columns(grid.height);
  const std::ptrdiff_t stride = (std::ptrdiff_t{grid.width} + kColumns - 1) / kColumns * kColumns;
  const auto half = memory::aligned_array<Complex>(static_cast<std::size_t>(columns.half_length() * stride));
  transform_rows(spectrum, grid, half.get(), stride);
  for (int32_t x = 0; x < grid.width; x += kColumns) {
    columns.inverse(half.get() + x, stride);
    get_columns(columns, image, grid, x);
  }
}

}  // namespace vlix::xform
