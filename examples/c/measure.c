/* SPDX-License-Identifier: Apache-2.0 */
/* Statistics and a histogram of a small image that the program owns. */
#include <stdio.h>
#include <stdlib.h>

#include "vlix/meas.h"
#include "vlix/object.h"

static void fail(const char* what) {
  VlixOpReport report;
  VlixOpLastReport(&report);
  fprintf(stderr, "%s: %s\n", what, report.text);
  exit(EXIT_FAILURE);
}

int main(void) {
  /* A ramp of 16 x 4 pixels in memory of our own; the library measures it in place. */
  enum { kWidth = 16, kHeight = 4 };
  uint8_t pixels[kWidth * kHeight];
  for (int i = 0; i < kWidth * kHeight; ++i) pixels[i] = (uint8_t)(i % kWidth);

  VlixImageHandle handle = {.kind = VlixHandle_Image};
  if (VlixImageWrap(&handle.image, ObjType_U8, pixels, kWidth, kHeight) != 0) fail("wrap");

  float mean, deviation, lowest, highest;
  if (vlix_stats((const VlixObj*)&handle, &mean, &deviation, &lowest, &highest, NULL, NULL, NULL, NULL, NULL, NULL,
                 NULL, NULL, NULL, NULL, NULL, NULL) != 0) {
    fail("stats");
  }
  printf("mean %g, deviation %.4f, range %g..%g\n", mean, deviation, lowest, highest);

  VlixVector histogram = {0};
  if (vlix_histogramInt(&handle.image, &histogram, 0, 4, 0, 15) != 0) fail("histogram");
  const PointI32* bins = histogram.data;
  for (int i = 0; i < histogram.count; ++i) printf("from %2d: %d pixels\n", bins[i].x, bins[i].y);

  VlixVectorRelease(&histogram, 0);
  VlixImageRelease(&handle.image, 0);
  return EXIT_SUCCESS;
}
