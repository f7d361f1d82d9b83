// SPDX-License-Identifier: Apache-2.0
// Every platform call and every heap allocation of every operation fails in turn.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>

#include "support/all_exports.h"
#include "support/test_image.h"

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
  if (!RecordingPlatform::heap_is_watched()) GTEST_SKIP() << "a sanitizer owns malloc";
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

INSTANTIATE_TEST_SUITE_P(Levels, Faults, ::testing::Values(0, 1, 2));

}  // namespace
}  // namespace vlix::test
