// SPDX-License-Identifier: Apache-2.0
// The kernels for bytes, one by one: on a machine with the widest vectors the others would never run.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "match/scores.h"
#include "match/sod_twin.h"
#include "match/sod_u8.h"
#include "support/test_image.h"

#if defined(__x86_64__)

namespace vlix::test {
namespace {

struct Kernel {
  const char* name;
  ByteKernel run;
  bool supported;
  int32_t block;  // narrowest score image that it takes
};

std::vector<Kernel> kernels() {
  return {{"SSE2", sod_u8_sse2, true, 16},
          {"AVX2", sod_u8_avx2, __builtin_cpu_supports("avx2") != 0, 16},
          {"AVX512", sod_u8_avx512, __builtin_cpu_supports("avx512bw") != 0, 1}};
}

// Pixels right of the template that a kernel may need besides the template's own.
int32_t out_of_reach(const Kernel& kernel, int32_t width) { return kernel.block > 1 ? std::max(0, 8 - width) : 0; }

constexpr uint16_t kUntouched = 0xABCD;

void expect_twin(const Kernel& kernel, int32_t width, int32_t height, int32_t columns, int32_t rows, Fill fill,
                 Fill template_fill, uint64_t seed) {
  FramedImage<uint8_t> target(columns + width - 1, rows + height - 1, {static_cast<int32_t>(seed % 3), 1, 0, 0}, fill,
                              seed);
  FramedImage<uint8_t> templ(width, height, {1, 0, 0, 0}, template_fill, seed + 1);
  TestImage<uint16_t> scores(columns, rows);
  scores.assign(std::vector<uint16_t>(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows), kUntouched));
  const int32_t done = kernel.run({&target.roi_at(0, 0), target.record.width, &templ.roi_at(0, 0), templ.record.width,
                                   width, height, scores.data(), columns, columns, rows});
  const int32_t reachable = columns - out_of_reach(kernel, width);
  ASSERT_EQ(done, reachable >= kernel.block ? reachable : 0) << kernel.name << " " << width << " " << columns;
  const std::vector<uint16_t> expected = sod_twin(target, templ);
  for (int32_t y = 0; y < rows; ++y) {
    for (int32_t x = 0; x < columns; ++x) {
      const uint16_t wanted = x < done ? expected[static_cast<std::size_t>(y * columns + x)] : kUntouched;
      ASSERT_EQ(scores.at(x, y), wanted) << kernel.name << " " << width << "x" << height << " over " << columns << "x"
                                         << rows << " at " << x << " " << y << " seed " << seed;
    }
  }
}

TEST(SodKernels, EveryTemplateWidthAndScoreWidth) {
  for (const Kernel& kernel : kernels()) {
    if (!kernel.supported) continue;
    uint64_t seed = 1;
    for (int32_t width = 1; width <= 35; ++width) {
      for (int32_t columns = 1; columns <= 147; columns += columns < 80 ? 1 : 3) {
        expect_twin(kernel, width, 1 + static_cast<int32_t>(seed % 7), columns, 1 + static_cast<int32_t>(seed % 9),
                    Fill::kNoise, Fill::kNoise, seed);
        ++seed;
      }
    }
  }
}

TEST(SodKernels, ExtremesSaturateInEveryLane) {
  for (const Kernel& kernel : kernels()) {
    if (!kernel.supported) continue;
    uint64_t seed = 1;
    for (Fill fill : kFills) {
      for (Fill template_fill : kFills) {
        for (const auto& [width, height] :
             {std::pair<int32_t, int32_t>{16, 16}, {17, 16}, {257, 1}, {1, 257}, {3, 90}, {255, 3}, {66, 40}}) {
          expect_twin(kernel, width, height, 130, 3, fill, template_fill, seed++);
        }
      }
    }
  }
}

}  // namespace
}  // namespace vlix::test

#endif
