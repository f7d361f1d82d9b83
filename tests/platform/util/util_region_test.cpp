// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <set>
#include <utility>

#include "support/heap_watch.h"
#include "support/test_image.h"
#include "vlix/util.h"

namespace vlix::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Pixel = std::pair<int32_t, int32_t>;  // row, column: ordered as scans are
using PixelSet = std::set<Pixel>;

static_assert(offsetof(VlixRegionHandle, region) == 16);

class Region {
 public:
  Region() = default;
  Region(const Region&) = delete;
  Region& operator=(const Region&) = delete;
  ~Region() { VlixRegionRelease(&record); }
  VlixRegion record = {};
};

// In the order of the calls.
std::vector<Pixel> pixels_of(const VlixRegion& region) {
  std::vector<Pixel> pixels;
  VlixRegion copy = region;
  const auto note = [](void* list, int32_t x, int32_t y) { static_cast<std::vector<Pixel>*>(list)->push_back({y, x}); };
  EXPECT_EQ(VlixUtilScanRoi(&pixels, &copy, note), 0);
  return pixels;
}

PixelSet set_of(const VlixRegion& region) {
  const std::vector<Pixel> pixels = pixels_of(region);
  PixelSet set(pixels.begin(), pixels.end());
  EXPECT_EQ(set.size(), pixels.size()) << "a pixel twice";
  EXPECT_TRUE(std::is_sorted(pixels.begin(), pixels.end()));
  EXPECT_EQ(VlixRegionPixelCount(&region), static_cast<int64_t>(pixels.size()));
  return set;
}

// Runs of sets as they have to be after each operation: as long as possible, in order.
void expect_shortest_form(const VlixRegion& region) {
  for (int64_t i = 0; i < region.count; ++i) {
    ASSERT_LT(region.runs[i].begin, region.runs[i].end);
    if (i == 0) continue;
    const VlixRun& before = region.runs[i - 1];
    ASSERT_TRUE(before.y < region.runs[i].y || (before.y == region.runs[i].y && before.end < region.runs[i].begin));
  }
}

std::string last_report() {
  VlixOpReport report = {};
  VlixOpLastReport(&report);
  return report.text;
}

constexpr int32_t kSide = 12;

// A random set of pixels of a small field, dense enough for long runs and neighbours.
rc::Gen<PixelSet> any_set() {
  const auto bits = rc::gen::container<std::vector<int>>(kSide * kSide, rc::gen::inRange(0, 3));
  return rc::gen::map(bits, [](const std::vector<int>& values) {
    PixelSet set;
    for (int32_t i = 0; i < kSide * kSide; ++i) {
      if (values[static_cast<std::size_t>(i)] > 0) set.insert({i / kSide - 5, i % kSide - 5});
    }
    return set;
  });
}

// By hand, a pixel a run: a legal form, though not the shortest.
std::vector<VlixRun> runs_of(const PixelSet& set) {
  std::vector<VlixRun> runs;
  for (const auto& [y, x] : set) runs.push_back({y, x, x + 1});
  return runs;
}

VlixRegion region_of(std::vector<VlixRun>& runs) { return {runs.data(), static_cast<int64_t>(runs.size()), 0}; }

using Operation = int32_t (*)(const VlixRegion*, const VlixRegion*, VlixRegion*);

PixelSet combined(Operation operation, const PixelSet& a, const PixelSet& b) {
  std::vector<VlixRun> a_runs = runs_of(a);
  std::vector<VlixRun> b_runs = runs_of(b);
  const VlixRegion a_region = region_of(a_runs);
  const VlixRegion b_region = region_of(b_runs);
  Region result;
  EXPECT_EQ(operation(&a_region, &b_region, &result.record), 0);
  expect_shortest_form(result.record);
  return set_of(result.record);
}

RC_GTEST_PROP(UtilRegion, OperationsAreThoseOfSets, ()) {
  const PixelSet a = *any_set();
  const PixelSet b = *any_set();
  PixelSet both, either, only_a;
  std::set_union(a.begin(), a.end(), b.begin(), b.end(), std::inserter(either, either.end()));
  std::set_intersection(a.begin(), a.end(), b.begin(), b.end(), std::inserter(both, both.end()));
  std::set_difference(a.begin(), a.end(), b.begin(), b.end(), std::inserter(only_a, only_a.end()));
  RC_ASSERT(combined(VlixRegionUnion, a, b) == either);
  RC_ASSERT(combined(VlixRegionIntersection, a, b) == both);
  RC_ASSERT(combined(VlixRegionDifference, a, b) == only_a);
}

RC_GTEST_PROP(UtilRegion, LawsOfAlgebra, ()) {
  const auto unite = [](const PixelSet& a, const PixelSet& b) { return combined(VlixRegionUnion, a, b); };
  const auto intersect = [](const PixelSet& a, const PixelSet& b) { return combined(VlixRegionIntersection, a, b); };
  const auto subtract = [](const PixelSet& a, const PixelSet& b) { return combined(VlixRegionDifference, a, b); };
  const PixelSet a = *any_set();
  const PixelSet b = *any_set();
  const PixelSet c = *any_set();
  RC_ASSERT(unite(a, b) == unite(b, a));
  RC_ASSERT(intersect(a, b) == intersect(b, a));
  RC_ASSERT(unite(unite(a, b), c) == unite(a, unite(b, c)));
  RC_ASSERT(intersect(intersect(a, b), c) == intersect(a, intersect(b, c)));
  RC_ASSERT(intersect(a, unite(b, c)) == unite(intersect(a, b), intersect(a, c)));
  RC_ASSERT(subtract(a, unite(b, c)) == intersect(subtract(a, b), subtract(a, c)));
  RC_ASSERT(unite(subtract(a, b), intersect(a, b)) == a);
  RC_ASSERT(unite(a, a) == a);
  RC_ASSERT(intersect(a, a) == a);
  RC_ASSERT(subtract(a, a).empty());
  RC_ASSERT(unite(a, {}) == a);
  RC_ASSERT(intersect(a, {}).empty());
  RC_ASSERT(subtract(a, {}) == a);
  RC_ASSERT(unite(a, b).size() + intersect(a, b).size() == a.size() + b.size());
}

RC_GTEST_PROP(UtilRegion, MaskGivesItsPixelsBack, ()) {
  const PixelSet set = *any_set();
  TestImage<uint8_t> mask(kSide + 5, kSide + 4, Fill::kHighest, 1);
  mask.set_roi(3, 2, kSide, kSide);
  for (int32_t y = 0; y < kSide; ++y) {
    for (int32_t x = 0; x < kSide; ++x) mask.roi_at(x, y) = set.count({y - 5, x - 5}) != 0 ? 7 : 0;
  }
  Region region;
  RC_ASSERT(VlixRegionFromMask(&mask.record, &region.record) == 0);
  expect_shortest_form(region.record);
  PixelSet moved;
  for (const auto& [y, x] : set_of(region.record)) moved.insert({y - 5, x - 5});
  RC_ASSERT(moved == set);
}

template <class Value>
std::vector<Pixel> mask_pixels(const std::vector<Value>& values) {
  TestImage<Value> mask(static_cast<int32_t>(values.size()), 1);
  mask.assign(values);
  Region region;
  EXPECT_EQ(VlixRegionFromMask(&mask.record, &region.record), 0);
  return pixels_of(region.record);
}

TEST(UtilRegion, MaskOfEveryType) {
  EXPECT_THAT(mask_pixels<uint8_t>({0, 255, 1, 0, 0, 128}), ElementsAre(Pixel{0, 1}, Pixel{0, 2}, Pixel{0, 5}));
  EXPECT_THAT(mask_pixels<int8_t>({-1, 0, -128}), ElementsAre(Pixel{0, 0}, Pixel{0, 2}));
  EXPECT_THAT(mask_pixels<uint16_t>({256, 0}), ElementsAre(Pixel{0, 0}));
  EXPECT_THAT(mask_pixels<int16_t>({0, -256}), ElementsAre(Pixel{0, 1}));
  const float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_THAT(mask_pixels<float>({0.0f, -0.0f, 1e-40f, nan}), ElementsAre(Pixel{0, 2}, Pixel{0, 3}));
}

TEST(UtilRegion, MaskWithoutPixelsIsAnEmptyRegion) {
  TestImage<uint8_t> mask(5, 4);
  Region region;
  EXPECT_EQ(VlixRegionFromMask(&mask.record, &region.record), 0);
  EXPECT_THAT(pixels_of(region.record), IsEmpty());
}

TEST(UtilRegion, ShapeGivesThePixelsOfTheRasteriser) {
  const VlixEllipseShape ellipse = {4.25f, -3, 9, 5, 30};
  VlixShape shape = {VlixShape_Ellipse, {}, &ellipse};
  Region region;
  ASSERT_EQ(VlixRegionFromShape(&shape, &region.record), 0);
  expect_shortest_form(region.record);
  std::vector<Pixel> rasterised;
  const auto note = [](void* list, int32_t x, int32_t y) { static_cast<std::vector<Pixel>*>(list)->push_back({y, x}); };
  ASSERT_EQ(VlixUtilRasterizeRoi(&rasterised, &shape, note), 0);
  EXPECT_EQ(pixels_of(region.record), rasterised);
}

TEST(UtilRegion, TouchingRunsOfAShapeAreJoined) {
  // Two squares that share a border: the crossings of the two inner edges coincide.
  const std::vector<PointF32> vertices = {{0, 0}, {4, 0}, {4, 4}, {4, 0}, {8, 0}, {8, 4}, {0, 4}};
  const VlixPolygonShape polygon = {vertices.data(), static_cast<int32_t>(vertices.size())};
  const VlixShape shape = {VlixShape_Polygon, {}, &polygon};
  Region region;
  ASSERT_EQ(VlixRegionFromShape(&shape, &region.record), 0);
  EXPECT_EQ(region.record.count, 4);
  EXPECT_EQ(VlixRegionPixelCount(&region.record), 32);
}

TEST(UtilRegion, ResultMayBeAnOperand) {
  std::vector<VlixRun> runs = {{0, 0, 4}, {1, 2, 3}};
  const VlixRegion small = region_of(runs);
  Region all;
  for (const Operation operation : {VlixRegionUnion, VlixRegionUnion, VlixRegionIntersection}) {
    ASSERT_EQ(operation(&all.record, &small, &all.record), 0);
    EXPECT_EQ(pixels_of(all.record), pixels_of(small));
  }
  ASSERT_EQ(VlixRegionDifference(&small, &all.record, &all.record), 0);
  EXPECT_THAT(pixels_of(all.record), IsEmpty());
  ASSERT_EQ(VlixRegionUnion(&small, &small, &all.record), 0);
  ASSERT_EQ(VlixRegionDifference(&all.record, &all.record, &all.record), 0);
  EXPECT_THAT(pixels_of(all.record), IsEmpty());
}

TEST(UtilRegion, RunsOfTheCallerAreNeverFreed) {
  std::vector<VlixRun> runs = {{0, 0, 4}};
  std::vector<VlixRun> other = {{0, 2, 9}};
  VlixRegion region = region_of(runs);
  const VlixRegion b = region_of(other);
  ASSERT_EQ(VlixRegionUnion(&region, &b, &region), 0);
  EXPECT_NE(region.runs, runs.data());
  EXPECT_EQ(VlixRegionPixelCount(&region), 9);
  VlixRegionRelease(&region);
  VlixRegionRelease(&region);
  EXPECT_EQ(region.runs, nullptr);
  VlixRegion by_hand = region_of(runs);
  VlixRegionRelease(&by_hand);
  EXPECT_EQ(by_hand.count, 0);
  EXPECT_EQ(runs.front().end, 4);
  VlixRegionRelease(nullptr);
}

TEST(UtilRegion, ExtremesOfCoordinatesDoNotWrap) {
  constexpr int32_t kLow = std::numeric_limits<int32_t>::min();
  constexpr int32_t kHigh = std::numeric_limits<int32_t>::max();
  std::vector<VlixRun> whole = {{kLow, kLow, kHigh}, {kHigh, kLow, kHigh}};
  std::vector<VlixRun> middle = {{kLow, -1, 1}, {0, 5, 6}, {kHigh, -1, kHigh}};
  const VlixRegion a = region_of(whole);
  const VlixRegion b = region_of(middle);
  Region result;
  ASSERT_EQ(VlixRegionDifference(&a, &b, &result.record), 0);
  EXPECT_EQ(result.record.count, 3);
  // Two parts of 2^31 - 1 columns left of -1, and one of 2^31 - 2 from 1 on.
  EXPECT_EQ(VlixRegionPixelCount(&result.record), int64_t{kHigh} * 3 - 1);
  ASSERT_EQ(VlixRegionUnion(&a, &b, &result.record), 0);
  EXPECT_EQ(VlixRegionPixelCount(&result.record), 2 * (int64_t{kHigh} - kLow) + 1);
}

TEST(UtilRegion, RunsOutOfOrderAreRefusedWithoutACall) {
  int calls = 0;
  const auto count = [](void* number, int32_t, int32_t) { ++*static_cast<int*>(number); };
  const std::vector<std::vector<VlixRun>> bad = {
      {{0, 3, 3}}, {{0, 3, 2}}, {{0, 0, 3}, {0, 2, 5}}, {{0, 4, 5}, {0, 1, 2}}, {{1, 0, 1}, {0, 0, 1}}};
  for (std::vector<VlixRun> runs : bad) {
    VlixRegion region = region_of(runs);
    VlixRegion empty = {};
    Region result;
    EXPECT_NE(VlixUtilScanRoi(&calls, &region, count), 0);
    EXPECT_NE(VlixRegionUnion(&region, &empty, &result.record), 0);
    EXPECT_EQ(last_report(), "regionUnion: the runs of a region are not in order");
    EXPECT_NE(VlixRegionUnion(&empty, &region, &result.record), 0);
    EXPECT_EQ(result.record.runs, nullptr);
  }
  std::vector<VlixRun> runs = {{0, 0, 3}};
  VlixRegion negative = {runs.data(), -1, 0};
  VlixRegion missing = {nullptr, 1, 0};
  EXPECT_NE(VlixUtilScanRoi(&calls, &negative, count), 0);
  EXPECT_NE(VlixUtilScanRoi(&calls, &missing, count), 0);
  EXPECT_NE(VlixUtilScanRoi(&calls, nullptr, count), 0);
  VlixRegion good = region_of(runs);
  EXPECT_NE(VlixUtilScanRoi(&calls, &good, nullptr), 0);
  EXPECT_EQ(calls, 0);
}

TEST(UtilRegion, ScanDoesNotReport) {
  VlixOpClear();
  VlixRegion missing = {nullptr, 1, 0};
  EXPECT_NE(VlixUtilScanRoi(nullptr, &missing, [](void*, int32_t, int32_t) {}), 0);
  EXPECT_EQ(last_report(), "");
}

TEST(UtilRegion, NullsAreRefusedAndReported) {
  VlixRegion region = {};
  const VlixRectShape rect = {0, 0, 2, 2};
  const VlixShape shape = {VlixShape_Rect, {}, &rect};
  TestImage<uint8_t> mask(1, 1);
  VlixImage empty = mask.record;
  empty.data = nullptr;
  VlixOpClear();
  uint64_t reports = 0;
  const auto refused = [&](int32_t status) {
    VlixOpReport report = {};
    VlixOpLastReport(&report);
    return status == VLIX_STATUS_MESSAGE && report.count == ++reports;
  };
  EXPECT_TRUE(refused(VlixRegionFromMask(nullptr, &region)));
  EXPECT_TRUE(refused(VlixRegionFromMask(&mask.record, nullptr)));
  EXPECT_TRUE(refused(VlixRegionFromMask(&empty, &region)));
  EXPECT_TRUE(refused(VlixRegionFromShape(nullptr, &region)));
  EXPECT_TRUE(refused(VlixRegionFromShape(&shape, nullptr)));
  for (const Operation operation : {VlixRegionUnion, VlixRegionIntersection, VlixRegionDifference}) {
    EXPECT_TRUE(refused(operation(nullptr, &region, &region)));
    EXPECT_TRUE(refused(operation(&region, nullptr, &region)));
    EXPECT_TRUE(refused(operation(&region, &region, nullptr)));
  }
  EXPECT_EQ(VlixRegionPixelCount(nullptr), 0);
  const VlixRegion no_runs = {nullptr, 5, 0};
  EXPECT_EQ(VlixRegionPixelCount(&no_runs), 0);
}

TEST(UtilRegion, WhatIsRefusedIsReportedByNameAndLeavesTheRegion) {
  TestImage<Rgba> colour(2, 2);
  std::vector<VlixRun> runs = {{0, 0, 3}};
  VlixRegion region = region_of(runs);
  EXPECT_EQ(VlixRegionFromMask(&colour.record, &region), VLIX_STATUS_UNSUPPORTED_TYPE);
  EXPECT_EQ(last_report(), "regionFromMask: unsupported type Rgba8");
  const VlixRectShape line = {0, 0, 0, 2};
  VlixShape shape = {VlixShape_Rect, {}, &line};
  EXPECT_EQ(VlixRegionFromShape(&shape, &region), VLIX_STATUS_MESSAGE);
  EXPECT_EQ(last_report(), "regionFromShape: the shape is refused, it has no area");
  shape.kind = VlixShape_PixelRect;
  EXPECT_NE(VlixRegionFromShape(&shape, &region), 0);
  shape.kind = 77;
  EXPECT_NE(VlixRegionFromShape(&shape, &region), 0);
  EXPECT_EQ(last_report(), "regionFromShape: the shape is refused, its kind is not known");
  EXPECT_EQ(region.runs, runs.data());
  EXPECT_EQ(region.count, 1);
}

TEST(UtilRegion, EveryFailedAllocationIsReportedAndLeavesTheRegion) {
  if (!HeapWatch::available()) GTEST_SKIP() << "a sanitizer owns the heap";
  TestImage<uint8_t> mask(2000, 1, Fill::kNoise, 3);  // some hundred runs: the list grows more than once
  const std::vector<PointF32> vertices = {{0, 0}, {90, 10}, {50, 80}};
  const VlixPolygonShape polygon = {vertices.data(), 3};
  const VlixShape shape = {VlixShape_Polygon, {}, &polygon};
  for (int x = 0; x < 2000; x += 3) mask.at(x, 0) = 0;
  Region before;
  ASSERT_EQ(VlixRegionFromMask(&mask.record, &before.record), 0);
  const auto expect_failures = [&](int at_least, auto call) {
    int failures = 0;
    for (int n = 1;; ++n) {
      VlixRegion kept = before.record;
      VlixRegion empty = {};
      HeapWatch::reset();
      HeapWatch::enable();
      HeapWatch::fail_nth(n);
      const int32_t status = call(&empty);
      HeapWatch::disable();
      if (status == 0) {
        VlixRegionRelease(&empty);
        break;
      }
      ++failures;
      EXPECT_EQ(status, VLIX_STATUS_OUT_OF_MEMORY);
      EXPECT_THAT(last_report(), ::testing::MatchesRegex("region[A-Za-z]*: out of memory .[1-9][0-9]* bytes."));
      EXPECT_EQ(HeapWatch::live(), 0) << "allocation " << n;
      EXPECT_EQ(empty.runs, nullptr);
      EXPECT_EQ(kept.runs, before.record.runs);
    }
    EXPECT_GE(failures, at_least);
  };
  expect_failures(4, [&](VlixRegion* region) { return VlixRegionFromMask(&mask.record, region); });
  expect_failures(5, [&](VlixRegion* region) { return VlixRegionFromShape(&shape, region); });
  expect_failures(4, [&](VlixRegion* region) { return VlixRegionUnion(&before.record, &before.record, region); });
}

}  // namespace
}  // namespace vlix::test
