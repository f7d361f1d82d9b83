// SPDX-License-Identifier: Apache-2.0
// Any call of any export, made out of bytes.
#include "trial.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  using namespace vlix::fuzz;
  constexpr void (*kFamilies[])(Bytes&, RecordingPlatform&) = {
      call_vector_family, call_histogram_family,  call_bins_family, call_stats_family,
      call_match_family,  call_projection_family, call_path_family, call_fit_family};
  Bytes bytes(data, size);
  RecordingPlatform platform;
  platform.level = bytes.integer(0, 2);
  kFamilies[bytes.integer(0, static_cast<int32_t>(std::size(kFamilies)) - 1)](bytes, platform);
  return 0;
}
