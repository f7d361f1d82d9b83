// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <string>
#include <type_traits>

#include "geometry/projection_twin.h"
#include "support/recording_platform.h"
#include "support/test_image.h"
#include "vlix/meas.h"

namespace vlix::test {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

template <class Sum>
struct Projected {
  std::vector<Sum> rows;
  std::vector<Sum> columns;
};

// Which outputs a call asks for.
enum Wanted { kRowsOnly = 1, kColumnsOnly = 2, kBoth = 3 };

// Runs vlix_projection (Pair = PointF32) or vlix_projectionInt (PointI32) and takes pairs apart.
template <class Pair>
Projected<decltype(Pair::x)> project(const VlixImage& image, Wanted wanted = kBoth, bool as_points = false) {
  using Sum = decltype(Pair::x);
  OutputVector rows, columns;
  const auto function = std::is_same_v<Pair, PointF32> ? vlix_projection : vlix_projectionInt;
  EXPECT_EQ(function(&image, (wanted & kRowsOnly) != 0 ? &rows.record : nullptr,
                     (wanted & kColumnsOnly) != 0 ? &columns.record : nullptr, as_points ? 1 : 0),
            0);
  const auto sums = [&](const OutputVector& output) {
    if (!as_points) return output.values<Sum>();
    std::vector<Sum> values;
    for (const Pair& pair : output.values<Pair>()) {
      EXPECT_EQ(pair.x, static_cast<Sum>(values.size()));
      values.push_back(pair.y);
    }
    return values;
  };
  return {sums(rows), sums(columns)};
}

template <class Pixel>
class Projection : public ::testing::Test {};
using Pixels = ::testing::Types<uint8_t, int8_t, uint16_t, int16_t, float>;
TYPED_TEST_SUITE(Projection, Pixels);

constexpr int32_t kWidths[] = {1,  3,  4,   5,   15,  16,  17,  31,  32,  33,  63,
                               64, 65, 127, 128, 129, 130, 131, 511, 512, 513, 1025};
constexpr int32_t kHeights[] = {1, 2, 3, 4, 5, 7, 15, 16, 17, 33};

// Every size is summed with and without margins around the region, at every level.
template <class Pixel, class Check>
void for_regions(int32_t width, int32_t height, Fill fill, Check&& check) {
  for (const int32_t margin : {0, 3}) {
    TestImage<Pixel> image(width + 2 * margin, height + margin, fill, static_cast<uint64_t>(width * 1000 + height));
    image.set_roi(margin, margin, width, height);
    for (const int32_t level : {0, 1, 2}) {
      const LevelScope scope(level);
      SCOPED_TRACE("width " + std::to_string(width) + " height " + std::to_string(height) + " margin " +
                   std::to_string(margin) + " level " + std::to_string(level) + " " + name_of(fill));
      check(image);
      if (::testing::Test::HasFailure()) return;
    }
  }
}

TYPED_TEST(Projection, FloatSumsAreTheTwinsInOrder) {
  const auto check = [](TestImage<TypeParam>& image) {
    const auto twin = projection_twin(image);
    const auto both = project<PointF32>(image.record);
    EXPECT_EQ(both.rows, twin.rows);
    EXPECT_EQ(both.columns, twin.columns);
    EXPECT_EQ(project<PointF32>(image.record, kRowsOnly).rows, twin.rows);
    EXPECT_EQ(project<PointF32>(image.record, kColumnsOnly).columns, twin.columns);
  };
  for (const int32_t width : kWidths) {
    for (const int32_t height : kHeights) for_regions<TypeParam>(width, height, Fill::kNoise, check);
  }
  for (const Fill fill : kFills) {
    for_regions<TypeParam>(1025, 37, fill, check);
    for_regions<TypeParam>(37, 513, fill, check);
  }
}

TYPED_TEST(Projection, IntegerSumsAreTheTwins) {
  if constexpr (std::is_integral_v<TypeParam>) {
    const auto check = [](TestImage<TypeParam>& image) {
      const auto twin = exact_projection_twin(image);
      const auto both = project<PointI32>(image.record);
      EXPECT_EQ(both.rows, converted<int32_t>(twin.rows));
      EXPECT_EQ(both.columns, converted<int32_t>(twin.columns));
      EXPECT_EQ(project<PointI32>(image.record, kRowsOnly).rows, both.rows);
      EXPECT_EQ(project<PointI32>(image.record, kColumnsOnly).columns, both.columns);
    };
    for (const int32_t width : kWidths) {
      for (const int32_t height : kHeights) for_regions<TypeParam>(width, height, Fill::kNoise, check);
    }
    for (const Fill fill : kFills) {
      for_regions<TypeParam>(1025, 257, fill, check);
      // Longer than the words of a row may be added up without a carry into the sum.
      for_regions<TypeParam>(16500, 9, fill, check);
    }
  }
}

TYPED_TEST(Projection, PairsAreIndexAndSum) {
  TestImage<TypeParam> image(43, 29, Fill::kNoise, 5);
  image.set_roi(7, 11, 30, 17);
  const auto plain = project<PointF32>(image.record);
  const auto pairs = project<PointF32>(image.record, kBoth, true);
  EXPECT_EQ(pairs.rows, plain.rows);
  EXPECT_EQ(pairs.columns, plain.columns);
  EXPECT_EQ(project<PointF32>(image.record, kRowsOnly, true).rows, plain.rows);
  EXPECT_EQ(project<PointF32>(image.record, kColumnsOnly, true).columns, plain.columns);
  if constexpr (std::is_integral_v<TypeParam>) {
    const auto integers = project<PointI32>(image.record);
    const auto integer_pairs = project<PointI32>(image.record, kBoth, true);
    EXPECT_EQ(integer_pairs.rows, integers.rows);
    EXPECT_EQ(integer_pairs.columns, integers.columns);
  }
}

// Rows of the block heights at which 16-bit partial sums are flushed.
TEST(ProjectionOfBytes, BlocksOf256RowsFlush) {
  for (const int32_t height : {255, 256, 257, 511, 512, 513, 1025}) {
    for (const int32_t width : {5, 15, 16, 17, 64, 511, 512, 513, 1025}) {
      TestImage<uint8_t> image(width, height, Fill::kHighest, 1);
      for (const int32_t level : {0, 1}) {
        const LevelScope scope(level);
        EXPECT_THAT(project<PointI32>(image.record).rows, Each(255 * width));
        EXPECT_THAT(project<PointI32>(image.record).columns, Each(255 * height));
        EXPECT_THAT(project<PointF32>(image.record, kColumnsOnly).columns, Each(255.0f * static_cast<float>(height)));
      }
    }
  }
}

TEST(ProjectionOfBytes, SquareOf300FullPixelsSumsTo76500Everywhere) {
  TestImage<uint8_t> image(300, 300, Fill::kHighest, 1);
  for (const int32_t level : {0, 1, 2}) {
    const LevelScope scope(level);
    const auto floats = project<PointF32>(image.record);
    EXPECT_THAT(floats.rows, Each(76500.0f));
    EXPECT_THAT(floats.columns, Each(76500.0f));
    const auto integers = project<PointI32>(image.record);
    EXPECT_THAT(integers.rows, Each(76500));
    EXPECT_THAT(integers.columns, Each(76500));
  }
}

// A row sum beyond 2^24, where a running float sum drops bits: exact and converted once on the fast path, running
// elsewhere.
TEST(ProjectionOfBytes, OnlyTheFastPathIsExactBeyond24Bits) {
  TestImage<uint8_t> image(80001, 2, Fill::kHighest, 1);
  image.at(79999, 1) = 1;
  const auto running = projection_twin(image);
  const auto exact = converted<float>(exact_projection_twin(image).rows);
  ASSERT_NE(running.rows, exact);
  {
    const LevelScope scope(1);
    EXPECT_EQ(project<PointF32>(image.record).rows, exact);
    EXPECT_EQ(project<PointF32>(image.record, kRowsOnly, true).rows, exact);
    image.set_roi(0, 0, 80001, 1);  // not the whole image
    EXPECT_EQ(project<PointF32>(image.record).rows, std::vector<float>{running.rows[0]});
    image.set_roi(0, 0, 80001, 2);
  }
  const LevelScope scope(0);
  EXPECT_EQ(project<PointF32>(image.record).rows, running.rows);
}

TEST(ProjectionOfBytes, ColumnsOfFourAndLessStayOnThePlainPath) {
  for (const int32_t width : {4, 5}) {
    TestImage<uint8_t> image(width, 80001, Fill::kHighest, 1);
    image.at(2, 80000) = 1;
    const LevelScope scope(1);
    const auto exact = converted<float>(exact_projection_twin(image).columns);
    const auto running = projection_twin(image).columns;
    ASSERT_NE(running, exact);
    EXPECT_EQ(project<PointF32>(image.record).columns, width == 4 ? running : exact);
  }
}

TYPED_TEST(Projection, RunningSumsBeyond24BitsKeepTheirOrder) {
  for (const auto& [width, height] : {std::pair{70003, 19}, std::pair{19, 70003}}) {
    for (const Fill fill : {Fill::kNoise, Fill::kHighest, Fill::kLowest}) {
      TestImage<TypeParam> image(width, height, fill, 3);
      const LevelScope scope(0);
      const auto twin = projection_twin(image);
      const auto both = project<PointF32>(image.record);
      EXPECT_EQ(both.rows, twin.rows);
      EXPECT_EQ(both.columns, twin.columns);
    }
  }
}

TEST(ProjectionOfFloats, FractionsAreDroppedTowardZero) {
  TestImage<float> image(2, 1);
  image.assign({1.9f, -0.9f});
  EXPECT_EQ(project<PointF32>(image.record).rows, std::vector<float>{1.0f});
  EXPECT_EQ(project<PointF32>(image.record).columns, (std::vector<float>{1.0f, 0.0f}));
  image.assign({2.9f, -1.7f});
  EXPECT_EQ(project<PointF32>(image.record).columns, (std::vector<float>{2.0f, -1.0f}));
}

TEST(ProjectionOfFloats, WhatDoesNotFitAnIntegerCountsAsTheLowest) {
  const float infinity = std::numeric_limits<float>::infinity();
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const float lowest = -2147483648.0f;
  // Wide enough for the vectorised part, with the odd values at its start and in the rest.
  for (const std::size_t at : {std::size_t{0}, std::size_t{66}}) {
    for (const float value : {infinity, -infinity, nan, -nan, 1e30f, -1e30f, 2147483648.0f, lowest, -2147483904.0f}) {
      TestImage<float> image(67, 1);
      image.data()[at] = value;
      EXPECT_EQ(project<PointF32>(image.record).columns[at], lowest) << value;
      EXPECT_EQ(project<PointF32>(image.record).rows[0], lowest) << value;
    }
    for (const float value : {2147483520.0f, -2147483520.0f, 16777217.0f, -0.0f, 1e-40f}) {
      TestImage<float> image(67, 1);
      image.data()[at] = value;
      EXPECT_EQ(project<PointF32>(image.record).columns[at], std::trunc(value)) << value;
      EXPECT_FALSE(std::signbit(project<PointF32>(image.record).rows[0]) && value > -1.0f) << value;
    }
  }
}

TEST(ProjectionOfIntegers, SumsWrapAt32Bits) {
  TestImage<uint16_t> wide(70000, 1, Fill::kHighest, 1);
  EXPECT_EQ(project<PointI32>(wide.record).rows, std::vector<int32_t>{static_cast<int32_t>(70000u * 65535u)});
  TestImage<uint16_t> high(1, 70000, Fill::kHighest, 1);
  EXPECT_EQ(project<PointI32>(high.record).columns, std::vector<int32_t>{static_cast<int32_t>(70000u * 65535u)});
  TestImage<int16_t> negative(70000, 1, Fill::kLowest, 1);
  EXPECT_EQ(project<PointI32>(negative.record).rows, std::vector<int32_t>{static_cast<int32_t>(70000u * 4294934528u)});
}

TYPED_TEST(Projection, EmptyRegionGivesZeros) {
  TestImage<TypeParam> image(7, 3, Fill::kHighest, 1);
  for (const int32_t level : {0, 1}) {
    const LevelScope scope(level);
    image.set_roi(0, 0, 7, 0);
    EXPECT_EQ(project<PointF32>(image.record, kColumnsOnly).columns, std::vector<float>(7));
    EXPECT_EQ(project<PointF32>(image.record, kColumnsOnly, true).columns, std::vector<float>(7));
    EXPECT_THAT(project<PointF32>(image.record).rows, IsEmpty());
    image.set_roi(0, 0, 0, 3);
    EXPECT_EQ(project<PointF32>(image.record, kRowsOnly).rows, std::vector<float>(3));
    EXPECT_THAT(project<PointF32>(image.record).columns, IsEmpty());
  }
}

TYPED_TEST(Projection, OutputsOfAnotherLengthAndTypeAreShapedAnew) {
  TestImage<TypeParam> image(20, 10, Fill::kRamp, 1);
  OutputVector rows, columns;
  ASSERT_EQ(VlixVectorAlloc(&rows.record, ObjType_PointF32, 50), 0);
  ASSERT_EQ(VlixVectorAlloc(&columns.record, ObjType_U8, 3), 0);
  ASSERT_EQ(vlix_projection(&image.record, &rows.record, &columns.record, 0), 0);
  const auto twin = projection_twin(image);
  EXPECT_EQ(rows.values<float>(), twin.rows);
  EXPECT_EQ(columns.values<float>(), twin.columns);
  EXPECT_EQ(rows.record.type, static_cast<uint32_t>(ObjType_F32));
}

// ---- Checks, reports, platform calls, releases ----

struct Export {
  decltype(&vlix_projection) function;
  std::string codes;
  std::string sums, pairs;
  std::string vectors, row_buffer, column_buffer;
};

const Export kFloats = {vlix_projection, "5, 10, 6, 11, 7, 17", "F32",       "PointF32",
                        "projection",    "projection",          "projection"};
const Export kIntegers = {vlix_projectionInt, "4, 10, 6, 11, 7", "S32",       "PointI32",
                          "projectionInt",    "projectionInt",   "projection"};

class ProjectionFrame : public ::testing::TestWithParam<Export> {
 protected:
  ProjectionFrame() {
    image_.set_roi(1, 2, 8, 5);
    platform_.name(rows_.record, "rows");
    platform_.name(columns_.record, "columns");
  }
  VlixStatus call(VlixVector* rows, VlixVector* columns, int32_t as_points) {
    return platform_.call(GetParam().function, &image_.record, rows, columns, as_points);
  }
  std::string check() const { return "VlixObjCheckEqList(10, " + GetParam().codes + ")"; }
  std::string shape(const std::string& vector, const std::string& type, int32_t count) const {
    return "VlixVectorTryUseReservedMem(" + vector + ", " + type + ", " + std::to_string(count) + ", \"" +
           GetParam().vectors + "\")";
  }

  RecordingPlatform platform_;
  TestImage<uint8_t> image_{10, 10, Fill::kNoise, 1};
  OutputVector rows_, columns_;
};

INSTANTIATE_TEST_SUITE_P(Exports, ProjectionFrame, ::testing::Values(kFloats, kIntegers),
                         [](const auto& export_of) { return export_of.index == 0 ? "Floats" : "Integers"; });

TEST_P(ProjectionFrame, UnsupportedTypeIsReportedAsProjectionEvenWithoutOutputs) {
  for (const uint32_t type : {uint32_t{ObjType_Rgba8}, uint32_t{ObjType_S32}, uint32_t{ObjType_F64}}) {
    platform_.clear();
    image_.record.type = type;
    EXPECT_EQ(call(nullptr, nullptr, 0), platform_.report_result);
    EXPECT_EQ(call(&rows_.record, &columns_.record, 1), platform_.report_result);
    const Report expected{1, "projection", VlixObjGetName(static_cast<int32_t>(type))};
    EXPECT_THAT(platform_.reports(), ElementsAre(expected, expected));
  }
  EXPECT_EQ(rows_.record.data, nullptr);
}

TEST(ProjectionFrameOfIntegers, FloatImageIsReportedAsProjection) {
  RecordingPlatform platform;
  TestImage<float> image(2, 2);
  EXPECT_EQ(platform.call(vlix_projectionInt, &image.record, nullptr, nullptr, 0), platform.report_result);
  EXPECT_THAT(platform.reports(), ElementsAre(Report{1, "projection", "F32"}));
}

TEST_P(ProjectionFrame, WithoutOutputsOnlyTheTypeIsChecked) {
  EXPECT_EQ(call(nullptr, nullptr, 1), 0);
  EXPECT_THAT(platform_.calls(), ElementsAre(check()));
}

TEST_P(ProjectionFrame, RowsAreShapedBeforeColumns) {
  EXPECT_EQ(call(&rows_.record, &columns_.record, 0), 0);
  const auto calls = platform_.calls();
  ASSERT_GE(calls.size(), 3u);
  EXPECT_EQ(calls[0], check());
  EXPECT_EQ(calls[1], shape("rows", GetParam().sums, 5));
  EXPECT_EQ(calls[2], shape("columns", GetParam().sums, 8));
  EXPECT_THAT(platform_.calls_of("VlixVectorRelease"), IsEmpty());
  EXPECT_EQ(platform_.heap_live(), 0);

  platform_.clear();
  EXPECT_EQ(call(nullptr, &columns_.record, -1), 0);
  EXPECT_THAT(platform_.calls_of("VlixVectorTryUseReservedMem"), ElementsAre(shape("columns", GetParam().pairs, 8)));
  EXPECT_EQ(platform_.heap_live(), 0);
}

TEST_P(ProjectionFrame, RowsThatCannotBeShapedEndTheCall) {
  platform_.fail("VlixVectorTryUseReservedMem");
  EXPECT_EQ(call(&rows_.record, &columns_.record, 1), 1);
  EXPECT_THAT(platform_.calls(), ElementsAre(check(), shape("rows", GetParam().pairs, 5)));
  EXPECT_THAT(platform_.reports(), IsEmpty());
  EXPECT_EQ(platform_.heap_live(), 0);
}

TEST_P(ProjectionFrame, ColumnsThatCannotBeShapedReleaseTheRows) {
  for (const int32_t as_points : {0, 1}) {
    platform_.clear();
    platform_.fail("VlixVectorTryUseReservedMem", 2);
    EXPECT_EQ(call(&rows_.record, &columns_.record, as_points), 1);
    EXPECT_THAT(platform_.calls_of("VlixVectorRelease"), ElementsAre("VlixVectorRelease(rows, 1)"));
    EXPECT_THAT(platform_.reports(), IsEmpty());
    EXPECT_THAT(platform_.live_buffers(), IsEmpty());
    EXPECT_EQ(platform_.heap_live(), 0);
  }
}

TEST_P(ProjectionFrame, RowsOfTheCallerStayWhenColumnsCannotBeShaped) {
  ASSERT_EQ(VlixVectorAlloc(&rows_.record, ObjType_U8, 1), 0);
  platform_.fail("VlixVectorTryUseReservedMem", 2);
  EXPECT_EQ(call(&rows_.record, &columns_.record, 1), 1);
  EXPECT_THAT(platform_.calls_of("VlixVectorRelease"), IsEmpty());
  EXPECT_NE(rows_.record.data, nullptr);
  EXPECT_EQ(platform_.heap_live(), 0);
}

TEST_P(ProjectionFrame, FailedRowBufferIsReportedAfterTheRowsAreReleased) {
  if (!RecordingPlatform::heap_is_watched()) GTEST_SKIP();
  platform_.fail_heap(1);
  EXPECT_EQ(call(&rows_.record, &columns_.record, 1), platform_.report_result);
  EXPECT_THAT(platform_.heap_requests(), ElementsAre(20u));
  EXPECT_THAT(platform_.calls(),
              ElementsAre(check(), shape("rows", GetParam().pairs, 5), "VlixVectorRelease(rows, 1)"));
  EXPECT_THAT(platform_.reports(), ElementsAre(Report{0, GetParam().row_buffer, "20"}));
  EXPECT_THAT(platform_.live_buffers(), IsEmpty());
}

TEST_P(ProjectionFrame, FailedColumnBufferReleasesRowsThenColumns) {
  if (!RecordingPlatform::heap_is_watched()) GTEST_SKIP();
  platform_.fail_heap(2);
  EXPECT_EQ(call(&rows_.record, &columns_.record, 1), platform_.report_result);
  EXPECT_THAT(platform_.heap_requests(), ElementsAre(20u, 32u));
  EXPECT_THAT(platform_.calls_of("VlixVectorRelease"),
              ElementsAre("VlixVectorRelease(rows, 1)", "VlixVectorRelease(columns, 1)"));
  EXPECT_THAT(platform_.reports(), ElementsAre(Report{0, GetParam().column_buffer, "32"}));
  EXPECT_THAT(platform_.live_buffers(), IsEmpty());
  EXPECT_EQ(platform_.heap_live(), 0);
}

TEST_P(ProjectionFrame, VectorsOfTheCallerStayWhenABufferFails) {
  if (!RecordingPlatform::heap_is_watched()) GTEST_SKIP();
  ASSERT_EQ(VlixVectorAlloc(&columns_.record, ObjType_U8, 1), 0);
  platform_.fail_heap(2);
  EXPECT_EQ(call(&rows_.record, &columns_.record, 1), platform_.report_result);
  EXPECT_THAT(platform_.calls_of("VlixVectorRelease"), ElementsAre("VlixVectorRelease(rows, 1)"));
  EXPECT_NE(columns_.record.data, nullptr);

  platform_.clear();
  platform_.fail_heap(1);
  EXPECT_EQ(call(nullptr, &columns_.record, 1), platform_.report_result);
  EXPECT_THAT(platform_.calls_of("VlixVectorRelease"), IsEmpty());
  EXPECT_THAT(platform_.reports(), ElementsAre(Report{0, GetParam().column_buffer, "32"}));
}

// Without its block of partial sums the fast path leaves the columns at zero and says nothing.
TEST_P(ProjectionFrame, FailedBlockOfPartialSumsLeavesZeroColumns) {
  if (!RecordingPlatform::heap_is_watched()) GTEST_SKIP();
  image_.set_roi(0, 0, 10, 10);
  platform_.level = 1;
  for (const int32_t as_points : {0, 1}) {
    SCOPED_TRACE(as_points);
    platform_.clear();
    EXPECT_EQ(call(&rows_.record, &columns_.record, as_points), 0);
    const auto expected_rows = rows_.values<int32_t>();
    ASSERT_EQ(platform_.heap_requests().size(), as_points != 0 ? 3u : 1u);

    platform_.clear();
    platform_.fail_heap(as_points != 0 ? 3 : 1);
    EXPECT_EQ(call(&rows_.record, &columns_.record, as_points), 0);
    EXPECT_THAT(platform_.reports(), IsEmpty());
    EXPECT_EQ(rows_.values<int32_t>(), expected_rows);
    if (as_points == 0) {
      EXPECT_THAT(columns_.values<int32_t>(), Each(0));
    } else if (GetParam().sums == "S32") {
      for (const PointI32& pair : columns_.values<PointI32>()) EXPECT_EQ(pair.y, 0);
    } else {
      for (const PointF32& pair : columns_.values<PointF32>()) EXPECT_EQ(pair.y, 0.0f);
    }
    EXPECT_EQ(platform_.heap_live(), 0);
  }
  // Rows alone need no block.
  platform_.clear();
  EXPECT_EQ(call(&rows_.record, nullptr, 0), 0);
  EXPECT_THAT(platform_.heap_requests(), IsEmpty());
}

}  // namespace
}  // namespace vlix::test
