// SPDX-License-Identifier: Apache-2.0
// Kernels that multiply out sums of products for blocks of placements, and the rows of pixels they read.
#pragma once

#include "optim/cross_corr.h"

namespace vlix::optim::cross_corr {

// Rows of placements that a kernel works on at once. Templates are at least as high for it: rows of zeros are added.
inline constexpr std::size_t kBlockRows = 6;

struct KernelPlan {
  std::size_t block_width = 0;  // placements side by side; 0: there is no such kernel here
  double products_per_ns = 0;   // on the machine the cost rules were measured on
};

// A kernel's work. The image is padded: kBlockRows - 1 rows below and two vectors on the right are read, whatever is
// there.
template <class Image, class Weight>
struct BlockJob {
  const Image* image;
  std::ptrdiff_t stride;
  const Weight* weights;
  std::size_t weights_per_row;
  std::size_t rows;  // of the template, at least kBlockRows
  double* to;
  std::size_t to_stride;
  std::size_t width;   // placements, whole blocks
  std::size_t height;  // placements, whole blocks
};

// Unsigned bytes by four signed template bytes in a weight. A sum has 32 bits.
KernelPlan plan_of_bytes();
void correlate_bytes(const BlockJob<uint8_t, int32_t>& job);

// Signed words by two template words in a weight. A sum has 32 bits; `scale` times it is stored, or added.
KernelPlan plan_of_words();
void correlate_words(const BlockJob<int16_t, int32_t>& job, double scale, bool add);

KernelPlan plan_of_doubles();
void correlate_doubles(const BlockJob<double, double>& job);

// Centred pixels. Doubles are written in whole vectors: up to seven behind the last one.
void fill_row(const uint8_t* from, std::size_t count, const Levels& levels, int16_t* to);
void fill_row(const uint16_t* from, std::size_t count, const Levels& levels, int16_t* to);
void fill_row(const uint8_t* from, std::size_t count, const Levels& levels, double* to);
void fill_row(const uint16_t* from, std::size_t count, const Levels& levels, double* to);
void fill_row(const float* from, std::size_t count, const Levels& levels, double* to);

// Rows of a group of sixteen centred pixels; those behind the first `present` are 0.
void fill_group(const uint8_t* from, std::ptrdiff_t stride, std::size_t present, std::size_t rows, const Levels& levels,
                double* to);
void fill_group(const uint16_t* from, std::ptrdiff_t stride, std::size_t present, std::size_t rows,
                const Levels& levels, double* to);
void fill_group(const float* from, std::ptrdiff_t stride, std::size_t present, std::size_t rows, const Levels& levels,
                double* to);

}  // namespace vlix::optim::cross_corr
