// SPDX-License-Identifier: Apache-2.0
// What the peers share. Cases that need a peer compile their peer closure only where it is installed
// (VLIX_BENCH_OPENCV, VLIX_BENCH_FFTW).
#pragma once

#if VLIX_BENCH_OPENCV
#include <opencv2/core.hpp>

#include "vlix/types.h"
#endif

namespace vlix::bench {

inline void use_one_peer_thread() {
#if VLIX_BENCH_OPENCV
  cv::setNumThreads(1);
#endif
}

#if VLIX_BENCH_OPENCV
// A view of the whole image.
inline cv::Mat mat_of(const VlixImage& image, int cv_type) {
  return cv::Mat(image.height, image.width, cv_type, image.data);
}
#endif

}  // namespace vlix::bench
