/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file
 * Primitives library: vectorised kernels over image regions.
 *
 * Every primitive takes the first pixel of a region, the row step in bytes and the region's size, and returns 0 on
 * success. Null pointers, sizes below 1 and steps below a row's bytes are refused with a non-zero result; nothing is
 * reported. Kernels are chosen for the processor at run time; the results do not depend on that choice unless stated.
 */
#ifndef VLIX_OPTIM_H
#define VLIX_OPTIM_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** @name Histograms of evenly spaced levels
 * Fills @p levels with nLevels levels from @p lower to @p upper (levels[i] = lower + i * (upper - lower) / (nLevels -
 * 1), integer arithmetic in 64 bits) and counts[i] with the number of pixels v with levels[i] <= v < levels[i + 1], i =
 * 0 .. nLevels - 2. Refused besides: nLevels < 2, upper < lower + nLevels - 1 (a bin narrower than one value). */
/** @{ */
VLIX_API int32_t vlix_ippiHistogramEven_8u_C1R(const uint8_t* src, int32_t step, VlixSize size, int32_t* counts,
                                               int32_t* levels, int32_t nLevels, int32_t lower, int32_t upper);
VLIX_API int32_t vlix_ippiHistogramEven_16u_C1R(const uint16_t* src, int32_t step, VlixSize size, int32_t* counts,
                                                int32_t* levels, int32_t nLevels, int32_t lower, int32_t upper);
VLIX_API int32_t vlix_ippiHistogramEven_16s_C1R(const int16_t* src, int32_t step, VlixSize size, int32_t* counts,
                                                int32_t* levels, int32_t nLevels, int32_t lower, int32_t upper);
/** The same for channels 0, 1 and 2 of four-byte pixels; every argument after size is an array of three. */
VLIX_API int32_t vlix_ippiHistogramEven_8u_AC4R(const uint8_t* src, int32_t step, VlixSize size, int32_t** counts,
                                                int32_t** levels, int32_t* nLevels, int32_t* lower, int32_t* upper);
/** @} */

/** @name Mean and population standard deviation
 * Either output may be null. Integer sums are exact; float pixels are summed in double. */
/** @{ */
VLIX_API int32_t vlix_ippiMean_StdDev_8u_C1R(const uint8_t* src, int32_t step, VlixSize size, double* mean,
                                             double* deviation);
VLIX_API int32_t vlix_ippiMean_StdDev_8s_C1R(const int8_t* src, int32_t step, VlixSize size, double* mean,
                                             double* deviation);
VLIX_API int32_t vlix_ippiMean_StdDev_32f_C1R(const float* src, int32_t step, VlixSize size, double* mean,
                                              double* deviation);
/** @} */

/** @name Extremes
 * Either output may be null. */
/** @{ */
VLIX_API int32_t vlix_ippiMinMax_8u_C1R(const uint8_t* src, int32_t step, VlixSize size, uint8_t* min, uint8_t* max);
VLIX_API int32_t vlix_ippiMinMax_32f_C1R(const float* src, int32_t step, VlixSize size, float* min, float* max);
/** @} */

/** Counts the pixels v with lower <= v <= upper; 0 when lower > upper. */
VLIX_API int32_t vlix_ippiCountInRange_8u_C1R(const uint8_t* src, int32_t step, VlixSize size, int32_t* count,
                                              uint8_t lower, uint8_t upper);

/** @name Normalised cross-correlation over the valid placements
 * dst, of (size.width - tplSize.width + 1) x (size.height - tplSize.height + 1) pixels, receives the Pearson
 * correlation coefficient of the template and the covered patch, within [-1, 1]; 0 where either is flat. */
/** @{ */
VLIX_API int32_t vlix_ippiCrossCorrValid_NormLevel_8u32f_C1R(const uint8_t* src, int32_t step, VlixSize size,
                                                             const uint8_t* tpl, int32_t tplStep, VlixSize tplSize,
                                                             float* dst, int32_t dstStep);
VLIX_API int32_t vlix_ippiCrossCorrValid_NormLevel_8s32f_C1R(const int8_t* src, int32_t step, VlixSize size,
                                                             const int8_t* tpl, int32_t tplStep, VlixSize tplSize,
                                                             float* dst, int32_t dstStep);
VLIX_API int32_t vlix_ippiCrossCorrValid_NormLevel_16u32f_C1R(const uint16_t* src, int32_t step, VlixSize size,
                                                              const uint16_t* tpl, int32_t tplStep, VlixSize tplSize,
                                                              float* dst, int32_t dstStep);
VLIX_API int32_t vlix_ippiCrossCorrValid_NormLevel_32f_C1R(const float* src, int32_t step, VlixSize size,
                                                           const float* tpl, int32_t tplStep, VlixSize tplSize,
                                                           float* dst, int32_t dstStep);
/** @} */

/** dst = |a - b|, pixel by pixel. */
VLIX_API int32_t vlix_ippiAbsDiff_8u_C1R(const uint8_t* a, int32_t aStep, const uint8_t* b, int32_t bStep, uint8_t* dst,
                                         int32_t dstStep, VlixSize size);

/** Sum of all pixels, exact. */
VLIX_API int32_t vlix_ippiSum_8u_C1R(const uint8_t* src, int32_t step, VlixSize size, double* sum);

/**
 * Memory for a primitive.
 * @param bytes at least 1
 * @return 64-byte aligned memory for vlix_ippsFree, or null
 */
VLIX_API uint8_t* vlix_ippsMalloc_8u(int32_t bytes);

/** Frees memory of vlix_ippsMalloc_8u; null is ignored. */
VLIX_API void vlix_ippsFree(void* memory);

#ifdef __cplusplus
}
#endif

#endif
