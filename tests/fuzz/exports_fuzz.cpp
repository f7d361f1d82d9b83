// SPDX-License-Identifier: Apache-2.0
// Any calls of any exports, made out of bytes. Each call has a block of bytes of its own, behind a byte with its
// length.
#include <algorithm>

#include "trial.h"

namespace vlix::fuzz {
namespace {

constexpr int kMostCalls = 16;

void make_call(const uint8_t* data, std::size_t size) {
  constexpr void (*kFamilies[])(Bytes&, RecordingPlatform&) = {
      call_vector_family, call_histogram_family,  call_bins_family, call_stats_family,
      call_match_family,  call_projection_family, call_path_family, call_fit_family};
  Bytes bytes(data, size);
  RecordingPlatform platform;
  platform.level = bytes.integer(0, 2);
  kFamilies[bytes.integer(0, static_cast<int32_t>(std::size(kFamilies)) - 1)](bytes, platform);
}

}  // namespace
}  // namespace vlix::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  const uint8_t* const end = data + size;
  for (int calls = 0; data < end && calls < vlix::fuzz::kMostCalls; ++calls) {
    const std::size_t length = *data++;
    const std::size_t block = std::min(length, static_cast<std::size_t>(end - data));
    vlix::fuzz::make_call(data, block);
    data += block;
  }
  return 0;
}
