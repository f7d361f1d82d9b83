// SPDX-License-Identifier: Apache-2.0
#include "fourier/real_columns.h"

#include <gmock/gmock.h>

#include <limits>
#include <random>
#include <vector>

#include "platform/fourier/dft_twin.h"
#include "support/simd_targets.h"

namespace vlix::test {
namespace {

template <class Real>
class RealColumnsOf : public ::testing::Test {
 public:
  using Complex = std::complex<Real>;
  using Columns = fourier::RealColumns<Real>;
  static constexpr int32_t kColumns = Columns::kColumns;
  static constexpr long double kUnit = std::numeric_limits<Real>::epsilon() / 2;

  static std::vector<Real> noise(int32_t length) {
    std::mt19937_64 random(static_cast<uint64_t>(length));
    std::uniform_real_distribution<Real> uniform(-100, 100);
    std::vector<Real> values(static_cast<std::size_t>(length * kColumns));
    for (Real& value : values) value = uniform(random);
    return values;
  }
  static void put(Columns& columns, const std::vector<Real>& values) {
    columns.put_rows(0, columns.length(), values.data(), kColumns);
  }
  static std::vector<Wide> column(const std::vector<Real>& values, int32_t c) {
    std::vector<Wide> out;
    for (auto i = static_cast<std::size_t>(c); i < values.size(); i += kColumns) out.emplace_back(values[i]);
    return out;
  }
};

using Reals = ::testing::Types<float, double>;
TYPED_TEST_SUITE(RealColumnsOf, Reals);
constexpr int32_t kLengths[] = {1, 2, 3, 4, 5, 7, 8, 12, 15, 16, 31, 64, 100, 128};

// Runs a test at every instruction set.
template <class Test>
void at_all_targets(Test test) {
  for (const int64_t target : simd_targets()) {
    SCOPED_TRACE(hwy::TargetName(target));
    const SimdTargetScope scope(target);
    test();
  }
}

TYPED_TEST(RealColumnsOf, EveryColumnHasItsOwnHalfSpectrum) {
  at_all_targets([] {
    constexpr int32_t kStride = TestFixture::kColumns + 3;
    for (const int32_t length : kLengths) {
      typename TestFixture::Columns columns(length);
      ASSERT_EQ(columns.half_length(), length / 2 + 1);
      const auto values = TestFixture::noise(length);
      TestFixture::put(columns, values);
      std::vector<typename TestFixture::Complex> half(static_cast<std::size_t>(columns.half_length() * kStride),
                                                      TypeParam(77));
      columns.forward(half.data(), kStride);
      for (int32_t c = 0; c < TestFixture::kColumns; ++c) {
        const std::vector<Wide> expected = dft(TestFixture::column(values, c), -1);
        // The partner's spectrum is subtracted: its roundings come along.
        const long double tolerance = 2 * transform_tolerance(TestFixture::kUnit, expected.size()) * rms(values) *
                                      std::sqrt(static_cast<long double>(length));
        for (int32_t k = 0; k < columns.half_length(); ++k) {
          const Wide found(half[static_cast<std::size_t>(k * kStride + c)]);
          ASSERT_LE(std::abs(found - expected[static_cast<std::size_t>(k)]), tolerance)
              << length << " " << k << " " << c;
        }
      }
      for (int32_t k = 0; k < columns.half_length(); ++k) {
        for (int32_t c = TestFixture::kColumns; c < kStride; ++c)
          ASSERT_EQ(half[static_cast<std::size_t>(k * kStride + c)], TypeParam(77));
      }
    }
  });
}

TYPED_TEST(RealColumnsOf, InverseUndoesForward) {
  at_all_targets([] {
    for (const int32_t length : kLengths) {
      typename TestFixture::Columns columns(length);
      const auto values = TestFixture::noise(length);
      TestFixture::put(columns, values);
      std::vector<typename TestFixture::Complex> half(
          static_cast<std::size_t>(columns.half_length() * TestFixture::kColumns));
      columns.forward(half.data(), TestFixture::kColumns);
      columns.inverse(half.data(), TestFixture::kColumns);
      const auto tolerance =
          static_cast<double>(4 * transform_tolerance(TestFixture::kUnit, values.size()) * rms(values));
      for (int32_t y = 0; y < length; ++y) {
        TypeParam row[TestFixture::kColumns];
        columns.get_rows(y, 1, row, 16);
        for (int32_t c = 0; c < TestFixture::kColumns; ++c) {
          ASSERT_NEAR(row[c] / static_cast<TypeParam>(length),
                      values[static_cast<std::size_t>(y * TestFixture::kColumns + c)], tolerance)
              << length;
        }
      }
    }
  });
}

TYPED_TEST(RealColumnsOf, RowsPutStayAfterATransformAndCanBeCleared) {
  at_all_targets([] {
    constexpr int32_t kLength = 24;
    typename TestFixture::Columns columns(kLength);
    TestFixture::put(columns, TestFixture::noise(kLength));
    std::vector<typename TestFixture::Complex> first(13 * 16);
    std::vector<typename TestFixture::Complex> second(13 * 16);
    columns.forward(first.data(), 16);
    columns.forward(second.data(), 16);
    EXPECT_EQ(first, second);
    columns.clear_rows(0);
    columns.forward(first.data(), 16);
    EXPECT_THAT(first, ::testing::Each(typename TestFixture::Complex()));
  });
}

TYPED_TEST(RealColumnsOf, ImaginaryPartsWhereAFrequencyIsItsOwnConjugateDoNotCount) {
  at_all_targets([] {
    constexpr int32_t kLength = 8;
    typename TestFixture::Columns columns(kLength);
    std::vector<typename TestFixture::Complex> half(5 * 16);
    for (std::size_t c = 0; c < 16; ++c) half[c] = {TypeParam(3), TypeParam(50)};
    for (std::size_t c = 0; c < 16; ++c) half[4 * 16 + c] = {TypeParam(1), TypeParam(70)};
    columns.inverse(half.data(), 16);
    for (int32_t y = 0; y < kLength; ++y) {
      TypeParam row[16];
      columns.get_rows(y, 1, row, 16);
      EXPECT_THAT(row, ::testing::Each(TypeParam(y % 2 == 0 ? 4 : 2)));
    }
  });
}

}  // namespace
}  // namespace vlix::test
