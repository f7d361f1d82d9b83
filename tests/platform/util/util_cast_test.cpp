// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <limits>

#include "support/heap_watch.h"
#include "support/test_image.h"
#include "vlix/util.h"

namespace vlix::test {
namespace {

template <class Pixel>
class UtilCast : public ::testing::Test {};
using Pixels = ::testing::Types<uint8_t, int8_t, uint16_t, int16_t, float>;
TYPED_TEST_SUITE(UtilCast, Pixels);

TYPED_TEST(UtilCast, RegionBecomesAnImageOfItsOwn) {
  for (int32_t width = 1; width <= 35; ++width) {
    TestImage<TypeParam> image(width + 4, 7, Fill::kNoise, 11);
    image.set_roi(4, 2, width, 5);
    image.roi_at(0, 0) = std::numeric_limits<TypeParam>::lowest();
    image.roi_at(width - 1, 4) = std::numeric_limits<TypeParam>::max();
    OutputImage out;
    ASSERT_EQ(VlixUtilCastImage(&image.record, &out.record, 4, 0), 0);
    EXPECT_EQ(out.record.type, static_cast<uint32_t>(ObjType_F32));
    ASSERT_EQ(out.record.width, width);
    ASSERT_EQ(out.record.height, 5);
    EXPECT_EQ(out.record.roiWidth, width);
    EXPECT_EQ(out.record.roiHeight, 5);
    for (int32_t y = 0; y < 5; ++y) {
      for (int32_t x = 0; x < width; ++x) ASSERT_EQ(out.at<float>(x, y), static_cast<float>(image.roi_at(x, y)));
    }
  }
}

TEST(UtilCast, RefusedCallsEmptyTheRecordAndReportNothing) {
  TestImage<uint8_t> image(3, 3);
  TestImage<Rgba> colour(3, 3);
  VlixImage empty = image.record;
  empty.data = nullptr;
  VlixImage no_region = image.record;
  no_region.roiWidth = 0;
  VlixOpClear();
  const auto refused = [](const VlixImage* from, int32_t kind, int32_t mode) {
    VlixImage to = {};
    to.width = 77;
    return VlixUtilCastImage(from, &to, kind, mode) != 0 && to.data == nullptr && to.width == 0;
  };
  EXPECT_TRUE(refused(nullptr, 4, 0));
  EXPECT_TRUE(refused(&empty, 4, 0));
  EXPECT_TRUE(refused(&colour.record, 4, 0));
  EXPECT_TRUE(refused(&no_region, 4, 0));
  EXPECT_TRUE(refused(&image.record, 3, 0));
  EXPECT_TRUE(refused(&image.record, 4, 1));
  EXPECT_NE(VlixUtilCastImage(&image.record, nullptr, 4, 0), 0);
  VlixOpReport report = {};
  VlixOpLastReport(&report);
  EXPECT_EQ(report.count, 0u);
}

TEST(UtilCast, RegionsThatLeaveTheImageAreRefused) {
  TestImage<uint8_t> image(6, 5);
  const auto cast = [&](int32_t x, int32_t y, int32_t width, int32_t height) {
    VlixImage region = image.record;
    region.roiX = x;
    region.roiY = y;
    region.roiWidth = width;
    region.roiHeight = height;
    OutputImage out;
    return VlixUtilCastImage(&region, &out.record, 4, 0);
  };
  constexpr int32_t kMost = std::numeric_limits<int32_t>::max();
  EXPECT_EQ(cast(0, 0, 6, 5), 0);
  EXPECT_EQ(cast(5, 4, 1, 1), 0);
  EXPECT_NE(cast(-1, 0, 3, 3), 0);
  EXPECT_NE(cast(0, -1, 3, 3), 0);
  EXPECT_NE(cast(4, 0, 3, 3), 0);
  EXPECT_NE(cast(0, 3, 3, 3), 0);
  EXPECT_NE(cast(6, 0, kMost, 1), 0);
  EXPECT_NE(cast(0, kMost, 1, kMost), 0);
  EXPECT_NE(cast(0, 0, -6, 5), 0);
  image.record.width = -6;
  EXPECT_NE(cast(0, 0, 6, 5), 0);
  image.record.width = 6;
}

TEST(UtilCast, EveryFailedAllocationIsAFailure) {
  if (!HeapWatch::available()) GTEST_SKIP() << "a sanitizer owns the heap";
  TestImage<uint8_t> image(3, 3);
  int failures = 0;
  for (int n = 1;; ++n) {
    OutputImage out;
    HeapWatch::reset();
    HeapWatch::enable();
    HeapWatch::fail_nth(n);
    const int32_t status = VlixUtilCastImage(&image.record, &out.record, 4, 0);
    HeapWatch::disable();
    if (status == 0) break;
    ++failures;
    EXPECT_EQ(out.record.data, nullptr);
    EXPECT_EQ(HeapWatch::live(), 0) << "allocation " << n;
  }
  EXPECT_GE(failures, 1);
}

}  // namespace
}  // namespace vlix::test
