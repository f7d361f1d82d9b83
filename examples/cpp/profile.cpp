// SPDX-License-Identifier: Apache-2.0
// Samples a profile across an edge and finds the edge at half height.
#include <cstdio>
#include <vector>

#include "vlix/meas.h"
#include "vlix/object.h"

int main() {
  constexpr int32_t kWidth = 32;
  constexpr int32_t kHeight = 8;
  std::vector<float> pixels(kWidth * kHeight);
  for (int32_t i = 0; i < kWidth * kHeight; ++i) {
    // Dark up to column 15, a quarter of the way at column 16, bright from column 17 on.
    const int32_t x = i % kWidth;
    pixels[static_cast<std::size_t>(i)] = x < 16 ? 20.0f : x == 16 ? 65.0f : 200.0f;
  }
  VlixImage image = {};
  if (VlixImageWrap(&image, ObjType_F32, pixels.data(), kWidth, kHeight) != 0) return 1;

  VlixVector values = {};
  int32_t samples = 0;
  const PointF32 from = {0.0f, 3.5f};
  const PointF32 to = {31.0f, 3.5f};
  constexpr float kSpacing = 0.25f;
  constexpr int32_t kBilinear = 1;
  if (vlix_samplepath_line(&image, from, to, &values, nullptr, &samples, kSpacing, kBilinear, nullptr) != 0) return 1;

  const float* profile = static_cast<const float*>(values.data);
  constexpr float kHalf = 110.0f;
  for (int32_t i = 1; i < samples; ++i) {
    if (profile[i - 1] < kHalf && profile[i] >= kHalf) {
      const float fraction = (kHalf - profile[i - 1]) / (profile[i] - profile[i - 1]);
      std::printf("edge at column %.3f\n", kSpacing * (static_cast<float>(i - 1) + fraction));
    }
  }
  VlixVectorRelease(&values, 0);
  VlixImageRelease(&image, 0);
}
