// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <malloc.h>
#include <sys/mman.h>
#include <sys/resource.h>

#include <fstream>
#include <limits>
#include <thread>

#include "platform/fourier/dft_twin.h"
#include "support/test_image.h"
#include "vlix/xform.h"

namespace vlix::test {
namespace {

using Complex = std::complex<float>;
constexpr long double kUnit = std::numeric_limits<float>::epsilon() / 2;

struct Size {
  int32_t width;
  int32_t height;
};

std::size_t points(const VlixImage& image) {
  return static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height);
}

std::vector<Complex> spectrum_of(const VlixImage& image) {
  const auto* first = static_cast<const Complex*>(image.data);
  return {first, first + points(image)};
}

TestImage<float> noise_image(Size size) {
  return TestImage<float>(size.width, size.height, Fill::kNoise,
                          static_cast<uint64_t>(size.width + 1000 * size.height));
}

std::vector<Wide> padded(TestImage<float>& image, Size grid) {
  std::vector<Wide> values(static_cast<std::size_t>(grid.width) * static_cast<std::size_t>(grid.height));
  for (int32_t y = 0; y < image.record.height; ++y) {
    for (int32_t x = 0; x < image.record.width; ++x) {
      values[static_cast<std::size_t>(y) * static_cast<std::size_t>(grid.width) + static_cast<std::size_t>(x)] =
          image.at(x, y);
    }
  }
  return values;
}

// A spectrum in guarded memory: the last element ends at a protected page.
struct TestSpectrum {
  explicit TestSpectrum(Size size, uint64_t seed = 5)
      : memory(static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height) * sizeof(Complex)),
        record{ObjType_ComplexF32, memory.data(), size.width, size.height, 0, 0, size.width, size.height} {
    if (seed == 0) return;  // all zero
    std::mt19937_64 random(seed);
    std::uniform_real_distribution<float> uniform(-1, 1);
    for (std::size_t i = 0; i < points(record); ++i) data()[i] = {uniform(random), uniform(random)};
  }
  Complex* data() const { return static_cast<Complex*>(memory.data()); }
  GuardedMemory memory;
  VlixImage record;
};

constexpr Size kSizes[] = {{1, 1}, {1, 7}, {7, 1}, {5, 3}, {16, 16}, {17, 19}, {31, 33}, {48, 20}, {65, 12}, {100, 41}};

TEST(FftForward, MeetsTheDefinitionOnTheGridItChose) {
  for (const Size size : kSizes) {
    TestImage<float> image = noise_image(size);
    OutputImage out;
    ASSERT_EQ(vlix_fft(&image.record, &out.record, 0, 0, 0), 0);
    const Size grid = {out.record.width, out.record.height};
    ASSERT_EQ(out.record.type, ObjType_ComplexF32);
    ASSERT_GE(grid.width, size.width);
    ASSERT_GE(grid.height, size.height);
    const std::vector<Wide> expected =
        dft_2d(padded(image, grid), points(out.record) / static_cast<std::size_t>(grid.height),
               static_cast<std::size_t>(grid.height), -1);
    const std::vector<Complex> found = spectrum_of(out.record);
    // Two neighbouring columns share a transform and are told apart by a difference: twice the roundings.
    const long double tolerance = 2 * transform_tolerance(kUnit, expected.size()) * rms(expected);
    for (std::size_t i = 0; i < expected.size(); ++i) {
      ASSERT_LE(std::abs(Wide(found[i]) - expected[i]), tolerance) << size.width << "x" << size.height << " at " << i;
    }
  }
}

TEST(FftForward, OppositeFrequenciesAreExactConjugates) {
  TestImage<float> image = noise_image({37, 29});
  OutputImage out;
  ASSERT_EQ(vlix_fft(&image.record, &out.record, 0, 0, 0), 0);
  const std::vector<Complex> spectrum = spectrum_of(out.record);
  const int32_t width = out.record.width;
  const int32_t height = out.record.height;
  for (int32_t y = 1; y < height; ++y) {
    if (2 * y == height) continue;
    for (int32_t x = 0; x < width; ++x) {
      const Complex here = spectrum[static_cast<std::size_t>(y * width + x)];
      const Complex opposite = spectrum[static_cast<std::size_t>((height - y) * width + (width - x) % width)];
      ASSERT_EQ(here, std::conj(opposite));
    }
  }
}

// Columns and rows of zeros are passed over: one bright pixel anywhere must still be seen.
TEST(FftForward, ASinglePixelGivesAPlaneWaveOfItsPosition) {
  for (const Size at : {Size{0, 0}, Size{15, 3}, Size{16, 0}, Size{33, 39}, Size{49, 20}}) {
    TestImage<float> image(50, 40);
    image.at(at.width, at.height) = 2.0F;
    OutputImage out;
    ASSERT_EQ(vlix_fft(&image.record, &out.record, 0, 0, 0), 0);
    const std::vector<Complex> spectrum = spectrum_of(out.record);
    for (int32_t y = 0; y < out.record.height; ++y) {
      for (int32_t x = 0; x < out.record.width; ++x) {
        const long double turns = static_cast<long double>(x) * at.width / out.record.width +
                                  static_cast<long double>(y) * at.height / out.record.height;
        const Wide expected = std::polar(2.0L, -2 * std::numbers::pi_v<long double> * turns);
        const Wide found(spectrum[static_cast<std::size_t>(y) * static_cast<std::size_t>(out.record.width) +
                                  static_cast<std::size_t>(x)]);
        ASSERT_LE(std::abs(found - expected), 2e-6L) << x << "," << y;
      }
    }
  }
}

TEST(FftForward, TakesTheWholeImageAndNotItsRegion) {
  TestImage<float> image = noise_image({40, 30});
  OutputImage whole;
  ASSERT_EQ(vlix_fft(&image.record, &whole.record, 0, 0, 0), 0);
  image.set_roi(3, 4, 5, 6);
  OutputImage out;
  ASSERT_EQ(vlix_fft(&image.record, &out.record, 0, 0, 0), 0);
  EXPECT_EQ(spectrum_of(out.record), spectrum_of(whole.record));
}

TEST(FftForward, NegativeZerosAndDenormalsAreNotMistakenForNothing) {
  TestImage<float> image(20, 4);
  image.at(18, 2) = std::numeric_limits<float>::denorm_min();
  OutputImage out;
  ASSERT_EQ(vlix_fft(&image.record, &out.record, 0, 0, 0), 0);
  EXPECT_EQ(spectrum_of(out.record)[0], Complex(std::numeric_limits<float>::denorm_min()));
}

TEST(FftInverse, IsTheRealPartOfTheInverseOfAnySpectrum) {
  const Size grids[] = {{1, 1}, {1, 5},   {5, 1},   {2, 2},   {3, 4},   {4, 3},
                        {7, 5}, {16, 16}, {17, 13}, {18, 31}, {33, 20}, {64, 48}};
  for (const Size grid : grids) {
    const TestSpectrum spectrum(grid);
    OutputImage out;
    ASSERT_EQ(vlix_fft(&spectrum.record, &out.record, 1, 0, 1), 0);
    ASSERT_EQ(out.record.type, ObjType_F32);
    ASSERT_EQ(out.record.width, grid.width);
    ASSERT_EQ(out.record.height, grid.height);
    const std::size_t count = points(out.record);
    const std::vector<Wide> expected =
        dft_2d({spectrum.data(), spectrum.data() + count}, static_cast<std::size_t>(grid.width),
               static_cast<std::size_t>(grid.height), 1);
    const long double tolerance =
        2 * transform_tolerance(kUnit, count) * rms(expected) / static_cast<long double>(count);
    for (int32_t y = 0; y < grid.height; ++y) {
      for (int32_t x = 0; x < grid.width; ++x) {
        const Wide value = expected[static_cast<std::size_t>(y * grid.width + x)] / static_cast<long double>(count);
        ASSERT_NEAR(out.at<float>(x, y), static_cast<double>(value.real()), static_cast<double>(tolerance));
      }
    }
  }
}

TEST(FftInverse, ASpectrumWithoutARealPartInSpaceGivesNothing) {
  // i times a Hermitian spectrum is the transform of an imaginary image.
  TestImage<float> image = noise_image({30, 22});
  OutputImage spectrum;
  ASSERT_EQ(vlix_fft(&image.record, &spectrum.record, 0, 0, 0), 0);
  auto* values = static_cast<Complex*>(spectrum.record.data);
  for (std::size_t i = 0; i < points(spectrum.record); ++i) values[i] *= Complex(0, 1);
  OutputImage out;
  ASSERT_EQ(vlix_fft(&spectrum.record, &out.record, 1, 0, 1), 0);
  for (int32_t y = 0; y < out.record.height; ++y) {
    for (int32_t x = 0; x < out.record.width; ++x) ASSERT_NEAR(out.at<float>(x, y), 0.0, 2e-3);  // image values: 1000
  }
}

TEST(Fft, ForwardAndInverseUndoEachOther) {
  for (const Size size : {Size{1, 1}, Size{3, 50}, Size{64, 64}, Size{129, 77}, Size{300, 211}}) {
    TestImage<float> image = noise_image(size);
    OutputImage spectrum;
    OutputImage back;
    ASSERT_EQ(vlix_fft(&image.record, &spectrum.record, 0, 0, 0), 0);
    ASSERT_EQ(vlix_fft(&spectrum.record, &back.record, 1, 0, 1), 0);
    const double tolerance = static_cast<double>(4 * transform_tolerance(kUnit, points(spectrum.record))) * 1000.0;
    for (int32_t y = 0; y < back.record.height; ++y) {
      for (int32_t x = 0; x < back.record.width; ++x) {
        const bool inside = x < size.width && y < size.height;
        ASSERT_NEAR(back.at<float>(x, y), inside ? image.at(x, y) : 0.0F, tolerance)
            << size.width << "x" << size.height;
      }
    }
  }
}

void expect_refused(const VlixImage* from, int32_t direction, int32_t reserved, int32_t real_output, const char* what) {
  VlixImage to = {ObjType_U8, nullptr, 1, 2, 3, 4, 5, 6};
  EXPECT_NE(vlix_fft(from, &to, direction, reserved, real_output), 0) << what;
  EXPECT_EQ(to.type, 0U) << what;
  EXPECT_EQ(to.data, nullptr) << what;
  EXPECT_EQ(to.width, 0) << what;
  EXPECT_EQ(to.roiHeight, 0) << what;
}

TEST(FftFailure, WhatIsNotInTheContractIsRefusedAndEmptiesTheResult) {
  TestImage<float> image(4, 4);
  TestImage<uint8_t> bytes(4, 4);
  const TestSpectrum spectrum({4, 4});
  VlixImage no_data = image.record;
  no_data.data = nullptr;
  VlixImage no_width = image.record;
  no_width.width = 0;
  VlixImage negative = image.record;
  negative.height = -4;
  VlixImage no_spectrum = spectrum.record;
  no_spectrum.data = nullptr;
  expect_refused(nullptr, 0, 0, 0, "null source");
  expect_refused(&bytes.record, 0, 0, 0, "wrong type forward");
  expect_refused(&spectrum.record, 0, 0, 0, "spectrum forward");
  expect_refused(&image.record, 1, 0, 1, "image inverse");
  expect_refused(&image.record, 2, 0, 0, "unknown direction");
  expect_refused(&image.record, -1, 0, 0, "negative direction");
  expect_refused(&image.record, 0, 1, 0, "fourth argument");
  expect_refused(&image.record, 0, 0, 1, "fifth argument forward");
  expect_refused(&spectrum.record, 1, 0, 0, "fifth argument inverse");
  expect_refused(&no_data, 0, 0, 0, "no data");
  expect_refused(&no_width, 0, 0, 0, "no width");
  expect_refused(&negative, 0, 0, 0, "negative height");
  expect_refused(&no_spectrum, 1, 0, 1, "no spectrum data");
}

TEST(FftFailure, ANullOrSharedResultRecordIsRefused) {
  TestImage<float> image(4, 4);
  EXPECT_NE(vlix_fft(&image.record, nullptr, 0, 0, 0), 0);
  EXPECT_NE(vlix_fft(&image.record, &image.record, 0, 0, 0), 0);
  EXPECT_EQ(image.record.data, image.data());
}

TEST(FftFailure, AnImpossibleGridIsRefusedBeforeAPixelIsRead) {
  TestImage<float> image(1, 1);
  for (const Size size : {Size{std::numeric_limits<int32_t>::max(), 1}, Size{1, std::numeric_limits<int32_t>::max()},
                          Size{1 << 25, 1 << 25}, Size{1 << 26, 1}}) {
    VlixImage huge = image.record;
    huge.width = size.width;
    huge.height = size.height;
    expect_refused(&huge, 0, 0, 0, "impossible grid");
  }
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
int64_t address_space_in_use() {
  int64_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages;
  return pages * sysconf(_SC_PAGESIZE);
}

// Emulators give their guests what they ask for.
bool memory_can_be_limited(const rlimit& usual) {
  rlimit tight = usual;
  tight.rlim_cur = static_cast<rlim_t>(address_space_in_use() + (1 << 20));
  setrlimit(RLIMIT_AS, &tight);
  constexpr std::size_t kMuch = std::size_t{256} << 20;
  void* much = mmap(nullptr, kMuch, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  setrlimit(RLIMIT_AS, &usual);
  if (much == MAP_FAILED) return true;
  munmap(much, kMuch);
  return false;
}

int64_t heap_in_use() {
  const struct mallinfo2 heap = mallinfo2();
  return static_cast<int64_t>(heap.uordblks + heap.hblkhd);
}

// Runs out of memory at every request in turn: the result, then the work memory. All of it is too large for the pools
// of released memory.
TEST(FftFailure, RunningOutOfMemoryIsRefusedAndLeaksNothing) {
  TestImage<float> image(2500, 2500, Fill::kConstant, 1);
  const TestSpectrum spectrum({4096, 2112}, 0);
  {
    OutputImage warm;
    OutputImage up;
    ASSERT_EQ(vlix_fft(&image.record, &warm.record, 0, 0, 0), 0);
    ASSERT_EQ(vlix_fft(&spectrum.record, &up.record, 1, 0, 1), 0);
  }
  rlimit before = {};
  ASSERT_EQ(getrlimit(RLIMIT_AS, &before), 0);
  if (!memory_can_be_limited(before)) GTEST_SKIP() << "the system does not keep to the limit";
  int refused = 0;
  const int64_t in_use = address_space_in_use();
  const int64_t heap_before = heap_in_use();
  for (const int64_t spare : {1 << 20, 20 << 20, 40 << 20, 60 << 20}) {
    rlimit tight = before;
    tight.rlim_cur = static_cast<rlim_t>(in_use + spare);
    ASSERT_EQ(setrlimit(RLIMIT_AS, &tight), 0);
    VlixImage to = {};
    const int32_t forward = vlix_fft(&image.record, &to, 0, 0, 0);
    EXPECT_EQ(forward == 0, to.data != nullptr);
    VlixImageRelease(&to, 1);
    const int32_t inverse = vlix_fft(&spectrum.record, &to, 1, 0, 1);
    EXPECT_EQ(inverse == 0, to.data != nullptr);
    VlixImageRelease(&to, 1);
    ASSERT_EQ(setrlimit(RLIMIT_AS, &before), 0);
    refused += (forward != 0) + (inverse != 0);
  }
  EXPECT_GE(refused, 7);
  EXPECT_LT(heap_in_use() - heap_before, 1 << 20);
}
#endif

TEST(FftThreads, ManyThreadsAndSizesAtOnceGiveTheSameBits) {
  std::vector<Size> sizes;
  for (int32_t i = 0; i < 24; ++i) sizes.push_back({1 + i * 7, 1 + (i * 13) % 60});
  std::vector<std::vector<Complex>> expected;
  for (const Size size : sizes) {
    TestImage<float> image = noise_image(size);
    OutputImage out;
    ASSERT_EQ(vlix_fft(&image.record, &out.record, 0, 0, 0), 0);
    expected.push_back(spectrum_of(out.record));
  }
  std::vector<int> wrong(6, 0);
  std::vector<std::thread> threads;
  for (std::size_t t = 0; t < wrong.size(); ++t) {
    threads.emplace_back([t, &wrong, &sizes, &expected] {
      for (std::size_t i = 0; i < sizes.size(); ++i) {
        const std::size_t which = (i * 5 + t * 7) % sizes.size();
        TestImage<float> image = noise_image(sizes[which]);
        OutputImage out;
        const bool done = vlix_fft(&image.record, &out.record, 0, 0, 0) == 0;
        wrong[t] += !done || spectrum_of(out.record) != expected[which];
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_THAT(wrong, ::testing::Each(0));
}

}  // namespace
}  // namespace vlix::test
