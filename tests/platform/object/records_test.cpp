// SPDX-License-Identifier: Apache-2.0
// Buffers of images and vectors: own, wrapped and foreign.
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include "vlix/object.h"

namespace {

constexpr int32_t kHuge = std::numeric_limits<int32_t>::max();

std::string last_text() {
  VlixOpReport report = {};
  VlixOpLastReport(&report);
  return report.text;
}

uint64_t report_count() {
  VlixOpReport report = {};
  VlixOpLastReport(&report);
  return report.count;
}

bool is_aligned(const void* data) { return reinterpret_cast<std::uintptr_t>(data) % 64 == 0; }

bool is_empty(const VlixImage& image) {
  const VlixImage empty = {};
  return image.type == 0 && image.data == nullptr && image.width == 0 && image.height == 0 &&
         image.roiWidth == empty.roiWidth && image.roiHeight == 0;
}

class Records : public ::testing::Test {
 protected:
  Records() { VlixOpClear(); }
};

TEST_F(Records, AllocatedImageIsAlignedAndItsRegionIsTheWhole) {
  VlixImage image = {};
  ASSERT_EQ(VlixImageAlloc(&image, ObjType_U16, 33, 7), 0);
  EXPECT_TRUE(is_aligned(image.data));
  EXPECT_EQ(image.type, ObjType_U16);
  EXPECT_EQ(image.width, 33);
  EXPECT_EQ(image.height, 7);
  EXPECT_EQ(image.roiX, 0);
  EXPECT_EQ(image.roiY, 0);
  EXPECT_EQ(image.roiWidth, 33);
  EXPECT_EQ(image.roiHeight, 7);
  std::memset(image.data, 0xAB, 33 * 7 * 2);
  VlixImageRelease(&image, 1);
  EXPECT_TRUE(is_empty(image));
}

TEST_F(Records, AllocNeverReadsWhatTheRecordHeld) {
  VlixImage image;
  std::memset(&image, 0xEE, sizeof(image));
  ASSERT_EQ(VlixImageAlloc(&image, ObjType_F32, 4, 4), 0);
  VlixImageRelease(&image, 0);
  VlixVector vector;
  std::memset(&vector, 0xEE, sizeof(vector));
  ASSERT_EQ(VlixVectorAlloc(&vector, ObjType_F32, 4), 0);
  VlixVectorRelease(&vector, 0);
}

TEST_F(Records, ImageSizesThatCannotBeAreRefusedWithoutReport) {
  struct Case {
    int32_t type, width, height;
  };
  for (const Case& c : {Case{ObjType_U8, 0, 5}, Case{ObjType_U8, 5, 0}, Case{ObjType_U8, -1, 5},
                        Case{ObjType_U8, 5, -3}, Case{ObjType_F32, kHuge, 1}, Case{ObjType_F32, kHuge, kHuge},
                        Case{ObjType_U8, 1 << 27, kHuge}, Case{9, 5, 5}, Case{0, 5, 5}}) {
    VlixImage image = {};
    EXPECT_LT(VlixImageAlloc(&image, c.type, c.width, c.height), 0) << c.type << " " << c.width << " " << c.height;
    EXPECT_TRUE(is_empty(image));
  }
  EXPECT_EQ(report_count(), 0u);
}

TEST_F(Records, NullRecordsAreRefused) {
  EXPECT_LT(VlixImageAlloc(nullptr, ObjType_U8, 1, 1), 0);
  EXPECT_LT(VlixVectorAlloc(nullptr, ObjType_U8, 1), 0);
  EXPECT_LT(VlixVectorResize(nullptr, 1), 0);
  VlixVector vector = {};
  EXPECT_EQ(VlixVectorCopy(nullptr, &vector), 0);
  EXPECT_EQ(VlixVectorCopy(&vector, nullptr), 0);
  VlixImageRelease(nullptr, 1);
  VlixVectorRelease(nullptr, 1);
  VlixImageResetRoi(nullptr);
  EXPECT_EQ(report_count(), 0u);
  uint8_t memory[4];
  EXPECT_NE(VlixImageTryUseReservedMem(nullptr, ObjType_U8, 1, 1, "op"), 0);
  EXPECT_NE(VlixVectorTryUseReservedMem(nullptr, ObjType_U8, 1, "op"), 0);
  EXPECT_NE(VlixImageSetRoi(nullptr, 0, 0, 1, 1), 0);
  EXPECT_NE(VlixImageWrap(nullptr, ObjType_U8, memory, 2, 2), 0);
  EXPECT_NE(VlixVectorWrap(nullptr, ObjType_U8, memory, 4), 0);
  EXPECT_EQ(report_count(), 5u);
}

TEST_F(Records, OwnBufferIsReusedAsLongAsItIsLargeEnough) {
  VlixImage image = {};
  ASSERT_EQ(VlixImageTryUseReservedMem(&image, ObjType_F32, 100, 10, "op"), 0);
  const void* first = image.data;
  for (int i = 0; i < 3; ++i) {
    ASSERT_EQ(VlixImageTryUseReservedMem(&image, ObjType_U8, 7, 3, "op"), 0);
    EXPECT_EQ(image.data, first);
    EXPECT_EQ(image.roiWidth, 7);
    ASSERT_EQ(VlixImageTryUseReservedMem(&image, ObjType_F32, 10, 100, "op"), 0);
    EXPECT_EQ(image.data, first);
  }
  ASSERT_EQ(VlixImageTryUseReservedMem(&image, ObjType_F64, 1000, 10, "op"), 0);
  EXPECT_NE(image.data, nullptr);
  std::memset(image.data, 1, 1000 * 10 * 8);
  VlixImageRelease(&image, 1);
}

TEST_F(Records, FailedShapingReportsUnderTheOperationAndKeepsContents) {
  VlixImage image = {};
  ASSERT_EQ(VlixImageAlloc(&image, ObjType_U8, 2, 2), 0);
  std::memcpy(image.data, "abcd", 4);
  const VlixImage before = image;
  EXPECT_NE(VlixImageTryUseReservedMem(&image, ObjType_U8, 0, 3, "nxcorr"), 0);
  EXPECT_EQ(last_text(), "nxcorr: cannot make an image of 0 x 3 pixels of type U8");
  EXPECT_EQ(std::memcmp(&before, &image, sizeof(image)), 0);
  EXPECT_EQ(std::memcmp(image.data, "abcd", 4), 0);
  VlixImageRelease(&image, 1);
}

TEST_F(Records, VectorsOfNoElementsAreLegal) {
  VlixVector vector = {};
  ASSERT_EQ(VlixVectorAlloc(&vector, ObjType_PointF32, 0), 0);
  EXPECT_NE(vector.data, nullptr);
  EXPECT_EQ(vector.count, 0);
  VlixVectorRelease(&vector, 1);
  ASSERT_EQ(VlixVectorTryUseReservedMem(&vector, ObjType_F32, 0, "op"), 0);
  EXPECT_EQ(vector.count, 0);
  VlixVectorRelease(&vector, 1);
  EXPECT_LT(VlixVectorAlloc(&vector, ObjType_F32, -1), 0);
  EXPECT_NE(VlixVectorTryUseReservedMem(&vector, ObjType_F32, -5, "peaks"), 0);
  EXPECT_EQ(last_text(), "peaks: cannot make a vector of -5 elements of type F32");
}

TEST_F(Records, ResizeKeepsWhatBothSizesHave) {
  VlixVector vector = {};
  ASSERT_EQ(VlixVectorAlloc(&vector, ObjType_S32, 3), 0);
  const std::array<int32_t, 3> values = {1, 2, 3};
  std::memcpy(vector.data, values.data(), sizeof(values));
  ASSERT_EQ(VlixVectorResize(&vector, 100000), 0);
  EXPECT_EQ(vector.count, 100000);
  EXPECT_EQ(std::memcmp(vector.data, values.data(), sizeof(values)), 0);
  const void* data = vector.data;
  ASSERT_EQ(VlixVectorResize(&vector, 2), 0);
  EXPECT_EQ(vector.data, data);
  EXPECT_EQ(vector.count, 2);
  EXPECT_LT(VlixVectorResize(&vector, -1), 0);
  EXPECT_EQ(vector.count, 2);
  VlixVectorRelease(&vector, 1);
}

TEST_F(Records, CopyIsIndependent) {
  VlixVector from = {};
  ASSERT_EQ(VlixVectorAlloc(&from, ObjType_U8, 4), 0);
  std::memcpy(from.data, "wxyz", 4);
  VlixVector to = {};
  ASSERT_NE(VlixVectorCopy(&from, &to), 0);
  EXPECT_NE(to.data, from.data);
  EXPECT_EQ(to.type, from.type);
  EXPECT_EQ(to.count, 4);
  std::memcpy(from.data, "0000", 4);
  EXPECT_EQ(std::memcmp(to.data, "wxyz", 4), 0);
  VlixVectorRelease(&from, 1);
  VlixVectorRelease(&to, 1);
}

TEST_F(Records, CopyOfAnUntypedVectorFails) {
  VlixVector from = {};
  VlixVector to = {};
  EXPECT_EQ(VlixVectorCopy(&from, &to), 0);
  EXPECT_EQ(to.data, nullptr);
}

TEST_F(Records, CopyOfElementsThatAreNotThereFails) {
  const VlixVector from = {ObjType_U8, nullptr, 4, 0};
  VlixVector to = {};
  EXPECT_EQ(VlixVectorCopy(&from, &to), 0);
  EXPECT_EQ(to.data, nullptr);
  const VlixVector none = {ObjType_U8, nullptr, 0, 0};
  EXPECT_NE(VlixVectorCopy(&none, &to), 0);
  EXPECT_EQ(to.count, 0);
  VlixVectorRelease(&to, 1);
}

TEST_F(Records, WrappedMemoryIsNeitherGrownNorFreed) {
  std::vector<uint16_t> pixels(12, 7);
  VlixImage image = {};
  ASSERT_EQ(VlixImageWrap(&image, ObjType_U16, pixels.data(), 4, 3), 0);
  EXPECT_EQ(image.data, pixels.data());
  ASSERT_EQ(VlixImageTryUseReservedMem(&image, ObjType_U8, 24, 1, "op"), 0) << "fits";
  EXPECT_EQ(image.data, pixels.data());
  EXPECT_NE(VlixImageTryUseReservedMem(&image, ObjType_U8, 25, 1, "op"), 0);
  EXPECT_EQ(last_text(), "op: the image's own memory is too small for 25 x 1 pixels of type U8");
  EXPECT_EQ(image.width, 24);
  EXPECT_EQ(pixels, std::vector<uint16_t>(12, 7));
  VlixImageRelease(&image, 1);
  EXPECT_TRUE(is_empty(image));
  EXPECT_EQ(pixels, std::vector<uint16_t>(12, 7));
}

TEST_F(Records, WrappedVectorGrowsWithinItsMemoryOnly) {
  std::vector<float> values(8);
  VlixVector vector = {};
  ASSERT_EQ(VlixVectorWrap(&vector, ObjType_F32, values.data(), 8), 0);
  ASSERT_EQ(VlixVectorResize(&vector, 2), 0);
  ASSERT_EQ(VlixVectorResize(&vector, 8), 0);
  EXPECT_LT(VlixVectorResize(&vector, 9), 0);
  EXPECT_NE(VlixVectorTryUseReservedMem(&vector, ObjType_F64, 5, "op"), 0);
  EXPECT_EQ(vector.data, values.data());
  EXPECT_EQ(vector.count, 8);
  VlixVectorRelease(&vector, 1);
}

TEST_F(Records, TwoViewsOfOneMemoryAreReleasedOneByOne) {
  std::vector<uint8_t> pixels(16);
  VlixImage a = {};
  VlixImage b = {};
  ASSERT_EQ(VlixImageWrap(&a, ObjType_U8, pixels.data(), 4, 4), 0);
  ASSERT_EQ(VlixImageWrap(&b, ObjType_U8, pixels.data(), 2, 2), 0);
  VlixImageRelease(&a, 1);
  EXPECT_EQ(VlixImageTryUseReservedMem(&b, ObjType_U8, 4, 4, "op"), 0) << "the memory is known to hold 16 bytes";
  VlixImageRelease(&b, 1);
}

TEST_F(Records, OwnBuffersCannotBeWrapped) {
  VlixImage image = {};
  ASSERT_EQ(VlixImageAlloc(&image, ObjType_U8, 4, 4), 0);
  VlixImage view = {};
  EXPECT_NE(VlixImageWrap(&view, ObjType_U8, image.data, 4, 4), 0);
  EXPECT_EQ(last_text(), "imageWrap: the memory is a buffer of this library");
  EXPECT_TRUE(is_empty(view));
  VlixVector vector = {};
  EXPECT_NE(VlixVectorWrap(&vector, ObjType_U8, image.data, 4), 0);
  VlixImageRelease(&image, 1);
}

TEST_F(Records, ForeignMemoryIsNeitherGrownNorFreed) {
  std::vector<uint8_t> pixels(6, 9);
  VlixImage image = {ObjType_U8, pixels.data(), 3, 2, 0, 0, 3, 2};
  EXPECT_EQ(VlixImageTryUseReservedMem(&image, ObjType_U8, 2, 3, "op"), 0);
  EXPECT_EQ(image.data, pixels.data());
  EXPECT_NE(VlixImageTryUseReservedMem(&image, ObjType_U8, 7, 1, "op"), 0);
  EXPECT_EQ(image.data, pixels.data());
  VlixImageRelease(&image, 1);
  EXPECT_EQ(pixels, std::vector<uint8_t>(6, 9));
  VlixVector vector = {ObjType_U8, pixels.data(), 6, 0};
  EXPECT_LT(VlixVectorResize(&vector, 7), 0);
  EXPECT_EQ(VlixVectorResize(&vector, 5), 0);
  VlixVectorRelease(&vector, 1);
}

TEST_F(Records, DoubleReleaseAndReleaseOfACopiedRecordAreHarmless) {
  VlixImage image = {};
  ASSERT_EQ(VlixImageAlloc(&image, ObjType_U8, 4, 4), 0);
  VlixImage stale = image;
  VlixImageRelease(&image, 1);
  VlixImageRelease(&image, 1);
  VlixImageRelease(&stale, 1);
  EXPECT_TRUE(is_empty(stale));
  VlixVector vector = {};
  VlixVectorRelease(&vector, 1);
}

TEST_F(Records, AFreshBufferAtTheAddressOfAForgottenViewIsOwned) {
  VlixVector view = {};
  void* memory = std::aligned_alloc(64, 64);
  ASSERT_EQ(VlixVectorWrap(&view, ObjType_U8, memory, 64), 0);
  std::free(memory);
  std::vector<VlixVector> fresh(64);
  for (VlixVector& vector : fresh) {
    ASSERT_EQ(VlixVectorAlloc(&vector, ObjType_U8, 64), 0);
    EXPECT_EQ(VlixVectorResize(&vector, 4096), 0) << "own buffers grow";
  }
  for (VlixVector& vector : fresh) VlixVectorRelease(&vector, 1);
}

TEST_F(Records, RoiIsRangeChecked) {
  VlixImage image = {};
  ASSERT_EQ(VlixImageAlloc(&image, ObjType_U8, 10, 8), 0);
  EXPECT_EQ(VlixImageSetRoi(&image, 9, 7, 1, 1), 0);
  EXPECT_EQ(image.roiX, 9);
  const VlixImage before = image;
  struct Roi {
    int32_t x, y, width, height;
  };
  for (const Roi& roi : {Roi{-1, 0, 2, 2}, Roi{0, -1, 2, 2}, Roi{0, 0, 0, 2}, Roi{0, 0, 2, 0}, Roi{0, 0, 11, 1},
                         Roi{0, 0, 1, 9}, Roi{5, 0, 6, 1}, Roi{kHuge, 0, kHuge, 1}, Roi{0, kHuge, 1, kHuge}}) {
    EXPECT_NE(VlixImageSetRoi(&image, roi.x, roi.y, roi.width, roi.height), 0);
    EXPECT_EQ(std::memcmp(&before, &image, sizeof(image)), 0);
  }
  VlixImageResetRoi(&image);
  EXPECT_EQ(image.roiX, 0);
  EXPECT_EQ(image.roiWidth, 10);
  EXPECT_EQ(image.roiHeight, 8);
  VlixImageRelease(&image, 1);
}

TEST_F(Records, ThreadsAllocateReuseAndReleaseAtOnce) {
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([t] {
      VlixImage image = {};
      std::vector<uint8_t> memory(64, static_cast<uint8_t>(t));
      for (int i = 1; i < 300; ++i) {
        ASSERT_EQ(VlixImageTryUseReservedMem(&image, ObjType_U8, i, 3, "op"), 0);
        std::memset(image.data, t, static_cast<std::size_t>(i) * 3);
        VlixVector view = {};
        ASSERT_EQ(VlixVectorWrap(&view, ObjType_U8, memory.data(), 64), 0);
        VlixVector copy = {};
        ASSERT_NE(VlixVectorCopy(&view, &copy), 0);
        ASSERT_EQ(static_cast<uint8_t*>(copy.data)[63], t);
        VlixVectorRelease(&copy, 1);
        VlixVectorRelease(&view, 1);
        ASSERT_EQ(static_cast<uint8_t*>(image.data)[i * 3 - 1], t);
      }
      VlixImageRelease(&image, 1);
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
