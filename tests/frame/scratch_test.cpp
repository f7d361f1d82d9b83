// SPDX-License-Identifier: Apache-2.0
#include "frame/scratch.h"

#include <gtest/gtest.h>

#include <utility>

namespace vlix {
namespace {

TEST(HeapArray, MoveHandsTheMemoryOver) {
  auto a = HeapArray<int>::zeroed(3);
  ASSERT_TRUE(a);
  a[2] = 5;
  HeapArray<int> b = std::move(a);
  EXPECT_FALSE(a);
  EXPECT_EQ(b[2], 5);
  a = std::move(b);
  EXPECT_EQ(a[2], 5);
}

TEST(ScratchImage, ReleasesOnceAndOnlyWhatItOwns) {
  ScratchImage image;
  image.release();
  ASSERT_EQ(VlixImageAlloc(image.record(), ObjType_U8, 3, 3), 0);
  image.own();
  image.release();
  EXPECT_EQ(image->data, nullptr);
  image.release();
}

TEST(ScratchImage, LeakKeepsTheBuffer) {
  VlixImage kept = {};
  {
    ScratchImage image;
    ASSERT_EQ(VlixImageAlloc(image.record(), ObjType_U8, 3, 3), 0);
    image.own();
    image.leak();
    kept = *image;
  }
  EXPECT_EQ(VlixImageTryUseReservedMem(&kept, ObjType_U8, 1000, 1000, "op"), 0) << "still a buffer of the library";
  VlixImageRelease(&kept, 1);
}

}  // namespace
}  // namespace vlix
