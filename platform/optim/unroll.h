// SPDX-License-Identifier: Apache-2.0
#pragma once

// In front of short loops of fixed length over registers: an array of registers must lose its indices.
#if defined(__clang__)
#define VLIX_UNROLL _Pragma("clang loop unroll(full)")
#else
#define VLIX_UNROLL _Pragma("GCC unroll 8")
#endif
