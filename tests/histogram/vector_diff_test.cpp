// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "histogram/vector_diff_twin.h"
#include "support/recording_platform.h"
#include "support/test_image.h"
#include "vlix/meas.h"

namespace vlix::test {
namespace {

using ::testing::ElementsAre;

constexpr double kUntouched = -12345.5;

template <class A, class B>
double diff(const std::vector<A>& a, const std::vector<B>& b, int32_t op, int32_t normalise) {
  TestVector<A> va(a);
  TestVector<B> vb(b);
  double result = kUntouched;
  EXPECT_EQ(vlix_vectorDiff(&va.record, &vb.record, &result, op, normalise), 0);
  return result;
}

TEST(VectorDiff, FirstWrongTypeIsReportedFirst) {
  RecordingPlatform platform;
  TestVector<PointF32> a({{1, 2}});
  TestVector<PointI32> b({{1, 2}, {3, 4}});
  double result = kUntouched;
  EXPECT_EQ(platform.call(vlix_vectorDiff, &a.record, &b.record, &result, 9, 1), platform.report_result);
  EXPECT_THAT(platform.reports(), ElementsAre(Report{1, "vectorDiff", "PointF32"}));
  EXPECT_THAT(platform.calls(), ElementsAre("VlixObjCheckEqList(29, 9, 6, 10, 7, 11, 8, 12, 16, 17, 18)"));
  EXPECT_EQ(result, kUntouched);
}

TEST(VectorDiff, LengthsAreComparedBeforeTheNullResult) {
  RecordingPlatform platform;
  TestVector<uint8_t> a({1});
  TestVector<uint8_t> b({1, 2});
  EXPECT_EQ(platform.call(vlix_vectorDiff, &a.record, &b.record, nullptr, 0, 0), platform.report_result);
  const std::string text = "vectorDiff: input vectors must be the same size\n";
  EXPECT_THAT(platform.reports(), ElementsAre(Report{100, text, text}));
}

TEST(VectorDiff, MaxAbsKeepsSignAndEarlierOfTies) {
  EXPECT_EQ((diff<double, double>({1, 5, -7}, {0, 0, 0}, 4, 1)), -7.0);
  EXPECT_EQ((diff<float, float>({3, -3}, {0, 0}, 4, 0)), 3.0);
}

}  // namespace
}  // namespace vlix::test
