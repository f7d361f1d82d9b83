// SPDX-License-Identifier: Apache-2.0
// Hot loops are compiled in several versions; the loader picks one for the processor.
#pragma once

// The thread sanitizer is not ready when the loader asks for a version, and clang 14 does not clone templates.
#if defined(__GNUC__) && !defined(__clang__) && !defined(__SANITIZE_THREAD__) && defined(__x86_64__)
#define VLIX_UTIL_MULTIVERSION __attribute__((target_clones("arch=x86-64-v4", "arch=x86-64-v3", "default")))
#else
#define VLIX_UTIL_MULTIVERSION
#endif

// For the pieces of a multi-version loop: they must become part of each version.
#define VLIX_UTIL_INLINE inline __attribute__((always_inline))
