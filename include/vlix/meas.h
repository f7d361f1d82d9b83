/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file
 * The measurement operations.
 *
 * Every operation returns 0 on success. A failure is reported once through VlixOpStatus of the object library, whose
 * value is returned; 1 means that an output vector could not be obtained (reported by the object library). An operation
 * whose output pointer is null checks its arguments and returns 0 without computing. Images are measured inside their
 * region of interest. Operations keep no state between calls and may run on any number of threads; a record must not be
 * an output of two calls at once.
 */
#ifndef VLIX_MEAS_H
#define VLIX_MEAS_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** @name Vectors and histograms */
/** @{ */

/** What vlix_vectorDiff computes from d = a[i] - b[i]. */
typedef enum VectorDiffOp {
  VectorDiffOp_DiffSum = 0,       /**< sum of d; normalised: mean difference */
  VectorDiffOp_DiffAbsSum = 1,    /**< sum of |d|; normalised: mean absolute difference */
  VectorDiffOp_DiffSquareSum = 2, /**< sum of d squared; normalised: mean squared difference */
  VectorDiffOp_DiffEuclid = 3,    /**< root of the sum of d squared; normalised: root-mean-square difference */
  VectorDiffOp_DiffMaxAbs = 4     /**< the d of largest magnitude, with its sign; never normalised */
} VectorDiffOp;

/**
 * Reduces the element-wise difference d[i] = a[i] - b[i] of two vectors to one number.
 *
 * Every element becomes a double before it is used, by the type of its own vector; U32 values up to 4294967295 stay
 * positive. The sums are taken in double, in increasing i. The two types may differ.
 *
 * | code | sum over i = 0 .. n - 1 | normalised |
 * | --- | --- | --- |
 * | #VectorDiffOp_DiffSum | d | sum / n |
 * | #VectorDiffOp_DiffAbsSum | abs(d) | sum / n |
 * | #VectorDiffOp_DiffSquareSum | d * d | sum / n |
 * | #VectorDiffOp_DiffEuclid | sqrt of the sum of d * d | sqrt(sum / n) |
 * | #VectorDiffOp_DiffMaxAbs | the first d of largest magnitude, with its sign | the same |
 *
 * Edges: empty vectors give 0.0, or NaN where the code divides by n; the code itself is then not examined. Differences
 * that are NaN make a sum NaN and are passed over by #VectorDiffOp_DiffMaxAbs.
 *
 * Reports, the first that applies: type of @p a, type of @p b, unequal lengths ("vectorDiff: input vectors must be the
 * same size"), unknown code with at least one element ("vectorDiff: unknown operation code %d"). After a report the
 * result is untouched.
 *
 * Cost: one pass. Vectors of one 8- or 16-bit type are summed exactly in integers, which is the same result; other sums
 * are bound to their order and take one addition after the other.
 *
 * @param[in] a vector of S8, U8, S16, U16, S32, U32, U32Alt, F32 or F64
 * @param[in] b vector of any of these types, as long as @p a
 * @param[out] result receives the number; null: validate only (the code is not looked at)
 * @param[in] op a #VectorDiffOp
 * @param[in] normalise exactly 1 divides as the table says, any other value does not
 * @return 0 or the status of the report
 */
VLIX_API VlixStatus vlix_vectorDiff(const VlixVector* a, const VlixVector* b, double* result, int32_t op,
                                    int32_t normalise);

/**
 * Histogram of a monochrome image over a float range, counted by the utility library.
 *
 * nBins bins of equal width over [lo, hi]: hist[i].x = lo + i (hi - lo) / nBins, computed in double and rounded to
 * float, and hist[i].y is the number of pixels from there to below the next bin.
 *
 * Edges: a value equal to hi belongs to the last bin. Not-a-number pixels and values outside of the range are not
 * counted. Where bins are narrower than the steps between floats, the first of those that start at the same x counts.
 *
 * Reports, the first that applies: four-byte colours ("histogram: not supported for color images"), any other type that
 * is not accepted, nBins < 1 ("histogram: invalid number of bins, must be greater than 0"), lo > hi ("histogram:
 * invalid value range %g..%g"; equal bounds and NaN pass), counting failed ("histogram: failed, possibly caused by
 * insufficient memory", also for bounds that are not finite).
 *
 * Cost: one pass.
 *
 * @param[in] image U8, S8, U16, S16 or F32; its region of interest is counted
 * @param[out] hist made a PointF32 vector of nBins elements, x = lowest value of the bin, y = count; null: validate
 * only
 * @param[in] flag non-zero turns the counts into running sums
 * @param[in] nBins number of bins, at least 1
 * @param[in] lo lowest value
 * @param[in] hi highest value, not below lo; it belongs to the last bin
 * @return 0 or the status of the report
 */
VLIX_API VlixStatus vlix_histogram(const VlixImage* image, VlixVector* hist, int32_t flag, int32_t nBins, float lo,
                                   float hi);

/**
 * Histogram of an integer image over evenly spaced integer bins.
 *
 * A bin is w = (hi - lo + 1) / nBins values wide, hist[i].x = lo + i * w, and hist[i].y is the number of pixels in
 * x .. x + w - 1.
 *
 * Edges: pixels outside lo .. hi are not counted. The range is computed in 32 bits: one of more than 2^31 - 1 values
 * wraps, and values that then have no bin are not counted.
 *
 * With the optimisation level above 0 a primitive counts U8, U16 and S16 images. At level 0, for S8 images, and when
 * the primitive fails (which is reported; the result is computed all the same and 0 returned), the bin of a value v is
 * the 32-bit float product (v - lo) * (1 / w) truncated toward zero: for widths that are no power of two it can fall
 * short of a bin's lowest value by rounding, which then counts in the bin before. A product that reaches nBins counts
 * in the last bin.
 *
 * Reports, the first that applies: four-byte colours ("histogram: not supported for color images"), any other type that
 * is not accepted (under the name "histogram"), hi < lo ("histogram: invalid value range %g..%g", to which the two
 * 32-bit integers are passed as they are: front ends check the range themselves), nBins < 1 ("histogram: invalid number
 * of bins, must be greater than 0"), bins that do not divide the range ("histogram: invalid number of bins, must be a
 * divisor of %d"). An output that cannot be obtained is reported by the object library; the result is then 1. While
 * counting: out of memory, or "histogram: error computing histogram".
 *
 * Cost: one pass.
 *
 * @param[in] image U8, S8, U16 or S16; its region of interest is counted
 * @param[out] hist made a PointI32 vector of nBins elements, x = lowest value of the bin, y = count; null: validate
 * only
 * @param[in] cumulative non-zero turns the counts into running sums
 * @param[in] nBins number of bins, at least 1, a divisor of hi - lo + 1
 * @param[in] lo lowest value
 * @param[in] hi highest value, not below lo
 * @return 0, 1 or the status of the report
 */
VLIX_API VlixStatus vlix_histogramInt(const VlixImage* image, VlixVector* hist, int32_t cumulative, int32_t nBins,
                                      int32_t lo, int32_t hi);

/**
 * Integer histograms of the three channels of a colour image.
 *
 * Channel c has nBins[c] bins of w = (hi[c] - lo[c] + 1) / nBins[c] values; hists[c][i].y is the number of pixels whose
 * channel c lies in lo[c] + i * w .. lo[c] + (i + 1) * w - 1. The x of bin i, however, is lo[i] + i * w, with @p lo
 * indexed by the bin and not by the channel: @p lo therefore has an entry for each bin of the longest histogram (at
 * least three), and a caller who wants true bin values computes them from lo[c].
 *
 * Edges: values outside of a channel's range are not counted in that channel.
 *
 * A primitive counts; there is no other path.
 *
 * Reports, the first that applies: type; for each channel in turn hi < lo ("histogram: invalid value range %g..%g",
 * with the two 32-bit integers as they are) and nBins < 1 ("histogram: invalid number of bins, must be greater than
 * 0"); for each channel bins that do not divide the range ("histogram: invalid number of bins, must be a divisor of
 * %d"). An output that cannot be obtained is reported by the object library: the earlier channels are released and the
 * result is
 * 1. Then: optimisation level 0 ("histogram: only works with IPP support"); out of memory or "histogram: error
 * computing histogram", each followed by a second report "histogram: color supported only on x86 or x64 platform",
 * whose status is returned. After these the outputs hold x and counts of 0.
 *
 * Cost: one pass.
 *
 * @param[in] image Rgba8; its region of interest is counted, byte 3 of the pixels is ignored
 * @param[out] hists three vectors one after the other, each made a PointI32 vector of nBins[c] elements; null: validate
 *   only
 * @param[in] cumulative non-zero turns the counts into running sums
 * @param[in] nBins number of bins of each channel, three entries
 * @param[in] lo lowest value of each channel, max(3, nBins[0], nBins[1], nBins[2]) entries
 * @param[in] hi highest value of each channel, three entries
 * @return 0, 1 or the status of the report
 */
VLIX_API VlixStatus vlix_histogramIntColor(const VlixImage* image, VlixVector* hists, int32_t cumulative,
                                           const int32_t* nBins, const int32_t* lo, const int32_t* hi);

/**
 * Histogram of the pixels inside regions and shapes.
 *
 * The range is r = hi - lo truncated toward zero, plus 1 for integer pixels; a bin is w = r / nBins wide, and
 * hist[i].x = lo + i * w.
 *
 * Edges: a pixel v is counted when L <= v <= H, where L and H are @p lo and @p hi, truncated toward
 * zero for integer pixels; its bin is (v - L) / w truncated toward zero. Pixels whose bin lies outside the vector are
 * dropped: v = hi of an F32 image (256 bins over 0 .. 255 have a width of 255 / 256), fractional limits on integer
 * images, ranges r <= 0. NaN is never counted. Counts are 32-bit floats and stop at 2^24. A pixel that lies in several
 * shapes is counted once for each.
 *
 * | @p roi | counts |
 * | --- | --- |
 * | #VlixVectorHandle, vector of Shape53 or Shape54 | each of its shapes in order |
 * | #VlixRegionHandle of vlix/util.h | the region |
 * | #VlixShapeHandle | one shape |
 *
 * Regions and shapes lie in coordinates relative to the region of interest, and what is outside of it is dropped. Only
 * a #VlixShape_PixelRect is different: two opposite corners x0, y0, x1, y1 in whole-image coordinates, each rounded to
 * floor(c + 0.5) and included, clipped to the whole image.
 *
 * Reports, the first that applies: type of @p image; kind of @p roi or, for a vector, its element type; out of memory
 * (8 * nBins bytes as a 32-bit product; nBins < 0 ends here); "histRoi: failed scanning ROI"; "histRoi: failed
 * rasterizing ROI", which also ends the counting and leaves what was counted, not accumulated. The range is not
 * checked. No bins give an empty vector.
 *
 * Cost: one call per pixel of a region or shape; rectangles are counted in one pass without calls.
 *
 * @param[in] image U8, S8, U16, S16 or F32
 * @param[in] roi the handle of a region, a shape or a vector of shapes
 * @param[out] hist receives a new PointF32 vector of nBins elements, x = lowest value of the bin, y = count; what the
 *   record held before is not released; null: validate only
 * @param[in] cumulative non-zero turns the counts into running sums
 * @param[in] nBins number of bins, not checked
 * @param[in] lo lowest value, not checked
 * @param[in] hi highest value, not checked
 * @return 0 or the status of the report
 */
VLIX_API VlixStatus vlix_histRoi(const VlixImage* image, const VlixObj* roi, VlixVector* hist, int32_t cumulative,
                                 int32_t nBins, float lo, float hi);

/**
 * Finds the local maxima or minima of a float histogram, thinned out to a minimum distance.
 *
 * A run of equal counts is one candidate at the middle of its first and last x, (x_first + x_last) / 2 in 32-bit
 * floats. It is an extremum when it is strictly better (greater for maxima, less for minima) than the elements before
 * and behind the run; the first and the last element, and runs that reach them, never are. Extrema are taken in order.
 * One that lies within @p minDist of the last accepted peak (x difference <= minDist) replaces it when it is strictly
 * better. Otherwise it is measured against the nearest earlier candidate that it does not beat, back to the last
 * accepted peak: within @p minDist it is held back, and keeps later ones away; farther off it becomes the next peak.
 *
 * Edges: NaN is never an extremum and ends a run. Fewer than three elements have no extrema; the result is then an
 * empty vector.
 *
 * Reports, the first that applies: type of @p hist, out of memory (bytes of n points).
 *
 * Cost: one pass; the vector is allocated with the length of @p hist and cut afterwards.
 *
 * @param[in] hist vector of PointF32 (x = value of the bin, increasing; y = count), any length
 * @param[out] peaks receives a new PointF32 vector, one point per extremum in the order of x; what the record held
 *   before is not released; null: validate only
 * @param[in] maxima non-zero finds maxima, 0 finds minima
 * @param[in] minDist distance in units of x that two extrema must exceed
 * @return 0 or the status of the report
 */
VLIX_API VlixStatus vlix_histPeaks(const VlixVector* hist, VlixVector* peaks, int32_t maxima, float minDist);

/**
 * Finds the local maxima or minima of an integer histogram, thinned out to a minimum distance.
 *
 * As vlix_histPeaks on the coordinates converted to 32-bit floats. A peak is stored truncated toward zero, and later
 * distances and comparisons use what is stored; a value beyond 32 bits is stored as -2147483648.
 *
 * Reports: as vlix_histPeaks.
 *
 * @param[in] hist vector of PointI32 (x = lowest value of the bin, increasing; y = count), any length
 * @param[out] peaks receives a new PointI32 vector; what the record held before is not released; null: validate only
 * @param[in] maxima non-zero finds maxima, 0 finds minima
 * @param[in] minDist distance in units of x that two extrema must exceed
 * @return 0 or the status of the report
 */
VLIX_API VlixStatus vlix_histPeaksInt(const VlixVector* hist, VlixVector* peaks, int32_t maxima, float minDist);

/**
 * Smooths a float histogram by a centred moving average.
 *
 * The increment is dx = x[1] - x[0]. The window holds K elements: r = width / dx in 32-bit floats, K = floor(r + 0.5),
 * and where that is even, K + 1 if r is greater than K, else K - 1 (4.0 gives 3, 4.3 gives 5, 0.4 gives 1). Then
 * smoothed[i].y is the sum of hist[j].y over |j - i| <= (K - 1) / 2, divided by K also where the window reaches beyond
 * the ends, as if zeros followed there. The sum runs from left to right in 32-bit floats: the element that leaves is
 * subtracted, then the one that enters is added. The values of x are copied.
 *
 * Edges: the zeros attenuate the (K - 1) / 2 outermost elements of either side. A window of K <= 0 elements (a width of
 * 0) copies the counts too; so does one of more elements than 32 bits can count.
 *
 * Reports, the first that applies: fewer than two elements ("smoothHist: vector size %d, must be > 2"; two are
 * accepted), dx <= 0 ("smoothHist: histogram increment error (dx = %f)"), K greater than the number of elements
 * ("smoothHist: width %f, must be less than histogram range, %f" with n * dx; a NaN ends here). An output that cannot
 * be obtained is reported by the object library; the result is then 1.
 *
 * Cost: independent of the width. Counts that are whole numbers, with sums below 2^24, are summed in integers, which is
 * the same result.
 *
 * @param[in] hist vector of PointF32 (x = value of the bin, evenly spaced; y = count); its type is not tested
 * @param[out] smoothed made a PointF32 vector of the same length; must not be @p hist; null: validate only
 * @param[in] width length of the window in units of x
 * @return 0, 1 or the status of the report
 */
VLIX_API VlixStatus vlix_smoothHist(const VlixVector* hist, VlixVector* smoothed, float width);

/**
 * Smooths an integer histogram by a centred moving average.
 *
 * As vlix_smoothHist with 32-bit integers: dx is converted to float for r = width / dx, sums wrap, and the division by
 * K truncates toward zero. The report about dx shows it with %d, the one about the width shows n * dx with %d.
 *
 * @param[in] hist vector of PointI32 (x = lowest value of the bin, evenly spaced; y = count); its type is not tested
 * @param[out] smoothed made a PointI32 vector of the same length; must not be @p hist; null: validate only
 * @param[in] width length of the window in units of x
 * @return 0, 1 or the status of the report
 */
VLIX_API VlixStatus vlix_smoothHistInt(const VlixVector* hist, VlixVector* smoothed, float width);

/**
 * Smooths a float histogram in place; the counts are those of vlix_smoothHist.
 *
 * Reports: as vlix_smoothHist, then "smoothHist: cannot copy vector" when the temporary copy fails.
 *
 * When the window has no elements (K <= 0), the histogram stays as it is and the temporary copy is never released: a
 * known leak of the length of the histogram.
 *
 * @param[in,out] hist vector of PointF32 (x = value of the bin, evenly spaced; y = count), not null; its type is not
 * tested
 * @param[in] width length of the window in units of x
 * @return 0 or the status of the report
 */
VLIX_API VlixStatus vlix_smoothHist_consume(VlixVector* hist, float width);

/**
 * Smooths an integer histogram in place; the counts are those of vlix_smoothHistInt.
 *
 * Reports: as vlix_smoothHistInt, then "smoothHist: cannot copy vector" when the temporary copy fails.
 *
 * When the window has no elements (K <= 0), the histogram stays as it is and the temporary copy is never released: a
 * known leak of the length of the histogram.
 *
 * @param[in,out] hist vector of PointI32 (x = lowest value of the bin, evenly spaced; y = count), not null; its type is
 * not tested
 * @param[in] width length of the window in units of x
 * @return 0 or the status of the report
 */
VLIX_API VlixStatus vlix_smoothHistInt_consume(VlixVector* hist, float width);

/** @} */

/** @name Statistics */
/** @{ */

/**
 * Mean, population standard deviation and extremes of an image's region of interest or of a vector.
 *
 * With N samples x of a channel, each converted to double,
 *
 *     mean = S / N      deviation = sqrt(Q / N - mean * mean)      S = sum of x, Q = sum of x * x
 *
 * and every result is rounded to a float. The radicand is not clamped: where rounding makes it negative, as equal
 * samples with fractions can, the deviation is not-a-number.
 *
 * Edges: extremes start with the first sample and move only to
 * samples beyond them: a not-a-number counts in S and Q, but becomes an extreme only as the first sample, and of zeros
 * of both signs the first one stays.
 *
 * | input | types | results |
 * | --- | --- | --- |
 * | monochrome image | U8, S8, U16, S16, F32 | pMean, pStdDev, pMin, pMax |
 * | monochrome vector | U8, S8, S32, U32, S16, U16, F32, F64, PointI32, PointF32 (y counts, x does not) | the same |
 * | colour image or vector | Rgba8, Colour20, Colour21, Colour30, Colour36, Colour39, Colour44 | those of c0, c1, c2 |
 *
 * Channels are numbered as they lie in memory. In a vector of Colour30, though not in an image, channels 1 and 2 are
 * signed.
 *
 * Sums run in memory order; while Q stays within 2^53 those of integer samples are exact, and so the same in any order.
 * At levels other than 0 and 2 primitives compute U8, S8 and F32 images and U8 vectors, unless height * width * 255, a
 * product of 32-bit floats, is beyond 2^32. For bytes the results are the same at all levels; for F32 images the
 * primitive is more accurate and never makes the deviation of finite samples not-a-number. A primitive that fails is
 * replaced without a report. The region of an image is not tested for emptiness: mean and deviation are then
 * not-a-number, and so are the extremes but for bytes at level 2, where they are what the search starts from (minimum
 * 255 or 127, maximum 0 or -128).
 *
 * Reports, the first that applies: kind of @p obj, as a type; "stats: cannot get color stats on monochrome input"; a
 * type that is not accepted; "stats: cannot get monochrome stats on color input"; "stats: cannot process empty vector",
 * also when nothing is wanted. After a report nothing is written.
 *
 * Cost: one pass, two through the primitives when both sums and extremes are wanted. Integers go at the speed of the
 * memory; F32 outside of the primitives, F64, 32-bit integers and points take one addition after the other.
 *
 * @param[in] obj a #VlixVectorHandle or a #VlixImageHandle
 * @param[out] pMean mean of a monochrome input; null, like each of the following: not wanted
 * @param[out] pStdDev standard deviation
 * @param[out] pMin smallest sample
 * @param[out] pMax largest sample
 * @param[out] c0Mean mean of channel 0 of a colour input
 * @param[out] c0StdDev standard deviation of channel 0
 * @param[out] c0Min smallest sample of channel 0
 * @param[out] c0Max largest sample of channel 0
 * @param[out] c1Mean mean of channel 1
 * @param[out] c1StdDev standard deviation of channel 1
 * @param[out] c1Min smallest sample of channel 1
 * @param[out] c1Max largest sample of channel 1
 * @param[out] c2Mean mean of channel 2
 * @param[out] c2StdDev standard deviation of channel 2
 * @param[out] c2Min smallest sample of channel 2
 * @param[out] c2Max largest sample of channel 2
 * @return 0 or the status of the report
 */
VLIX_API VlixStatus vlix_stats(const VlixObj* obj, float* pMean, float* pStdDev, float* pMin, float* pMax,
                               float* c0Mean, float* c0StdDev, float* c0Min, float* c0Max, float* c1Mean,
                               float* c1StdDev, float* c1Min, float* c1Max, float* c2Mean, float* c2StdDev,
                               float* c2Min, float* c2Max);

/**
 * Counts the pixels that are not zero.
 *
 * Of a float, -0 is zero and not-a-number is not. A colour is zero when all three channels are; the fourth byte (or the
 * top two bits of Colour36) does not matter.
 *
 * Edges: an empty region counts 0. Of 2^32 pixels and more the low 32 bits are stored.
 *
 * Reports: a type that is not accepted.
 *
 * Cost: one pass at the speed of the memory. At levels other than 0 a primitive counts U8; where it fails, nothing is
 * reported and the result is the same.
 *
 * @param[in] image U8, S8, U16, S16, F32, Rgba8, Colour20, Colour21, Colour30 or Colour36
 * @param[out] pCount number of pixels; null: validate only
 * @return 0 or the status of the report
 */
VLIX_API VlixStatus vlix_countPix(const VlixImage* image, uint32_t* pCount);

/**
 * Counts the pixels v with low < v <= high.
 *
 * | types | test |
 * | --- | --- |
 * | U8, S8, U16, S16 | as 32-bit integers |
 * | F32 | as 32-bit floats, to which the thresholds are rounded; a not-a-number does not count |
 * | Rgba8, Colour20, Colour21, Colour30 | all three channels, each between its own bytes of the thresholds |
 * | Colour36 | all three channels, each between its own 10 bits of the thresholds |
 *
 * Thresholds of colours are packed like the pixels; byte 3 (or the top two bits) is not looked at. Where high is not
 * above low, for one channel of a colour, nothing counts.
 *
 * At levels other than 0 a primitive counts U8 with the bounds low + 1 and high, both included and both taken modulo
 * 256: thresholds outside of 0 .. 254 (low) and 0 .. 255 (high) give other counts than at level 0. A low of 255, for
 * instance, counts the pixels up to high. Where the primitive fails, nothing is reported and the count is that of
 * level 0.
 *
 * Edges: an empty region counts 0. Of 2^32 pixels and more the low 32 bits are stored.
 *
 * Reports: a type that is not accepted, under the name "countPix".
 *
 * Cost: one pass at the speed of the memory.
 *
 * @param[in] image U8, S8, U16, S16, F32, Rgba8, Colour20, Colour21, Colour30 or Colour36
 * @param[out] pCount number of pixels; null: validate only
 * @param[in] low threshold that pixels must exceed
 * @param[in] high threshold that pixels must not exceed
 * @return 0 or the status of the report
 */
VLIX_API VlixStatus vlix_countThreshPix(const VlixImage* image, uint32_t* pCount, int32_t low, int32_t high);

/**
 * Mean and sample variance of a moving window, for each pixel of the region of interest.
 *
 * The window of pixel (x, y) covers columns x - a .. x + kernelWidth - a - 1 with a = kernelWidth / 2 (integer
 * division) and rows in the same way: it is centred for odd kernels and reaches one pixel further to the left and up
 * for even ones.
 *
 * Edges: the window is clipped at the region; c is the number of pixels that it then holds, T their sum and U their sum
 * of squares:
 *
 *     mean = T / c      variance = (U - mean * c * mean) / (c - 1)      deviation = sqrt(variance)
 *
 * Everything is a 32-bit float, but for the last quotient and the root, which are taken of doubles and then rounded.
 * Each column's sums slide down the region, each row's window slides along them, and every step first subtracts what
 * leaves and then adds what enters: the rounding errors that add up along the way are part of the result, which does
 * not depend on level or processor. Sums of integer pixels are exact while they stay below 2^24. Where rounding makes a
 * variance negative, the deviation is not-a-number (and errno is EDOM); so are the variance and the deviation of a
 * single pixel.
 *
 * Reports, in this order: unsupported type; "variance: kernel %dx%d, both dimensions must be greater than 0" unless
 * both outputs are null; "variance: kernel width larger than ROI (max.: %d)" unless kernelWidth - kernelWidth / 2 is
 * less than the region's width; "variance: kernel height larger than ROI (max.: %d)" in the same way (both print half
 * the region's width); out of memory with the number of bytes. What shaping an output returns is returned; a mean image
 * that was empty before is released when the variance image cannot be shaped.
 *
 * Cost: linear in the pixels, whatever the kernel; two floats for each column of the region and a pointer for each row
 * of the kernel. The sliding sums are those of a box filter with running sums (McDonnell 1981).
 *
 * @param[in] image U8, S8, U16, S16 or F32
 * @param[out] meanImage made an F32 image of the region's size, written at its own region of interest; null: not
 * wanted. Neither output may be @p image or share its pixels
 * @param[out] varImage made an F32 image in the same way; null: not wanted; both null: only the type is checked
 * @param[in] stdDev 0 stores the variance, anything else the deviation
 * @param[in] kernelWidth columns of the window, at least 1
 * @param[in] kernelHeight rows of the window, at least 1
 * @return 0, the status of the report or what shaping an output returned
 */
VLIX_API VlixStatus vlix_variance(const VlixImage* image, VlixImage* meanImage, VlixImage* varImage, int32_t stdDev,
                                  int32_t kernelWidth, int32_t kernelHeight);

/**
 * Estimates the background level of an image from the corner pixels of its region of interest.
 *
 * A value that three of the four corners share is the level. Otherwise, two equal pairs included, it is their mean,
 * (top right + top left + bottom left + bottom right) * 0.25 in 32-bit floats. It is stored as one pixel of the image's
 * type: rounded half away from zero for S8 and S16, half up for U8 and U16, as it is for F32. Colours are compared as a
 * whole, without their fourth byte; their mean is taken and rounded half up channel by channel, and the fourth byte is
 * stored as 0.
 *
 * Edges: a region of one pixel has it at all four corners. An empty region has none and must not be handed over.
 *
 * Reports: a type that is not accepted.
 *
 * Cost: four pixels.
 *
 * @param[in] image U8, S8, U16, S16, F32, Rgba8, Colour20, Colour21 or Colour30
 * @param[out] pValue one pixel of the image's type (1, 2 or 4 bytes, any alignment); null: validate only
 * @return 0 or the status of the report
 */
VLIX_API VlixStatus vlix_background(const VlixImage* image, void* pValue);

/**
 * Converts a level into one pixel of an image's type.
 *
 * The value is clamped to the range of the type, then truncated toward zero; F32 stores it as it is, and four-byte
 * colours store the clamped byte in channels 0, 1 and 2 and 0 in the fourth byte.
 *
 * Edges: not-a-number gives 0. For any other type nothing is written.
 *
 * Reports: none.
 *
 * Cost: constant.
 *
 * @param[in] image U8, S8, U16, S16, F32, Rgba8, Colour20, Colour21 or Colour30; only its type is read
 * @param[out] pValue one pixel of the image's type (1, 2 or 4 bytes, any alignment); must not be null
 * @param[in] value the level, in grey values
 * @return 0
 */
VLIX_API VlixStatus vlix_background_assignF32(const VlixImage* image, void* pValue, float value);

/** @} */

/** @name Matching */
/** @{ */

/**
 * Normalised cross-correlation of a template with all of its placements in a target.
 *
 * dst(x, y) is Pearson's correlation coefficient of the template and the patch of the target under it, the patch's
 * first pixel being (x, y) of the target's region: 1 for a patch that is the template up to gain and offset, -1 for its
 * negative, 0 where the patch or the template is flat. With N pixels and sums S over them, i of the patch and t of the
 * template,
 *
 *     dst = (N * Sit - Si * St) / sqrt((N * Sii - Si * Si) * (N * Stt - St * St)).
 *
 * Edges: a placement that is not covered by the target as a whole has no score; a template larger than the target has
 * none at all.
 *
 * At level 0 this is computed as it stands in double, each sum in memory order, then rounded to a float; 0 where the
 * radicand is not positive. For integer pixels that is exact up to the last rounding; float pixels whose spread is
 * small against their magnitude lose digits in the differences. Otherwise the primitives of the primitives library
 * compute the coefficient in their own, more accurate way.
 *
 * | level | types | images that are read |
 * | --- | --- | --- |
 * | not 0 | equal, but not S16 | the inputs, by the primitive of their type |
 * | not 0 | others | float copies of what is not F32, by the primitive for F32. The copies are never released. |
 * | 0 | any | float copies of what is not F32 |
 *
 * Callers with mixed types or S16 do better to convert once with VlixUtilCastImage.
 *
 * Reports, the first that applies: @p dst is @p target ("nxcorr: destination image should be different than source
 * image"), type of @p target, "nxcorr: failed casting target to float image", type of @p templateIm (the target's copy
 * is then not released), "nxcorr: failed casting template to float image", and, at level 0 only, "nxcorr: template is
 * larger than target". The type of the template is not looked at where both types are equal and the level is not 0. A
 * primitive that fails is not reported: the result is 1. With equal types a template that is too large fails in the
 * shaping of @p dst, with float copies in the primitive.
 *
 * Cost: at level 0 one multiplication per pixel of the template and placement for integers of at most 16 bits, two with
 * more additions for floats; the primitives choose between direct sums and transforms.
 *
 * Method: Lewis, Fast Normalized Cross-Correlation, 1995.
 *
 * @param[in] target U8, S8, U16, S16 or F32, W x H pixels
 * @param[in] templateIm any of these types, w x h pixels
 * @param[out] dst made an F32 image of (W - w + 1) x (H - h + 1) pixels; null: validate only, at level 0 only
 * @return 0, the status of the report, 1 when a primitive fails, or the result of the object library when @p dst cannot
 *   be shaped
 */
VLIX_API VlixStatus vlix_nxcorr(const VlixImage* target, const VlixImage* templateIm, VlixImage* dst);

/**
 * Sum of absolute differences of a template over all of its placements in a target.
 *
 * dst(x, y) = min(65535, sum over u, v of abs(template(u, v) - target(x + u, y + v))), coordinates relative to the
 * regions: 0 for an identical patch. Integers are widened before the difference. With an F32 image on either side the
 * difference is formed in floats and each one truncated toward zero.
 *
 * Edges: differences of floats below 1 add nothing; NaN and what does not fit 32 bits add 2147483648. The sum is taken
 * modulo 2^32 and limited to 65535 once.
 *
 * Reports, the first that applies: @p dst is @p target ("sod: destination image should be different than source
 * image"), type of @p target, type of @p templateIm, "sod: templateIm is larger than target".
 *
 * Cost: one difference per pixel of the template and placement. At level 0, pairs of U8 images use packed absolute
 * differences (AVX-512, AVX2 or SSE2), all other pairs a vectorised loop of their own. At other levels pairs of U8
 * images call two primitives for each placement, which is much slower and gives the same scores while the sums stay
 * below 2^32.
 *
 * @param[in] target U8, S8, U16, S16 or F32, W x H pixels
 * @param[in] templateIm any of these types, w x h pixels
 * @param[out] dst made a U16 image of (W - w + 1) x (H - h + 1) pixels; null: validate only
 * @return 0, the status of the report, or the result of the object library when @p dst cannot be shaped
 */
VLIX_API VlixStatus vlix_sod(const VlixImage* target, const VlixImage* templateIm, VlixImage* dst);

/**
 * Cross-correlation of an image with a pattern, through the Fourier transform.
 *
 * dst(x, y) = sum over u, v of image2(u, v) * image1(x + u - w / 2, y + v - h / 2) / (W * H): the pattern's pixel
 * (w / 2, h / 2), halves rounded down, lies on pixel (x, y). W x H is the region of @p image1, w x h that of @p image2;
 * coordinates are relative to the regions.
 *
 * Edges: image1 is 0 outside of its region: scores near the border see part of the
 * pattern only. The pattern may be larger than the image.
 *
 * Pixels enter the transform exactly. The spectra are multiplied in double and rounded to floats; the transform works
 * in floats, so that an error is relative to the largest scores and not to each of them. The optimisation level changes
 * nothing.
 *
 * Reports, the first that applies: type of @p image1, type of @p image2, out of memory (bytes of the padded image of
 * (W + w - 1) x (H + h - 1) floats, their number as a 32-bit product), "xCorr: failed transforming image 1", "xCorr:
 * failed transforming image 2", "xCorr: failed inverse transforming image". An output that cannot be shaped is reported
 * by the object library under "crossCorr".
 *
 * Cost: three transforms of the padded size, which the transform library may enlarge; at most one real and two complex
 * grids are in memory.
 *
 * Method: convolution theorem; Gonzalez and Woods, Digital Image Processing, frequency domain filtering.
 *
 * @param[in] image1 U8, S8, U16, S16 or F32
 * @param[in] image2 pattern, any of these types and any size
 * @param[out] dst made an F32 image of W x H pixels; may be one of the inputs; null: validate only
 * @return 0, the status of the report, or the result of the object library when @p dst cannot be shaped
 */
VLIX_API VlixStatus vlix_xCorr(const VlixImage* image1, const VlixImage* image2, VlixImage* dst);

/** @} */

/** @name Profiles, path sampling and fits */
/** @{ */

/**
 * Row and column sums of a region as 32-bit floats.
 *
 * rows[y] = sum of v(x, y) over the columns x, columns[x] = sum of v(x, y) over the rows y, both counted from the
 * region's first row and column; v is the pixel value. Float pixels first lose their fraction (2.9 adds 2, -1.7 adds
 * -1; what does not fit 32 bits, and NaN, adds -2147483648).
 *
 * Each sum is a running 32-bit float in increasing x or y, hence rounded once it exceeds 2^24. Only U8 images that are
 * summed as a whole, at least 5 columns wide and at a level other than 0, have exact 32-bit unsigned sums that are
 * converted once at the end.
 *
 * Edges: there the column sums need one block of memory; when it cannot be had they stay 0 without
 * a report. A region without rows gives columns of 0, and the other way round.
 *
 * Reports, the first that applies: type of @p image (also when both outputs are null), out of memory for the buffer of
 * row pairs, then of column pairs (4 bytes per entry). A failure releases the output vectors whose memory this call
 * obtained.
 *
 * Cost: one pass over the pixels; pairs cost a buffer of 4 bytes per entry.
 *
 * @param[in] image U8, S8, U16, S16 or F32
 * @param[out] rowProj made a vector of roiHeight F32 sums, or PointF32 pairs (index, sum); null: not wanted
 * @param[out] colProj made a vector of roiWidth F32 sums or PointF32 pairs; null: not wanted
 * @param[in] asPoints non-zero: pairs instead of bare sums
 * @return 0, 1 when an output cannot be obtained, or the status of the report
 */
VLIX_API VlixStatus vlix_projection(const VlixImage* image, VlixVector* rowProj, VlixVector* colProj, int32_t asPoints);

/**
 * Row and column sums of a region of integer pixels as 32-bit integers.
 *
 * rows[y] = sum of v(x, y) over the columns x, columns[x] = sum of v(x, y) over the rows y, both counted from the
 * region's first row and column.
 *
 * Edges: sums wrap modulo 2^32. A region without rows gives columns of 0, and the other way round. At a level other
 * than 0 the column sums of U8 images need one block of memory; when it cannot be had they stay 0 without a report.
 *
 * Reports, the first that applies: type of @p image (under the name "projection", also when both outputs are null), out
 * of memory for the buffer of row pairs ("projectionInt"), then of column pairs ("projection"). A failure releases the
 * output vectors whose memory this call obtained.
 *
 * Cost: one pass over the pixels; pairs cost a buffer of 4 bytes per entry.
 *
 * @param[in] image U8, S8, U16 or S16
 * @param[out] rowProj made a vector of roiHeight S32 sums, or PointI32 pairs (index, sum); null: not wanted
 * @param[out] colProj made a vector of roiWidth S32 sums or PointI32 pairs; null: not wanted
 * @param[in] asPoints non-zero: pairs instead of bare sums
 * @return 0, 1 when an output cannot be obtained, or the status of the report
 */
VLIX_API VlixStatus vlix_projectionInt(const VlixImage* image, VlixVector* rowProj, VlixVector* colProj,
                                       int32_t asPoints);

/**
 * Reads the image at one point.
 *
 * Mode 0 takes the nearest pixel, where exactly one half goes up. Mode 1 is bilinear in 32-bit floats: with the pixels
 * a, b above and c, d below the point and its position (fx, fy) between them,
 * ((1 - fx) a + fx b) (1 - fy) + ((1 - fx) c + fx d) fy.
 *
 * Reports, the first that applies: a point outside of the region of interest, whose last column and row count as inside
 * ("samplepath: point(%f,%f) out of image ROI"); another mode ("samplepath_point: interpolation mode not suppported");
 * a type without kernel ("samplepath_point: image format not suppported"). A status channel whose value is 0 lets
 * processing go on after the first two.
 *
 * Edges: where there is no pixel then, and for NaN coordinates, the result is NaN.
 *
 * Cost: constant.
 *
 * @param[in] image U8, S8, U16, S16, F32, or four-byte colour (Rgba8, Colour20, Colour21, Colour30)
 * @param[in] point column and row in image coordinates, not relative to the region
 * @param[out] result one value; for colour three, channels 2, 1, 0; null: validate only
 * @param[in] mode 0 = nearest, 1 = bilinear
 * @return 0 or the status of the report
 */
VLIX_API VlixStatus vlix_samplepath_point(const VlixImage* image, PointF32 point, float* result, int32_t mode);

/**
 * Reads the image along a poly-line in steps of equal arc length.
 *
 * With the length L of the path, N = trunc(L / spacing) + 1 samples are taken, and the last vertex itself as one more
 * where the fraction of L / spacing is at least one half. Steps run on from segment to segment. Lengths and positions
 * are 32-bit floats.
 *
 * Edges: a sample outside of the image leaves no entry; entries that no sample filled are 0.
 *
 * Where the samples of the second and later segments begin is counted up to the number of elements that @p values has
 * on entry (kept on purpose): hand over a vector of at least N elements, for instance by calling twice. A path of one
 * segment needs none.
 *
 * With an invalid value, pixels of that value are stepped around: mode 0 takes the nearest corner that is valid; mode 1
 * interpolates between four valid corners, linearly on the triangle of three of them where the point lies in it, else
 * as mode 0. In mode 0 exactly one half goes down then (kept on purpose). A NaN is never an invalid value.
 *
 * Reports: the first vertex outside of the region of interest ("samplepath: point(%f,%f) out of image ROI"), else a
 * spacing <= 0 ("samplepath_lines: sampleSpacing must be positive"), else another mode ("samplepath_lines:
 * interpolation mode not suppported"); then, whether or not one of these was reported, an invalid value for a colour
 * image
 * ("samplepath_lines: invalid value is not implemented for color images") or of another type than the image's
 * ("samplepath_lines: the provided invalid value type must match the image type"); then no memory, or no vertex
 * ("samplepath_lines: not enough memory"); then, with the outputs shaped and cleared, a type without kernel
 * ("samplepath_lines: image format not suppported"). A failure to shape an output returns the object library's value.
 *
 * Cost: two passes over the samples; two heap blocks of four bytes per segment.
 *
 * @param[in] image as for vlix_samplepath_point
 * @param[in] path vector of PointF32 in image coordinates, at least one vertex; its type is not tested
 * @param[in,out] values made an F32 vector of N elements, for colour 3 N, channels 2, 1, 0 of each sample; its count on
 *   entry matters, see above; null: validate only
 * @param[out] positions made a PointF32 vector of N elements, where each sample was taken; may be null
 * @param[out] numSamples N; may be null
 * @param[in] sampleSpacing distance of two samples in pixels, greater than 0
 * @param[in] mode 0 = nearest, 1 = bilinear
 * @param[in] invalidValue a VlixInvalidValue of the image's type, for monochrome images; may be null
 * @return 0, the status of the report, or what the object library returned
 */
VLIX_API VlixStatus vlix_samplepath_lines(const VlixImage* image, const VlixVector* path, VlixVector* values,
                                          VlixVector* positions, int32_t* numSamples, float sampleSpacing, int32_t mode,
                                          const VlixObj* invalidValue);

/**
 * Reads the image along one line: vlix_samplepath_lines with the path from @p start to @p end.
 *
 * @param[in] image as for vlix_samplepath_point
 * @param[in] start first vertex, in image coordinates
 * @param[in] end last vertex
 * @param[out] values made an F32 vector; null: validate only
 * @param[out] positions made a PointF32 vector; may be null
 * @param[out] numSamples number of samples; may be null
 * @param[in] sampleSpacing distance of two samples in pixels, greater than 0
 * @param[in] mode 0 = nearest, 1 = bilinear
 * @param[in] invalidValue as for vlix_samplepath_lines; may be null
 * @return as vlix_samplepath_lines
 */
VLIX_API VlixStatus vlix_samplepath_line(const VlixImage* image, PointF32 start, PointF32 end, VlixVector* values,
                                         VlixVector* positions, int32_t* numSamples, float sampleSpacing, int32_t mode,
                                         const VlixObj* invalidValue);

/**
 * Fits a straight line to float points, if asked after removing the worst points one by one.
 *
 * The line is -x sin(phi) + y cos(phi) = rho, with phi in (-90, 90] degrees: the regression of y on x where the points
 * spread at least as much in x as in y, else of x on y. With sums S over the n points in doubles, Cxy = Sxy - Sy Sx /
 * n, Cxx and Cyy likewise:
 *
 * | case | phi | rho |
 * | --- | --- | --- |
 * | Cxx >= Cyy | atan2(Cxy, Cxx) | (Sy - a Sx) / n cos(phi), a = Cxy / Cxx |
 * | Cxx < Cyy | -atan2(Cxy, Cyy) - 90 degrees | -(Sx - a Sy) / n sin(phi), a = Cxy / Cyy |
 * | Cxx >= Cyy, Cxx <= 1e-5 | 0 | y of the first point |
 * | Cxx < Cyy, Cyy <= 1e-4 | 90 degrees | x of the first point; the normal form has -x |
 *
 * Edges: the two limits are absolute, in pixels squared; points closer together than that have no direction of their
 * own.
 *
 * r = (count * discardPercent + 50) / 100 points are discarded, in 32-bit integers that wrap, none where that is
 * negative, and so few that two points stay. Each time the point with the largest distance to the line goes, the first
 * of equals, and the others are fitted again. Distances are 32-bit floats: the distance from the point to the foot of
 * its perpendicular, which lies at R cos(atan2(y, x) - phi) along the line, where R is the root of squares formed in
 * single precision.
 *
 * The mean distance is the running float sum of the kept points' distances in order, times 1000, divided by their
 * number (both in float), truncated toward zero, divided by 1000.
 *
 * Sums of squares of raw coordinates lose digits far from the origin; docs/numerics.md shows how many.
 *
 * Reports, the first that applies: type of @p points, type of @p pOutPoints where it has a buffer, no memory for the
 * temporary vector, fewer than two points ("linearRegression: vector of size %d specified"), then @p pOutPoints with a
 * buffer but without @p pOutPointsNum ("linearRegression: pOutPointsNum is NULL"; angle, rho and mean are already
 * written). Kept points that cannot be obtained are reported by the object library, whose value is returned.
 *
 * Cost: one pass over the points, another one for the mean distance. With points to discard a copy and, while there is
 * memory (about 33 bytes per point), some passes more and a small part of the points for each; without that memory, or
 * for coordinates beyond 1e18, a pass of trigonometry for each, with the same result.
 *
 * @param[in] points vector of PointF32, in pixels; it is not changed
 * @param[in] discardPercent percentage of points to discard, 0 = none, any value
 * @param[out] angle receives phi in degrees; null: not wanted
 * @param[out] rho receives rho; null: not wanted
 * @param[out] meanDist receives the mean distance of the kept points; null: not wanted
 * @param[out] pOutPoints made a PointF32 vector of the kept points in their order; may be null, may be @p points. With
 *   angle, rho and mean null as well, only the arguments are checked
 * @param[out] pOutPointsNum receives the number of kept points, if pOutPoints is given; may be null where pOutPoints
 *   has no buffer yet
 * @return 0, the status of the report, or what shaping @p pOutPoints returned
 */
VLIX_API VlixStatus vlix_linearRegressionFloat(const VlixVector* points, uint32_t discardPercent, float* angle,
                                               float* rho, float* meanDist, VlixVector* pOutPoints,
                                               int32_t* pOutPointsNum);

/**
 * Fits a straight line to integer points, see vlix_linearRegressionFloat.
 *
 * Coordinates become floats, exactly up to 2^24 in magnitude, and are truncated toward zero where kept points are
 * handed out (values that do not fit 32 bits any more become -2147483648). The report about a missing @p pOutPointsNum
 * reads "linearRegression: if pOutPoints is preallocated, pOutPointsNum should not be NULL".
 *
 * Cost: that of vlix_linearRegressionFloat.
 *
 * @param[in] points vector of PointI32, in pixels; it is not changed
 * @param[in] discardPercent as for vlix_linearRegressionFloat
 * @param[out] angle as for vlix_linearRegressionFloat
 * @param[out] rho as for vlix_linearRegressionFloat
 * @param[out] meanDist as for vlix_linearRegressionFloat
 * @param[out] pOutPoints made a PointI32 vector of the kept points in their order; may be null, may be @p points
 * @param[out] pOutPointsNum as for vlix_linearRegressionFloat
 * @return 0, the status of the report, or what shaping @p pOutPoints returned
 */
VLIX_API VlixStatus vlix_linearRegressionInt(const VlixVector* points, uint32_t discardPercent, float* angle,
                                             float* rho, float* meanDist, VlixVector* pOutPoints,
                                             int32_t* pOutPointsNum);

/**
 * Fits a circle to points in place, if asked after removing the worst points one by one.
 *
 * The algebraic least-squares circle (I. Kasa, 1976), in doubles: with the means x0, y0, u = x - x0, v = y - y0 and the
 * means S of products of u and v,
 *
 *     A = (Suuu + Suvv) / 2, B = (Svvv + Svuu) / 2, D = Suu Svv - Suv^2,
 *     uc = (A Svv - B Suv) / D, vc = (B Suu - A Suv) / D,
 *     centre = (uc + x0, vc + y0), diameter = 2 sqrt(uc^2 + vc^2 + Suu + Svv).
 *
 * The radial error of a point is | hypot(x - centre.x, y - centre.y) - diameter / 2 |: differences and half diameter of
 * floats are floats, the rest is double. r = (count * discardPercent + 50) / 100 points are discarded, in 32-bit
 * integers that wrap, none where that is negative, and so few that three points stay. Each time the point of the
 * largest error goes, the first of equals, and the others are fitted again. The kept points are moved to the front in
 * their order; what stands behind them afterwards is unspecified.
 *
 * The mean error is the running float sum of the errors in point order, times 1000, divided by the number of points
 * (both in float), truncated toward zero, divided by 1000.
 *
 * Results are those of sums taken in point order from scratch in every pass. Other orders and updated sums are used
 * only where a bound of their rounding proves that the floats are the same.
 *
 * Edges: coordinates that are not finite give results that are not numbers.
 *
 * Reports, the first that applies: fewer than three points ("circularRegression: vector of size %d specified"); in any
 * pass Suu, Svv or |D| below 1e-12, that is, collinear points or all in one place ("circularRegression: calculation
 * error"; centre and diameter are then those of the pass before, or untouched in the first pass).
 *
 * Cost: one pass over the points; another one for the mean error. Each discarded point costs a few hundred operations;
 * where the bound decides nothing (a short arc, a coordinate of the centre next to 0), two passes more. No heap.
 *
 * @param[in,out] points vector of PointF32, in pixels, not null; its type is not tested. Reordered where points are
 *   discarded
 * @param[in] discardPercent percentage of points to discard, 0 = none, any value
 * @param[out] diameter receives the diameter; null: not wanted
 * @param[out] centre receives the centre; null: not wanted
 * @param[out] meanDist receives the mean radial error of the kept points; null: not wanted
 * @param[out] keptCount receives the number of kept points; null: not wanted. With all four null only the number of
 *   points is checked
 * @return 0 or the status of the report
 */
VLIX_API VlixStatus vlix_circularRegression(VlixVector* points, uint32_t discardPercent, float* diameter,
                                            PointF32* centre, float* meanDist, int32_t* keptCount);

/**
 * Fits a circle to a copy of float points, see vlix_circularRegression.
 *
 * Reports, the first that applies: type of @p points, type of @p pOutPoints where it has a buffer, no memory for the
 * copy, then those of vlix_circularRegression, then @p pOutPoints with a buffer but without @p pOutPointsNum
 * ("circularRegression: pOutPointsNum is NULL"; diameter, centre and mean are already written). Kept points that cannot
 * be obtained are reported by the object library; the result is then 1.
 *
 * Cost: vlix_circularRegression and a copy of the points.
 *
 * @param[in] points vector of PointF32, in pixels; it is not changed
 * @param[in] discardPercent as for vlix_circularRegression
 * @param[out] diameter receives the diameter; null: not wanted
 * @param[out] centre receives the centre; null: not wanted
 * @param[out] meanDist receives the mean radial error of the kept points; null: not wanted
 * @param[out] pOutPoints made a PointF32 vector of the kept points in their order; may be null, may be @p points. With
 *   diameter, centre and mean null as well, only the arguments are checked
 * @param[out] pOutPointsNum receives the number of kept points, if pOutPoints is given; may be null where pOutPoints
 *   has no buffer yet
 * @return 0, the status of the report, or 1
 */
VLIX_API VlixStatus vlix_circularRegressionFloat(const VlixVector* points, uint32_t discardPercent, float* diameter,
                                                 PointF32* centre, float* meanDist, VlixVector* pOutPoints,
                                                 int32_t* pOutPointsNum);

/**
 * Fits a circle to integer points, see vlix_circularRegressionFloat.
 *
 * Coordinates become floats, exactly up to 2^24 in magnitude, and are truncated toward zero where kept points are
 * handed out (values that do not fit 32 bits any more become -2147483648).
 *
 * Cost: that of vlix_circularRegressionFloat.
 *
 * @param[in] points vector of PointI32, in pixels; it is not changed
 * @param[in] discardPercent as for vlix_circularRegression
 * @param[out] diameter as for vlix_circularRegressionFloat
 * @param[out] centre as for vlix_circularRegressionFloat
 * @param[out] meanDist as for vlix_circularRegressionFloat
 * @param[out] pOutPoints made a PointI32 vector of the kept points in their order; may be null, may be @p points
 * @param[out] pOutPointsNum as for vlix_circularRegressionFloat
 * @return 0, the status of the report, or 1
 */
VLIX_API VlixStatus vlix_circularRegressionInt(const VlixVector* points, uint32_t discardPercent, float* diameter,
                                               PointF32* centre, float* meanDist, VlixVector* pOutPoints,
                                               int32_t* pOutPointsNum);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
