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
 * @param from forward: a real F32 image; inverse: a full complex spectrum (#ObjType_ComplexF32)
 * @param to an empty record; receives the result. Forward: a spectrum on a grid of at least the image's size, the
 *   image continued by zeros. Inverse: the real part of the exact inverse, F32, on the spectrum's grid.
 * @param direction 0 = forward, 1 = inverse
 * @param reserved 0
 * @param realOutput 0 for the forward transform, 1 for the inverse
 * @return 0 on success; non-zero, with @p to emptied, on failure; nothing is reported
 */
VLIX_API int32_t vlix_fft(const VlixImage* from, VlixImage* to, int32_t direction, int32_t reserved,
                          int32_t realOutput);

#ifdef __cplusplus
}
#endif

#endif
