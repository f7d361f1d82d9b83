/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file
 * Utility library: float histograms, casts, regions and shapes.
 */
#ifndef VLIX_UTIL_H
#define VLIX_UTIL_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Histogram over a float range: nBins bins of equal width over [lo, hi].
 * @param image monochrome (U8, S8, U16, S16, F32); its region of interest is counted
 * @param hist shaped as PointF32, nBins elements: x = lowest value of the bin, y = count
 * @param flag non-zero turns the counts into running sums
 * @param nBins number of bins, at least 1
 * @param lo,hi finite bounds, lo <= hi. A value equal to hi belongs to the last bin; lo = hi counts that value in the
 *   last bin. NaN pixels and values outside the range are not counted.
 * @return non-zero on success, 0 on failure
 */
VLIX_API int32_t VlixUtilComputeHistogram(const VlixImage* image, VlixVector* hist, int32_t flag, int32_t nBins,
                                          float lo, float hi);

/**
 * Converts an image to another pixel type.
 * @param from monochrome image (U8, S8, U16, S16, F32); its region of interest is converted
 * @param to an empty record; receives a new image that consists of just that region
 * @param kind 4 = F32, the only one
 * @param mode 0, the only one: values as they are
 * @return 0 on success; non-zero, with @p to emptied, on failure; nothing is reported
 */
VLIX_API int32_t VlixUtilCastImage(const VlixImage* from, VlixImage* to, int32_t kind, int32_t mode);

/**
 * Calls a routine once for every pixel of a region.
 * @param context handed to the routine
 * @param region a VlixRegion
 * @param routine called with coordinates relative to the region of interest
 * @return 0 on success
 */
VLIX_API int32_t VlixUtilScanRoi(void* context, void* region, VlixPixelRoutine routine);

/**
 * Calls a routine once for every pixel of a shape; a pixel belongs to the shape when its centre does.
 * @param context handed to the routine
 * @param shape a #VlixShape
 * @param routine called with coordinates relative to the region of interest
 * @return 0 on success
 */
VLIX_API int32_t VlixUtilRasterizeRoi(void* context, void* shape, VlixPixelRoutine routine);

#ifdef __cplusplus
}
#endif

#endif
