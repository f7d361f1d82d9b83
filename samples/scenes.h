// SPDX-License-Identifier: Apache-2.0
// The sample images and what is true of them.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace samples {

enum class Pixels { kU8, kU16, kF32, kRgb8 };

struct Sample {
  std::string file;
  int32_t width;
  int32_t height;
  Pixels pixels;
  std::vector<int64_t> values;  // row by row, channels interleaved; those of floats in `unit`ths
  int64_t unit;
  nlohmann::ordered_json truth;
};

std::vector<Sample> all_samples();

}  // namespace samples
