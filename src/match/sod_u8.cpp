// SPDX-License-Identifier: Apache-2.0
#include "match/sod_u8.h"

namespace vlix {

ByteKernel byte_kernel() {
#if defined(__x86_64__)
  if (__builtin_cpu_supports("avx512bw")) return sod_u8_avx512;
  if (__builtin_cpu_supports("avx2")) return sod_u8_avx2;
  return sod_u8_sse2;
#else
  return nullptr;
#endif
}

}  // namespace vlix
