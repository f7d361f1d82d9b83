// SPDX-License-Identifier: Apache-2.0
// Checks, reports, platform calls and memory of line fits.
#include <gmock/gmock.h>

#include <limits>
#include <string>

#include "support/recording_platform.h"
#include "support/test_image.h"
#include "vlix/meas.h"

namespace vlix::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct Export {
  decltype(&vlix_linearRegressionFloat) function;
  ObjType type;
  std::string name;
  std::string no_count;
};

const Export kFloats = {vlix_linearRegressionFloat, ObjType_PointF32, "PointF32",
                        "linearRegression: pOutPointsNum is NULL"};
const Export kIntegers = {vlix_linearRegressionInt, ObjType_PointI32, "PointI32",
                          "linearRegression: if pOutPoints is preallocated, pOutPointsNum should not be NULL"};

// Whole coordinates, which both types of points can hold.
class LinearRegression : public ::testing::TestWithParam<Export> {
 protected:
  LinearRegression() {
    platform_.name(points_, "points");
    platform_.name(kept_.record, "kept");
    set_points(40);
  }
  void set_points(int32_t count) {
    floats_.clear();
    integers_.clear();
    for (int32_t i = 0; i < count; ++i) {
      integers_.push_back({i, i % 7 == 0 ? 30 - i : i / 2});
      floats_.push_back({static_cast<float>(integers_.back().x), static_cast<float>(integers_.back().y)});
    }
    const bool is_float = GetParam().type == ObjType_PointF32;
    points_ = {static_cast<uint32_t>(GetParam().type),
               is_float ? static_cast<void*>(floats_.data()) : static_cast<void*>(integers_.data()), count, 0};
  }
  VlixStatus call(uint32_t percent, VlixVector* kept, int32_t* count) {
    return platform_.call(GetParam().function, &points_, percent, &angle_, &rho_, &mean_, kept, count);
  }
  std::string check(uint32_t type) const {
    return "VlixObjCheckEqList(" + std::to_string(type) + ", 1, " + std::to_string(GetParam().type) + ")";
  }
  std::string shape(int32_t count) const {
    return "VlixVectorTryUseReservedMem(kept, " + GetParam().name + ", " + std::to_string(count) +
           ", \"linearRegression\")";
  }
  // A vector of the test's own that is no output of ours.
  void preallocate(ObjType type) { ASSERT_EQ(VlixVectorAlloc(&kept_.record, type, 3), 0); }

  RecordingPlatform platform_;
  std::vector<PointF32> floats_;
  std::vector<PointI32> integers_;
  VlixVector points_ = {};
  OutputVector kept_;
  float angle_ = -1, rho_ = -1, mean_ = -1;
  int32_t count_ = -1;
};

INSTANTIATE_TEST_SUITE_P(Exports, LinearRegression, ::testing::Values(kFloats, kIntegers),
                         [](const auto& export_of) { return export_of.param.name; });

TEST_P(LinearRegression, PointsOfAnotherTypeAreReportedFirst) {
  const ObjType other = GetParam().type == ObjType_PointF32 ? ObjType_PointI32 : ObjType_PointF32;
  preallocate(ObjType_U8);
  for (const ObjType type : {other, ObjType_F32, ObjType_S32}) {
    platform_.clear();
    points_.type = type;
    points_.count = 1;
    EXPECT_EQ(call(10, &kept_.record, nullptr), platform_.report_result);
    EXPECT_THAT(platform_.calls(), ElementsAre(check(type)));
    EXPECT_THAT(platform_.reports(), ElementsAre(Report{1, "linearRegression", VlixObjGetName(type)}));
  }
  EXPECT_EQ(angle_, -1);
}

TEST_P(LinearRegression, APreallocatedOutputOfAnotherTypeIsReported) {
  preallocate(ObjType_F32);
  EXPECT_EQ(call(10, &kept_.record, nullptr), platform_.report_result);
  EXPECT_THAT(platform_.calls(), ElementsAre(check(points_.type), check(ObjType_F32)));
  EXPECT_THAT(platform_.reports(), ElementsAre(Report{1, "linearRegression", "F32"}));
}

TEST_P(LinearRegression, AnEmptyOutputMayHaveAnyType) {
  kept_.record.type = ObjType_U8;
  EXPECT_EQ(call(0, &kept_.record, &count_), 0);
  EXPECT_EQ(kept_.record.type, static_cast<uint32_t>(GetParam().type));
}

TEST_P(LinearRegression, ATemporaryThatCannotBeHadIsReportedWithItsBytes) {
  platform_.fail("VlixVectorAlloc");
  EXPECT_EQ(call(10, &kept_.record, &count_), platform_.report_result);
  EXPECT_THAT(platform_.reports(), ElementsAre(Report{0, "linearRegression", "320"}));
  EXPECT_THAT(platform_.calls_of("VlixVectorRelease"), IsEmpty());
  EXPECT_EQ(angle_, -1);
}

TEST_P(LinearRegression, FewerThanTwoPointsAreReportedAndTheTemporaryReleased) {
  for (const int32_t count : {0, 1}) {
    platform_.clear();
    points_.count = count;
    EXPECT_EQ(call(10, &kept_.record, &count_), platform_.report_result);
    const std::string text = "linearRegression: vector of size " + std::to_string(count) + " specified";
    EXPECT_THAT(platform_.reports(), ElementsAre(Report{100, "linearRegression: vector of size %d specified", text}));
    EXPECT_EQ(platform_.calls_of("VlixVectorRelease").size(), 1u);
    EXPECT_THAT(platform_.live_buffers(), IsEmpty());
  }
  EXPECT_EQ(count_, -1);
}

// A report that the status channel answers with 0: nothing was kept.
TEST_P(LinearRegression, FewerThanTwoPointsWithAReportOfResultZeroKeepNone) {
  platform_.report_result = 0;
  points_.count = 1;
  EXPECT_EQ(call(10, &kept_.record, &count_), 0);
  EXPECT_EQ(kept_.record.count, 0);
  EXPECT_EQ(count_, 0);
  EXPECT_EQ(angle_, -1);
}

TEST_P(LinearRegression, CallsOfAFitThatHandsOutItsPoints) {
  EXPECT_EQ(call(25, &kept_.record, &count_), 0);
  const auto calls = platform_.calls();
  ASSERT_EQ(calls.size(), 4u);
  EXPECT_EQ(calls[0], check(points_.type));
  EXPECT_THAT(calls[1], ::testing::EndsWith(", PointF32, 40)"));
  EXPECT_EQ(calls[2], shape(30));
  EXPECT_THAT(calls[3], ::testing::MatchesRegex("VlixVectorRelease\\(.*, 0\\)"));
  EXPECT_EQ(count_, 30);
  EXPECT_EQ(platform_.heap_live(), 0);
  EXPECT_THAT(platform_.live_buffers(), ElementsAre("VlixVectorTryUseReservedMem"));
}

TEST_P(LinearRegression, WithoutRemovalTheTemporaryIsStillAskedFor) {
  EXPECT_EQ(call(0, nullptr, nullptr), 0);
  EXPECT_EQ(platform_.calls().size(), 3u);
  EXPECT_THAT(platform_.live_buffers(), IsEmpty());
}

TEST_P(LinearRegression, APreallocatedOutputNeedsAPlaceForTheNumber) {
  preallocate(GetParam().type);
  EXPECT_EQ(call(10, &kept_.record, nullptr), platform_.report_result);
  EXPECT_THAT(platform_.reports(), ElementsAre(Report{100, GetParam().no_count, GetParam().no_count}));
  EXPECT_THAT(platform_.calls_of("VlixVectorTryUseReservedMem"), IsEmpty());
  EXPECT_EQ(platform_.calls_of("VlixVectorRelease").size(), 1u);
  // The fit itself has been done.
  EXPECT_NE(angle_, -1);

  platform_.clear();
  EXPECT_EQ(call(10, &kept_.record, &count_), 0);
  EXPECT_EQ(count_, 36);
  // An empty one does not.
  OutputVector empty;
  EXPECT_EQ(call(10, &empty.record, nullptr), 0);
  EXPECT_EQ(empty.record.count, 36);
}

TEST_P(LinearRegression, AFailedShapingStoresNoNumber) {
  platform_.fail("VlixVectorTryUseReservedMem", 1, 55);
  EXPECT_EQ(call(10, &kept_.record, &count_), 55);
  EXPECT_EQ(count_, -1);
  EXPECT_THAT(platform_.reports(), IsEmpty());
  EXPECT_THAT(platform_.live_buffers(), IsEmpty());
}

TEST_P(LinearRegression, TheNumberIsOnlyStoredWithThePoints) {
  EXPECT_EQ(call(10, nullptr, &count_), 0);
  EXPECT_EQ(count_, -1);
}

TEST_P(LinearRegression, OutputsMayBeLeftOut) {
  EXPECT_EQ(call(10, nullptr, nullptr), 0);
  float angle = 0, rho = 0, mean = 0;
  const auto fit = [&](float* a, float* r, float* m) {
    return platform_.call(GetParam().function, &points_, 10u, a, r, m, nullptr, nullptr);
  };
  EXPECT_EQ(fit(&angle, nullptr, nullptr), 0);
  EXPECT_EQ(fit(nullptr, &rho, nullptr), 0);
  EXPECT_EQ(fit(nullptr, nullptr, &mean), 0);
  EXPECT_EQ(angle, angle_);
  EXPECT_EQ(rho, rho_);
  EXPECT_EQ(mean, mean_);
}

TEST_P(LinearRegression, WithoutAnyOutputOnlyTheChecksRun) {
  const auto validate = [&] {
    return platform_.call(GetParam().function, &points_, 10u, nullptr, nullptr, nullptr, nullptr, &count_);
  };
  EXPECT_EQ(validate(), 0);
  EXPECT_THAT(platform_.calls(), ElementsAre(check(points_.type)));
  points_.count = 1;
  EXPECT_EQ(validate(), platform_.report_result);
}

// Scratch memory serves speed only.
TEST_P(LinearRegression, FailedScratchMemoryChangesNothing) {
  if (!RecordingPlatform::heap_is_watched()) GTEST_SKIP();
  ASSERT_EQ(call(30, &kept_.record, &count_), 0);
  const std::size_t blocks = platform_.heap_requests().size();
  ASSERT_GT(blocks, 0u);
  const float angle = angle_, rho = rho_, mean = mean_;
  const auto kept = kept_.values<PointI32>();
  for (std::size_t nth = 1; nth <= blocks; ++nth) {
    platform_.clear();
    platform_.fail_heap(static_cast<int>(nth));
    ASSERT_EQ(call(30, &kept_.record, &count_), 0);
    EXPECT_THAT(platform_.reports(), IsEmpty());
    EXPECT_EQ(platform_.heap_live(), 0);
    EXPECT_EQ(angle_, angle);
    EXPECT_EQ(rho_, rho);
    EXPECT_EQ(mean_, mean);
    const auto values = kept_.values<PointI32>();
    ASSERT_EQ(values.size(), kept.size());
    EXPECT_EQ(std::memcmp(values.data(), kept.data(), kept.size() * sizeof(PointI32)), 0);
  }
}

// The output may be the input.
TEST_P(LinearRegression, PointsMayComeBackInTheirOwnVector) {
  ASSERT_EQ(call(20, &kept_.record, &count_), 0);
  const auto expected = kept_.values<PointI32>();
  for (const uint32_t percent : {0u, 20u}) {
    set_points(40);
    VlixVector own = {};
    ASSERT_EQ(VlixVectorWrap(&own, GetParam().type, points_.data, 40), 0);
    ASSERT_EQ(GetParam().function(&own, percent, &angle_, &rho_, &mean_, &own, &count_), 0);
    if (percent != 0) {
      EXPECT_EQ(std::memcmp(own.data, expected.data(), expected.size() * sizeof(PointI32)), 0);
    } else {
      EXPECT_EQ(own.count, 40);
    }
    VlixVectorRelease(&own, 0);
  }
}

}  // namespace
}  // namespace vlix::test
