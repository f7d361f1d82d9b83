// SPDX-License-Identifier: Apache-2.0
// Any call of any export, made out of bytes.
#include "bytes.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  using namespace vlix::fuzz;
  constexpr void (*kFamilies[])(Bytes&, RecordingPlatform&) = {call_vector_family, call_histogram_family};
  Bytes bytes(data, size);
  RecordingPlatform platform;
  platform.level = bytes.integer(0, 2);
  const auto family = static_cast<std::size_t>(bytes.integer(0, static_cast<int32_t>(std::size(kFamilies)) - 1));
  kFamilies[family](bytes, platform);
  return 0;
}
