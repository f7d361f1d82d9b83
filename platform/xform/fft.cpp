// SPDX-License-Identifier: Apache-2.0
#include "vlix/xform.h"

int32_t vlix_fft(const VlixImage* /*from*/, VlixImage* to, int32_t /*direction*/, int32_t /*reserved*/,
                 int32_t /*realOutput*/) {
  if (to != nullptr) *to = {};
  return -1;
}
