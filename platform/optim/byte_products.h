// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace vlix::optim {

// Whether kernels over dot products of four bytes (AVX-512 VNNI) may be used. Highway chooses, so that forcing another
// instruction set in tests reaches them, too.
bool has_byte_products();

// What such kernels are compiled for: Highway 1.0 has no operation for these products, and the options of its best
// instruction set lack them.
#define VLIX_BYTE_PRODUCTS "avx512f,avx512bw,avx512dq,avx512vl,avx512vnni,avx2,fma,bmi,bmi2"

}  // namespace vlix::optim
