// SPDX-License-Identifier: Apache-2.0
// A program may define some of the library's functions itself, to watch or replace them. It sees the calls of others
// then, not what the library does inside; only reports go through the program's status channel.
#include <gtest/gtest.h>

#include <cstring>

#include "vlix/object.h"

namespace {

int calls_from_inside = 0;
int reports = 0;

}  // namespace

extern "C" {
int32_t VlixObjGetSize(int32_t) { return ++calls_from_inside, 0; }
int32_t VlixObjGetSizeBits(int32_t) { return ++calls_from_inside, 0; }
const char* VlixObjGetName(int32_t) { return ++calls_from_inside, "not ours"; }
int32_t VlixVectorAlloc(VlixVector*, int32_t, int32_t) { return ++calls_from_inside, -1; }
int32_t VlixOpStatus(int32_t, int32_t, const char*, ...) { return ++reports, -77; }
}

namespace {

TEST(OwnCalls, RecordsDoNotGoThroughThePublicFunctions) {
  VlixImage image = {};
  EXPECT_EQ(VlixImageAlloc(&image, ObjType_U16, 5, 3), 0);
  EXPECT_EQ(VlixImageTryUseReservedMem(&image, ObjType_F32, 50, 30, "op"), 0);
  VlixImageRelease(&image, 1);

  VlixVector vector = {};
  EXPECT_EQ(VlixVectorTryUseReservedMem(&vector, ObjType_U8, 4, "op"), 0);
  std::memcpy(vector.data, "wxyz", 4);
  VlixVector copy = {};
  EXPECT_NE(VlixVectorCopy(&vector, &copy), 0);
  EXPECT_EQ(VlixVectorResize(&copy, 1000), 0);
  EXPECT_EQ(std::memcmp(copy.data, "wxyz", 4), 0);
  VlixVectorRelease(&copy, 1);
  VlixVectorRelease(&vector, 1);
  EXPECT_EQ(calls_from_inside, 0);
  EXPECT_EQ(reports, 0);
}

TEST(OwnCalls, RefusalsAreReportedThroughTheStatusChannelInPlace) {
  VlixVector vector = {};
  EXPECT_EQ(VlixVectorTryUseReservedMem(&vector, ObjType_U8, -1, "op"), -77);
  EXPECT_EQ(reports, 1);
  EXPECT_EQ(calls_from_inside, 0);
}

}  // namespace
