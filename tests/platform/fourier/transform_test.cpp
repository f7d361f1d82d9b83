// SPDX-License-Identifier: Apache-2.0
#include "fourier/transform.h"

#include <gmock/gmock.h>

#include <limits>
#include <random>
#include <thread>
#include <vector>

#include "memory/aligned_array.h"
#include "platform/fourier/dft_twin.h"

namespace vlix::test {
namespace {

using fourier::fast_length;
using memory::aligned_array;
using memory::AlignedArray;

template <class Real>
class TransformOf : public ::testing::Test {
 public:
  using Complex = std::complex<Real>;
  using Transform = fourier::Transform<Real>;
  static constexpr long double kUnit = std::numeric_limits<Real>::epsilon() / 2;

  static AlignedArray<Complex> noise(int32_t length, uint64_t seed) {
    std::mt19937_64 random(seed);
    std::uniform_real_distribution<Real> uniform(-1, 1);
    auto values = aligned_array<Complex>(static_cast<std::size_t>(length));
    for (int32_t i = 0; i < length; ++i) values[static_cast<std::size_t>(i)] = {uniform(random), uniform(random)};
    return values;
  }
  static std::vector<Complex> run(int32_t length, bool forward, uint64_t seed) {
    const auto in = noise(length, seed);
    const auto out = aligned_array<Complex>(static_cast<std::size_t>(length));
    const auto transform = Transform::of(length);
    if (forward) {
      transform->forward(in.get(), out.get());
    } else {
      transform->inverse(in.get(), out.get());
    }
    return {out.get(), out.get() + length};
  }
};

using Reals = ::testing::Types<float, double>;
TYPED_TEST_SUITE(TransformOf, Reals);

TYPED_TEST(TransformOf, AnyLengthMeetsTheDefinitionInBothDirections) {
  for (const int32_t length :
       {1, 2, 3, 4, 5, 6, 7, 8, 9, 11, 13, 16, 17, 24, 31, 40, 49, 64, 80, 96, 97, 127, 128, 210, 256, 640, 1024}) {
    for (const bool forward : {true, false}) {
      const auto in = TestFixture::noise(length, 1);
      const std::vector<Wide> expected = dft({in.get(), in.get() + length}, forward ? -1 : 1);
      const auto out = TestFixture::run(length, forward, 1);
      const long double tolerance = transform_tolerance(TestFixture::kUnit, expected.size()) * rms(expected);
      for (std::size_t k = 0; k < expected.size(); ++k) {
        ASSERT_LE(std::abs(Wide(out[k]) - expected[k]), tolerance) << "length " << length << ", k " << k;
      }
    }
  }
}

TYPED_TEST(TransformOf, ThereIsNoTransformOfNothing) {
  EXPECT_EQ(TestFixture::Transform::of(0), nullptr);
  EXPECT_EQ(TestFixture::Transform::of(-5), nullptr);
}

// More lengths than are kept, asked for again in turn: a plan made anew must be the plan it was.
TYPED_TEST(TransformOf, ALengthForgottenAndMadeAgainGivesTheSameBits) {
  const auto first = TestFixture::run(320, true, 7);
  for (int32_t length = 1; length < 120; ++length) TestFixture::run(length, true, 7);
  EXPECT_EQ(TestFixture::run(320, true, 7), first);
}

TYPED_TEST(TransformOf, ATransformInUseOutlivesItsPlaceInTheCache) {
  const auto held = TestFixture::Transform::of(320);
  for (int32_t length = 1; length < 120; ++length) TestFixture::run(length, true, 7);
  const auto in = TestFixture::noise(320, 7);
  const auto out = aligned_array<typename TestFixture::Complex>(320);
  held->forward(in.get(), out.get());
  EXPECT_EQ(std::vector(out.get(), out.get() + 320), TestFixture::run(320, true, 7));
}

// Planning is where the back end keeps state for the whole process.
TYPED_TEST(TransformOf, ThreadsThatPlanAtOnceGetTheSameBits) {
  constexpr int32_t kLengths = 90;
  std::vector<std::vector<typename TestFixture::Complex>> expected;
  for (int32_t length = 1; length <= kLengths; ++length) expected.push_back(TestFixture::run(length, true, 3));
  std::vector<std::thread> threads;
  std::vector<int> wrong(6, 0);
  for (int t = 0; t < 6; ++t) {
    threads.emplace_back([t, &wrong, &expected] {
      std::mt19937 random(static_cast<unsigned>(t));
      for (int i = 0; i < 200; ++i) {
        const auto length = static_cast<int32_t>(1 + random() % kLengths);
        const auto out = TestFixture::run(length, true, 3);
        wrong[static_cast<std::size_t>(t)] += out != expected[static_cast<std::size_t>(length - 1)];
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_THAT(wrong, ::testing::Each(0));
}

bool is_four_five_six_times_power_of_two(int32_t length) {
  while (length % 2 == 0 && length > 6) length /= 2;
  return length == 4 || length == 5 || length == 6;
}

TEST(FastLength, IsTheSmallestOfItsKind) {
  EXPECT_EQ(fast_length(1), 4);
  EXPECT_EQ(fast_length(1, 16), 16);
  for (int32_t unit : {1, 8, 16}) {
    for (int32_t at_least = 1; at_least < 3000; ++at_least) {
      const int32_t length = fast_length(at_least, unit);
      ASSERT_GE(length, at_least);
      ASSERT_EQ(length % unit, 0);
      ASSERT_TRUE(is_four_five_six_times_power_of_two(length)) << length;
      for (int32_t shorter = at_least; shorter < length; ++shorter) {
        ASSERT_FALSE(shorter % unit == 0 && is_four_five_six_times_power_of_two(shorter)) << shorter;
      }
    }
  }
}

TEST(FastLength, IsZeroBeyond32Bits) {
  EXPECT_EQ(fast_length(1610612736), 1610612736);  // 6 x 2^28
  EXPECT_EQ(fast_length(1610612737), 0);
  EXPECT_EQ(fast_length(int64_t{1} << 40), 0);
}

}  // namespace
}  // namespace vlix::test
