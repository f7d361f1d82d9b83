/* SPDX-License-Identifier: Apache-2.0 */
/* The module over a platform that is not ours: its status value comes through, and failing primitives are no loss. */
#include <stdio.h>
#include <stdlib.h>

#include "vlix/meas.h"

static int failures;

static void expect(int holds, const char* what) {
  if (holds) return;
  fprintf(stderr, "does not hold: %s\n", what);
  ++failures;
}
#define EXPECT(condition) expect(condition, #condition)

int main(void) {
  uint8_t pixels[6] = {1, 2, 3, 3, 3, 250};
  VlixImageHandle handle = {.kind = VlixHandle_Image, .image = {ObjType_U8, pixels, 3, 2, 0, 0, 3, 2}};
  VlixImage* image = &handle.image;

  VlixVector histogram = {0};
  EXPECT(vlix_histogramInt(image, &histogram, 0, 256, 0, 255) == 0);
  const PointI32* bins = histogram.data;
  EXPECT(histogram.count == 256 && bins[3].x == 3 && bins[3].y == 3 && bins[250].y == 1 && bins[0].y == 0);
  free(histogram.data);

  float mean = 0, highest = 0;
  EXPECT(vlix_stats((const VlixObj*)&handle, &mean, NULL, NULL, &highest, NULL, NULL, NULL, NULL, NULL, NULL, NULL,
                    NULL, NULL, NULL, NULL, NULL) == 0);
  EXPECT(mean == (1 + 2 + 3 + 3 + 3 + 250) / 6.0f && highest == 250);

  uint32_t count = 0;
  EXPECT(vlix_countThreshPix(image, &count, 2, 255) == 0 && count == 4);

  EXPECT(vlix_histogramInt(image, &histogram, 0, 0, 0, 255) == 77);
  VlixImage score = {0};
  EXPECT(vlix_nxcorr(image, image, &score) == 1);
  EXPECT(vlix_xCorr(image, image, &score) == 77);
  EXPECT(vlix_sod(image, image, &score) == 0 && *(const uint16_t*)score.data == 0);
  free(score.data);
  return failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
