// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <rapidcheck/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <string>

#include "histogram/vector_diff_twin.h"
#include "support/recording_platform.h"
#include "support/test_image.h"
#include "vlix/meas.h"

namespace vlix::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr double kUntouched = -12345.5;
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
const std::string kSizeText = "vectorDiff: input vectors must be the same size\n";
const std::string kCheckOf = "VlixObjCheckEqList(";
const std::string kCodes = ", 9, 6, 10, 7, 11, 8, 12, 16, 17, 18)";

// Equal bit by bit, where all NaN are one.
bool same(double x, double y) {
  return (std::isnan(x) && std::isnan(y)) || std::bit_cast<uint64_t>(x) == std::bit_cast<uint64_t>(y);
}

template <class A, class B>
double diff(const std::vector<A>& a, const std::vector<B>& b, int32_t op, int32_t normalise) {
  TestVector<A> va(a);
  TestVector<B> vb(b);
  double result = kUntouched;
  EXPECT_EQ(vlix_vectorDiff(&va.record, &vb.record, &result, op, normalise), 0);
  return result;
}

// ---- Checks and reports ----

TEST(VectorDiff, FirstWrongTypeIsReportedFirst) {
  RecordingPlatform platform;
  TestVector<PointF32> a({{1, 2}});
  TestVector<PointI32> b({{1, 2}, {3, 4}});
  double result = kUntouched;
  EXPECT_EQ(platform.call(vlix_vectorDiff, &a.record, &b.record, &result, 9, 1), platform.report_result);
  EXPECT_THAT(platform.reports(), ElementsAre(Report{1, "vectorDiff", "PointF32"}));
  EXPECT_THAT(platform.calls(), ElementsAre(kCheckOf + "29" + kCodes));
  EXPECT_EQ(result, kUntouched);
}

TEST(VectorDiff, SecondWrongTypeIsReportedBeforeTheLengths) {
  RecordingPlatform platform;
  TestVector<float> a({1, 2});
  TestVector<PointI32> b({{1, 2}});
  EXPECT_EQ(platform.call(vlix_vectorDiff, &a.record, &b.record, nullptr, 0, 0), platform.report_result);
  EXPECT_THAT(platform.reports(), ElementsAre(Report{1, "vectorDiff", "PointI32"}));
  EXPECT_THAT(platform.calls(), ElementsAre(kCheckOf + "17" + kCodes, kCheckOf + "24" + kCodes));
}

TEST(VectorDiff, ThePlatformDecidesWhatIsAccepted) {
  for (int nth : {1, 2}) {
    RecordingPlatform platform;
    platform.fail("VlixObjCheckEqList", nth);
    TestVector<uint8_t> a({1});
    TestVector<float> b({2});
    double result = kUntouched;
    EXPECT_EQ(platform.call(vlix_vectorDiff, &a.record, &b.record, &result, 0, 0), platform.report_result);
    EXPECT_THAT(platform.reports(), ElementsAre(Report{1, "vectorDiff", nth == 1 ? "U8" : "F32"}));
    EXPECT_EQ(result, kUntouched);
  }
}

TEST(VectorDiff, TypesOutsideTheSetAreRefused) {
  for (uint32_t type : {0u, 9u, 13u, 14u, 15u, 19u, 20u, 21u, 24u, 29u, 30u, 36u, 39u, 44u, 53u, 70u, 0x80000000u}) {
    RecordingPlatform platform;
    TestVector<double> a({1});
    TestVector<double> b({2});
    b.record.type = type;
    double result = kUntouched;
    EXPECT_EQ(platform.call(vlix_vectorDiff, &a.record, &b.record, &result, 0, 0), platform.report_result) << type;
    EXPECT_THAT(platform.reports(), ElementsAre(Report{1, "vectorDiff", VlixObjGetName(static_cast<int32_t>(type))}));
    EXPECT_EQ(result, kUntouched);
  }
}

TEST(VectorDiff, LengthsAreComparedBeforeTheNullResult) {
  RecordingPlatform platform;
  TestVector<uint8_t> a({1});
  TestVector<uint8_t> b({1, 2});
  EXPECT_EQ(platform.call(vlix_vectorDiff, &a.record, &b.record, nullptr, 0, 0), platform.report_result);
  EXPECT_THAT(platform.reports(), ElementsAre(Report{100, kSizeText, kSizeText}));
}

TEST(VectorDiff, UnequalLengthsLeaveTheResultAlone) {
  RecordingPlatform platform;
  TestVector<double> a({});
  TestVector<uint8_t> b({1});
  double result = kUntouched;
  EXPECT_EQ(platform.call(vlix_vectorDiff, &a.record, &b.record, &result, 77, 0), platform.report_result);
  EXPECT_THAT(platform.reports(), ElementsAre(Report{100, kSizeText, kSizeText}));
  EXPECT_EQ(result, kUntouched);
}

TEST(VectorDiff, NullResultOnlyValidatesAndIgnoresTheOperation) {
  RecordingPlatform platform;
  TestVector<uint8_t> a({1});
  TestVector<double> b({2});
  EXPECT_EQ(platform.call(vlix_vectorDiff, &a.record, &b.record, nullptr, 99, 1), 0);
  EXPECT_THAT(platform.reports(), IsEmpty());
  EXPECT_THAT(platform.calls(), ElementsAre(kCheckOf + "10" + kCodes, kCheckOf + "18" + kCodes));
}

TEST(VectorDiff, UnknownOperationIsReportedWithItsCode) {
  for (int32_t op : {-1, 5, 2147483647, -2147483647 - 1}) {
    RecordingPlatform platform;
    TestVector<uint8_t> a({1});
    double result = kUntouched;
    EXPECT_EQ(platform.call(vlix_vectorDiff, &a.record, &a.record, &result, op, 1), platform.report_result);
    EXPECT_THAT(platform.reports(),
                ElementsAre(Report{100, "vectorDiff: unknown operation code %d\n",
                                   "vectorDiff: unknown operation code " + std::to_string(op) + "\n"}));
    EXPECT_EQ(result, kUntouched);
  }
}

TEST(VectorDiff, NoHeapAndNoFurtherPlatformCalls) {
  RecordingPlatform platform;
  TestVector<uint8_t> a(std::vector<uint8_t>(5000, 3));
  TestVector<float> b(std::vector<float>(5000, 1));
  double result = kUntouched;
  for (int32_t op = 0; op < 5; ++op) EXPECT_EQ(platform.call(vlix_vectorDiff, &a.record, &b.record, &result, op, 0), 0);
  EXPECT_EQ(platform.calls().size(), 10u);
  EXPECT_EQ(platform.calls_of("VlixObjCheckEqList").size(), 10u);
  EXPECT_THAT(platform.heap_requests(), IsEmpty());
}

// ---- Values known beforehand ----

TEST(VectorDiff, EmptyVectorsGiveZeroWhateverTheOperation) {
  RecordingPlatform platform;
  TestVector<double> empty({});
  for (int32_t op : {0, 1, 2, 3, 4, 5, -9}) {
    double result = kUntouched;
    EXPECT_EQ(platform.call(vlix_vectorDiff, &empty.record, &empty.record, &result, op, 0), 0);
    EXPECT_TRUE(same(result, 0.0)) << op;
  }
  EXPECT_THAT(platform.reports(), IsEmpty());
}

TEST(VectorDiff, EmptyVectorsDividedByTheirLengthGiveNaN) {
  RecordingPlatform platform;
  TestVector<uint8_t> empty({});
  for (int32_t op : {0, 1, 2, 3, 5, -9}) {
    double result = kUntouched;
    EXPECT_EQ(platform.call(vlix_vectorDiff, &empty.record, &empty.record, &result, op, 1), 0);
    EXPECT_TRUE(std::isnan(result)) << op;
  }
  double result = kUntouched;
  EXPECT_EQ(platform.call(vlix_vectorDiff, &empty.record, &empty.record, &result, 4, 1), 0);
  EXPECT_EQ(result, 0.0);
  EXPECT_THAT(platform.reports(), IsEmpty());
}

TEST(VectorDiff, MaxAbsKeepsSignAndEarlierOfTies) {
  EXPECT_EQ((diff<double, double>({1, 5, -7}, {0, 0, 0}, 4, 1)), -7.0);
  EXPECT_EQ((diff<float, float>({3, -3}, {0, 0}, 4, 0)), 3.0);
  EXPECT_EQ((diff<int8_t, int8_t>({0, -3, 3}, {0, 0, 0}, 4, 0)), -3.0);
  EXPECT_EQ((diff<uint16_t, uint16_t>({7, 1, 9}, {7, 6, 4}, 4, 0)), -5.0);
}

TEST(VectorDiff, MaxAbsFindsTheFirstLargestAnywhere) {
  for (std::size_t count : {1u, 1023u, 1024u, 1025u, 3000u}) {
    for (std::size_t at = 0; at < count; at += 1 + count / 7) {
      std::vector<uint8_t> a(count, 100), b(count, 100);
      b[at] = 200;
      a[count - 1] = at + 1 == count ? a[count - 1] : 200;  // the same magnitude, later
      EXPECT_EQ(diff(a, b, 4, 0), -100.0) << count << " " << at;
      EXPECT_EQ(diff(std::vector<double>(a.begin(), a.end()), std::vector<double>(b.begin(), b.end()), 4, 0), -100.0);
    }
  }
}

TEST(VectorDiff, EqualVectorsDifferByZero) {
  const std::vector<float> a = {1.5f, -2.5f, 1e30f};
  for (int32_t op = 0; op < 5; ++op) EXPECT_TRUE(same(diff(a, a, op, 0), 0.0)) << op;
}

TEST(VectorDiff, NormalisedFormsAreMeans) {
  const std::vector<double> a = {1, 5, -6, 4};
  const std::vector<double> b = {0, 2, 0, 4};
  EXPECT_EQ(diff(a, b, 0, 1), -0.5);
  EXPECT_EQ(diff(a, b, 1, 1), 2.5);
  EXPECT_EQ(diff(a, b, 2, 1), 11.5);
  EXPECT_EQ(diff(a, b, 3, 1), std::sqrt(11.5));
  EXPECT_EQ((diff<uint8_t, uint8_t>({1, 1}, {0, 0}, 3, 1)), 1.0);
}

TEST(VectorDiff, OnlyExactlyOneNormalises) {
  for (int32_t normalise : {0, 2, -1, 256}) {
    EXPECT_EQ((diff<uint8_t, uint8_t>({4, 4}, {1, 1}, 0, normalise)), 6.0) << normalise;
    EXPECT_EQ((diff<uint8_t, uint8_t>({4, 4}, {1, 1}, 3, normalise)), std::sqrt(18.0)) << normalise;
  }
}

TEST(VectorDiff, UnsignedWordsAreNotNegative) {
  TestVector<uint32_t> a({4294967295u});
  TestVector<double> b({0});
  for (uint32_t type : {12u, 16u}) {
    a.record.type = type;
    double result = kUntouched;
    EXPECT_EQ(vlix_vectorDiff(&a.record, &b.record, &result, 0, 0), 0);
    EXPECT_EQ(result, 4294967295.0);
  }
}

TEST(VectorDiff, NotANumberPoisonsSumsAndNeverWins) {
  const std::vector<double> a = {1, kNaN, -kInfinity, kInfinity, 2};
  const std::vector<double> b = {0, 0, 0, 0, 0};
  for (int32_t op : {0, 1, 2, 3}) EXPECT_TRUE(std::isnan(diff(a, b, op, 0))) << op;
  EXPECT_EQ(diff(a, b, 4, 0), -kInfinity);
  EXPECT_EQ((diff<float, float>({NAN, 3, NAN}, {0, 0, 1}, 4, 0)), 3.0);
  EXPECT_EQ((diff<double, double>({kInfinity, 3}, {kInfinity, 0}, 4, 0)), 3.0);
}

TEST(VectorDiff, ShortTypesSurviveFullScale) {
  const std::size_t count = 100003;
  const auto n = static_cast<double>(count);
  EXPECT_EQ(diff(std::vector<uint8_t>(count, 255), std::vector<uint8_t>(count, 0), 0, 0), 255 * n);
  EXPECT_EQ(diff(std::vector<uint8_t>(count, 0), std::vector<uint8_t>(count, 255), 0, 0), -255 * n);
  EXPECT_EQ(diff(std::vector<int8_t>(count, -128), std::vector<int8_t>(count, 127), 1, 0), 255 * n);
  EXPECT_EQ(diff(std::vector<int8_t>(count, -128), std::vector<int8_t>(count, 127), 2, 0), 255 * 255 * n);
  EXPECT_EQ(diff(std::vector<int8_t>(count, -128), std::vector<int8_t>(count, 127), 4, 0), -255.0);
  EXPECT_EQ(diff(std::vector<int16_t>(count, -32768), std::vector<int16_t>(count, 32767), 0, 0), -65535 * n);
  EXPECT_EQ(diff(std::vector<int16_t>(count, -32768), std::vector<int16_t>(count, 32767), 2, 0), 65535.0 * 65535 * n);
  EXPECT_EQ(diff(std::vector<int16_t>(count, -32768), std::vector<int16_t>(count, 32767), 4, 0), -65535.0);
  EXPECT_EQ(diff(std::vector<uint16_t>(count, 65535), std::vector<uint16_t>(count, 0), 3, 1), 65535.0);
}

// Above 2^53 a running double loses each single 1 that follows; an exact sum would keep them.
TEST(VectorDiff, SquaresBeyondTheExactDoublesKeepTheOrder) {
  const std::size_t large = (std::size_t{1} << 21) + 500;
  std::vector<uint16_t> a(large + 9999, 1);
  std::fill_n(a.begin(), large, uint16_t{65535});
  const std::vector<uint16_t> b(a.size(), 0);
  const double expected =
      vector_diff_twin(std::vector<double>(a.begin(), a.end()), std::vector<double>(b.begin(), b.end()), 2, 0);
  EXPECT_GT(expected, 0x1p53);
  EXPECT_EQ(diff(a, b, 2, 0), expected);
  EXPECT_NE(expected, static_cast<double>(65535ull * 65535ull * large + 9999));
}

TEST(VectorDiff, FloatSumsKeepTheOrder) {
  std::vector<double> a(4001, 1.0);
  a[0] = 0x1p53;
  EXPECT_EQ(diff(a, std::vector<double>(4001, 0.0), 0, 0), 0x1p53);
  std::vector<float> f(4001, 1.0f);
  f[0] = 0x1p53f;
  EXPECT_EQ(diff(f, std::vector<float>(4001, 0.0f), 1, 0), 0x1p53);
}

// ---- Every pair of types against the twin ----

enum class Data { kFill, kSpecial };

template <class T>
std::vector<T> make_values(std::size_t count, Fill fill, Data data, uint64_t seed) {
  std::vector<T> values(count);
  fill_with(values, fill, seed);
  if constexpr (std::is_floating_point_v<T>) {
    using Limits = std::numeric_limits<T>;
    const T special[] = {Limits::infinity(),
                         -Limits::infinity(),
                         Limits::quiet_NaN(),
                         Limits::denorm_min(),
                         Limits::max(),
                         Limits::lowest(),
                         T(-0.0)};
    std::mt19937_64 random(seed + 1);
    if (data == Data::kSpecial) {
      for (T& value : values) value = random() % 4 == 0 ? special[random() % 7] : value;
    }
  }
  return values;
}

template <class A, class B>
void expect_twin(const std::vector<A>& a, const std::vector<B>& b, uint32_t type_a, uint32_t type_b) {
  TestVector<A> va(a);
  TestVector<B> vb(b);
  va.record.type = type_a;
  vb.record.type = type_b;
  const std::vector<double> wide_a(a.begin(), a.end());
  const std::vector<double> wide_b(b.begin(), b.end());
  for (int32_t op = 0; op < 5; ++op) {
    for (int32_t normalise : {0, 1}) {
      double result = kUntouched;
      ASSERT_EQ(vlix_vectorDiff(&va.record, &vb.record, &result, op, normalise), 0);
      const double expected = vector_diff_twin(wide_a, wide_b, op, normalise);
      ASSERT_TRUE(same(result, expected)) << "types " << type_a << " " << type_b << " count " << a.size() << " op "
                                          << op << ": " << result << " is not " << expected;
    }
  }
}

template <class Visit>
void for_all_types(Visit&& visit) {
  visit(int8_t{}, ObjType_S8);
  visit(uint8_t{}, ObjType_U8);
  visit(int16_t{}, ObjType_S16);
  visit(uint16_t{}, ObjType_U16);
  visit(int32_t{}, ObjType_S32);
  visit(uint32_t{}, ObjType_U32);
  visit(uint32_t{}, ObjType_U32Alt);
  visit(float{}, ObjType_F32);
  visit(double{}, ObjType_F64);
}

TEST(VectorDiff, AllPairsOfTypesEqualTheTwin) {
  uint64_t seed = 20;
  for_all_types([&](auto a, ObjType type_a) {
    for_all_types([&](auto b, ObjType type_b) {
      for (std::size_t count : {1u, 7u, 131u, 1025u}) {
        const auto va = make_values<decltype(a)>(count, Fill::kNoise, Data::kFill, ++seed);
        const auto vb = make_values<decltype(b)>(count, Fill::kNoise, Data::kFill, ++seed);
        expect_twin(va, vb, type_a, type_b);
      }
    });
  });
}

TEST(VectorDiff, AllSizesEqualTheTwin) {
  uint64_t seed = 1000;
  for_all_types([&](auto value, ObjType type) {
    using T = decltype(value);
    const auto check = [&](std::size_t count) {
      seed += 2;
      expect_twin(make_values<T>(count, Fill::kNoise, Data::kFill, seed),
                  make_values<T>(count, Fill::kNoise, Data::kFill, seed + 1), type, type);
    };
    for (std::size_t count = 0; count <= 131; ++count) check(count);
    for (std::size_t count : {1023u, 1024u, 1025u, 2047u, 2048u, 2049u, 4099u, 20000u}) check(count);
  });
}

TEST(VectorDiff, AllFillsAndSpecialFloatsEqualTheTwin) {
  uint64_t seed = 5000;
  for_all_types([&](auto value, ObjType type) {
    using T = decltype(value);
    for (Fill fill_a : kFills) {
      for (Fill fill_b : kFills) {
        for (Data data : {Data::kFill, Data::kSpecial}) {
          seed += 2;
          expect_twin(make_values<T>(1500, fill_a, data, seed), make_values<T>(1500, fill_b, Data::kFill, seed + 1),
                      type, type);
        }
      }
    }
  });
}

TEST(VectorDiff, InputsAreNotChanged) {
  TestVector<float> a({1, 2, 3});
  TestVector<uint8_t> b({4, 5, 6});
  const VlixVector before = a.record;
  double result;
  EXPECT_EQ(vlix_vectorDiff(&a.record, &b.record, &result, 3, 1), 0);
  EXPECT_EQ(a.record.type, before.type);
  EXPECT_EQ(a.record.data, before.data);
  EXPECT_EQ(a.record.count, before.count);
  EXPECT_THAT(std::vector<float>(a.data(), a.data() + 3), ElementsAre(1, 2, 3));
}

// ---- Laws ----

RC_GTEST_PROP(VectorDiffLaws, SwappingTheVectorsFlipsOnlyTheSignOfSumAndLargest, ()) {
  const auto a = *rc::gen::arbitrary<std::vector<int16_t>>();
  auto b = *rc::gen::container<std::vector<int16_t>>(a.size(), rc::gen::arbitrary<int16_t>());
  RC_ASSERT(diff(a, b, 0, 0) == -diff(b, a, 0, 0));
  for (int32_t op : {1, 2, 3}) RC_ASSERT(diff(a, b, op, 0) == diff(b, a, op, 0));
  RC_ASSERT(diff(a, b, 4, 0) == -diff(b, a, 4, 0));
}

RC_GTEST_PROP(VectorDiffLaws, ShiftingBothVectorsChangesNothing, ()) {
  const auto a = *rc::gen::container<std::vector<int16_t>>(rc::gen::inRange<int16_t>(-1000, 1000));
  const auto shift = *rc::gen::inRange<int16_t>(-30000, 30000);
  std::vector<int16_t> b(a.rbegin(), a.rend());
  std::vector<int16_t> a2(a), b2(b);
  for (int16_t& x : a2) x = static_cast<int16_t>(x + shift);
  for (int16_t& x : b2) x = static_cast<int16_t>(x + shift);
  for (int32_t op = 0; op < 5; ++op) RC_ASSERT(diff(a, b, op, 0) == diff(a2, b2, op, 0));
}

}  // namespace
}  // namespace vlix::test
