/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file
 * Transform library: two-dimensional Fourier transform.
 */
#ifndef VLIX_XFORM_H
#define VLIX_XFORM_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Forward or inverse Fourier transform of a whole image. The inverse undoes the forward transform.
 *
 * With a grid of W x H points and i the imaginary unit
 *
 *     forward: S(k, l) = sum over x, y of f(x, y) exp(-2 pi i (k x / W + l y / H))
 *     inverse: f(x, y) = Re(sum over k, l of S(k, l) exp(2 pi i (k x / W + l y / H))) / (W H)
 *
 * A null record, an input without pixels or of another type, and other values of the last three arguments are refused.
 * Nothing is reported.
 *
 * Cost: W H log(W H) operations; the result, and a few columns or rows of the grid beside it. Plans of the lengths used
 * last are kept for later calls of all threads.
 *
 * @param[in] from forward: a real F32 image; inverse: a full complex spectrum (#ObjType_ComplexF32)
 * @param[out] to an empty record; receives the result. Forward: a spectrum on a grid of at least the image's size, the
 *   image continued by zeros. Inverse: the real part of the exact inverse, F32, on the spectrum's grid.
 * @param[in] direction 0 = forward, 1 = inverse
 * @param[in] reserved 0
 * @param[in] realOutput 0 for the forward transform, 1 for the inverse
 * @return 0 on success; non-zero, with @p to emptied, on failure; nothing is reported
 */
VLIX_API int32_t vlix_fft(const VlixImage* from, VlixImage* to, int32_t direction, int32_t reserved,
                          int32_t realOutput);

#ifdef __cplusplus
}
#endif

#endif
