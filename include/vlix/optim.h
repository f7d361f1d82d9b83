/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file
 * Primitives library: vectorised kernels over image regions.
 *
 * Every image primitive takes regions: the first pixel, the step from row to row in bytes, and the size in pixels. It
 * returns 0 on success. It refuses with a non-zero result, before it writes anything, a null pointer (where null is not
 * said to be allowed), a width or height below 1, and a step that is shorter than a row or no whole number of pixels.
 * Nothing is reported. Bytes between the rows are neither read nor written, and nothing is touched behind the last
 * pixel. Regions may hold more than 2^31 pixels.
 *
 * Kernels are chosen for the processor at run time; the results do not depend on that choice unless stated. No state is
 * kept between calls, and calls may run at the same time.
 */
#ifndef VLIX_OPTIM_H
#define VLIX_OPTIM_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** @name Histograms of evenly spaced levels */
/** @{ */
/**
 * Histogram of unsigned 8-bit pixels over evenly spaced levels.
 *
 * Counts pixels in bins between evenly spaced levels: level i is lower + floor(i * (upper - lower) / (nLevels - 1)),
 * i = 0 .. nLevels - 1, and bin i holds the pixels v with level i <= v < level i + 1. Pixels outside [lower, upper) are
 * not counted. Bins are decided by comparing integers, whatever their width; nothing is rounded.
 *
 * @param[in] src first pixel
 * @param[in] step bytes from row to row
 * @param[in] size of the region
 * @param[out] counts nLevels - 1 counts; in regions of 2^31 pixels and more their low 32 bits
 * @param[out] levels nLevels levels
 * @param[in] nLevels number of levels, at least 2
 * @param[in] lower first level; may lie outside the pixel type's range, as may upper
 * @param[in] upper last level, at least lower + nLevels - 1, so that no bin is narrower than one value
 * @return 0, or non-zero when an argument is refused
 *
 * Cost: about 0.13 ns for a pixel of 8 bits, 0.17 ns for 16 bits and up to 256 bins of equal width, 0.3 ns otherwise,
 * beside clearing and writing the two arrays. Regions
 * of 40000 pixels and more (4096 and more with more than 256 bins) use a table of 256 KiB for the time of the call;
 * where there is no memory for it the result is the same and the call slower.
 */
VLIX_API int32_t vlix_ippiHistogramEven_8u_C1R(const uint8_t* src, int32_t step, VlixSize size, int32_t* counts,
                                               int32_t* levels, int32_t nLevels, int32_t lower, int32_t upper);
/**
 * Unsigned 16-bit pixels.
 * @copydetails vlix_ippiHistogramEven_8u_C1R
 */
VLIX_API int32_t vlix_ippiHistogramEven_16u_C1R(const uint16_t* src, int32_t step, VlixSize size, int32_t* counts,
                                                int32_t* levels, int32_t nLevels, int32_t lower, int32_t upper);
/**
 * Signed 16-bit pixels.
 * @copydetails vlix_ippiHistogramEven_8u_C1R
 */
VLIX_API int32_t vlix_ippiHistogramEven_16s_C1R(const int16_t* src, int32_t step, VlixSize size, int32_t* counts,
                                                int32_t* levels, int32_t nLevels, int32_t lower, int32_t upper);
/**
 * Channels 0, 1 and 2 of four-byte pixels, each with levels of its own; the fourth byte is ignored. All three channels'
 * arguments are tested before anything is written.
 *
 * @param[in] src first byte of the first pixel
 * @param[in] step bytes from row to row
 * @param[in] size of the region
 * @param[out] counts three arrays of nLevels[c] - 1 counts
 * @param[out] levels three arrays of nLevels[c] levels
 * @param[in] nLevels three numbers of levels
 * @param[in] lower three first levels
 * @param[in] upper three last levels
 * @return 0, or non-zero when an argument is refused
 *
 * Cost: about 0.45 ns for a pixel; memory as for @ref vlix_ippiHistogramEven_8u_C1R.
 */
VLIX_API int32_t vlix_ippiHistogramEven_8u_AC4R(const uint8_t* src, int32_t step, VlixSize size, int32_t** counts,
                                                int32_t** levels, int32_t* nLevels, int32_t* lower, int32_t* upper);
/** @} */

/** @name Mean and population standard deviation */
/** @{ */
/**
 * Mean and population standard deviation of unsigned 8-bit pixels.
 *
 * mean = (sum of v) / n and deviation = sqrt((sum of v^2) / n - mean^2), n = width * height.
 *
 * Integer pixels are summed exactly; the quotients, the square and the difference are rounded to double, which leaves
 * the variance at most 65025 * 2^-50 off and never negative.
 *
 * Float pixels are taken as deviations d = v - v0 from the region's first pixel, in double, and summed in sixteen
 * interleaved partial sums (column modulo 16; the columns go on over the rows where no gap lies between these), on
 * every processor in the same order. A constant region has deviation 0, and a small contrast on a large offset keeps
 * its digits. Infinities and not-a-number give what plain sums of v and v^2 give: an infinite or not-a-number mean and
 * a deviation of not-a-number. Finite pixels never give a not-a-number.
 *
 * @param[in] src first pixel
 * @param[in] step bytes from row to row
 * @param[in] size of the region
 * @param[out] mean may be null
 * @param[out] deviation may be null
 * @return 0, or non-zero when an argument is refused
 *
 * Cost: one pass at the speed of the memory, for float pixels in the caches about 0.07 ns for a pixel.
 */
VLIX_API int32_t vlix_ippiMean_StdDev_8u_C1R(const uint8_t* src, int32_t step, VlixSize size, double* mean,
                                             double* deviation);
/**
 * Signed 8-bit pixels.
 * @copydetails vlix_ippiMean_StdDev_8u_C1R
 */
VLIX_API int32_t vlix_ippiMean_StdDev_8s_C1R(const int8_t* src, int32_t step, VlixSize size, double* mean,
                                             double* deviation);
/**
 * Float pixels.
 * @copydetails vlix_ippiMean_StdDev_8u_C1R
 */
VLIX_API int32_t vlix_ippiMean_StdDev_32f_C1R(const float* src, int32_t step, VlixSize size, double* mean,
                                              double* deviation);
/** @} */

/** @name Extremes */
/** @{ */
/**
 * Smallest and largest of unsigned 8-bit pixels.
 *
 * The smallest and the largest pixel, as a walk in memory order finds them that starts with the first pixel as both and
 * replaces an extreme only by a pixel beyond it. For float pixels this means: a not-a-number is ignored unless it is
 * the first pixel, in which case both extremes are that not-a-number; of zeros of both signs the first one is the
 * answer.
 *
 * @param[in] src first pixel
 * @param[in] step bytes from row to row
 * @param[in] size of the region
 * @param[out] min may be null
 * @param[out] max may be null
 * @return 0, or non-zero when an argument is refused
 *
 * Cost: at most one pass at the speed of the memory; 8-bit pixels are read until 0 and 255 are both found; where an
 * extreme of float pixels is 0, a second pass up to the first zero.
 */
VLIX_API int32_t vlix_ippiMinMax_8u_C1R(const uint8_t* src, int32_t step, VlixSize size, uint8_t* min, uint8_t* max);
/**
 * Float pixels.
 * @copydetails vlix_ippiMinMax_8u_C1R
 */
VLIX_API int32_t vlix_ippiMinMax_32f_C1R(const float* src, int32_t step, VlixSize size, float* min, float* max);
/** @} */

/**
 * Counts the pixels v with lower <= v <= upper.
 *
 * @param[in] src first pixel
 * @param[in] step bytes from row to row
 * @param[in] size of the region
 * @param[out] count 0 when lower > upper; in regions of 2^31 pixels and more its low 32 bits
 * @param[in] lower smallest value that counts
 * @param[in] upper largest value that counts
 * @return 0, or non-zero when an argument is refused
 *
 * Cost: one pass at the speed of the memory.
 */
VLIX_API int32_t vlix_ippiCountInRange_8u_C1R(const uint8_t* src, int32_t step, VlixSize size, int32_t* count,
                                              uint8_t lower, uint8_t upper);

/** @name Normalised cross-correlation over the valid placements */
/** @{ */
/**
 * Normalised cross-correlation of unsigned 8-bit pixels over the valid placements.
 *
 * dst(x, y) = sum of i t / sqrt(sum of i^2 * sum of t^2) over the template's pixels, with the deviations t of the
 * template and i of the patch at (x, y) from their own means: Pearson's correlation coefficient, within [-1, 1]. It is
 * exactly 0 where either is flat or, for floats, holds a pixel that is not finite. The error is below 2e-6, typically
 * 3e-8 (the rounding to a float), however little a patch deviates and whatever lies beside it; scores may differ in the
 * last bit between processors.
 *
 * Refused besides: a template wider or higher than the source. Non-zero also when there is no memory; dst may then be
 * written in part.
 *
 * @param[in] src first pixel
 * @param[in] step bytes from row to row
 * @param[in] size of the region
 * @param[in] tpl first pixel of the template
 * @param[in] tplStep bytes from row to row of the template
 * @param[in] tplSize of the template, at most that of the region
 * @param[out] dst first score of (size.width - tplSize.width + 1) x (size.height - tplSize.height + 1); must not
 * overlap src
 * @param[in] dstStep bytes from row to row of the scores
 * @return 0, or non-zero when an argument is refused or there is no memory
 *
 * Cost: products are multiplied out or come from Fourier transforms of blocks, whichever costs less; the memory needed
 * depends on the template's size, not on the image's.
 */
VLIX_API int32_t vlix_ippiCrossCorrValid_NormLevel_8u32f_C1R(const uint8_t* src, int32_t step, VlixSize size,
                                                             const uint8_t* tpl, int32_t tplStep, VlixSize tplSize,
                                                             float* dst, int32_t dstStep);
/**
 * Signed 8-bit pixels.
 * @copydetails vlix_ippiCrossCorrValid_NormLevel_8u32f_C1R
 */
VLIX_API int32_t vlix_ippiCrossCorrValid_NormLevel_8s32f_C1R(const int8_t* src, int32_t step, VlixSize size,
                                                             const int8_t* tpl, int32_t tplStep, VlixSize tplSize,
                                                             float* dst, int32_t dstStep);
/**
 * Unsigned 16-bit pixels.
 * @copydetails vlix_ippiCrossCorrValid_NormLevel_8u32f_C1R
 */
VLIX_API int32_t vlix_ippiCrossCorrValid_NormLevel_16u32f_C1R(const uint16_t* src, int32_t step, VlixSize size,
                                                              const uint16_t* tpl, int32_t tplStep, VlixSize tplSize,
                                                              float* dst, int32_t dstStep);
/**
 * Float pixels.
 * @copydetails vlix_ippiCrossCorrValid_NormLevel_8u32f_C1R
 */
VLIX_API int32_t vlix_ippiCrossCorrValid_NormLevel_32f_C1R(const float* src, int32_t step, VlixSize size,
                                                           const float* tpl, int32_t tplStep, VlixSize tplSize,
                                                           float* dst, int32_t dstStep);
/** @} */

/**
 * Absolute differences, dst = |a - b| pixel by pixel.
 *
 * @param[in] a first pixel of one region
 * @param[in] aStep bytes from row to row of a
 * @param[in] b first pixel of the other region
 * @param[in] bStep bytes from row to row of b
 * @param[out] dst first pixel of the result; may be a or b itself with that region's step, and must not overlap them
 * otherwise
 * @param[in] dstStep bytes from row to row of dst
 * @param[in] size of all three regions
 * @return 0, or non-zero when an argument is refused
 *
 * Cost: one pass at the speed of the memory.
 */
VLIX_API int32_t vlix_ippiAbsDiff_8u_C1R(const uint8_t* a, int32_t aStep, const uint8_t* b, int32_t bStep, uint8_t* dst,
                                         int32_t dstStep, VlixSize size);

/**
 * Sum of all pixels, exact in regions of up to 2^45 pixels.
 *
 * @param[in] src first pixel
 * @param[in] step bytes from row to row
 * @param[in] size of the region
 * @param[out] sum of the pixels
 * @return 0, or non-zero when an argument is refused
 *
 * Cost: one pass at the speed of the memory.
 */
VLIX_API int32_t vlix_ippiSum_8u_C1R(const uint8_t* src, int32_t step, VlixSize size, double* sum);

/**
 * Memory for a primitive.
 *
 * Cost: one allocation.
 *
 * @param[in] bytes at least 1
 * @return memory that starts on a multiple of 64 bytes and is given back with vlix_ippsFree, or null when bytes is
 * below 1 or there is none
 */
VLIX_API uint8_t* vlix_ippsMalloc_8u(int32_t bytes);

/**
 * Gives memory of vlix_ippsMalloc_8u back.
 *
 * Cost: one release.
 *
 * @param[in] memory may be null, which is ignored
 */
VLIX_API void vlix_ippsFree(void* memory);

#ifdef __cplusplus
}
#endif

#endif
