// SPDX-License-Identifier: Apache-2.0
// Three copies of the adapter in one process (the primitives, the transform library, this program), all of them
// planning at once: the back end's planner is one per process.
#include <gmock/gmock.h>

#include <random>
#include <thread>
#include <vector>

#include "fourier/transform.h"
#include "memory/aligned_array.h"
#include "support/test_image.h"
#include "vlix/optim.h"
#include "vlix/xform.h"

namespace vlix::test {
namespace {

constexpr int kSizes = 12;

std::vector<float> bits_of(const VlixImage& image, std::size_t floats_per_pixel) {
  const auto* first = static_cast<const float*>(image.data);
  return {first,
          first + static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height) * floats_per_pixel};
}

std::vector<float> spectrum(int size) {
  TestImage<float> image(20 + 31 * size, 30 + 17 * size, Fill::kNoise, 1);
  OutputImage out;
  if (vlix_fft(&image.record, &out.record, 0, 0, 0) != 0) return {};
  return bits_of(out.record, 2);
}

// Templates so large that the products come from transforms, of a size of their own each.
std::vector<float> scores(int size) {
  const int32_t side = 150 + 40 * size;
  const int32_t tpl_side = 100 + 20 * size;
  TestImage<uint8_t> image(side, side, Fill::kNoise, 2);
  TestImage<uint8_t> tpl(tpl_side, tpl_side, Fill::kNoise, 3);
  const int32_t width = side - tpl_side + 1;
  std::vector<float> out(static_cast<std::size_t>(width) * static_cast<std::size_t>(width));
  if (vlix_ippiCrossCorrValid_NormLevel_8u32f_C1R(image.data(), side, {side, side}, tpl.data(), tpl_side,
                                                  {tpl_side, tpl_side}, out.data(), 4 * width) != 0) {
    return {};
  }
  return out;
}

std::vector<float> transform(int size) {
  const int32_t length = 50 + 7 * size;
  const auto count = static_cast<std::size_t>(length);
  const auto in = memory::aligned_array<std::complex<double>>(count);
  const auto out = memory::aligned_array<std::complex<double>>(count);
  for (std::size_t i = 0; i < count; ++i) in[i] = {static_cast<double>(i % 7), static_cast<double>(i % 5)};
  fourier::Transform<double>::of(length)->forward(in.get(), out.get());
  std::vector<float> bits;
  for (std::size_t i = 0; i < count; ++i) bits.push_back(static_cast<float>(out[i].real()));
  return bits;
}

TEST(Planning, AllCopiesOfTheAdapterPlanAtOnce) {
  const auto job = [](int kind, int size) {
    return kind == 0 ? spectrum(size) : kind == 1 ? scores(size) : transform(size);
  };
  std::vector<std::vector<std::vector<float>>> found(6, std::vector<std::vector<float>>(3 * kSizes));
  std::vector<std::thread> threads;
  for (std::size_t t = 0; t < found.size(); ++t) {
    threads.emplace_back([t, &found, &job] {
      // Every thread in an order of its own, all three kinds mixed.
      for (int i = 0; i < 3 * kSizes; ++i) {
        const int which = (i * 7 + static_cast<int>(t) * 11) % (3 * kSizes);
        found[t][static_cast<std::size_t>(which)] = job(which % 3, which / 3);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (int which = 0; which < 3 * kSizes; ++which) {
    const std::vector<float> alone = job(which % 3, which / 3);
    ASSERT_FALSE(alone.empty());
    for (const auto& of_thread : found) ASSERT_EQ(of_thread[static_cast<std::size_t>(which)], alone) << which;
  }
}

}  // namespace
}  // namespace vlix::test
