// SPDX-License-Identifier: Apache-2.0
// Every platform call and every heap allocation of every operation fails in turn.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>

#include "support/all_exports.h"
#include "support/document.h"
#include "support/test_image.h"
#include "vlix/meas.h"

namespace vlix::test {
namespace {

// The functions whose failure an operation has to survive, as the call list names them.
std::vector<std::string> fallible_calls(const RecordingPlatform& platform) {
  static const std::set<std::string> kCannotFail = {"VlixImageRelease", "VlixVectorRelease", "vlix_ippsFree",
                                                    "VlixOptimGetLevel"};
  std::vector<std::string> names;
  for (const std::string& call : platform.calls()) {
    const std::string name = call.substr(0, call.find('('));
    if (!kCannotFail.contains(name)) names.push_back(name);
  }
  return names;
}

// What a platform call failed with must not be lost: either the call reports, or its own result is not 0, or another
// path has delivered the same outputs. An abandoned sub-result of a primitive may differ between the paths of float
// sums.
void expect_survival(const ExportCase& item, const RecordingPlatform& platform, const Outcome& outcome,
                     const Outcome& good, const std::string& failed) {
  // The result of the resize is not tested, on purpose.
  if (outcome.status == 0 && item.levels_agree && failed != "VlixVectorResize") {
    EXPECT_EQ(outcome.bytes, good.bytes) << "success with other results";
  }
  EXPECT_EQ(platform.heap_live(), 0) << "heap blocks leak";
  // A template of a wrong type leaves the float copy of the target behind, on purpose.
  const bool copy_stays = item.export_name == "vlix_nxcorr" && failed == "VlixObjCheckEqList";
  EXPECT_LE(static_cast<int>(platform.live_buffers().size()), std::max(item.kept_buffers, copy_stays ? 1 : 0))
      << "buffers leak";
}

class Faults : public ::testing::TestWithParam<int32_t> {};

TEST_P(Faults, EachPlatformCallInTurn) {
  for (const ExportCase& item : all_exports()) {
    SCOPED_TRACE(item.name);
    RecordingPlatform platform;
    platform.level = GetParam();
    const Outcome good = item.run(&platform);
    const std::vector<std::string> calls = fallible_calls(platform);
    const bool copies_are_kept = GetParam() != 0;
    EXPECT_EQ(platform.live_buffers().size(), copies_are_kept ? static_cast<std::size_t>(item.kept_buffers) : 0u);
    std::map<std::string, int> nth;
    for (const std::string& name : calls) {
      SCOPED_TRACE(name + " number " + std::to_string(++nth[name]));
      if (nth[name] > 3) continue;  // one call per placement: the later ones are alike
      platform.clear();
      platform.fail(name, nth[name]);
      const Outcome outcome = item.run(&platform);
      expect_survival(item, platform, outcome, good, name);
      if (outcome.status == platform.report_result) {
        EXPECT_FALSE(platform.reports().empty());
      }
    }
  }
}

TEST_P(Faults, EachHeapAllocationInTurn) {
  if (!RecordingPlatform::heap_is_watched()) GTEST_SKIP() << "a sanitizer or memory checker owns malloc";
  for (const ExportCase& item : all_exports()) {
    SCOPED_TRACE(item.name);
    RecordingPlatform platform;
    platform.level = GetParam();
    const Outcome good = item.run(&platform);
    const std::size_t allocations = platform.heap_requests().size();
    EXPECT_EQ(platform.heap_live(), 0);
    for (std::size_t n = 1; n <= allocations; ++n) {
      SCOPED_TRACE("allocation " + std::to_string(n));
      platform.clear();
      platform.fail_heap(static_cast<int>(n));
      const Outcome outcome = item.run(&platform);
      EXPECT_EQ(platform.heap_live(), 0) << "heap blocks leak";
      EXPECT_LE(static_cast<int>(platform.live_buffers().size()), item.kept_buffers) << "buffers leak";
    }
  }
}

// What docs/memory.md lists is all that stays behind.
TEST(Leaks, OfWholeCallsAreInTheDocument) {
  const Section text("memory.md", "Leaks");
  for (const ExportCase& item : all_exports()) {
    for (const int32_t level : {0, 1, 2}) {
      RecordingPlatform platform;
      platform.level = level;
      item.run(&platform);
      if (platform.live_buffers().empty()) continue;
      EXPECT_TRUE(level != 0 && text.says("`" + item.export_name + "`")) << item.name << " at level " << level;
    }
  }
}

TEST(Leaks, OfTheDocumentArePresent) {
  const Section text("memory.md", "Leaks");
  EXPECT_TRUE(text.says("`vlix_smoothHist_consume`, `vlix_smoothHistInt_consume`") && text.says("`vlix_nxcorr`"));
  TestVector<PointF32> floats({{0, 1}, {1, 2}});
  TestVector<PointI32> integers({{0, 1}, {1, 2}});
  const TestImage<uint8_t> bytes(4, 4);
  const TestImage<int16_t> words(2, 2);
  const TestImage<float> exact(2, 2);
  VlixImage colour = exact.record;
  colour.type = ObjType_Rgba8;
  OutputImage scores;
  // Beside the output, which belongs to the caller.
  const auto left_behind = [&](int32_t level, auto&& function, auto... arguments) {
    RecordingPlatform platform;
    platform.level = level;
    platform.call(function, arguments...);
    platform.note_release(scores.record.data);
    return platform.live_buffers().size();
  };
  EXPECT_EQ(left_behind(1, vlix_smoothHist_consume, &floats.record, 0.0f), 1u);
  EXPECT_EQ(left_behind(1, vlix_smoothHistInt_consume, &integers.record, 0.0f), 1u);
  EXPECT_EQ(left_behind(1, vlix_nxcorr, &bytes.record, &colour, &scores.record), 1u);
  EXPECT_EQ(left_behind(0, vlix_nxcorr, &bytes.record, &colour, &scores.record), 1u);
  for (const VlixImage* templ : {&words.record, &exact.record}) {
    const std::size_t copies = templ == &words.record ? 2 : 1;
    EXPECT_EQ(left_behind(1, vlix_nxcorr, &bytes.record, templ, &scores.record), copies);
    EXPECT_EQ(left_behind(0, vlix_nxcorr, &bytes.record, templ, &scores.record), 0u);
  }
}

INSTANTIATE_TEST_SUITE_P(Levels, Faults, ::testing::Values(0, 1, 2));

}  // namespace
}  // namespace vlix::test
