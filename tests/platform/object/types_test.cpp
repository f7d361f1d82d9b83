// SPDX-License-Identifier: Apache-2.0
// Type queries, and the layout of the records that cross library borders.
#include <gtest/gtest.h>

#include <cstddef>
#include <set>
#include <string>

#include "vlix/object.h"

namespace {

struct Code {
  int32_t type;
  int32_t bits;
};

constexpr Code kCodes[] = {{6, 8},   {7, 16},  {8, 32},  {10, 8},  {11, 16}, {12, 32}, {16, 32}, {17, 32}, {18, 64},
                           {19, 32}, {20, 32}, {21, 32}, {30, 32}, {36, 32}, {39, 64}, {44, 24}, {24, 64}, {29, 64}};

TEST(ObjectTypes, EveryCodeHasItsSize) {
  for (const Code& code : kCodes) {
    EXPECT_EQ(VlixObjGetSizeBits(code.type), code.bits) << code.type;
    EXPECT_EQ(VlixObjGetSize(code.type), code.bits / 8) << code.type;
  }
}

TEST(ObjectTypes, ShapesAndSpectraHaveSizes) {
  EXPECT_EQ(VlixObjGetSize(53), int32_t{sizeof(VlixShape)});
  EXPECT_EQ(VlixObjGetSize(54), int32_t{sizeof(VlixShape)});
  EXPECT_EQ(VlixObjGetSize(ObjType_ComplexF32), 8);
}

TEST(ObjectTypes, UnknownCodesHaveNoSizeButAName) {
  for (int32_t type : {-1, 0, 1, 9, 13, 14, 15, 22, 1000, INT32_MAX, INT32_MIN}) {
    EXPECT_EQ(VlixObjGetSize(type), 0) << type;
    EXPECT_EQ(VlixObjGetSizeBits(type), 0) << type;
    EXPECT_STREQ(VlixObjGetName(type), "unknown") << type;
  }
}

TEST(ObjectTypes, NamesAreDistinct) {
  std::set<std::string> names;
  for (const Code& code : kCodes) names.insert(VlixObjGetName(code.type));
  EXPECT_EQ(names.size(), std::size(kCodes));
  EXPECT_EQ(names.count("unknown"), 0u);
  EXPECT_STREQ(VlixObjGetName(ObjType_U8), "U8");
}

TEST(ObjectTypes, CheckEqListFindsAnyPositionAndNothingElse) {
  EXPECT_NE(VlixObjCheckEqList(10, 3, 10, 6, 11), 0);
  EXPECT_NE(VlixObjCheckEqList(11, 3, 10, 6, 11), 0);
  EXPECT_EQ(VlixObjCheckEqList(17, 3, 10, 6, 11), 0);
  EXPECT_EQ(VlixObjCheckEqList(17, 2, 10, 6, 17), 0) << "a code behind the counted ones is not read";
  EXPECT_EQ(VlixObjCheckEqList(17, 0), 0);
}

// The records are shared with programs that declare them themselves.
static_assert(sizeof(VlixImage) == 40 && offsetof(VlixImage, data) == 8 && offsetof(VlixImage, width) == 16);
static_assert(offsetof(VlixImage, height) == 20 && offsetof(VlixImage, roiX) == 24 && offsetof(VlixImage, roiY) == 28);
static_assert(offsetof(VlixImage, roiWidth) == 32 && offsetof(VlixImage, roiHeight) == 36);
static_assert(sizeof(VlixVector) == 24 && offsetof(VlixVector, data) == 8 && offsetof(VlixVector, count) == 16);
static_assert(offsetof(VlixVectorHandle, vector) == 16 && offsetof(VlixImageHandle, image) == 16);
static_assert(offsetof(VlixShapeHandle, shape) == 16 && offsetof(VlixShape, geometry) == 16);
static_assert(offsetof(VlixInvalidValue, value) == 16);
static_assert(sizeof(PointI32) == 8 && sizeof(PointF32) == 8 && sizeof(VlixSize) == 8);

}  // namespace
