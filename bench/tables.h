// SPDX-License-Identifier: Apache-2.0
// Tables about all operations at once.
#pragma once

namespace vlix::bench {

// Time per call on an image of one pixel (or the smallest input that an operation takes): what a call costs beyond its
// kernel; and on 16 x 16.
void print_call_overheads();

// Time per pixel from 512 to 8192 square, and the peak memory of a call at the largest size.
void print_growth(bool quick);

}  // namespace vlix::bench
