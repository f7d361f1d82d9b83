// SPDX-License-Identifier: Apache-2.0
// Cross-correlation of two images through the Fourier transform.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "frame/multiversion.h"
#include "frame/output.h"
#include "frame/region.h"
#include "frame/report.h"
#include "frame/scratch.h"
#include "frame/type_sets.h"
#include "frame/visit.h"
#include "match/placements.h"
#include "vlix/meas.h"
#include "vlix/xform.h"

namespace vlix {
namespace {

// The region in the top left corner of the padded image, zeros elsewhere. Every monochrome type fits a float.
template <class Pixel>
VLIX_MULTIVERSION void pad(Region<const Pixel> image, Region<float> padded) {
  // A pattern without columns leaves less room than the image takes.
  const int32_t columns = std::min(image.width, padded.width);
  for (int32_t y = 0; y < padded.height; ++y) {
    float* row = padded.row(y);
    int32_t used = 0;
    if (y < image.height) {
      const Pixel* pixels = image.row(y);
      for (; used < columns; ++used) row[used] = static_cast<float>(pixels[used]);
    }
    std::fill(row + used, row + padded.width, 0.0f);
  }
}

// Forward transform of an image padded with zeros.
bool transform(const VlixImage& image, ScratchImage& padded, ScratchImage& spectrum) {
  const Region<float> whole = {static_cast<float*>(padded->data), padded->width, padded->width, padded->height};
  with_pixel_type(image.type, [&]<class Pixel>() { pad(region_of<const Pixel>(image), whole); });
  spectrum.record()->data = nullptr;
  if (vlix_fft(padded.record(), spectrum.record(), 0, 0, 0) != 0) return false;
  spectrum.own();
  return true;
}

// Both spectra, on a grid that holds every shift of one image over the other.
VlixStatus transform_both(const VlixImage& image1, const VlixImage& image2, ScratchImage& spectrum1,
                          ScratchImage& spectrum2) {
  const auto width = static_cast<int32_t>(int64_t{image1.roiWidth} + image2.roiWidth - 1);
  const auto height = static_cast<int32_t>(int64_t{image1.roiHeight} + image2.roiHeight - 1);
  ScratchImage padded;
  if (VlixImageAlloc(padded.record(), ObjType_F32, width, height) < 0) {
    return report_memory(op::xCorr, int64_t{wrapped_product(width, height)} * 4);
  }
  padded.own();
  if (!transform(image1, padded, spectrum1)) {
    padded.release();
    return report("xCorr: failed transforming image 1\n");
  }
  if (!transform(image2, padded, spectrum2)) {
    spectrum1.release();
    padded.release();
    return report("xCorr: failed transforming image 2\n");
  }
  return kSuccess;
}

// a times the conjugate of b, each part formed in double and rounded once. Vectorised in all versions.
VLIX_MULTIVERSION void multiply_conjugate(float* a, const float* b, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    const double a_re = a[2 * i];
    const double a_im = a[2 * i + 1];
    const double b_re = b[2 * i];
    const double b_im = b[2 * i + 1];
    a[2 * i] = static_cast<float>(a_re * b_re + a_im * b_im);
    a[2 * i + 1] = static_cast<float>(a_im * b_re - a_re * b_im);
  }
}

bool transform_back(const ScratchImage& spectrum, ScratchImage& result) {
  result.record()->data = nullptr;
  if (vlix_fft(&*spectrum, result.record(), 1, 0, 1) != 0) return false;
  result.own();
  return true;
}

VLIX_MULTIVERSION void divide(const float* samples, int32_t count, float divisor, float* quotients) {
  for (int32_t i = 0; i < count; ++i) quotients[i] = samples[i] / divisor;
}

int32_t wrapped(int64_t position, int32_t size) {
  const int64_t rest = position % size;
  return static_cast<int32_t>(rest < 0 ? rest + size : rest);
}

// dst from the grid's sample (left, top) on, where the grid continues periodically, divided by the number of pixels.
void cut_out(const VlixImage& result, VlixSize grid, int32_t left, int32_t top, const Region<float>& dst) {
  const auto divisor = static_cast<float>(wrapped_product(dst.height, dst.width));
  const auto* samples = static_cast<const float*>(result.data);
  for (int32_t y = 0; y < dst.height; ++y) {
    const float* row = samples + std::ptrdiff_t{wrapped(int64_t{top} + y, grid.height)} * result.width;
    int32_t column = wrapped(left, grid.width);
    for (int32_t x = 0; x < dst.width;) {
      const int32_t run = std::min(dst.width - x, grid.width - column);
      divide(row + column, run, divisor, dst.row(y) + x);
      x += run;
      column = 0;
    }
  }
}

}  // namespace
}  // namespace vlix

extern "C" VlixStatus vlix_xCorr(const VlixImage* image1, const VlixImage* image2, VlixImage* dst) {
  using namespace vlix;
  if (!accepts(kMonochromeImages, image1->type)) return report_type(op::xCorr, image1->type);
  if (!accepts(kMonochromeImages, image2->type)) return report_type(op::xCorr, image2->type);
  if (dst == nullptr) return kSuccess;
  const VlixSize size = {image1->roiWidth, image1->roiHeight};
  const VlixSize pattern = {image2->roiWidth, image2->roiHeight};

  ScratchImage spectrum1;
  ScratchImage spectrum2;
  if (const VlixStatus status = transform_both(*image1, *image2, spectrum1, spectrum2)) return status;
  const VlixSize grid = {spectrum1->width, spectrum1->height};
  multiply_conjugate(static_cast<float*>(spectrum1->data), static_cast<const float*>(spectrum2->data),
                     static_cast<std::size_t>(int64_t{grid.width} * grid.height));

  // The record of the second spectrum takes the result.
  ScratchImage& result = spectrum2;
  result.release();
  if (!transform_back(spectrum1, result)) {
    spectrum1.release();
    return report("xCorr: failed inverse transforming image\n");
  }
  const VlixStatus status = shape(dst, ObjType_F32, size.width, size.height, op::crossCorr);
  if (status == kSuccess && size.height >= 1) {
    Region<float> scores = region_of<float>(*dst);
    scores.width = size.width;
    scores.height = size.height;
    cut_out(*result, grid, -(pattern.width / 2), -(pattern.height / 2), scores);
  }
  spectrum1.release();
  result.release();
  return status;
}
